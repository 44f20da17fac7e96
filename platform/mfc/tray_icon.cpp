#include "platform/mfc/tray_icon.h"

#include <shellapi.h>

namespace {

// The first version of the structure is all that is used; its size differs between 32 and 64 bits.
NOTIFYICONDATAA EmptyData(HWND hWnd) {
    NOTIFYICONDATAA data = {};
    data.cbSize = NOTIFYICONDATAA_V1_SIZE;
    data.hWnd = hWnd;
    data.uID = 0;
    return data;
}

NOTIFYICONDATAA DataOf(const TrayIcon& icon) {
    constexpr size_t kTipSize = 64;
    NOTIFYICONDATAA data = EmptyData(icon.hWnd);
    data.uFlags = NIF_MESSAGE | NIF_ICON | NIF_TIP;
    data.uCallbackMessage = icon.nMessage;
    data.hIcon = icon.hIcon;
    lstrcpynA(data.szTip, icon.strTip.c_str(), kTipSize);
    return data;
}

}  // namespace

void AddTrayIcon(const TrayIcon& icon) {
    NOTIFYICONDATAA data = DataOf(icon);
    Shell_NotifyIconA(NIM_ADD, &data);
}

void ModifyTrayIcon(const TrayIcon& icon) {
    NOTIFYICONDATAA data = DataOf(icon);
    Shell_NotifyIconA(NIM_MODIFY, &data);
}

void DeleteTrayIcon(HWND hWnd) {
    NOTIFYICONDATAA data = EmptyData(hWnd);
    Shell_NotifyIconA(NIM_DELETE, &data);
}
