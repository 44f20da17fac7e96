#include "tests/windows/window_script.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/process_end.h"

#include <commdlg.h>
#include <dlgs.h>

namespace {

constexpr ULONGLONG kPatienceMs = 60000;

CWindowScript* g_pScript = nullptr;

std::string ClassOf(HWND hWnd) {
    char szClass[16] = {};
    ::GetClassNameA(hWnd, szClass, sizeof(szClass));
    return szClass;
}

/// Empty for what is no open dialog or menu.
std::string TitleOf(HWND hWnd) {
    const std::string strClass = ::IsWindowVisible(hWnd) ? ClassOf(hWnd) : "";
    if (strClass == kMenu) return strClass;
    return strClass == "#32770" ? CWnd(hWnd).GetWindowText() : "";
}

std::vector<HWND> OpenWindows() {
    std::vector<HWND> windows;
    const auto add = [](HWND hWnd, LPARAM lParam) -> BOOL {
        if (!TitleOf(hWnd).empty()) reinterpret_cast<std::vector<HWND>*>(lParam)->push_back(hWnd);
        return TRUE;
    };
    ::EnumThreadWindows(GetCurrentThreadId(), add, reinterpret_cast<LPARAM>(&windows));
    return windows;
}

std::string BoxText(const CWnd& box) {
    std::string strText;
    for (HWND hChild = nullptr; (hChild = ::FindWindowExA(box.GetSafeHwnd(), hChild, "Static", nullptr));) {
        strText += CWnd(hChild).GetWindowText();
    }
    return strText;
}

}  // namespace

CWindowScript::CWindowScript() : m_nTimer(::SetTimer(nullptr, 0, 10, Tick)), m_nWaitingSince(GetTickCount64()) {
    g_pScript = this;
}

CWindowScript::~CWindowScript() {
    ::KillTimer(nullptr, m_nTimer);
    g_pScript = nullptr;
    if (!m_steps.empty()) ADD_FAILURE() << "no chance to act in " << m_steps.front().first;
}

CWindowScript& CWindowScript::In(const std::string& strTitle, Action fnAction) {
    m_steps.emplace_back(strTitle, std::move(fnAction));
    return *this;
}

CWindowScript& CWindowScript::Press(const std::string& strTitle, int nButton) {
    return In(strTitle, [nButton](const CWnd& dialog) { ::Press(dialog, nButton); });
}

CWindowScript& CWindowScript::Answer(const std::string& strTitle, const std::string& strText, int nButton) {
    return In(strTitle, [strText, nButton](const CWnd& box) {
        EXPECT_EQ(BoxText(box), strText);
        EXPECT_TRUE(box.GetDlgItem(nButton).IsWindow());
        ::Press(box, nButton);
    });
}

CWindowScript& CWindowScript::ChooseFile(const std::string& strTitle, const std::string& strPath) {
    return In(strTitle, [strPath](const CWnd& dialog) {
        if (strPath.empty()) return ::Press(dialog, IDCANCEL);
        const LPARAM lText = reinterpret_cast<LPARAM>(strPath.c_str());
        for (const WPARAM nId : {edt1, cmb13}) dialog.SendMessage(CDM_SETCONTROLTEXT, nId, lText);
        ::Press(dialog, IDOK);
    });
}

void CALLBACK CWindowScript::Tick(HWND, UINT, UINT_PTR, DWORD) {
    if (g_pScript) g_pScript->RunStep();
}

void CWindowScript::RunStep() {
    const std::string strTitle = m_steps.empty() ? "the end" : m_steps.front().first;
    for (const HWND hWnd : OpenWindows()) {
        const CWnd window(hWnd);
        if (m_steps.empty() || !window.IsWindowEnabled() || TitleOf(hWnd) != strTitle) continue;
        // Off the list first: the step may run a modal loop, in which the next one acts.
        const Action fnAction = std::move(m_steps.front().second);
        m_steps.pop_front();
        m_nWaitingSince = GetTickCount64();
        return fnAction(window);
    }
    if (GetTickCount64() - m_nWaitingSince < kPatienceMs) return;
    std::printf("waits in vain for: %s\n", strTitle.c_str());
    for (const HWND hWnd : OpenWindows()) std::printf("open: %s\n", TitleOf(hWnd).c_str());
    EndTestProcess(97);
}

void Press(const CWnd& dialog, int nId) {
    dialog.GetDlgItem(nId).PostMessage(BM_CLICK);
}

std::string MenuText(HMENU hMenu) {
    std::string strMenu;
    for (int i = 0; i < ::GetMenuItemCount(hMenu); ++i) {
        char szText[64] = {};
        ::GetMenuStringA(hMenu, static_cast<UINT>(i), szText, sizeof(szText), MF_BYPOSITION);
        std::string strText = szText;
        const UINT nState = ::GetMenuState(hMenu, static_cast<UINT>(i), MF_BYPOSITION);
        if (const HMENU hPopup = ::GetSubMenu(hMenu, i)) {
            strText += "[" + MenuText(hPopup) + "]";
        } else if (nState & MF_SEPARATOR) {
            strText = "-";
        } else if (nState & MF_GRAYED) {
            strText = "(" + strText + ")";
        }
        strMenu += (i > 0 ? "|" : "") + strText;
    }
    return strMenu;
}
