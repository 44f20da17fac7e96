// Modal dialogs with real windows.
#include "platform/mfc/dialog.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/mfc/dialog.h"
#include "resources/resource.h"
#include "tests/windows/script_dialog.h"

using testing::ElementsAre;

namespace {

constexpr UINT kMissingTemplate = 4711;
constexpr UINT WM_PRIVATE = 0x8010;

TEST(DialogTest, EndsWithWhatItWasEndedBy) {
    HWND hWnd = nullptr;
    CScriptDialog okay(IDD_PFO_OPTIONS);
    okay.Then([&](CScriptDialog& dialog) {
        hWnd = dialog.GetSafeHwnd();
        EXPECT_TRUE(dialog.IsWindowVisible());
        dialog.SendDlgItemMessage(IDOK, BM_CLICK);
    });
    EXPECT_EQ(okay.DoModal(), IDOK);
    EXPECT_FALSE(::IsWindow(hWnd));
    EXPECT_EQ(okay.GetSafeHwnd(), nullptr);

    CScriptDialog closed(IDD_PFO_OPTIONS);
    closed.Then([](CScriptDialog& dialog) { dialog.PostMessage(WM_CLOSE); });
    EXPECT_EQ(closed.DoModal(), IDCANCEL);

    CScriptDialog own(IDD_PFO_OPTIONS);
    own.Then([](CScriptDialog& dialog) { dialog.EndDialog(77); });
    EXPECT_EQ(own.DoModal(), 77);

    CScriptDialog destroyed(IDD_PFO_OPTIONS);
    destroyed.Then([](CScriptDialog& dialog) { ::DestroyWindow(dialog.GetSafeHwnd()); });
    EXPECT_EQ(destroyed.DoModal(), IDCANCEL);
}

TEST(DialogTest, RunsAgainAfterItHasEnded) {
    CScriptDialog dialog(IDD_PFO_OPTIONS);
    for (const INT_PTR nResult : {5, 6}) {
        dialog.Then([nResult](CScriptDialog& self) { self.EndDialog(nResult); });
        EXPECT_EQ(dialog.DoModal(), nResult);
    }
    EXPECT_EQ(dialog.m_nExchanges, 2);
}

TEST(DialogTest, SetUpRunsOnceAndMayEndTheDialogUnseen) {
    bool bVisible = true;
    CScriptDialog dialog(IDD_PFO_OPTIONS);
    dialog.m_fnInit = [&](CScriptDialog& self) {
        EXPECT_TRUE(self.GetDlgItem(IDC_PFO_LOCAL_PORT).IsWindow());
        self.EndDialog(3);
    };
    dialog.m_fnMessage = [&](UINT nMessage, LRESULT*) {
        if (nMessage == WM_DESTROY) bVisible = dialog.IsWindowVisible();
        return false;
    };
    EXPECT_EQ(dialog.DoModal(), 3);
    EXPECT_EQ(dialog.m_nExchanges, 1);
    EXPECT_FALSE(bVisible);
}

TEST(DialogTest, FailureToOpenGivesMinusOneAndLeavesTheOwnerEnabled) {
    CScriptDialog outer(IDD_MAIN);
    outer.Then([](CScriptDialog& dialog) {
        EXPECT_EQ(CDialog(kMissingTemplate).DoModal(), -1);
        CScriptDialog throwing(IDD_PFO_OPTIONS);
        throwing.m_fnInit = [](CScriptDialog&) { throw std::runtime_error("set-up"); };
        EXPECT_EQ(throwing.DoModal(), -1);
        EXPECT_TRUE(dialog.IsWindowEnabled());
        dialog.EndDialog(1);
    });
    EXPECT_EQ(outer.DoModal(), 1);
}

TEST(DialogTest, NestedDialogBelongsToTheOuterOneAndGivesItBack) {
    int nTicks = 0;
    CScriptDialog outer(IDD_MAIN);
    CScriptDialog inner(IDD_PFO_OPTIONS);
    inner.m_fnInit = [&](CScriptDialog& self) {
        EXPECT_EQ(self.GetParent(), outer.GetSafeHwnd());
        EXPECT_FALSE(outer.IsWindowEnabled());
        EXPECT_EQ(CDialog::InnermostWindow(), self.GetSafeHwnd());
    };
    // The outer dialog's timers go on while the inner one has the loop.
    outer.m_fnTimer = [&](UINT_PTR) {
        if (inner.GetSafeHwnd() && ++nTicks == 3) inner.EndDialog(IDOK);
    };
    outer.Then([&](CScriptDialog& dialog) {
        dialog.SetTimer(1, 10);
        EXPECT_EQ(inner.DoModal(), IDOK);
        EXPECT_TRUE(dialog.IsWindowEnabled());
        EXPECT_EQ(::GetActiveWindow(), dialog.GetSafeHwnd());
        dialog.EndDialog(2);
    });
    EXPECT_EQ(outer.DoModal(), 2);
    EXPECT_EQ(CDialog::InnermostWindow(), nullptr);
}

TEST(DialogTest, GivenParentIsTheOwnerAndStaysDisabledIfItWas) {
    CScriptDialog outer(IDD_MAIN);
    outer.Then([](CScriptDialog& dialog) {
        dialog.EnableWindow(false);
        CScriptDialog inner(IDD_PFO_OPTIONS, ::GetDlgItem(dialog.GetSafeHwnd(), IDC_MAIN_LIST));
        inner.Then([&](CScriptDialog& self) {
            EXPECT_EQ(self.GetParent(), dialog.GetSafeHwnd());
            self.EndDialog(0);
        });
        EXPECT_EQ(inner.DoModal(), 0);
        EXPECT_FALSE(dialog.IsWindowEnabled());
        dialog.EndDialog(1);
    });
    EXPECT_EQ(outer.DoModal(), 1);
}

TEST(DialogTest, EndOfTheOuterDialogEndsTheInnerOne) {
    CScriptDialog outer(IDD_MAIN);
    outer.Then([](CScriptDialog& dialog) {
        CScriptDialog inner(IDD_PFO_OPTIONS);
        inner.Then([&](CScriptDialog&) { dialog.EndDialog(5); });
        EXPECT_EQ(inner.DoModal(), IDCANCEL);
    });
    EXPECT_EQ(outer.DoModal(), 5);
}

TEST(DialogTest, QuitMessageEndsEveryLoopAndStays) {
    CScriptDialog outer(IDD_MAIN);
    outer.Then([](CScriptDialog&) {
        CScriptDialog inner(IDD_PFO_OPTIONS);
        inner.Then([](CScriptDialog&) { ::PostQuitMessage(8); });
        EXPECT_EQ(inner.DoModal(), IDCANCEL);
    });
    EXPECT_EQ(outer.DoModal(), IDCANCEL);
    MSG message = {};
    EXPECT_TRUE(::PeekMessageA(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
    EXPECT_EQ(message.wParam, 8u);
}

TEST(DialogTest, SecondThreadHasDialogsOfItsOwn) {
    CScriptDialog first(IDD_MAIN);
    INT_PTR nSecond = 0;
    std::thread thread;
    first.m_fnInit = [&](CScriptDialog& self) {
        thread = std::thread([&] {
            CScriptDialog second(IDD_PFO_OPTIONS);
            second.Then([&](CScriptDialog& dialog) {
                EXPECT_EQ(dialog.GetParent(), nullptr);
                EXPECT_TRUE(self.IsWindowEnabled());
                // Served by the first dialog's loop while this thread waits.
                EXPECT_EQ(self.SendMessage(WM_PRIVATE), 42);
                dialog.EndDialog(9);
            });
            nSecond = second.DoModal();
            self.PostMessage(WM_CLOSE);
        });
    };
    first.m_fnMessage = [](UINT nMessage, LRESULT* pResult) {
        *pResult = 42;
        return nMessage == WM_PRIVATE;
    };
    EXPECT_EQ(first.DoModal(), IDCANCEL);
    thread.join();
    EXPECT_EQ(nSecond, 9);
}

TEST(DialogTest, KeysPassPreTranslateMessageBeforeTheDialogManager) {
    std::vector<WPARAM> keys;
    CScriptDialog dialog(IDD_MAIN);
    dialog.m_fnPreTranslate = [&](MSG* pMessage) {
        if (pMessage->message != WM_KEYDOWN) return false;
        keys.push_back(pMessage->wParam);
        return pMessage->wParam == VK_ESCAPE;
    };
    dialog.m_fnCommand = [&](int nId, int nCode) {
        // The hidden default button of the template stands for the Enter key.
        if (nId == ID_CONTEXT_MENU && nCode == BN_CLICKED) dialog.EndDialog(1021);
        return false;
    };
    dialog.Then([](CScriptDialog& self) {
        const CWnd list = self.GetDlgItem(IDC_MAIN_LIST);
        list.SetFocus();
        list.PostMessage(WM_KEYDOWN, VK_ESCAPE, 0x00010001);
        list.PostMessage(WM_KEYDOWN, VK_RETURN, 0x001C0001);
    });
    EXPECT_EQ(dialog.DoModal(), 1021);
    EXPECT_THAT(keys, ElementsAre(VK_ESCAPE, VK_RETURN));

    CScriptDialog plain(IDD_MAIN);
    plain.Then([](CScriptDialog& self) { self.PostMessage(WM_KEYDOWN, VK_ESCAPE, 0x00010001); });
    EXPECT_EQ(plain.DoModal(), IDCANCEL);
}

TEST(DialogTest, DefWindowProcMayKeepMessagesFromTheSystem) {
    CScriptDialog dialog(IDD_MAIN);
    dialog.m_fnMessage = [](UINT nMessage, LRESULT* pResult) {
        *pResult = 17;
        return nMessage == WM_PRIVATE || nMessage == WM_SYSCOMMAND;
    };
    dialog.Then([](CScriptDialog& self) {
        EXPECT_EQ(self.SendMessage(WM_PRIVATE), 17);
        self.SendMessage(WM_SYSCOMMAND, SC_MAXIMIZE);
        EXPECT_FALSE(self.IsZoomed());
        self.EndDialog(1);
    });
    EXPECT_EQ(dialog.DoModal(), 1);
}

TEST(DialogTest, ExceptionsOfHandlersEndInTheWindowProcedure) {
    int nPaints = 0;
    CScriptDialog dialog(IDD_MAIN);
    dialog.m_fnCommand = [](int nId, int) -> bool {
        if (nId == ID_PFO_NEW) throw std::runtime_error("command");
        return false;
    };
    dialog.m_fnMessage = [&](UINT nMessage, LRESULT*) -> bool {
        if (nMessage == WM_PAINT && ++nPaints < 100) throw 1;
        return false;
    };
    dialog.m_fnPreTranslate = [](MSG* pMessage) -> bool {
        if (pMessage->message == WM_KEYDOWN) throw std::string("key");
        return false;
    };
    dialog.Then([](CScriptDialog& self) {
        self.SendMessage(WM_COMMAND, ID_PFO_NEW);
        self.PostMessage(WM_KEYDOWN, VK_ESCAPE, 0x00010001);
        self.Invalidate();
        self.SetTimer(1, 50);
    });
    dialog.m_fnTimer = [&](UINT_PTR) { dialog.EndDialog(4); };
    EXPECT_EQ(dialog.DoModal(), 4);
    EXPECT_GE(nPaints, 1);
    EXPECT_LT(nPaints, 100) << "the window paints for ever";
}

std::string OpenedFont(uint32_t dwLanguageCode) {
    std::string strFont;
    CScriptDialog dialog(IDD_PFO_OPTIONS);
    dialog.m_fnInit = [&](CScriptDialog& self) {
        LOGFONTA font = {};
        const HGDIOBJ hFont = reinterpret_cast<HGDIOBJ>(self.SendDlgItemMessage(IDOK, WM_GETFONT));
        EXPECT_NE(::GetObjectA(hFont, sizeof(font), &font), 0);
        const HDC hScreen = ::GetDC(nullptr);
        const int nPoints = ::MulDiv(-font.lfHeight, 72, ::GetDeviceCaps(hScreen, LOGPIXELSY));
        ::ReleaseDC(nullptr, hScreen);
        strFont = font.lfFaceName + std::string(" ") + std::to_string(nPoints);
        EXPECT_STRNE(self.GetDlgItemText(IDC_PFO_TCP).c_str(), "") << "controls are lost behind the new font";
        self.EndDialog(0);
    };
    EXPECT_EQ(OpenDialogFont(&dialog, dwLanguageCode), 0);
    return strFont;
}

TEST(DialogTest, LanguageDecidesTheFont) {
    for (const uint32_t dwCode : {4u, 6u, 9u, 1000u}) EXPECT_EQ(OpenedFont(dwCode), "Tahoma 10") << dwCode;
    for (const uint32_t dwCode : {0u, 1u, 8u, 10u, 999u}) EXPECT_EQ(OpenedFont(dwCode), "MS Sans Serif 8") << dwCode;
}

}  // namespace
