// A modal dialog made from a template of the executable.
//
// A window class of the program derives from it, overrides what it needs and is run with DoModal, which returns when
// the dialog has ended and its window has been destroyed. Any thread may run dialogs, each its own; all calls on one
// dialog, and all of its virtual calls, belong to the thread in its DoModal.
//
// A dialog without a given parent is owned by the innermost open dialog of its thread, if there is one. The owner is
// disabled while the dialog is open. A C++ exception in an override is reported to the debugger output and ends there.
#pragma once

#include <cstdint>
#include <string>

#include "platform/mfc/wnd.h"

class CDialogTemplate;

class CDialog : public CWnd {
  public:
    /// The template's resource number, and the window that is to own the dialog.
    explicit CDialog(UINT nTemplate, HWND hParent = nullptr) : m_nTemplate(nTemplate), m_hParent(hParent) {}

    /// Runs the dialog from its template as it stands. The result is what EndDialog was given; IDCANCEL when the window
    /// went by itself or an outer dialog of the thread ended meanwhile; -1 when the dialog could not be opened.
    virtual INT_PTR DoModal();
    /// The same with the template's font replaced.
    INT_PTR DoModalInFont(const std::string& strFace, WORD wPoints);

    /// Ends DoModal with this result. The window goes when the handler that called this has returned.
    void EndDialog(INT_PTR nResult);

    /// The window of the innermost open dialog of the calling thread; null without one.
    static HWND InnermostWindow();

  protected:
    /// Called once, before the window is shown. Returns true to have the focus set on the first control of the tab
    /// order, false when it has set the focus itself. An override calls this one, which calls DoDataExchange.
    virtual bool OnInitDialog();
    /// The one-time set-up of a dialog: captions, controls, timers.
    virtual void DoDataExchange() {}

    /// A control (nCode tells what happened, BN_CLICKED is 0) or a menu entry (nCode 0). True means that it was dealt
    /// with; otherwise IDOK and IDCANCEL go on to OnOK and OnCancel.
    virtual bool OnCommand(int nId, int nCode);
    /// WM_NOTIFY of a control. True means that it was dealt with and that *pResult, 0 at first, is the answer.
    virtual bool OnNotify(int nId, NMHDR* pHeader, LRESULT* pResult);
    virtual void OnTimer(UINT_PTR nTimer);
    /// WM_CLOSE; leads to OnCancel.
    virtual void OnClose();
    virtual void OnOK();
    virtual void OnCancel();
    /// Destroys the window; the last call of DoModal on it, whichever way the dialog ended.
    virtual bool DestroyWindow();

    /// Sees each message of the dialog and its controls that comes from the queue before anything else does. True means
    /// that the message is done with. This one gives it to the dialog manager: Tab, Enter, Escape, arrow keys.
    virtual bool PreTranslateMessage(MSG* pMessage);
    /// Receives every message that the calls above did not take, and answers it. This one does what the system does.
    virtual LRESULT DefWindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam);

  private:
    INT_PTR RunModal(const CDialogTemplate& dialogTemplate);
    bool Create(const CDialogTemplate& dialogTemplate, HWND hOwner);
    void RunLoop();
    void Close(HWND hOwner);
    bool IsOver() const;
    bool Initialise(HWND hWnd);
    LRESULT Dispatch(UINT nMessage, WPARAM wParam, LPARAM lParam);
    LRESULT DispatchCommand(WPARAM wParam, LPARAM lParam);
    LRESULT DispatchNotify(WPARAM wParam, LPARAM lParam);
    static bool Translate(MSG* pMessage);
    static CDialog* FromHandle(HWND hWnd);
    static INT_PTR CALLBACK FirstProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam);
    static LRESULT CALLBACK WindowProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam);

    // Fixed after construction
    const UINT m_nTemplate;
    const HWND m_hParent;

    // Valid while DoModal runs
    CDialog* m_pOuter = nullptr;  // the next dialog outwards on the same thread
    WNDPROC m_pfnSystem = nullptr;
    bool m_bEnded = false;
    INT_PTR m_nResult = IDCANCEL;
};

// The font that dialogs are opened in: the languages that "MS Sans Serif" serves badly get another one.

/// Whether dialogs in this language leave their template's font for "Tahoma" at 10 points: Japanese (4), Chinese (6),
/// Russian (9) and the user's own language file (1000).
bool NeedsLanguageFont(uint32_t dwLanguageCode);

/// Runs the dialog modally by that rule and returns its result. A dialog's own DoModal is one call of this.
INT_PTR OpenDialogFont(CDialog* pDialog, uint32_t dwLanguageCode);

/// Runs the dialog in "Tahoma" at 10 points whatever the language.
INT_PTR OpenDialogLanguageFont(CDialog* pDialog);
