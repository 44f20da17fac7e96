// The operation options as a user meets them: the real dialog, its message boxes, its fields.
#include "dialogs/pfo_options_dlg.h"

#include <gmock/gmock.h>

#include <string>

#include "language/language_store.h"
#include "platform/net/interfaces.h"
#include "platform/net/socket.h"
#include "resources/private_messages.h"
#include "resources/resource.h"
#include "shell/app_settings.h"
#include "tests/windows/script_dialog.h"
#include "tests/windows/window_script.h"

namespace {

constexpr char kTitle[] = "Port forwarding options";
constexpr char kInvalid[] = "Invalid input value";
constexpr char kSystemError[] = "Error";  // the caption of a message box that was given none

class PfoOptionsDlgTest : public testing::Test {
  protected:
    PfoOptionsDlgTest() {
        ApplyLanguage(&m_settings);
        m_operation.m_settings.m_wLocalPort = 5353;
        m_operation.m_settings.m_wRemotePort = 40000;
        m_operation.m_settings.m_strLocalInterface = "localhost";
        m_operation.m_settings.m_strRemoteHost = "10.1.2.3";
        m_operation.m_settings.m_nProtocol = kProtocolUdp;
        m_operation.m_settings.m_nMaxSessions = 12;
        m_operation.m_settings.m_nUdpTimeoutMs = 5000;
        m_operation.m_settings.m_bForwardIcmp = 1;
        m_operation.m_settings.m_bFiltersEnabled = 1;
        m_operation.m_settings.m_allowRanges = {{1, 2}, {3, 4}};
        m_operation.m_settings.m_blockRanges = {{5, 6}};
    }

    INT_PTR RunNew() { return CPfoOptionsDlg(&m_settings, nullptr, &m_new).DoModal(); }
    INT_PTR RunEdit() { return CPfoOptionsDlg(&m_settings, &m_operation, &m_edited).DoModal(); }
    std::string Text(uint32_t nSlot) const { return m_settings.slotTable.Text(nSlot); }

    /// Fills a new operation's dialog with what does.
    static void FillWell(const CWnd& dialog) {
        dialog.SetDlgItemText(IDC_PFO_LOCAL_PORT, "8080");
        dialog.SetDlgItemText(IDC_PFO_REMOTE_PORT, "80");
        dialog.SetDlgItemText(IDC_PFO_REMOTE_HOST, "127.0.0.1");
    }

    static HWND EditField(const CWnd& dialog, int nId) {
        const CWnd field(::GetDlgItem(dialog.GetSafeHwnd(), nId));
        return nId == IDC_PFO_LOCAL_INTERFACE ? EditOf(field) : field.GetSafeHwnd();
    }

    /// The field has the focus and all of its text is selected.
    static void ExpectSelected(const CWnd& dialog, int nId) {
        const CWnd edit(EditField(dialog, nId));
        EXPECT_EQ(::GetFocus(), edit.GetSafeHwnd()) << nId;
        DWORD dwFrom = 99;
        DWORD dwTo = 99;
        edit.SendMessage(EM_GETSEL, reinterpret_cast<WPARAM>(&dwFrom), reinterpret_cast<LPARAM>(&dwTo));
        EXPECT_EQ(dwFrom, 0u) << nId;
        EXPECT_EQ(dwTo, edit.GetWindowText().size()) << nId;
    }

    /// Presses Enter in the field, expects the message and the field's selection; mends the field.
    void Refusal(CWindowScript* pScript, const std::string& strCaption, const std::string& strText, int nField,
                 const std::string& strMended) {
        pScript->In(kTitle, [nField](const CWnd& dialog) {
            const CWnd edit(EditField(dialog, nField));
            edit.SetFocus();
            edit.SendMessage(EM_SETSEL, 0, 0);
            edit.PostMessage(WM_KEYDOWN, VK_RETURN, 0x001C0001);
        });
        pScript->Answer(strCaption, strText, IDOK);
        pScript->In(kTitle, [nField, strMended](const CWnd& dialog) {
            ExpectSelected(dialog, nField);
            dialog.SetDlgItemText(nField, strMended);
        });
    }

