// The entries of the main window's menu bar, in each language that it is given.
#include <gmock/gmock.h>

#include "language/slots.h"
#include "resources/resource.h"
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
std::vector<std::string> Bar(HMENU hBar) {
    std::vector<std::string> menus;
    for (int nMenu = 0; nMenu < ::GetMenuItemCount(hBar); ++nMenu) {
        const HMENU hMenu = ::GetSubMenu(hBar, nMenu);
        menus.push_back(Entry(hBar, nMenu));
        for (int nAt = 0; nAt < ::GetMenuItemCount(hMenu); ++nAt) menus.back() += "|" + Entry(hMenu, nAt);
    }
    return menus;
}

TEST_F(MainWindowMenuTest, BarHasEveryCommandAlsoBehindAChangeOfTheLanguage) {
    const auto entry = [&](uint32_t nSlot, const char* pszRest = "") { return Text(nSlot) + pszRest; };
    const auto bar = [&] {
        return ElementsAre(
            entry(kSlotFileMenu) + "|" + entry(kSlotExit, " 32772"),
            entry(kSlotSettingsMenu) + "|" + entry(kSlotMiscellaneous, " 32773*|") + entry(kSlotAutoLog, " 32781*"),
            entry(kSlotPfoMenu) + "|" + entry(kSlotStart, " 1005|") + entry(kSlotStop, " 1006|-|") +
                entry(kSlotStartAll, " 32782|") + entry(kSlotStopAll, " 32783"),
            entry(kSlotLanguageMenu) + "|" + entry(kSlotChangeLanguage, " 1104"),
            entry(kSlotHelpMenu) + "|" + entry(kSlotHelp, " 32774*|") + entry(kSlotAbout, " 32775*"));
    };
    Run([&] {
        EXPECT_EQ(Text(kSlotFileMenu), "File");
        EXPECT_THAT(Bar(::GetMenu(m_hMainWnd)), bar());
        m_script.Press(kProgramName, IDC_LANGUAGE_DEUTSCH);
        Command(ID_LANGUAGE_CHANGE);
        EXPECT_EQ(Text(kSlotFileMenu), "Datei");
        EXPECT_THAT(Bar(::GetMenu(m_hMainWnd)), bar());
    });
}

}  // namespace
