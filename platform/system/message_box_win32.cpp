#include "platform/system/message_box.h"

#include "platform/system/windows_api.h"

namespace {

UINT StyleOf(const Message& message) {
    const UINT nButtons = message.buttons == MessageButtons::YesNo ? MB_YESNO : MB_OK;
    switch (message.icon) {
        case MessageIcon::Information:
            return nButtons | MB_ICONINFORMATION;
        case MessageIcon::Question:
            return nButtons | MB_ICONQUESTION;
        case MessageIcon::Error:
            break;
    }
    return nButtons | MB_ICONERROR;
}

}  // namespace

bool ShowSystemMessage(const Message& message) {
    const char* const pszCaption = message.strCaption.empty() ? nullptr : message.strCaption.c_str();
    const int nAnswer = MessageBoxA(nullptr, message.strText.c_str(), pszCaption, StyleOf(message));
    return nAnswer == IDOK || nAnswer == IDYES;
}
