// The hourglass while the thread of the windows is busy: from construction to destruction.
#pragma once

#include "platform/system/windows_api.h"

class CWaitCursor {
  public:
    CWaitCursor() : m_hBefore(SetCursor(LoadCursorA(nullptr, IDC_WAIT))) {}
    ~CWaitCursor() { SetCursor(m_hBefore); }
    CWaitCursor(const CWaitCursor&) = delete;
    CWaitCursor& operator=(const CWaitCursor&) = delete;

  private:
    const HCURSOR m_hBefore;  // borrowed: cursors belong to who loaded them
};
