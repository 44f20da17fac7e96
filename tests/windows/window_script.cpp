#include "tests/windows/window_script.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "platform/system/windows_api.h"

#include <commdlg.h>
#include <dlgs.h>

namespace {

constexpr ULONGLONG kPatienceMs = 30000;

CWindowScript* g_pScript = nullptr;

bool IsDialog(HWND hWnd) {
    char szClass[16] = {};
    ::GetClassNameA(hWnd, szClass, sizeof(szClass));
    return std::string(szClass) == "#32770" && ::IsWindowVisible(hWnd);
}

std::vector<HWND> OpenDialogs() {
    std::vector<HWND> windows;
    const auto add = [](HWND hWnd, LPARAM lParam) -> BOOL {
        if (IsDialog(hWnd)) reinterpret_cast<std::vector<HWND>*>(lParam)->push_back(hWnd);
        return TRUE;
    };
    ::EnumThreadWindows(GetCurrentThreadId(), add, reinterpret_cast<LPARAM>(&windows));
    return windows;
}

}  // namespace

CWindowScript::CWindowScript() : m_nTimer(::SetTimer(nullptr, 0, 10, Tick)), m_nWaitingSince(GetTickCount64()) {
    g_pScript = this;
}

CWindowScript::~CWindowScript() {
    ::KillTimer(nullptr, m_nTimer);
    g_pScript = nullptr;
    if (!m_steps.empty() && !m_bGivenUp) ADD_FAILURE() << "no chance to act in " << m_steps.front().strTitle;
}

CWindowScript& CWindowScript::In(const std::string& strTitle, std::function<void(const CWnd& window)> fnStep) {
    m_steps.push_back({strTitle, std::move(fnStep)});
    return *this;
}

CWindowScript& CWindowScript::Answer(const std::string& strTitle, const std::string& strText, int nButton) {
    return In(strTitle, [strText, nButton](const CWnd& box) {
        EXPECT_EQ(BoxText(box), strText);
        EXPECT_TRUE(box.GetDlgItem(nButton).IsWindow());
        Press(box, nButton);
    });
}

CWindowScript& CWindowScript::ChooseFile(const std::string& strTitle, const std::string& strPath) {
    return In(strTitle, [strPath](const CWnd& dialog) {
        if (!strPath.empty()) {
            const LPARAM lText = reinterpret_cast<LPARAM>(strPath.c_str());
            for (const int nId : {edt1, cmb13}) dialog.SendMessage(CDM_SETCONTROLTEXT, static_cast<WPARAM>(nId), lText);
        }
        Press(dialog, strPath.empty() ? IDCANCEL : IDOK);
    });
}

void CALLBACK CWindowScript::Tick(HWND, UINT, UINT_PTR, DWORD) {
    if (g_pScript) g_pScript->RunStep();
}

void CWindowScript::RunStep() {
    if (m_bGivenUp || GetTickCount64() - m_nWaitingSince > kPatienceMs) return GiveUp();
    if (m_steps.empty()) return;
    for (const HWND hWnd : OpenDialogs()) {
        const CWnd window(hWnd);
        if (!window.IsWindowEnabled() || window.GetWindowText() != m_steps.front().strTitle) continue;
        // Off the list first: the step may run a modal loop, in which the next one acts.
        const Step step = std::move(m_steps.front());
        m_steps.pop_front();
        m_nWaitingSince = GetTickCount64();
        step.fnStep(window);
        return;
    }
}

void CWindowScript::GiveUp() {
    if (!m_bGivenUp) {
        const std::string strWaitedFor = m_steps.empty() ? "the end" : m_steps.front().strTitle;
        ADD_FAILURE() << "gave up waiting for: " << strWaitedFor;
        for (const HWND hWnd : OpenDialogs()) ADD_FAILURE() << "open: " << CWnd(hWnd).GetWindowText();
    }
    m_bGivenUp = true;
    for (const HWND hWnd : OpenDialogs()) {
        for (const WPARAM nButton : {IDNO, IDCANCEL, IDOK}) ::PostMessageA(hWnd, WM_COMMAND, nButton, 0);
    }
}

void Press(const CWnd& dialog, int nId) {
    dialog.GetDlgItem(nId).PostMessage(BM_CLICK);
}

void Type(const CWnd& edit, const std::string& strText) {
    edit.SetFocus();
    for (const char ch : strText) edit.SendMessage(WM_CHAR, static_cast<unsigned char>(ch), 1);
}

HWND EditOf(const CWnd& combo) {
    return ::FindWindowExA(combo.GetSafeHwnd(), nullptr, "Edit", nullptr);
}

std::string BoxText(const CWnd& box) {
    std::string strText;
    const auto add = [](HWND hWnd, LPARAM lParam) -> BOOL {
        char szClass[16] = {};
        ::GetClassNameA(hWnd, szClass, sizeof(szClass));
        if (std::string(szClass) == "Static") *reinterpret_cast<std::string*>(lParam) += CWnd(hWnd).GetWindowText();
        return TRUE;
    };
    ::EnumChildWindows(box.GetSafeHwnd(), add, reinterpret_cast<LPARAM>(&strText));
    return strText;
}
