// The entries of the main window's menu bar, in each language that it is given.
#include <gmock/gmock.h>

#include "resources/resource.h"
#include "shell/main_window/main_dlg_slots.h"
#include "tests/windows/main_window_fixture.h"

using testing::ElementsAre;

namespace {

using MainWindowMenuTest = MainWindowTest;

/// The text of an entry, its command if it has one, and an asterisk if it is greyed; "-" for a separator.
std::string Entry(HMENU hMenu, int nAt) {
    char szText[256] = "";
    const auto nPosition = static_cast<UINT>(nAt);
    if (!::GetMenuStringA(hMenu, nPosition, szText, sizeof szText, MF_BYPOSITION)) return "-";
    if (::GetSubMenu(hMenu, nAt)) return szText;
    const bool bGrey = (::GetMenuState(hMenu, nPosition, MF_BYPOSITION) & MF_GRAYED) != 0;
    return szText + (" " + std::to_string(::GetMenuItemID(hMenu, nAt))) + (bGrey ? "*" : "");
}

/// A string for each menu of the bar.
std::vector<std::string> Bar(const CWnd& window) {
    std::vector<std::string> menus;
    const HMENU hBar = ::GetMenu(window.GetSafeHwnd());
    for (int nMenu = 0; nMenu < ::GetMenuItemCount(hBar); ++nMenu) {
        const HMENU hMenu = ::GetSubMenu(hBar, nMenu);
        menus.push_back(Entry(hBar, nMenu));
        for (int nAt = 0; nAt < ::GetMenuItemCount(hMenu); ++nAt) menus.back() += "|" + Entry(hMenu, nAt);
    }
    return menus;
}

TEST_F(MainWindowMenuTest, BarHasEveryCommandUnderItsTextAndFollowsTheLanguage) {
    Run([&](const CWnd& window) {
        EXPECT_THAT(Bar(window),
                    ElementsAre("File|Exit 32772", "Settings|Miscellaneous 32773*|Automatic-logging 32781*",
                                "PFO|Start 1005|Stop 1006|-|Start All 32782|Stop All 32783", "Language|Change 1104",
                                "Help|Help 32774*|About 32775*"));
        m_script.In(kProgramName, [](const CWnd& dialog) { Press(dialog, IDC_LANGUAGE_DEUTSCH); });
        Command(window, ID_LANGUAGE_CHANGE);
        EXPECT_NE(Text(kSlotFileMenu), "File");
        const auto entry = [&](uint32_t nSlot, const char* pszRest) { return "|" + Text(nSlot) + pszRest; };
        EXPECT_THAT(
            Bar(window),
            ElementsAre(Text(kSlotFileMenu) + entry(kSlotExit, " 32772"),
                        Text(kSlotSettingsMenu) + entry(kSlotMiscellaneous, " 32773*") + entry(kSlotAutoLog, " 32781*"),
                        Text(kSlotPfoMenu) + entry(kSlotStart, " 1005") + entry(kSlotStop, " 1006") + "|-" +
                            entry(kSlotStartAll, " 32782") + entry(kSlotStopAll, " 32783"),
                        Text(kSlotLanguageMenu) + entry(kSlotChangeLanguage, " 1104"),
                        Text(kSlotHelpMenu) + entry(kSlotHelp, " 32774*") + entry(kSlotAbout, " 32775*")));
    });
}

}  // namespace
