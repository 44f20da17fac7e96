#include "tests/e2e/windows/menu_probe.h"

#include <memory>
#include <sstream>

namespace {

struct ModuleEnd {
    void operator()(HMODULE hModule) const { FreeLibrary(hModule); }
};
struct HandleEnd {
    void operator()(HANDLE hHandle) const { CloseHandle(hHandle); }
};
struct HookEnd {
    void operator()(HHOOK hHook) const { UnhookWindowsHookEx(hHook); }
};
struct ViewEnd {
    void operator()(const char* pView) const { UnmapViewOfFile(pView); }
};

std::vector<std::string> Lines(const std::string& strText) {
    std::vector<std::string> lines;
    std::istringstream stream(strText);
    for (std::string strLine; std::getline(stream, strLine);) lines.push_back(strLine);
    return lines;
}

}  // namespace

std::vector<std::string> MenuBarOf(const CRemoteWindow& window) {
    const std::unique_ptr<void, HandleEnd> hMemory(
        CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, kProbeSize, kProbeMemory));
    const std::unique_ptr<const char, ViewEnd> pTexts(
        static_cast<const char*>(MapViewOfFile(hMemory.get(), FILE_MAP_READ, 0, 0, kProbeSize)));
    const std::unique_ptr<HINSTANCE__, ModuleEnd> hProbe(LoadLibraryA(kProbeLibrary));
    if (!pTexts || !hProbe) return {"no probe"};
    const auto pfnHook = reinterpret_cast<HOOKPROC>(reinterpret_cast<void*>(GetProcAddress(hProbe.get(), kProbeHook)));
    const DWORD dwThread = GetWindowThreadProcessId(window.Handle(), nullptr);
    const std::unique_ptr<HHOOK__, HookEnd> hHook(SetWindowsHookExA(WH_CALLWNDPROC, pfnHook, hProbe.get(), dwThread));
    if (!hHook) return {"no hook"};
    window.Send(RegisterWindowMessageA(kProbeMessage));
    return Lines(pTexts.get());
}
