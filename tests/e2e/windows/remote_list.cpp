#include "tests/e2e/windows/remote_list.h"

#include <commctrl.h>

#include "tests/support/wait.h"

namespace {

constexpr int kColumns = 6;
constexpr size_t kTextSize = 512;

/// A block of memory in the process of a window.
class CRemoteMemory {
  public:
    CRemoteMemory(HWND hWnd, size_t nSize) : m_nSize(nSize) {
        DWORD dwProcess = 0;
        GetWindowThreadProcessId(hWnd, &dwProcess);
        const DWORD dwRights = PROCESS_VM_OPERATION | PROCESS_VM_READ | PROCESS_VM_WRITE;
        m_hProcess = OpenProcess(dwRights, FALSE, dwProcess);
        m_pBlock = VirtualAllocEx(m_hProcess, nullptr, nSize, MEM_COMMIT, PAGE_READWRITE);
    }
    ~CRemoteMemory() {
        if (m_pBlock) VirtualFreeEx(m_hProcess, m_pBlock, 0, MEM_RELEASE);
        if (m_hProcess) CloseHandle(m_hProcess);
    }
    CRemoteMemory(const CRemoteMemory&) = delete;
    CRemoteMemory& operator=(const CRemoteMemory&) = delete;

    char* At(size_t nOffset = 0) const { return static_cast<char*>(m_pBlock) + nOffset; }
    LPARAM Param() const { return reinterpret_cast<LPARAM>(m_pBlock); }
    template <class T>
    void Write(const T& value) {
        WriteProcessMemory(m_hProcess, m_pBlock, &value, sizeof value, nullptr);
    }
    template <class T>
    T Read() const {
        T value = {};
        ReadProcessMemory(m_hProcess, m_pBlock, &value, sizeof value, nullptr);
        return value;
    }
    std::string ReadText(size_t nOffset) const {
        std::string strText(m_nSize - nOffset, '\0');
        ReadProcessMemory(m_hProcess, At(nOffset), strText.data(), strText.size(), nullptr);
        return strText.c_str();
    }

  private:
    size_t m_nSize;
    HANDLE m_hProcess = nullptr;
    void* m_pBlock = nullptr;
};

}  // namespace

int CRemoteList::Count() const {
    return static_cast<int>(m_list.Send(LVM_GETITEMCOUNT));
}

int CRemoteList::SelectedRow() const {
    const int nRow = static_cast<int>(m_list.Send(LVM_GETSELECTIONMARK));
    return Count() == 0 ? -1 : nRow;
}

std::string CRemoteList::Cell(int nRow, int nColumn) const {
    CRemoteMemory memory(m_list.Handle(), sizeof(LVITEMA) + kTextSize);
    LVITEMA item = {};
    item.iSubItem = nColumn;
    item.pszText = memory.At(sizeof item);
    item.cchTextMax = kTextSize;
    memory.Write(item);
    m_list.Send(LVM_GETITEMTEXTA, static_cast<WPARAM>(nRow), memory.Param());
    return memory.ReadText(sizeof item);
}

std::string CRemoteList::Row(int nRow) const {
    std::string strRow = Cell(nRow, 0);
    for (int nColumn = 1; nColumn < kColumns; ++nColumn) strRow += "|" + Cell(nRow, nColumn);
    return strRow;
}

std::vector<std::string> CRemoteList::Rows() const {
    std::vector<std::string> rows;
    for (int nRow = 0; nRow < Count(); ++nRow) rows.push_back(Row(nRow));
    return rows;
}

std::string CRemoteList::ColumnHead(int nColumn) const {
    CRemoteMemory memory(m_list.Handle(), sizeof(LVCOLUMNA) + kTextSize);
    LVCOLUMNA column = {};
    column.mask = LVCF_TEXT;
    column.pszText = memory.At(sizeof column);
    column.cchTextMax = kTextSize;
    memory.Write(column);
    m_list.Send(LVM_GETCOLUMNA, static_cast<WPARAM>(nColumn), memory.Param());
    return memory.ReadText(sizeof column);
}

std::vector<int> CRemoteList::ColumnOrder() const {
    struct Order {
        int columns[kColumns];
    };
    const CRemoteMemory memory(m_list.Handle(), sizeof(Order));
    m_list.Send(LVM_GETCOLUMNORDERARRAY, kColumns, memory.Param());
    const Order order = memory.Read<Order>();
    return {order.columns, order.columns + kColumns};
}

std::vector<int> CRemoteList::ColumnWidths() const {
    std::vector<int> widths;
    for (WPARAM n = 0; n < kColumns; ++n) widths.push_back(static_cast<int>(m_list.Send(LVM_GETCOLUMNWIDTH, n)));
    return widths;
}

bool CRemoteList::IsHighlighted(int nRow) const {
    return m_list.Send(LVM_GETITEMSTATE, static_cast<WPARAM>(nRow), LVIS_SELECTED) == LVIS_SELECTED;
}

bool CRemoteList::ClickRow(int nRow) const {
    const int nCount = Count();
    if (nRow >= nCount) return false;
    CRemoteMemory memory(m_list.Handle(), sizeof(RECT));
    RECT rect = {};
    rect.left = LVIR_LABEL;
    memory.Write(rect);
    m_list.Send(LVM_ENSUREVISIBLE, static_cast<WPARAM>(nRow), FALSE);
    m_list.Send(LVM_GETITEMRECT, static_cast<WPARAM>(nRow), memory.Param());
    rect = memory.Read<RECT>();
    m_list.Click({rect.left + 4, (rect.top + rect.bottom) / 2});
    bool bSelected = false;
    return WaitFor([&] {
               bSelected = SelectedRow() == nRow && IsHighlighted(nRow);
               return bSelected || Count() != nCount;
           }) &&
           bSelected;
}

// A new operation takes over the selection mark while the highlight stays where it was, and Wine's list does not move the
// mark at a click on the highlighted row: only a click on another row brings the two together.
bool CRemoteList::Select(int nRow) const {
    const int nMark = SelectedRow();
    if (nMark >= 0 && nMark != nRow && IsHighlighted(nRow) && !ClickRow(nMark)) return false;
    return ClickRow(nRow);
}

CRemoteWindow CRemoteList::Header() const {
    return CRemoteWindow(reinterpret_cast<HWND>(m_list.Send(LVM_GETHEADER)));
}

void CRemoteList::ClickColumn(int nColumn) const {
    CRemoteMemory memory(m_list.Handle(), sizeof(RECT));
    Header().Send(HDM_GETITEMRECT, static_cast<WPARAM>(nColumn), memory.Param());
    const RECT rect = memory.Read<RECT>();
    Header().Click({(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2});
}
