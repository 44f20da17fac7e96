// The list view of the main window, with a value of ours for each row.
#include "platform/mfc/list_ctrl.h"

#include <gmock/gmock.h>

#include <array>
#include <thread>

#include "resources/resource.h"
#include "tests/windows/script_dialog.h"

using testing::ElementsAre;

namespace {

/// Runs the body with the list of a main window that holds two columns and the values 30, 10, 20 from the top.
void WithList(const std::function<void(CScriptDialog& dialog, const CListCtrl& list)>& fnBody) {
    CScriptDialog main(IDD_MAIN);
    main.Then([&](CScriptDialog& dialog) {
        const CListCtrl list(dialog, IDC_MAIN_LIST);
        EXPECT_EQ(list.InsertColumn(0, "Status", 80), 0);
        EXPECT_EQ(list.InsertColumn(1, "Protocol", 60), 1);
        for (const int nValue : {20, 10, 30}) {
            ASSERT_EQ(list.InsertItem(0, "row " + std::to_string(nValue)), 0);
            EXPECT_TRUE(list.SetItemData(0, nValue));
        }
        fnBody(dialog, list);
        dialog.EndDialog(IDOK);
    });
    EXPECT_EQ(main.DoModal(), IDOK);
}

std::vector<LPARAM> Values(const CListCtrl& list) {
    std::vector<LPARAM> values;
    for (int nRow = 0; nRow < list.GetItemCount(); ++nRow) values.push_back(list.GetItemData(nRow));
    return values;
}

int CALLBACK CompareTimes(LPARAM a, LPARAM b, LPARAM nSign) {
    return static_cast<int>((a - b) * nSign);
}

TEST(ListCtrlTest, RowsAreFoundByTheirValuesBeforeAndAfterSorting) {
    WithList([](CScriptDialog&, const CListCtrl& list) {
        EXPECT_THAT(Values(list), ElementsAre(30, 10, 20));
        EXPECT_EQ(list.FindItemByData(20), 2);
        EXPECT_EQ(list.FindItemByData(99), -1);
        EXPECT_EQ(list.GetItemData(3), 0);
        EXPECT_TRUE(list.SortItems(CompareTimes, 1));
        EXPECT_THAT(Values(list), ElementsAre(10, 20, 30));
        EXPECT_EQ(list.GetItemText(2, 0), "row 30");
        EXPECT_TRUE(list.SortItems(CompareTimes, -1));
        EXPECT_THAT(Values(list), ElementsAre(30, 20, 10));
        EXPECT_TRUE(list.DeleteItem(1));
        EXPECT_THAT(Values(list), ElementsAre(30, 10));
        EXPECT_FALSE(list.DeleteItem(2));
    });
}

TEST(ListCtrlTest, SelectionMarkIsARowOrNone) {
    WithList([](CScriptDialog&, const CListCtrl& list) {
        EXPECT_EQ(list.GetSelectionMark(), -1);
        EXPECT_EQ(list.SetSelectionMark(2), -1);
        EXPECT_EQ(list.SetSelectionMark(1), 2);
        EXPECT_EQ(list.GetSelectionMark(), 1);
    });
    EXPECT_EQ(CListCtrl(nullptr).GetSelectionMark(), -1);
    EXPECT_EQ(CListCtrl(nullptr).FindItemByData(0), -1);
    EXPECT_EQ(CListCtrl(nullptr).InsertItem(0, "x"), -1);
}

TEST(ListCtrlTest, ColumnsKeepOrderAndWidth) {
    WithList([](CScriptDialog&, const CListCtrl& list) {
        const std::array<int32_t, 2> wanted = {1, 0};
        EXPECT_TRUE(list.SetColumnOrderArray(wanted));
        std::array<int32_t, 2> order = {};
        EXPECT_TRUE(list.GetColumnOrderArray(order));
        EXPECT_EQ(order, wanted);
        EXPECT_TRUE(list.SetColumnWidth(1, 93));
        EXPECT_EQ(list.GetColumnWidth(1), 93);
        EXPECT_TRUE(list.SetColumnText(1, "Protokoll"));
        EXPECT_EQ(list.GetColumnWidth(1), 93);
    });
}

TEST(ListCtrlTest, TextComesBackWholeWhateverItsLength) {
    WithList([](CScriptDialog&, const CListCtrl& list) {
        for (const size_t nLength : {0u, 1u, 253u, 254u, 255u, 256u, 257u, 511u, 600u}) {
            const std::string strText(nLength, 'h');
            EXPECT_TRUE(list.SetItemText(0, 1, strText));
            EXPECT_EQ(list.GetItemText(0, 1), strText) << nLength;
        }
    });
}

TEST(ListCtrlTest, OtherThreadChangesRowsWhileTheWindowServesThem) {
    CScriptDialog main(IDD_MAIN);
    std::thread worker;
    main.m_fnInit = [&](CScriptDialog& dialog) {
        const CListCtrl list(dialog, IDC_MAIN_LIST);
        list.InsertColumn(0, "Status", 80);
        list.InsertItem(0, "Started");
        list.SetItemData(0, 5);
        worker = std::thread([&dialog] {
            const CListCtrl shared(dialog, IDC_MAIN_LIST);
            const int nRow = shared.FindItemByData(5);
            EXPECT_TRUE(shared.SetItemText(nRow, 0, "Stopped"));
            EXPECT_EQ(shared.GetItemText(nRow, 0), "Stopped");
            EXPECT_TRUE(shared.DeleteItem(nRow));
            dialog.PostMessage(WM_CLOSE);
        });
    };
    EXPECT_EQ(main.DoModal(), IDCANCEL);
    worker.join();
}

}  // namespace
