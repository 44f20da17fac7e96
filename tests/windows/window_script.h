// Drives the program's windows, menus and the system's own dialogs from within their modal loops, as a user does: step
// by step, each in the window that the step expects in front.
//
// A window that does not come ends the test program with a message: a fault shows as a failure and not as a hang. One
// script at a time, on the thread of the windows.
#pragma once

#include <gmock/gmock.h>

#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/mfc/wnd.h"
#include "tests/support/process.h"

#include <commdlg.h>
#include <dlgs.h>

/// The title under which a step finds an open menu.
inline constexpr char kMenu[] = "#32768";

/// Presses a button of the dialog when the present step is over.
inline void Press(const CWnd& dialog, int nId) {
    dialog.GetDlgItem(nId).PostMessage(BM_CLICK);
}

class CWindowScript {
  public:
    using Action = std::function<void(const CWnd& window)>;

    CWindowScript() { s_pScript = this; }
    /// Reports the steps that did not run.
    ~CWindowScript() {
        ::KillTimer(nullptr, m_nTimer);
        s_pScript = nullptr;
        if (!m_steps.empty()) ADD_FAILURE() << "no chance to act in " << m_steps.front().first;
    }
    CWindowScript(const CWindowScript&) = delete;
    CWindowScript& operator=(const CWindowScript&) = delete;

    /// Runs once a dialog or message box with this title is open and enabled, behind the steps given before.
    CWindowScript& In(const std::string& strTitle, Action fnAction) {
        m_steps.emplace_back(strTitle, std::move(fnAction));
        return *this;
    }
    CWindowScript& Press(const std::string& strTitle, int nButton) {
        return In(strTitle, [nButton](const CWnd& dialog) { ::Press(dialog, nButton); });
    }
    /// Expects this text in a message box and answers it with a button's id.
    CWindowScript& Answer(const std::string& strTitle, const std::string& strText, int nButton) {
        return In(strTitle, [strText, nButton](const CWnd& box) {
            std::string strShown;
            for (HWND hWnd = nullptr; (hWnd = ::FindWindowExA(box.GetSafeHwnd(), hWnd, "Static", nullptr));) {
                strShown += CWnd(hWnd).GetWindowText();
            }
            EXPECT_EQ(strShown, strText);
            EXPECT_TRUE(box.GetDlgItem(nButton).IsWindow());
            ::Press(box, nButton);
        });
    }
    /// Answers the system's dialog for a file name: the name, or a press of Cancel when it is empty.
    CWindowScript& ChooseFile(const std::string& strTitle, const std::string& strPath) {
        return In(strTitle, [strPath](const CWnd& dialog) {
            const LPARAM nPath = reinterpret_cast<LPARAM>(strPath.c_str());
            for (const WPARAM nId : {edt1, cmb13}) dialog.SendMessage(CDM_SETCONTROLTEXT, nId, nPath);
            ::Press(dialog, strPath.empty() ? IDCANCEL : IDOK);
        });
    }

  private:
    /// Empty for what is no open dialog or menu.
    static std::string TitleOf(HWND hWnd) {
        char szClass[16] = {};
        if (::IsWindowVisible(hWnd)) ::GetClassNameA(hWnd, szClass, sizeof(szClass));
        return std::string(szClass) == "#32770" ? CWnd(hWnd).GetWindowText()
               : szClass == std::string(kMenu)  ? kMenu
                                                : "";
    }
    static std::vector<HWND> OpenWindows() {
        std::vector<HWND> windows;
        const auto add = [](HWND hWnd, LPARAM lParam) -> BOOL {
            if (!TitleOf(hWnd).empty()) reinterpret_cast<std::vector<HWND>*>(lParam)->push_back(hWnd);
            return TRUE;
        };
        ::EnumThreadWindows(GetCurrentThreadId(), add, reinterpret_cast<LPARAM>(&windows));
        return windows;
    }
    static void CALLBACK Tick(HWND, UINT, UINT_PTR, DWORD) {
        if (s_pScript) s_pScript->RunStep();
    }
    void RunStep() {
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

    static constexpr ULONGLONG kPatienceMs = 60000;
    static inline CWindowScript* s_pScript = nullptr;

    std::deque<std::pair<std::string, Action>> m_steps;
    const UINT_PTR m_nTimer = ::SetTimer(nullptr, 0, 10, Tick);
    ULONGLONG m_nWaitingSince = GetTickCount64();  // milliseconds
};

/// The entries: "Edit|-|(Stop)|PFO[Start]", a greyed one in round brackets, those of a pop-up in square ones.
inline std::string MenuText(HMENU hMenu) {
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
