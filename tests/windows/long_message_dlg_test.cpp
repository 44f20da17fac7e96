#include "dialogs/long_message_dlg.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "language/language_store.h"
#include "platform/files.h"
#include "resources/resource.h"
#include "shell/app_settings.h"
#include "tests/windows/window_script.h"

namespace {

constexpr char kTitle[] = "Title of the text";
constexpr char kSaveTitle[] = "Save As";
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
    ~LongMessageDlgTest() override { std::filesystem::remove_all(m_folder); }

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
    save((m_folder / "first").string());
    save((m_folder / "second.txt").string());
    save("");
    save((m_folder / "folder.txt").string());
    script.In(kTitle, [](const CWnd& dialog) { Press(dialog, IDC_LONG_CONTINUE); });
    std::filesystem::create_directories(m_folder / "folder.txt");
    Show();
    EXPECT_EQ(FileText(m_folder / "first.txt"), kText);
    EXPECT_EQ(FileText(m_folder / "second.txt"), kText);
}

}  // namespace
