// A dialog that a test scripts: steps that run one after the other in its modal loop, and hooks for its virtual calls.
//
// A dialog that nothing ends is ended with kTimedOut, so that a fault shows as a failure and not as a hang.
#pragma once

#include <deque>
#include <functional>
#include <utility>

#include "platform/mfc/dialog.h"

class CScriptDialog : public CDialog {
  public:
    static constexpr INT_PTR kTimedOut = -99;
    static constexpr UINT kStepMessage = WM_APP + 1;

    using CDialog::CDialog;

    /// Runs inside the dialog's modal loop, behind the steps that were given before.
    CScriptDialog& Then(std::function<void(CScriptDialog&)> fnStep) {
        m_steps.push_back(std::move(fnStep));
        return *this;
    }

    std::function<void(CScriptDialog&)> m_fnInit = [](CScriptDialog&) {};
    std::function<bool(int nId, int nCode)> m_fnCommand = [](int, int) { return false; };
    std::function<bool(MSG* pMessage)> m_fnPreTranslate = [](MSG*) { return false; };
    std::function<bool(UINT nMessage, LRESULT* pResult)> m_fnMessage = [](UINT, LRESULT*) { return false; };
    std::function<void(UINT_PTR nTimer)> m_fnTimer = [](UINT_PTR) {};
    int m_nExchanges = 0;

  protected:
    void DoDataExchange() override {
        ++m_nExchanges;
        SetTimer(kWatchTimer, 60000);
        for (size_t i = 0; i < m_steps.size(); ++i) PostMessage(kStepMessage);
        m_fnInit(*this);
    }
    bool OnCommand(int nId, int nCode) override { return m_fnCommand(nId, nCode); }
    void OnTimer(UINT_PTR nTimer) override {
        if (nTimer == kWatchTimer) EndDialog(kTimedOut);
        m_fnTimer(nTimer);
    }
    bool PreTranslateMessage(MSG* pMessage) override {
        return m_fnPreTranslate(pMessage) || CDialog::PreTranslateMessage(pMessage);
    }
    LRESULT DefWindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam) override {
        if (nMessage == kStepMessage && !m_steps.empty()) {
            const auto fnStep = std::move(m_steps.front());
            m_steps.pop_front();
            fnStep(*this);
            return 0;
        }
        LRESULT nResult = 0;
        return m_fnMessage(nMessage, &nResult) ? nResult : CDialog::DefWindowProc(nMessage, wParam, lParam);
    }

  private:
    static constexpr UINT_PTR kWatchTimer = 9999;
    std::deque<std::function<void(CScriptDialog&)>> m_steps;
};
