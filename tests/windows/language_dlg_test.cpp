#include "language/language_dlg.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "language/language_choice.h"
#include "language/language_store.h"
#include "language/zones.h"
#include "platform/files/files.h"
#include "resources/program_names.h"
#include "resources/resource.h"
#include "tests/support/wait.h"
#include "tests/windows/window_script.h"

namespace {

constexpr char kUnicodeOnly[] =
    "You will need to obtain the Unicode version of this program to use it in this language,\r\n\r\nWould you like to "
    "go "
    "to the program's Web-page now?";
constexpr char kUnicodeOnlyTitle[] = "Not supported in this version";
constexpr char kOpenTitle[] = "Open";
constexpr uint32_t kUntouched = 77;

class LanguageDlgTest : public testing::Test {
  protected:
    LanguageDlgTest() : m_folder(std::filesystem::temp_directory_path() / "zelkor_language_dlg") {
        std::filesystem::remove_all(m_folder);
        std::filesystem::create_directories(m_folder);
        LoadGeneralTexts(&m_settings);
        ApplyLanguage(&m_settings);
        m_settings.languageCode = kUntouched;
    }
    ~LanguageDlgTest() override {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    /// A language text file with one slot.
    std::string LanguageFile(const std::string& strText) const {
        const std::filesystem::path path = m_folder / "own.txt";
        std::ofstream file(path, std::ios::binary);
        for (const char ch : "\r\n[15]\t" + strText) file << ch << '\0';
        return path.string();
    }

    const std::filesystem::path m_folder;
    LanguageSettings m_settings;
    std::string m_strBrowser;
};

TEST_F(LanguageDlgTest, RowsShowNamesAndPromptsWhateverTheFontRule) {
    CWindowScript script;
    script.In(kProgramName, [this](const CWnd& dialog) {
        const auto text = [&](uint32_t nSlot) { return m_settings.generalTable.Text(nSlot); };
        EXPECT_EQ(dialog.GetDlgItemText(IDC_LANGUAGE_ENGLISH), "English");
        EXPECT_EQ(dialog.GetDlgItemText(IDC_LANGUAGE_ENGLISH_PROMPT), "Please choose your language");
        EXPECT_EQ(dialog.GetDlgItemText(IDC_LANGUAGE_FRANCAIS), text(6));
        EXPECT_EQ(dialog.GetDlgItemText(IDC_LANGUAGE_PORTUGUESE_PROMPT), text(11));
        EXPECT_EQ(dialog.GetDlgItemText(IDC_LANGUAGE_CHINESE), "Chinese (Trad.)");
        EXPECT_EQ(dialog.GetDlgItemText(IDC_LANGUAGE_CHINESE_PROMPT), text(17));
        EXPECT_EQ(dialog.GetDlgItemText(IDC_LANGUAGE_JAPANESE_PROMPT), text(15));
        EXPECT_EQ(dialog.GetDlgItemText(IDC_LANGUAGE_RUSSIAN_PROMPT), text(19));
        EXPECT_EQ(dialog.GetDlgItemText(IDC_LANGUAGE_FILE), "^~/../..\\..\\~^");
        LOGFONTA font = {};
        ::GetObjectA(reinterpret_cast<HGDIOBJ>(dialog.SendMessage(WM_GETFONT)), sizeof(font), &font);
        EXPECT_STREQ(font.lfFaceName, "Tahoma");
        dialog.PostMessage(WM_SYSCOMMAND, SC_CLOSE);
    });
    CLanguageDlg(&m_settings, m_strBrowser).DoModal();
    EXPECT_EQ(m_settings.languageCode, kUntouched);
}

TEST_F(LanguageDlgTest, EachRowSetsItsCode) {
    const std::pair<int, uint32_t> rows[] = {
        {IDC_LANGUAGE_DEUTSCH, 1},    {IDC_LANGUAGE_ENGLISH, 0},  {IDC_LANGUAGE_ESPANOL, 3},
        {IDC_LANGUAGE_FRANCAIS, 2},   {IDC_LANGUAGE_ITALIANO, 7}, {IDC_LANGUAGE_NEDERLANDS, 8},
        {IDC_LANGUAGE_PORTUGUESE, 5},
    };
    for (const auto& [nButton, dwCode] : rows) {
        m_settings.languageCode = kUntouched;
        CWindowScript script;
        script.In(kProgramName, [nId = nButton](const CWnd& dialog) { Press(dialog, nId); });
        CLanguageDlg(&m_settings, m_strBrowser).DoModal();
        EXPECT_EQ(m_settings.languageCode, dwCode);
    }
}

TEST_F(LanguageDlgTest, EnterMeansEnglishEscapeAndF1Nothing) {
    CWindowScript script;
    script.In(kProgramName, [](const CWnd& dialog) {
        ::PostMessageA(::GetFocus(), WM_KEYDOWN, VK_ESCAPE, 0x00010001);
        ::PostMessageA(::GetFocus(), WM_KEYDOWN, VK_F1, 0x003B0001);
        EXPECT_EQ(LOWORD(dialog.SendMessage(DM_GETDEFID)), IDC_LANGUAGE_ENGLISH);
    });
    script.In(kProgramName, [this](const CWnd&) {
        EXPECT_EQ(m_settings.languageCode, kUntouched);
        ::PostMessageA(::GetFocus(), WM_KEYDOWN, VK_RETURN, 0x001C0001);
    });
    CLanguageDlg(&m_settings, m_strBrowser).DoModal();
    EXPECT_EQ(m_settings.languageCode, 0u);
}

TEST_F(LanguageDlgTest, LanguagesOfTheUnicodeVersionOfferThePageAndStay) {
    const std::filesystem::path seen = m_folder / "seen.txt";
    const std::filesystem::path browser = m_folder / "browser.bat";
    std::ofstream(browser) << "@echo %1> \"" << seen.string() << "\"\r\n";
    m_strBrowser = browser.string();
    CWindowScript script;
    for (const int nButton : {IDC_LANGUAGE_CHINESE, IDC_LANGUAGE_JAPANESE, IDC_LANGUAGE_RUSSIAN}) {
        script.In(kProgramName, [nButton](const CWnd& dialog) { Press(dialog, nButton); });
        script.Answer(kUnicodeOnlyTitle, kUnicodeOnly, nButton == IDC_LANGUAGE_RUSSIAN ? IDYES : IDNO);
    }
    script.In(kProgramName, [](const CWnd& dialog) { dialog.PostMessage(WM_SYSCOMMAND, SC_CLOSE); });
    CLanguageDlg(&m_settings, m_strBrowser).DoModal();
    EXPECT_EQ(m_settings.languageCode, kUntouched);
    std::string strPage;
    EXPECT_TRUE(WaitFor([&] { return std::getline(std::ifstream(seen), strPage) && !strPage.empty(); }));
    EXPECT_TRUE(strPage.starts_with("\"http://") && strPage.find("/ZELKOR.html\"") != std::string::npos) << strPage;
}

TEST_F(LanguageDlgTest, FileRowTakesOnlyAFileThatIsThere) {
    const std::string strPath = LanguageFile("Gut");
    const std::string strMissing = (m_folder / "missing.txt").string();
    CWindowScript script;
    for (const std::string& strName : {std::string(), strMissing, strPath}) {
        script.In(kProgramName, [this](const CWnd& dialog) {
            EXPECT_EQ(m_settings.languageCode, kUntouched);
            EXPECT_EQ(m_settings.languageFilePath, "");
            Press(dialog, IDC_LANGUAGE_FILE);
        });
        script.ChooseFile(kOpenTitle, strName);
    }
    ChooseLanguage(&m_settings, m_strBrowser);
    EXPECT_EQ(m_settings.languageCode, LANGUAGE_FILE);
    EXPECT_EQ(m_settings.languageFilePath, strPath);
    EXPECT_EQ(m_settings.slotTable.Text(15), "Gut") << "the choice was not applied";
    EXPECT_EQ(m_settings.slotTable.Text(16), "");
}

}  // namespace
