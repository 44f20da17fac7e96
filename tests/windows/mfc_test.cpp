// The window framework where the program's own windows do not show it: ends and owners of dialogs, exceptions, fonts,
// menus, what the system's dialogs are given.
#include "platform/mfc/dialog.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "platform/mfc/file_dialog.h"
#include "platform/mfc/menu.h"
#include "platform/mfc/win_app.h"
#include "resources/resource.h"
#include "tests/windows/window_script.h"

namespace {

class CTestApp : public CWinApp {
  public:
    CTestApp() : CWinApp("Name of the program") {}
    bool InitInstance() override { return false; }
};
CTestApp g_app;

class CTestDialog : public CDialog {
  public:
    explicit CTestDialog(UINT nTemplate = IDD_PFO_OPTIONS, HWND hParent = nullptr) : CDialog(nTemplate, hParent) {}

    std::function<void()> m_fnInit = [] {};
    std::function<void()> m_fnStep = [] {};  // once inside the loop
    std::function<void(UINT nMessage)> m_fnMessage = [](UINT) {};

  protected:
    void DoDataExchange() override {
        PostMessage(WM_APP);
        m_fnInit();
    }
    bool PreTranslateMessage(MSG* pMessage) override {
        if (pMessage->message == WM_KEYDOWN) m_fnMessage(WM_KEYDOWN);
        return CDialog::PreTranslateMessage(pMessage);
    }
    LRESULT DefWindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam) override {
        if (nMessage == WM_APP) m_fnStep();
        m_fnMessage(nMessage);
        return CDialog::DefWindowProc(nMessage, wParam, lParam);
    }
};

TEST(DialogTest, RunsAgainWhateverWayItEnded) {
    CTestDialog dialog;
    dialog.m_fnStep = [&] { ::DestroyWindow(dialog.GetSafeHwnd()); };
    EXPECT_EQ(dialog.DoModal(), IDCANCEL);
    EXPECT_EQ(dialog.GetSafeHwnd(), nullptr);
    dialog.m_fnInit = [&] { dialog.EndDialog(3); };
    dialog.m_fnMessage = [&](UINT nMessage) { EXPECT_FALSE(nMessage == WM_DESTROY && dialog.IsWindowVisible()); };
    EXPECT_EQ(dialog.DoModal(), 3) << "ended unseen by its set-up";
}

TEST(DialogTest, OwnerIsDisabledMeanwhileAndGivenBackAsItWas) {
    CTestDialog outer(IDD_MAIN);
    outer.m_fnStep = [&] {
        EXPECT_EQ(CDialog(4711).DoModal(), -1) << "there is no such template";
        CTestDialog throwing;
        throwing.m_fnInit = [] { throw std::runtime_error("set-up"); };
        EXPECT_EQ(throwing.DoModal(), -1);
        for (const bool bEnabled : {true, false}) {
            EXPECT_TRUE(outer.IsWindowEnabled());
            outer.EnableWindow(bEnabled);
            CTestDialog inner(IDD_PFO_OPTIONS, bEnabled ? nullptr : outer.GetDlgItem(IDC_MAIN_LIST).GetSafeHwnd());
            inner.m_fnStep = [&] {
                EXPECT_EQ(inner.GetParent(), outer.GetSafeHwnd());
                EXPECT_EQ(CDialog::InnermostWindow(), inner.GetSafeHwnd());
                EXPECT_FALSE(outer.IsWindowEnabled());
                inner.EndDialog(IDOK);
            };
            EXPECT_EQ(inner.DoModal(), IDOK);
            EXPECT_EQ(outer.IsWindowEnabled(), bEnabled);
            EXPECT_EQ(::GetActiveWindow(), outer.GetSafeHwnd());
        }
        outer.EndDialog(5);
    };
    EXPECT_EQ(outer.DoModal(), 5);
    EXPECT_EQ(CDialog::InnermostWindow(), nullptr);
}

TEST(DialogTest, EndOfTheOuterDialogAndQuitEndTheInnerOne) {
    for (const bool bQuit : {false, true}) {
        CTestDialog outer(IDD_MAIN);
        CTestDialog inner;
        inner.m_fnStep = [&] { bQuit ? ::PostQuitMessage(8) : outer.EndDialog(5); };
        outer.m_fnStep = [&] { EXPECT_EQ(inner.DoModal(), IDCANCEL); };
        EXPECT_EQ(outer.DoModal(), bQuit ? IDCANCEL : 5);
        MSG message = {};
        EXPECT_EQ(::PeekMessageA(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) != FALSE, bQuit);
        EXPECT_EQ(message.wParam, bQuit ? 8u : 0u);
    }
}

TEST(DialogTest, ExceptionsOfHandlersEndInTheWindowProcedure) {
    int nPaints = 0;
    CTestDialog dialog(IDD_MAIN);
    dialog.m_fnMessage = [&](UINT nMessage) {
        if (nMessage == WM_TIMER) dialog.EndDialog(4);
        if (nMessage == WM_KEYDOWN) throw std::string("key");
        if (nMessage == WM_PAINT && ++nPaints < 100) throw 1;
    };
    dialog.m_fnStep = [&] {
        dialog.PostMessage(WM_KEYDOWN, VK_ESCAPE, 0x00010001);
        dialog.Invalidate();
        dialog.SetTimer(1, 50);  // comes when nothing is left to paint
    };
    EXPECT_EQ(dialog.DoModal(), 4);
    EXPECT_THAT(nPaints, testing::AllOf(testing::Ge(1), testing::Lt(100))) << "the window paints for ever";
}

