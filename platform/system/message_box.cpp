#include "platform/system/message_box.h"

namespace {

MessageHandler g_pfnHandler = ShowSystemMessage;

}  // namespace

bool ShowMessage(const Message& message) {
    return g_pfnHandler(message);
}

void SetMessageHandler(MessageHandler pfnHandler) {
    g_pfnHandler = pfnHandler == nullptr ? ShowSystemMessage : pfnHandler;
}
