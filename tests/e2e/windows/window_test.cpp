// The main window as a whole: its language, its place, the tray and what closing it keeps.
#include <algorithm>

#include "tests/e2e/windows/e2e_fixture.h"
#include "tests/e2e/windows/menu_probe.h"
#include "tests/e2e/windows/zone_texts.h"

using testing::ElementsAre;

namespace {

constexpr UINT kTrayNotify = 0x8009;
constexpr char kHideInTray[] =
    "Minimize to the System-Tray?: Would you rather that I hide in the System-Tray than simply minimize?";

class WindowTest : public E2eTest {
  protected:
    std::vector<std::string> ColumnHeads() {
        std::vector<std::string> heads;
        for (int nColumn = 0; nColumn < 6; ++nColumn) heads.push_back(List().ColumnHead(nColumn));
        return heads;
    }
    RECT Rect() const { return m_main.Rect(); }
    bool StandsAt(const std::array<int32_t, 4>& rect) const {
        const RECT now = Rect();
        return now.left == rect[0] && now.top == rect[1] && now.right == rect[2] && now.bottom == rect[3];
    }
    /// The tray tells the window of the left button.
    void ClickTrayIcon() { m_main.Send(kTrayNotify, 0, WM_LBUTTONUP); }
    bool IsMinimized() const { return IsIconic(m_main.Handle()) != 0; }

