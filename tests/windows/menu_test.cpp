// Who owns a menu, and for how long.
#include "platform/mfc/menu.h"

#include <gtest/gtest.h>

#include "resources/resource.h"
#include "tests/windows/script_dialog.h"

namespace {

TEST(MenuTest, PopupGoesWithTheMenuThatHoldsIt) {
    HMENU hBar = nullptr;
    HMENU hPopup = nullptr;
    {
        CMenu bar;
        ASSERT_TRUE(bar.CreateMenu());
        hBar = bar.Handle();
        CMenu popup;
        ASSERT_TRUE(popup.CreatePopupMenu());
        hPopup = popup.Handle();
        EXPECT_FALSE(popup.AppendPopup(&popup, "itself"));
        EXPECT_TRUE(bar.AppendPopup(&popup, "once"));
        EXPECT_FALSE(bar.AppendPopup(&popup, "twice"));
        EXPECT_EQ(bar.ItemCount(), 1);
        // A borrowed pop-up is only forgotten, and entries can still be put into it before.
        EXPECT_TRUE(popup.Append(7, "entry"));
        EXPECT_TRUE(bar.Enable(7, false));
        EXPECT_EQ(GetMenuState(hBar, 7, MF_BYCOMMAND) & MF_GRAYED, static_cast<UINT>(MF_GRAYED));
        EXPECT_FALSE(bar.Enable(8, false));
        popup.Destroy();
        EXPECT_TRUE(IsMenu(hPopup));
    }
    EXPECT_FALSE(IsMenu(hBar));
    EXPECT_FALSE(IsMenu(hPopup));
}

TEST(MenuTest, NewMenuInTheSameObjectDestroysTheOldOne) {
    CMenu menu;
    ASSERT_TRUE(menu.CreatePopupMenu());
    const HMENU hOld = menu.Handle();
    EXPECT_TRUE(menu.Append(1, "first"));
    ASSERT_TRUE(menu.CreateMenu());
    EXPECT_FALSE(IsMenu(hOld));
    EXPECT_EQ(menu.ItemCount(), 0);
}

TEST(MenuTest, InsertPutsEntriesBeforeAPosition) {
    CMenu menu;
    ASSERT_TRUE(menu.CreatePopupMenu());
    EXPECT_TRUE(menu.Insert(-1, 3, "third"));
    EXPECT_TRUE(menu.Insert(0, 1, "first"));
    EXPECT_TRUE(menu.InsertSeparator(1));
    ASSERT_EQ(menu.ItemCount(), 3);
    EXPECT_EQ(GetMenuItemID(menu.Handle(), 0), 1u);
    EXPECT_EQ(GetMenuState(menu.Handle(), 1, MF_BYPOSITION) & MF_SEPARATOR, static_cast<UINT>(MF_SEPARATOR));
    EXPECT_EQ(GetMenuItemID(menu.Handle(), 2), 3u);
}

TEST(MenuTest, WindowOwnsItsMenuBarAndTheReplacedOneGoes) {
    CMenu bar;
    CMenu popup;
    const auto build = [&] {
        ASSERT_TRUE(bar.CreateMenu());
        ASSERT_TRUE(popup.CreatePopupMenu());
        ASSERT_TRUE(bar.AppendPopup(&popup, "File"));
    };
    HMENU hFirst = nullptr;
    HMENU hSecond = nullptr;
    CScriptDialog dialog(IDD_MAIN);
    dialog.Then([&](CScriptDialog& self) {
        build();
        EXPECT_TRUE(self.SetMenu(&bar));
        EXPECT_FALSE(bar.IsOwned());
        hFirst = bar.Handle();
        build();
        EXPECT_TRUE(IsMenu(hFirst)) << "the window's menu is not the object's to destroy";
        EXPECT_TRUE(self.SetMenu(&bar));
        EXPECT_FALSE(IsMenu(hFirst));
        hSecond = bar.Handle();
        EXPECT_EQ(GetMenu(self.GetSafeHwnd()), hSecond);
        self.EndDialog(0);
    });
    EXPECT_EQ(dialog.DoModal(), 0);
    EXPECT_FALSE(IsMenu(hSecond));
    EXPECT_FALSE(IsMenu(popup.Handle()));
}

}  // namespace
