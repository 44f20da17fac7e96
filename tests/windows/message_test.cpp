// What the system's own dialogs are given: message boxes and file dialogs, answered by a timer.
#include <gtest/gtest.h>

#include <functional>

#include "platform/mfc/file_dialog.h"
#include "platform/mfc/win_app.h"
#include "resources/resource.h"
#include "tests/windows/script_dialog.h"

namespace {

class CTestApp : public CWinApp {
  public:
    CTestApp() : CWinApp("Name of the program") {}
    bool InitInstance() override { return false; }
};
CTestApp g_app;

std::function<bool(HWND hWnd)> g_fnAnswer;  // true when it has answered

BOOL CALLBACK AnswerWindow(HWND hWnd, LPARAM) {
    char szClass[16] = {};
    ::GetClassNameA(hWnd, szClass, sizeof(szClass));
    return !(std::string(szClass) == "#32770" && ::IsWindowVisible(hWnd) && g_fnAnswer(hWnd));
}

void CALLBACK AnswerTick(HWND, UINT, UINT_PTR, DWORD) {
    ::EnumThreadWindows(GetCurrentThreadId(), AnswerWindow, 0);
}

/// Runs the call while a timer shows every dialog of the thread to the answer.
template <class T>
auto WithAnswer(std::function<bool(HWND)> fnAnswer, T fnCall) {
    g_fnAnswer = std::move(fnAnswer);
    const UINT_PTR nTimer = ::SetTimer(nullptr, 0, 20, AnswerTick);
    const auto result = fnCall();
    ::KillTimer(nullptr, nTimer);
    return result;
}

TEST(MessageTest, MessageBoxHasTheProgramsNameAndTheInnermostOwner) {
    ASSERT_EQ(AfxGetApp(), &g_app);
    CScriptDialog main(IDD_MAIN);
    main.Then([](CScriptDialog& dialog) {
        const auto answer = [&](HWND hWnd) {
            if (hWnd == dialog.GetSafeHwnd()) return false;
            EXPECT_EQ(CWnd(hWnd).GetWindowText(), "Name of the program");
            EXPECT_EQ(::GetWindow(hWnd, GW_OWNER), dialog.GetSafeHwnd());
            EXPECT_FALSE(dialog.IsWindowEnabled());
            return ::PostMessageA(hWnd, WM_COMMAND, IDYES, 0) != FALSE;
        };
        EXPECT_EQ(WithAnswer(answer, [] { return AfxMessageBox("Text", MB_YESNO); }), IDYES);
        dialog.EndDialog(1);
    });
    EXPECT_EQ(main.DoModal(), 1);
}

TEST(FileDialogTest, NameGetsTheDefaultExtensionAndCancelGivesNone) {
    char szFolder[MAX_PATH] = {};
    ASSERT_NE(::GetTempPathA(MAX_PATH, szFolder), 0u);
    FileDialogOptions options;
    options.bOpen = false;
    options.strFilter = "Text Files (*.txt)|*.txt|All Files (*.*)|*.*||";
    options.strDefaultExtension = ".txt";
    options.strFileName = "zelkor-name";
    options.strFolder = szFolder;
    CFileDialog dialog(options);
    const auto press = [](WPARAM nButton) {
        return [nButton](HWND hWnd) { return ::PostMessageA(hWnd, WM_COMMAND, nButton, 0) != FALSE; };
    };
    EXPECT_EQ(WithAnswer(press(IDOK), [&] { return dialog.DoModal(); }), IDOK);
    EXPECT_EQ(dialog.GetPathName(), std::string(szFolder) + "zelkor-name.txt");
    EXPECT_EQ(WithAnswer(press(IDCANCEL), [&] { return dialog.DoModal(); }), IDCANCEL);
    EXPECT_EQ(dialog.GetPathName(), "");
}

TEST(FileDialogTest, BarsBecomeZeroBytesAndTheEndIsDoublyMarked) {
    using namespace std::string_literals;
    EXPECT_EQ(FileFilterFromBars("Text (*.txt)|*.txt||"), "Text (*.txt)\0*.txt\0\0\0\0"s);
    EXPECT_EQ(FileFilterFromBars("Text (*.txt)|*.txt"), "Text (*.txt)\0*.txt\0\0"s);
    EXPECT_EQ(FileFilterFromBars(""), "\0\0"s);
    // In Shift-JIS the bar's code ends two-byte characters too: the katakana so and 0x837C, po.
    const bool bShiftJis = GetACP() == 932;
    EXPECT_EQ(FileFilterFromBars("\x83|a|b||"), bShiftJis ? "\x83|a\0b\0\0\0\0"s : "\x83\0a\0b\0\0\0\0"s);
}

}  // namespace