    const CEchoServer m_server{SocketKind::Tcp};
    OptionsInput m_tcp{SocketKind::Tcp, FreePort(SocketKind::Tcp), m_server.Port()};
};

TEST_F(WindowTest, LanguageChangesWhileAnOperationRuns) {
    SettingsImage settings = PlacedSettings();
    settings.autoStartMode = 0;
    settings.operations = {OperationOf(m_tcp)};
    settings.operations[0].bRunning = 1;
    StartWith(settings);
    EXPECT_THAT(MenuBarOf(m_main),
                ElementsAre("File|Exit", "Settings|Miscellaneous|Automatic-logging",
                            "PFO|Start|Stop|-|Start All|Stop All", "Language|Change", "Help|Help|About"));
    EXPECT_THAT(ColumnHeads(),
                ElementsAre("Status", "Protocol", "Local IP", "Local port", "Forward to host", "Forward to port"));
    CEchoClient client(SocketKind::Tcp, m_tcp.wLocalPort);
    ASSERT_EQ(client.Echo("english"), "english");

    const CRemoteWindow choice = Open(ID_LANGUAGE_CHANGE, IDC_LANGUAGE_DEUTSCH);
    choice.Command(IDC_LANGUAGE_DEUTSCH);
    settings.languageCode = 1;
    ExpectSaved(settings);
    auto german = ZoneTexts(m_program.Path(), "Zone_Deutsch");
    ASSERT_NE(german[95], "");
    ASSERT_NE(german[202], "File");
    ASSERT_TRUE(m_program.WaitFor([&] { return List().ColumnHead(0) == german[95]; }));
    EXPECT_THAT(ColumnHeads(), ElementsAre(german[95], german[96], german[97], german[98], german[99], german[100]));
    EXPECT_THAT(
        MenuBarOf(m_main),
        ElementsAre(german[202] + "|" + german[203], german[204] + "|" + german[205] + "|" + german[206],
                    german[207] + "|" + german[113] + "|" + german[114] + "|-|" + german[208] + "|" + german[209],
                    german[217] + "|" + german[218], german[210] + "|" + german[211] + "|" + german[212]));
    EXPECT_EQ(m_main.Text(ID_PFO_NEW), german[110]);
    EXPECT_EQ(List().Cell(0, 0), "Started") << "rows keep their words until something rewrites them";
    EXPECT_EQ(client.Echo("deutsch"), "deutsch");
    m_main.CommandAndWait(ID_PFO_STOP_ALL);
    ExpectStatus(0, german[118]);
}

TEST_F(WindowTest, RowsColumnsAndPlaceSurviveARun) {
    SettingsImage settings = PlacedSettings();
    settings.columnOrder = {3, 1, 2, 0, 5, 4};
    settings.columnWidths = {50, 60, 70, 80, 90, 100};
    for (const uint16_t wPort : std::initializer_list<uint16_t>{4003, 4001, 4002}) {
        OptionsInput input = m_tcp;
        input.wLocalPort = wPort;
        settings.operations.push_back(OperationOf(input));
    }
    StartWith(settings);
    EXPECT_TRUE(StandsAt(settings.windowRect));
    EXPECT_THAT(List().ColumnOrder(), ElementsAre(3, 1, 2, 0, 5, 4));
    EXPECT_EQ(List().Cell(0, 3), "4002") << "the last of the file is the first row";
    CloseMainWindow();
    ExpectSaved(settings);

    Restart();
    List().ClickColumn(3);
    ASSERT_TRUE(m_program.WaitFor([&] { return List().Cell(0, 3) == "4003" && List().Cell(2, 3) == "4001"; }));
    List().ClickColumn(3);
    ASSERT_TRUE(m_program.WaitFor([&] { return List().Cell(0, 3) == "4001" && List().Cell(2, 3) == "4003"; }));
    CloseMainWindow();
    std::ranges::sort(settings.operations, std::greater<>(), &OperationImage::wLocalPort);
    ExpectSaved(settings);
}

TEST_F(WindowTest, ClosedWhileMaximisedItComesBackMaximised) {
    SettingsImage settings = PlacedSettings();
    StartWith(settings);
    m_main.Send(WM_SYSCOMMAND, SC_MAXIMIZE);
    ASSERT_TRUE(m_program.WaitFor([&] { return IsZoomed(m_main.Handle()) != 0; }));
    CloseMainWindow();
    settings.windowFlags = 1;
    ExpectSaved(settings);

    Restart();
    EXPECT_TRUE(IsZoomed(m_main.Handle()));
    m_main.Send(WM_SYSCOMMAND, SC_RESTORE);
    EXPECT_TRUE(m_program.WaitFor([&] { return StandsAt(settings.windowRect); }));
    CloseMainWindow();
    settings.windowFlags = 0;
    ExpectSaved(settings);
}

TEST_F(WindowTest, ListGrowsWithTheWindowDownToItsSmallestSize) {
    StartWith(PlacedSettings());
    const RECT before = m_main.Control(IDC_MAIN_LIST).Rect();
    SetWindowPos(m_main.Handle(), nullptr, 10, 10, 900, 700, SWP_NOZORDER | SWP_NOACTIVATE);
    ASSERT_TRUE(m_program.WaitFor([&] { return StandsAt({10, 10, 910, 710}); }));
    const RECT after = m_main.Control(IDC_MAIN_LIST).Rect();
    EXPECT_EQ((after.right - after.left) - (before.right - before.left), 100);
    EXPECT_EQ((after.bottom - after.top) - (before.bottom - before.top), 200);
    SetWindowPos(m_main.Handle(), nullptr, 10, 10, 300, 200, SWP_NOZORDER | SWP_NOACTIVATE);
    EXPECT_TRUE(m_program.WaitFor([&] { return StandsAt({10, 10, 650, 410}); }));
}

TEST_F(WindowTest, FirstMinimiseAsksOnceAndHidesInTheTray) {
    SettingsImage settings = PlacedSettings();
    settings.trayPromptDone = 0;
    StartWith(settings);
    m_main.Post(WM_SYSCOMMAND, SC_MINIMIZE);
    Answer(kHideInTray, IDYES);
    EXPECT_TRUE(m_program.WaitFor([&] { return !m_main.IsVisible(); }));
    ClickTrayIcon();
    EXPECT_TRUE(m_program.WaitFor([&] { return m_main.IsVisible() && StandsAt(settings.windowRect); }));
    m_main.Post(WM_SYSCOMMAND, SC_MINIMIZE);
    EXPECT_TRUE(m_program.WaitFor([&] { return !m_main.IsVisible(); })) << "asked again";
    m_main.CommandAndWait(ID_TRAY_RESTORE);
    EXPECT_TRUE(m_program.WaitFor([&] { return m_main.IsVisible(); }));

    CloseMainWindow();
    settings.trayPromptDone = settings.showTrayIcon = settings.hideTaskbarWhenMinimized = 1;
    ExpectSaved(settings);
}

TEST_F(WindowTest, MaximisedWindowComesBackMaximisedFromTheTray) {
    SettingsImage settings = PlacedSettings();
    settings.showTrayIcon = settings.hideTaskbarWhenMinimized = 1;
    StartWith(settings);
    m_main.Send(WM_SYSCOMMAND, SC_MAXIMIZE);
    m_main.Send(WM_SYSCOMMAND, SC_MINIMIZE);
    EXPECT_TRUE(m_program.WaitFor([&] { return !m_main.IsVisible(); }));
    ClickTrayIcon();
    EXPECT_TRUE(m_program.WaitFor([&] { return m_main.IsVisible() && IsZoomed(m_main.Handle()); }));
}

TEST_F(WindowTest, StartsMinimisedWhenTold) {
    m_program.Save(PlacedSettings().Bytes());
    ASSERT_TRUE(m_program.Start("-noinstall -start_minimized"));
    EXPECT_TRUE(m_program.WaitFor([&] {
        m_main = m_program.MainWindow();
        return IsMinimized();
    }));
    m_main.Send(WM_SYSCOMMAND, SC_RESTORE);
    EXPECT_TRUE(m_program.WaitFor([&] { return !IsMinimized() && StandsAt(PlacedSettings().windowRect); }));
}

TEST_F(WindowTest, CloseMinimisesWhenToldAndExitEnds) {
    SettingsImage settings = PlacedSettings();
    settings.minimizeOnClose = 1;
    StartWith(settings);
    m_main.Post(WM_CLOSE);
    EXPECT_TRUE(m_program.WaitFor([&] { return IsMinimized(); }));
    m_main.Command(ID_FILE_EXIT);
    EXPECT_EQ(m_program.WaitForEnd(), 0u);
    ExpectSaved(settings);
}

TEST_F(WindowTest, EscapeDoesNotClose) {
    StartWith(PlacedSettings());
    const CRemoteWindow list = m_main.Control(IDC_MAIN_LIST);
    list.Post(WM_KEYDOWN, VK_ESCAPE, 0x00010001);
    list.Post(WM_KEYUP, VK_ESCAPE, static_cast<LPARAM>(0xC0010001));
    // A dialog that the window opens afterwards shows that the key has been served.
    const CRemoteWindow options = Open(ID_PFO_NEW, IDC_PFO_LOCAL_PORT);
    EXPECT_TRUE(options.Exists());
    options.Command(IDCANCEL);
    EXPECT_TRUE(m_program.WaitFor([&] { return !options.Exists() && m_main.IsEnabled(); }));
}

}  // namespace
