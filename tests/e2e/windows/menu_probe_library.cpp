// The half of the menu probe that runs in the program under test, on the thread of its window.
#include <string>

#include "tests/e2e/windows/menu_probe.h"

namespace {

std::string ItemText(HMENU hMenu, UINT nItem) {
    char szText[256] = "";
    GetMenuStringA(hMenu, nItem, szText, sizeof szText, MF_BYPOSITION);
    return szText[0] ? szText : "-";
}

std::string BarTexts(HMENU hBar) {
    std::string strTexts;
    for (int nMenu = 0; nMenu < GetMenuItemCount(hBar); ++nMenu) {
        strTexts += ItemText(hBar, static_cast<UINT>(nMenu));
        const HMENU hMenu = GetSubMenu(hBar, nMenu);
        for (int nItem = 0; nItem < GetMenuItemCount(hMenu); ++nItem) {
            strTexts += "|" + ItemText(hMenu, static_cast<UINT>(nItem));
        }
        strTexts += "\n";
    }
    return strTexts;
}

void WriteTexts(const std::string& strTexts) {
    const HANDLE hMemory = OpenFileMappingA(FILE_MAP_WRITE, FALSE, kProbeMemory);
    if (!hMemory) return;
    if (void* const pView = MapViewOfFile(hMemory, FILE_MAP_WRITE, 0, 0, kProbeSize)) {
        strTexts.copy(static_cast<char*>(pView), kProbeSize - 1);
        UnmapViewOfFile(pView);
    }
    CloseHandle(hMemory);
}

}  // namespace

extern "C" __declspec(dllexport) LRESULT CALLBACK ProbeHook(int nCode, WPARAM wParam, LPARAM lParam) {
    const auto* const pMessage = reinterpret_cast<const CWPSTRUCT*>(lParam);
    if (nCode == HC_ACTION && pMessage->message == RegisterWindowMessageA(kProbeMessage)) {
        WriteTexts(BarTexts(GetMenu(pMessage->hwnd)));
    }
    return CallNextHookEx(nullptr, nCode, wParam, lParam);
}