    AppSettings m_settings;
    OpSettings m_new;
    CPortForwardOp m_operation;
    OpSettings m_edited;
};

TEST_F(PfoOptionsDlgTest, RefusesOneFieldAfterTheOther) {
    CWindowScript script;
    script.In(kTitle, [](const CWnd& dialog) {
        Press(dialog, IDC_PFO_UDP);
        dialog.SetDlgItemText(IDC_PFO_MAX_SESSIONS, "0");
        dialog.SetDlgItemText(IDC_PFO_UDP_TIMEOUT, "999");
        dialog.SetDlgItemText(IDC_PFO_LOCAL_PORT, "65536");
        dialog.SetDlgItemText(IDC_PFO_REMOTE_PORT, "");
        dialog.SetDlgItemText(IDC_PFO_LOCAL_INTERFACE, "can't see birds");
        dialog.SetDlgItemText(IDC_PFO_REMOTE_HOST, " ");
    });
    Refusal(&script, kInvalid, "Maximum simultaneous sessions must not be zero.", IDC_PFO_MAX_SESSIONS, "1");
    Refusal(&script, kInvalid, "Minimum valid UDP session inactivity timeout is 1000.", IDC_PFO_UDP_TIMEOUT, "1000");
    Refusal(&script, kInvalid, "The local port must be between 1 and 65535.", IDC_PFO_LOCAL_PORT, "65535");
    Refusal(&script, kInvalid, "The remote port must be between 1 and 65535.", IDC_PFO_REMOTE_PORT, "1");
    Refusal(&script, kSystemError, "Unable to resolve host name:\r\ncan't see birds\r\n", IDC_PFO_LOCAL_INTERFACE, "");
    Refusal(&script, kSystemError, "Can not resolve NULL host name.", IDC_PFO_REMOTE_HOST, "localhost");
    script.In(kTitle, [this](const CWnd& dialog) {
        EXPECT_EQ(m_new.m_wLocalPort, 0);
        EXPECT_EQ(m_settings.lastOptions.m_wLocalPort, 0);
        Press(dialog, IDOK);
    });
    EXPECT_EQ(RunNew(), IDOK);
    EXPECT_EQ(m_new.m_wLocalPort, 65535);
    EXPECT_EQ(m_new.m_nProtocol, kProtocolUdp);
    EXPECT_EQ(m_new.m_strRemoteHost, "localhost");
}

TEST_F(PfoOptionsDlgTest, NewOperationStartsFromTheLastValuesWithoutFilters) {
    CWindowScript script;
    script.In(kTitle, [](const CWnd& dialog) {
        EXPECT_TRUE(dialog.IsDlgButtonChecked(IDC_PFO_TCP));
        EXPECT_EQ(dialog.GetDlgItemText(IDC_PFO_MAX_SESSIONS), "100");
        EXPECT_EQ(dialog.GetDlgItemText(IDC_PFO_LOCAL_PORT), "0");
        FillWell(dialog);
        dialog.SetDlgItemText(IDC_PFO_LOCAL_PORT, "65535");
        dialog.SetDlgItemText(IDC_PFO_LOCAL_INTERFACE, "localhost");
        dialog.SetDlgItemText(IDC_PFO_UDP_TIMEOUT, "0");
        Press(dialog, IDC_PFO_BOUNCE);
        Press(dialog, IDOK);
    });
    EXPECT_EQ(RunNew(), IDOK);
    EXPECT_EQ(FormatIpAddress(m_new.m_dwLocalIp), "127.0.0.1");
    EXPECT_EQ(m_new.m_strLocalInterface, "localhost");
    EXPECT_EQ(m_new.m_bBounce, 1);
    EXPECT_EQ(m_new.m_nUdpTimeoutMs, 0);
    EXPECT_EQ(m_new, LastUsedSettings(m_settings));

    OpSettings second;
    second.m_allowRanges = {{1, 2}};
    second.m_bFiltersEnabled = 1;
    CWindowScript again;
    again.In(kTitle, [](const CWnd& dialog) {
        EXPECT_EQ(dialog.GetDlgItemText(IDC_PFO_LOCAL_PORT), "65535");
        EXPECT_TRUE(dialog.IsDlgButtonChecked(IDC_PFO_BOUNCE));
        EXPECT_FALSE(dialog.GetDlgItem(IDC_PFO_REMOTE_HOST).IsWindowEnabled());
        Press(dialog, IDOK);
    });
    EXPECT_EQ(CPfoOptionsDlg(&m_settings, nullptr, &second).DoModal(), IDOK);
    EXPECT_EQ(second, m_new);
}

TEST_F(PfoOptionsDlgTest, EditGoesIntoTheCopyAndKeepsFiltersAndHiddenFlag) {
    const OpSettings before = m_operation.m_settings;
    CWindowScript script;
    script.In(kTitle, [](const CWnd& dialog) {
        EXPECT_EQ(dialog.GetDlgItemText(IDC_PFO_LOCAL_INTERFACE), "localhost");
        EXPECT_EQ(dialog.GetDlgItemText(IDC_PFO_REMOTE_PORT), "40000");
        EXPECT_FALSE(dialog.GetDlgItem(IDC_PFO_FORWARD_ICMP).IsWindowVisible());
        dialog.SetDlgItemText(IDC_PFO_LOCAL_PORT, "5354");
        Press(dialog, IDOK);
    });
    EXPECT_EQ(RunEdit(), IDOK);
    EXPECT_EQ(m_operation.m_settings, before);
    OpSettings after = before;
    after.m_wLocalPort = 5354;
    after.m_dwLocalIp = IpFromNumber(0x7F000001);
    EXPECT_EQ(m_edited, after);
    EXPECT_EQ(m_settings.lastOptions.m_wLocalPort, 5354);
}

TEST_F(PfoOptionsDlgTest, OpenSessionsAreClosedOnlyAfterYes) {
    m_operation.m_nSessions = 1;
    const std::string strQuestion = Text(192);
    CWindowScript script;
    script.In(kTitle, [](const CWnd& dialog) { Press(dialog, IDOK); });
    script.Answer("Continue and close current sessions?\"", strQuestion, IDNO);
    script.In(kTitle, [this](const CWnd& dialog) {
        EXPECT_EQ(m_edited.m_wLocalPort, 0);
        EXPECT_EQ(m_settings.lastOptions.m_wLocalPort, 0);
        Press(dialog, IDOK);
    });
    script.Answer("Continue and close current sessions?\"", strQuestion, IDYES);
    EXPECT_EQ(RunEdit(), IDOK);
    EXPECT_EQ(m_edited.m_wLocalPort, 5353);
    EXPECT_EQ(m_edited.m_allowRanges, m_operation.m_settings.m_allowRanges);
}

TEST_F(PfoOptionsDlgTest, CancelEscapeAndTheCloseBoxStoreNothing) {
    const OpSettings last = LastUsedSettings(m_settings);
    for (const int nWay : {0, 1, 2}) {
        CWindowScript script;
        script.In(kTitle, [nWay](const CWnd& dialog) {
            dialog.SetDlgItemText(IDC_PFO_LOCAL_PORT, "1234");
            if (nWay == 0) Press(dialog, IDCANCEL);
            if (nWay == 1) dialog.PostMessage(WM_KEYDOWN, VK_ESCAPE, 0x00010001);
            if (nWay == 2) dialog.PostMessage(WM_SYSCOMMAND, SC_CLOSE);
        });
        EXPECT_EQ(RunEdit(), IDCANCEL) << nWay;
    }
    EXPECT_EQ(m_edited.m_wLocalPort, 0);
    EXPECT_EQ(m_operation.m_settings.m_wLocalPort, 5353);
    EXPECT_EQ(LastUsedSettings(m_settings), last);
}

TEST_F(PfoOptionsDlgTest, FieldsFollowProtocolAndBounce) {
    const auto enabled = [](const CWnd& dialog, int nId) { return dialog.GetDlgItem(nId).IsWindowEnabled(); };
    CWindowScript script;
    script.In(kTitle, [&](const CWnd& dialog) {
        EXPECT_FALSE(enabled(dialog, IDC_PFO_UDP_TIMEOUT));
        EXPECT_FALSE(enabled(dialog, IDC_PFO_FORWARD_ICMP));
        EXPECT_TRUE(enabled(dialog, IDC_PFO_REMOTE_HOST));
        dialog.SetDlgItemText(IDC_PFO_REMOTE_HOST, "kept");
        Press(dialog, IDC_PFO_UDP);
        Press(dialog, IDC_PFO_BOUNCE);
    });
    script.In(kTitle, [&](const CWnd& dialog) {
        EXPECT_TRUE(enabled(dialog, IDC_PFO_UDP_TIMEOUT));
        EXPECT_TRUE(enabled(dialog, IDC_PFO_FORWARD_ICMP));
        EXPECT_FALSE(enabled(dialog, IDC_PFO_REMOTE_HOST));
        EXPECT_EQ(dialog.GetDlgItemText(IDC_PFO_REMOTE_HOST), "kept");
        Press(dialog, IDC_PFO_TCP);
        Press(dialog, IDC_PFO_BOUNCE);
    });
    script.In(kTitle, [&](const CWnd& dialog) {
        EXPECT_FALSE(enabled(dialog, IDC_PFO_UDP_TIMEOUT));
        EXPECT_FALSE(enabled(dialog, IDC_PFO_FORWARD_ICMP));
        EXPECT_TRUE(enabled(dialog, IDC_PFO_REMOTE_HOST));
        Press(dialog, IDCANCEL);
    });
    EXPECT_EQ(RunNew(), IDCANCEL);
}

TEST_F(PfoOptionsDlgTest, TypedPhraseShowsTheIcmpBoxForGood) {
    const auto visible = [](const CWnd& dialog) { return dialog.GetDlgItem(IDC_PFO_FORWARD_ICMP).IsWindowVisible(); };
    CWindowScript script;
    script.In(kTitle, [&](const CWnd& dialog) {
        const CWnd list(::GetDlgItem(dialog.GetSafeHwnd(), IDC_PFO_LOCAL_INTERFACE));
        list.SendMessage(CB_ADDSTRING, 0, reinterpret_cast<LPARAM>("cantseebirds"));
        list.SetFocus();
        list.SendMessage(CB_SETCURSEL, static_cast<WPARAM>(-1));
        while (list.GetWindowText() != "cantseebirds" && list.SendMessage(CB_GETCURSEL) < 20) {
            ::SendMessageA(EditOf(list), WM_KEYDOWN, VK_DOWN, 1);
        }
        EXPECT_EQ(list.GetWindowText(), "cantseebirds");
        EXPECT_FALSE(visible(dialog)) << "picked, not typed";
        list.SetWindowText("");
        const CWnd edit(EditOf(list));
        Type(edit, "CAN'T see bird");
        EXPECT_FALSE(visible(dialog));
        Type(edit, "S");
        EXPECT_TRUE(visible(dialog));
        Type(edit, "!");
        EXPECT_TRUE(visible(dialog));
        Press(dialog, IDCANCEL);
    });
    EXPECT_EQ(RunNew(), IDCANCEL);
}

TEST_F(PfoOptionsDlgTest, InterfaceListShowsTheMachinesAddressesAndKeepsTheText) {
    const std::vector<uint32_t> addresses = LocalAddresses();
    ASSERT_FALSE(addresses.empty());
    CWindowScript script;
    script.In(kTitle, [&](const CWnd& dialog) {
        EXPECT_EQ(dialog.SendDlgItemMessage(IDC_PFO_LOCAL_INTERFACE, CB_GETCOUNT), std::ssize(addresses));
        dialog.SetDlgItemText(IDC_PFO_LOCAL_INTERFACE, "half a na");
        dialog.SendDlgItemMessage(IDC_PFO_LOCAL_INTERFACE, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>("gone"));
        Press(dialog, IDC_PFO_REFRESH);
    });
    script.In(kTitle, [&](const CWnd& dialog) {
        EXPECT_EQ(dialog.GetDlgItemText(IDC_PFO_LOCAL_INTERFACE), "half a na");
        EXPECT_EQ(dialog.SendDlgItemMessage(IDC_PFO_LOCAL_INTERFACE, CB_GETCOUNT), std::ssize(addresses));
        const std::string strFirst = FormatIpAddress(addresses.front());
        EXPECT_GE(dialog.SendDlgItemMessage(IDC_PFO_LOCAL_INTERFACE, CB_FINDSTRINGEXACT, static_cast<WPARAM>(-1),
                                            reinterpret_cast<LPARAM>(strFirst.c_str())),
                  0);
        Press(dialog, IDCANCEL);
    });
    EXPECT_EQ(RunNew(), IDCANCEL);
}

TEST_F(PfoOptionsDlgTest, InformationOpensAndTheDialogStays) {
    CWindowScript script;
    const auto expect = [&](int nButton, const char* pszTitle, uint32_t nSlot) {
        script.In(kTitle, [nButton](const CWnd& dialog) { Press(dialog, nButton); });
        script.In(pszTitle, [this, nSlot](const CWnd& information) {
            EXPECT_EQ(information.GetDlgItemText(IDC_LONG_TEXT), Text(nSlot));
            Press(information, IDC_LONG_CONTINUE);
        });
    };
    expect(IDC_PFO_MAX_SESSIONS_INFO, "Max Sessions information", 194);
    expect(IDC_PFO_UDP_TIMEOUT_INFO, "UDP Session-Timeout information", 196);
    script.In(kTitle, [](const CWnd& dialog) { Press(dialog, IDCANCEL); });
    EXPECT_EQ(RunNew(), IDCANCEL);
}

TEST_F(PfoOptionsDlgTest, SaveOfSettingsIsPassedOnToTheMainWindow) {
    int nSaves = 0;
    CScriptDialog main(IDD_MAIN);
    main.m_fnMessage = [&](UINT nMessage, LRESULT*) {
        nSaves += nMessage == WM_SAVE_SETTINGS;
        return nMessage == WM_SAVE_SETTINGS;
    };
    main.Then([&](CScriptDialog& self) {
        CWindowScript script;
        script.In(kTitle, [&](const CWnd& dialog) {
            dialog.SendMessage(WM_SAVE_SETTINGS);
            EXPECT_EQ(nSaves, 1);
            Press(dialog, IDCANCEL);
        });
        EXPECT_EQ(RunNew(), IDCANCEL);
        self.EndDialog(1);
    });
    EXPECT_EQ(main.DoModal(), 1);
}

}  // namespace
