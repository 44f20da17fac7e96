#include "dialogs/long_message_dlg.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "language/language_store.h"
#include "platform/files/files.h"
#include "resources/resource.h"
#include "shell/app_settings.h"
#include "tests/windows/window_script.h"

namespace {

constexpr char kTitle[] = "Title of the text";
constexpr char kSaveTitle[] = "Save As";
constexpr char kOverwriteTitle[] = "Error";  // in Wine the question has the caption of a message box without one
constexpr char kText[] = "First line\r\n\r\nLast line";

std::string FileText(const std::filesystem::path& path) {
    std::vector<uint8_t> data;
    EXPECT_EQ(ReadWholeFile(path.string(), &data), 0);
    return std::string(data.begin(), data.end());
}

class LongMessageDlgTest : public testing::Test {
  protected:
    LongMessageDlgTest() : m_folder(std::filesystem::temp_directory_path() / "zelkor_long_message") {
        std::filesystem::remove_all(m_folder);
        std::filesystem::create_directories(m_folder);
        ApplyLanguage(&m_settings);
    }
    ~LongMessageDlgTest() override {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    std::string File(const char* pszName) const { return (m_folder / pszName).string(); }
    void Show() { ShowLongMessage(kText, kTitle, 350, 300, &m_settings); }

    const std::filesystem::path m_folder;
    AppSettings m_settings;
};

TEST_F(LongMessageDlgTest, TakesItsSizeAndShowsTheThreeControls) {
    for (const uint32_t dwLanguage : {0u, 9u}) {
        m_settings.languageCode = dwLanguage;
        CWindowScript script;
        script.In(kTitle, [](const CWnd& dialog) {
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
            EXPECT_FALSE(dialog.GetDlgItem(IDC_LONG_STATIC).IsWindowVisible());
            EXPECT_FALSE(dialog.GetDlgItem(IDC_LONG_PLAIN_TEXT).IsWindowVisible());
            EXPECT_EQ(dialog.GetDlgItemText(IDC_LONG_TEXT), kText);
            EXPECT_EQ(dialog.SendDlgItemMessage(IDC_LONG_TEXT, EM_GETSEL), 0) << "the text opens selected";
            ::PostMessageA(::GetFocus(), WM_KEYDOWN, VK_RETURN, 0x001C0001);
        });
        Show();
    }
}

TEST_F(LongMessageDlgTest, SavesAsOftenAsAskedAndStaysOpen) {
    CWindowScript script;
    const auto save = [&](const std::string& strPath) {
        script.In(kTitle, [](const CWnd& dialog) { Press(dialog, IDC_LONG_SAVE); });
        script.ChooseFile(kSaveTitle, strPath);
    };
    save(File("first"));
    save(File("second.txt"));
    save("");
    // Asked before it is overwritten; that it cannot be is not told, and the dialog stays.
    std::ofstream(m_folder / "locked.txt") << "old";
    const std::unique_ptr<void, decltype(&::CloseHandle)> hLock(
        ::CreateFileA(File("locked.txt").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr),
        ::CloseHandle);
    save(File("locked.txt"));
    script.In(kOverwriteTitle, [](const CWnd& question) { Press(question, IDYES); });
    script.In(kTitle, [](const CWnd& dialog) { Press(dialog, IDC_LONG_CONTINUE); });
    Show();
    EXPECT_EQ(FileText(m_folder / "first.txt"), kText);
    EXPECT_EQ(FileText(m_folder / "second.txt"), kText);
    EXPECT_EQ(FileText(m_folder / "locked.txt"), "old");
}

}  // namespace