TEST(DialogTest, LanguageDecidesTheFontAndTheControlsStay) {
    std::string strControls;
    const auto fontIn = [&strControls](UINT nTemplate, uint32_t dwLanguageCode) {
        CTestDialog dialog(nTemplate);
        LOGFONTA font = {};
        dialog.m_fnInit = [&] {
            ::GetObjectA(reinterpret_cast<HGDIOBJ>(dialog.SendMessage(WM_GETFONT)), sizeof(font), &font);
            strControls.clear();
            for (HWND hWnd = nullptr; (hWnd = ::FindWindowExA(dialog.GetSafeHwnd(), hWnd, nullptr, nullptr));) {
                strControls += CWnd(hWnd).GetWindowText() + "|" + std::to_string(::GetDlgCtrlID(hWnd)) + "|";
            }
            dialog.EndDialog(0);
        };
        EXPECT_EQ(OpenDialogFont(&dialog, dwLanguageCode), 0);
        return font.lfFaceName + std::to_string(::MulDiv(-font.lfHeight, 72, 96));
    };
    for (const UINT nTemplate : {IDD_MAIN, IDD_PFO_OPTIONS, IDD_LONG_MESSAGE}) {
        EXPECT_EQ(fontIn(nTemplate, 0), "MS Sans Serif8");
        const std::string strPlain = strControls;
        EXPECT_EQ(fontIn(nTemplate, 1000), "Tahoma10");
        EXPECT_EQ(strControls, strPlain);
    }
    for (const uint32_t dwCode : {1u, 8u, 10u, 999u}) EXPECT_EQ(fontIn(IDD_MAIN, dwCode), "MS Sans Serif8") << dwCode;
    for (const uint32_t dwCode : {4u, 6u, 9u}) EXPECT_EQ(fontIn(IDD_MAIN, dwCode), "Tahoma10") << dwCode;
}

TEST(MenuTest, MenusGoWithTheirOwners) {
    CMenu bar;
    CMenu popup;
    HMENU hFirst = nullptr;
    CTestDialog dialog(IDD_MAIN);
    dialog.m_fnInit = [&] {
        for (const bool bSecond : {false, true}) {
            ASSERT_TRUE(bar.CreateMenu() && popup.CreatePopupMenu());
            EXPECT_EQ(::IsMenu(hFirst) != FALSE, bSecond) << "the window's menu is not the object's to destroy";
            EXPECT_FALSE(popup.AppendPopup(&popup, "itself"));
            EXPECT_TRUE(bar.AppendPopup(&popup, "File"));
            EXPECT_FALSE(bar.AppendPopup(&popup, "twice"));
            EXPECT_TRUE(popup.Append(7, "Exit") && bar.Enable(7, false));
            EXPECT_EQ(MenuText(bar.Handle()), "File[(Exit)]");
            EXPECT_TRUE(dialog.SetMenu(&bar));
            EXPECT_FALSE(::IsMenu(std::exchange(hFirst, bar.Handle()))) << "the window has another one";
        }
        dialog.EndDialog(0);
    };
    EXPECT_EQ(dialog.DoModal(), 0);
    EXPECT_FALSE(::IsMenu(bar.Handle()) || ::IsMenu(popup.Handle()));
    const HMENU hOwned = bar.CreateMenu() ? bar.Handle() : nullptr;
    bar.Destroy();
    EXPECT_FALSE(::IsMenu(hOwned));
}

TEST(SystemDialogsTest, MessageBoxHasNameAndOwnerAndBarsBecomeZeroBytes) {
    CTestDialog dialog(IDD_MAIN);
    CWindowScript script;
    script.In("Name of the program", [&](const CWnd& box) {
        EXPECT_EQ(::GetWindow(box.GetSafeHwnd(), GW_OWNER), dialog.GetSafeHwnd());
        Press(box, IDYES);
    });
    dialog.m_fnStep = [&] { dialog.EndDialog(AfxMessageBox("Text", MB_YESNO)); };
    EXPECT_EQ(dialog.DoModal(), IDYES);

    using namespace std::string_literals;
    EXPECT_EQ(FileFilterFromBars("Text (*.txt)|*.txt||"), "Text (*.txt)\0*.txt\0\0\0\0"s);
    EXPECT_EQ(FileFilterFromBars(""), "\0\0"s);
    // In Shift-JIS the bar's code ends two-byte characters too: the katakana so and 0x837C, po.
    const bool bShiftJis = GetACP() == 932;
    EXPECT_EQ(FileFilterFromBars("\x83|a|b||"), bShiftJis ? "\x83|a\0b\0\0\0\0"s : "\x83\0a\0b\0\0\0\0"s);
}

}  // namespace
