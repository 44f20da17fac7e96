// The choice of a language and the long message, with the system's file dialogs that they open.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "dialogs/long_message_dlg.h"
#include "language/language_choice.h"
#include "language/language_dlg.h"
#include "language/language_store.h"
#include "resources/program_names.h"
#include "resources/resource.h"
#include "shell/app_settings.h"
#include "tests/support/wait.h"
#include "tests/windows/window_script.h"

namespace {

constexpr uint32_t kUntouched = 77;

class SmallDialogsTest : public testing::Test {
  protected:
    SmallDialogsTest() {
        std::filesystem::create_directories(m_folder);
        LoadGeneralTexts(&m_settings);
        ApplyLanguage(&m_settings);
    }
    ~SmallDialogsTest() override {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    std::string Path(const std::string& strName) const { return (m_folder / strName).string(); }
    std::string Content(const std::string& strName) const {
        std::ifstream file(m_folder / strName, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void ChooseByTheDialog(uint32_t dwExpected) {
        m_settings.languageCode = kUntouched;
        ChooseLanguage(&m_settings, Path("browser.bat"));
        EXPECT_EQ(m_settings.languageCode, dwExpected);
    }

    // One for each test: a program that the one before has started can still be at work in its own.
    const std::filesystem::path m_folder =
        std::filesystem::temp_directory_path() /
        (std::to_string(::GetCurrentProcessId()) + testing::UnitTest::GetInstance()->current_test_info()->name());
    AppSettings m_settings;
    CWindowScript m_script;
};

TEST_F(SmallDialogsTest, LanguageRowsShowNamesAndPromptsAndSetTheirCodes) {
    // Button, prompt, code, and the name's slot, behind which the prompt has its own.
    const std::tuple<int, int, uint32_t, uint32_t> rows[] = {
        {IDC_LANGUAGE_ENGLISH, IDC_LANGUAGE_ENGLISH_PROMPT, 0, 0},
        {IDC_LANGUAGE_DEUTSCH, IDC_LANGUAGE_DEUTSCH_PROMPT, 1, 4},
        {IDC_LANGUAGE_FRANCAIS, IDC_LANGUAGE_FRANCAIS_PROMPT, 2, 6},
        {IDC_LANGUAGE_ESPANOL, IDC_LANGUAGE_ESPANOL_PROMPT, 3, 8},
        {IDC_LANGUAGE_PORTUGUESE, IDC_LANGUAGE_PORTUGUESE_PROMPT, 5, 10},
        {IDC_LANGUAGE_ITALIANO, IDC_LANGUAGE_ITALIANO_PROMPT, 7, 12},
        {IDC_LANGUAGE_NEDERLANDS, IDC_LANGUAGE_NEDERLANDS_PROMPT, 8, 2}};
    for (const auto& [nButton, nPrompt, dwCode, nSlot] : rows) {
        m_script.In(kProgramName, [&, nId = nButton, nPromptId = nPrompt, nName = nSlot](const CWnd& dialog) {
            EXPECT_EQ(dialog.GetDlgItemText(nId), m_settings.generalTable.Text(nName));
            EXPECT_EQ(dialog.GetDlgItemText(nPromptId), m_settings.generalTable.Text(nName + 1));
            LOGFONTA font = {};
            ::GetObjectA(reinterpret_cast<HGDIOBJ>(dialog.SendMessage(WM_GETFONT)), sizeof(font), &font);
            EXPECT_STREQ(font.lfFaceName, "Tahoma") << "whatever the language in force";
            Press(dialog, nId);
        });
        ChooseByTheDialog(dwCode);
    }
}

TEST_F(SmallDialogsTest, EnterMeansEnglishAndEscapeF1AndTheCloseBoxNothing) {
    m_script.In(kProgramName, [](const CWnd& dialog) {
        for (const LPARAM nScanCode : {0x01, 0x3B}) dialog.PostMessage(WM_KEYDOWN, VK_ESCAPE, nScanCode << 16 | 1);
        EXPECT_EQ(LOWORD(dialog.SendMessage(DM_GETDEFID)), IDC_LANGUAGE_ENGLISH);
    });
    m_script.In(kProgramName, [](const CWnd&) { ::PostMessageA(::GetFocus(), WM_KEYDOWN, VK_RETURN, 0x001C0001); });
    ChooseByTheDialog(0);
    m_script.In(kProgramName, [](const CWnd& dialog) { dialog.PostMessage(WM_SYSCOMMAND, SC_CLOSE); });
    ChooseByTheDialog(kUntouched);
}

TEST_F(SmallDialogsTest, LanguagesOfTheUnicodeVersionOfferThePageAndStay) {
    std::ofstream(m_folder / "browser.bat") << "@echo %1> \"" << Path("seen.txt") << "\"\r\n";
    const std::tuple<int, int, const char*, uint32_t> rows[] = {
        {IDC_LANGUAGE_CHINESE, IDC_LANGUAGE_CHINESE_PROMPT, "Chinese (Trad.)", 17},
        {IDC_LANGUAGE_JAPANESE, IDC_LANGUAGE_JAPANESE_PROMPT, "Japanese", 15},
        {IDC_LANGUAGE_RUSSIAN, IDC_LANGUAGE_RUSSIAN_PROMPT, "Russian", 19}};
    for (const auto& row : rows) {
        m_script.In(kProgramName, [&](const CWnd& dialog) {
            const auto& [nButton, nPrompt, pszName, nPromptSlot] = row;
            EXPECT_EQ(dialog.GetDlgItemText(nButton), pszName);
            EXPECT_EQ(dialog.GetDlgItemText(nPrompt), m_settings.generalTable.Text(nPromptSlot));
            Press(dialog, nButton);
        });
        m_script.Answer("Not supported in this version",
                        "You will need to obtain the Unicode version of this program to use it in this "
                        "language,\r\n\r\nWould you like to go to the program's Web-page now?",
                        std::get<0>(row) == IDC_LANGUAGE_RUSSIAN ? IDYES : IDNO);
    }
    m_script.In(kProgramName, [](const CWnd& dialog) { dialog.PostMessage(WM_SYSCOMMAND, SC_CLOSE); });
    ChooseByTheDialog(kUntouched);
    EXPECT_TRUE(WaitFor([&] { return Content("seen.txt").ends_with("\n"); }));
    EXPECT_THAT(Content("seen.txt"), testing::MatchesRegex("\"http://.*/ZELKOR.html\"\\s*"));
}

TEST_F(SmallDialogsTest, LanguageFileIsTakenOnlyIfItIsThereAndAppliedAtOnce) {
    std::ofstream file(m_folder / "own.txt", std::ios::binary);
    for (const char ch : std::string("\r\n[15]\tGut")) file << ch << '\0';
    file.close();
    for (const std::string& strPath : {std::string(), Path("missing.txt"), Path("own.txt")}) {
        m_script.In(kProgramName, [this](const CWnd& dialog) {
            EXPECT_EQ(m_settings.languageFilePath, "");
            Press(dialog, IDC_LANGUAGE_FILE);
        });
        m_script.ChooseFile("Open", strPath);
    }
    ChooseByTheDialog(LANGUAGE_FILE);
    EXPECT_EQ(m_settings.languageFilePath, Path("own.txt"));
    EXPECT_EQ(m_settings.slotTable.Text(15) + m_settings.slotTable.Text(16), "Gut");
}

TEST_F(SmallDialogsTest, LongMessageTakesItsSizeAndSavesAsOftenAsAsked) {
    constexpr char kText[] = "First line\r\n\r\nLast line";
    m_script.In("Title", [&](const CWnd& dialog) {
        const RECT window = dialog.GetWindowRect();
        EXPECT_EQ(window.right - window.left, 350);
        EXPECT_EQ(window.bottom - window.top, 300 + ::GetSystemMetrics(SM_CYCAPTION));
        EXPECT_EQ(window.left, (::GetSystemMetrics(SM_CXFULLSCREEN) - 350) / 2);
        const RECT client = dialog.GetClientRect();
        RECT last = {};
        for (const int nId : {IDC_LONG_TEXT, IDC_LONG_SAVE, IDC_LONG_CONTINUE}) {
            const CWnd control(::GetDlgItem(dialog.GetSafeHwnd(), nId));
            EXPECT_TRUE(control.IsWindowVisible()) << nId;
            const RECT rect = dialog.ScreenToClient(control.GetWindowRect());
            EXPECT_TRUE(rect.right <= client.right && rect.bottom <= client.bottom) << nId << " is cut off";
            RECT common;
            EXPECT_FALSE(::IntersectRect(&common, &rect, &last)) << nId << " covers its neighbour";
            last = rect;
        }
        EXPECT_EQ(dialog.GetDlgItemText(IDC_LONG_TEXT), kText);
        EXPECT_EQ(dialog.SendDlgItemMessage(IDC_LONG_TEXT, EM_GETSEL), 0) << "the text opens selected";
    });
    // Asked before it is overwritten; that it cannot be is not told, and the dialog stays.
    std::ofstream(m_folder / "locked.txt") << "old";
    const std::unique_ptr<void, decltype(&::CloseHandle)> hLock(
        ::CreateFileA(Path("locked.txt").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr),
        ::CloseHandle);
    for (const std::string& strPath : {Path("first"), Path("second.txt"), std::string(), Path("locked.txt")}) {
        m_script.Press("Title", IDC_LONG_SAVE).ChooseFile("Save As", strPath);
    }
    m_script.Press("Error", IDYES);  // in Wine the question has the caption of a message box without one
    m_script.In("Title", [](const CWnd&) { ::PostMessageA(::GetFocus(), WM_KEYDOWN, VK_RETURN, 0x001C0001); });
    ShowLongMessage(kText, "Title", 350, 300, &m_settings);
    for (const char* const pszFile : {"first.txt", "second.txt"}) EXPECT_EQ(Content(pszFile), kText);
    EXPECT_EQ(Content("locked.txt"), "old");
}

}  // namespace
