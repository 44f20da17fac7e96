// The operation options as a user meets them: the real dialog, its message boxes, its fields.
#include "dialogs/pfo_options_dlg.h"

#include <gmock/gmock.h>

#include "language/language_store.h"
#include "language/slots.h"
#include "platform/net/socket.h"
#include "resources/resource.h"
#include "shell/app_settings.h"
#include "tests/windows/window_script.h"

namespace {

constexpr char kTitle[] = "Port forwarding options";

class PfoOptionsDlgTest : public testing::Test {
  protected:
    PfoOptionsDlgTest() {
        ApplyLanguage(&m_settings);
        OpSettings& live = m_operation.m_settings;
        live.m_nProtocol = kProtocolUdp;
        live.m_strLocalInterface = "localhost";
        live.m_dwLocalIp = IpFromNumber(0x7F000001);
        live.m_wLocalPort = 5353;
        live.m_strRemoteHost = "10.1.2.3";
        live.m_wRemotePort = 40000;
        live.m_nMaxSessions = 12;
        live.m_bForwardIcmp = live.m_bFiltersEnabled = 1;
        live.m_allowRanges = {{1, 2}, {3, 4}};
        live.m_blockRanges = {{5, 6}};
    }

    INT_PTR RunNew() { return CPfoOptionsDlg(&m_settings, nullptr, &m_result).DoModal(); }
    INT_PTR RunEdit() { return CPfoOptionsDlg(&m_settings, &m_operation, &m_result).DoModal(); }
    CWindowScript& InDialog(const CWindowScript::Action& fnAction) { return m_script.In(kTitle, fnAction); }
    static HWND EditOf(const CWnd& dialog, int nId) {
        const HWND hField = dialog.GetDlgItem(nId).GetSafeHwnd();
        return nId == IDC_PFO_LOCAL_INTERFACE ? ::FindWindowExA(hField, nullptr, "Edit", nullptr) : hField;
    }
    void ExpectNothingStored() const {
        EXPECT_EQ(m_result, OpSettings());
        EXPECT_EQ(m_settings.lastOptions, OpSettings());
    }

    AppSettings m_settings;
    CPortForwardOp m_operation;
    OpSettings m_result;
    CWindowScript m_script;
};

TEST_F(PfoOptionsDlgTest, RefusesOneFieldAfterTheOther) {
    constexpr char kInvalid[] = "Invalid input value";
    constexpr char kNoCaption[] = "Error";  // the system's own
    // Field, what is wrong there, what is not, and the message.
    const std::tuple<int, std::string, const char*, const char*, const char*> refusals[] = {
        {IDC_PFO_MAX_SESSIONS, "0", "1", kInvalid, "Maximum simultaneous sessions must not be zero."},
        {IDC_PFO_UDP_TIMEOUT, "999", "1000", kInvalid, "Minimum valid UDP session inactivity timeout is 1000."},
        {IDC_PFO_LOCAL_PORT, "65536", "65535", kInvalid, "The local port must be between 1 and 65535."},
        {IDC_PFO_REMOTE_PORT, "", "1", kInvalid, "The remote port must be between 1 and 65535."},
        {IDC_PFO_LOCAL_INTERFACE, "?", "", kNoCaption, "Unable to resolve host name:\r\n?\r\n"},
        {IDC_PFO_REMOTE_HOST, " ", "localhost", kNoCaption, "Can not resolve NULL host name."}};
    InDialog([&](const CWnd& dialog) {
        Press(dialog, IDC_PFO_UDP);
        for (const auto& each : refusals) dialog.SetDlgItemText(std::get<0>(each), std::get<1>(each));
        Press(dialog, IDOK);
    });
    for (const auto& [nField, strBad, pszMended, pszCaption, pszText] : refusals) {
        m_script.Answer(pszCaption, pszText, IDOK);
        InDialog([&, nId = nField, nLength = strBad.size(), pszMended = pszMended](const CWnd& dialog) {
            ExpectNothingStored();
            const CWnd edit(EditOf(dialog, nId));
            EXPECT_EQ(::GetFocus(), edit.GetSafeHwnd()) << nId;
            EXPECT_EQ(edit.SendMessage(EM_GETSEL), MAKELONG(0, nLength)) << nId << ": all of it is selected";
            dialog.SetDlgItemText(nId, pszMended);
            edit.PostMessage(WM_KEYDOWN, VK_RETURN, 0x001C0001);
        });
    }
    EXPECT_EQ(RunNew(), IDOK);
    OpSettings expected;
    expected.m_nProtocol = kProtocolUdp;
    expected.m_wLocalPort = 65535;
    expected.m_strRemoteHost = "localhost";
    expected.m_wRemotePort = 1;
    expected.m_nMaxSessions = 1;
    expected.m_nUdpTimeoutMs = 1000;
    EXPECT_EQ(m_result, expected);
}

TEST_F(PfoOptionsDlgTest, NewOperationStartsFromTheLastValuesWithoutFilters) {
    InDialog([](const CWnd& dialog) {
        EXPECT_EQ(dialog.GetDlgItemText(IDC_PFO_MAX_SESSIONS), "100");
        for (const int nId : {IDC_PFO_LOCAL_PORT, IDC_PFO_REMOTE_PORT}) dialog.SetDlgItemText(nId, "80");
        dialog.SetDlgItemText(IDC_PFO_UDP_TIMEOUT, "0");
        Press(dialog, IDC_PFO_BOUNCE);
        Press(dialog, IDOK);
    });
    EXPECT_EQ(RunNew(), IDOK);
    const OpSettings first = std::exchange(m_result, m_operation.m_settings);
    OpSettings expected;
    expected.m_wLocalPort = expected.m_wRemotePort = 80;
    expected.m_bBounce = 1;
    expected.m_nUdpTimeoutMs = 0;
    EXPECT_EQ(first, expected);
    m_script.Press(kTitle, IDOK);
    EXPECT_EQ(RunNew(), IDOK);
    EXPECT_EQ(m_result, first);
}

TEST_F(PfoOptionsDlgTest, EditGoesIntoTheResultOnlyAndKeepsWhatHasNoField) {
    const std::pair<UINT, WPARAM> ways[] = {{WM_COMMAND, IDCANCEL}, {WM_KEYDOWN, VK_ESCAPE}, {WM_SYSCOMMAND, SC_CLOSE}};
    for (const auto& way : ways) {
        InDialog([way](const CWnd& dialog) {
            dialog.SetDlgItemText(IDC_PFO_LOCAL_PORT, "1234");
            dialog.PostMessage(way.first, way.second);
        });
        EXPECT_EQ(RunEdit(), IDCANCEL) << way.first;
        ExpectNothingStored();
    }
    const OpSettings before = m_operation.m_settings;
    m_operation.m_nSessions = 1;
    InDialog([](const CWnd& dialog) {
        EXPECT_FALSE(dialog.GetDlgItem(IDC_PFO_FORWARD_ICMP).IsWindowVisible());
        dialog.SetDlgItemText(IDC_PFO_LOCAL_PORT, "5354");
        Press(dialog, IDOK);
    });
    constexpr char kCloseSessions[] = "Continue and close current sessions?\"";
    m_script.Answer(kCloseSessions, m_settings.slotTable.Text(kSlotCloseSessions), IDNO);
    InDialog([&](const CWnd& dialog) {
        ExpectNothingStored();
        Press(dialog, IDOK);
    });
    m_script.Answer(kCloseSessions, m_settings.slotTable.Text(kSlotCloseSessions), IDYES);
    EXPECT_EQ(RunEdit(), IDOK);
    EXPECT_EQ(m_operation.m_settings, before);
    EXPECT_EQ(std::exchange(m_result.m_wLocalPort, before.m_wLocalPort), 5354);
    EXPECT_EQ(m_result, before);
    EXPECT_EQ(m_settings.lastOptions.m_wLocalPort, 5354);
}

TEST_F(PfoOptionsDlgTest, FieldsFollowProtocolAndBounce) {
    for (const auto* const pszEnabled : {"--H", "TI-", "--H"}) {
        InDialog([pszEnabled](const CWnd& dialog) {
            const auto letter = [&](int nId, char ch) { return dialog.GetDlgItem(nId).IsWindowEnabled() ? ch : '-'; };
            const std::string strEnabled = {letter(IDC_PFO_UDP_TIMEOUT, 'T'), letter(IDC_PFO_FORWARD_ICMP, 'I'),
                                            letter(IDC_PFO_REMOTE_HOST, 'H')};
            EXPECT_EQ(strEnabled, pszEnabled);
            Press(dialog, strEnabled == "--H" ? IDC_PFO_UDP : IDC_PFO_TCP);
            Press(dialog, IDC_PFO_BOUNCE);
        });
    }
    m_script.Press(kTitle, IDCANCEL);
    EXPECT_EQ(RunNew(), IDCANCEL);
}

TEST_F(PfoOptionsDlgTest, TypedPhraseShowsTheIcmpBoxForGood) {
    InDialog([&](const CWnd& dialog) {
        dialog.SetDlgItemText(IDC_PFO_LOCAL_INTERFACE, "cantseebirds");  // not typed: it does not count
        std::string strShown = dialog.GetDlgItem(IDC_PFO_FORWARD_ICMP).IsWindowVisible() ? "shown" : "";
        dialog.SetDlgItemText(IDC_PFO_LOCAL_INTERFACE, "");
        for (const char ch : std::string("CAN'T see birds!")) {
            ::SendMessageA(EditOf(dialog, IDC_PFO_LOCAL_INTERFACE), WM_CHAR, static_cast<unsigned char>(ch), 1);
            strShown += dialog.GetDlgItem(IDC_PFO_FORWARD_ICMP).IsWindowVisible() ? ch : '-';
        }
        EXPECT_EQ(strShown, "--------------s!");
        Press(dialog, IDCANCEL);
    });
    EXPECT_EQ(RunNew(), IDCANCEL);
}

TEST_F(PfoOptionsDlgTest, InterfaceListShowsTheMachinesAddressesAndKeepsTheText) {
    const std::vector<uint32_t> addresses = LocalAddresses();
    ASSERT_FALSE(addresses.empty());
    for (const char* const pszTyped : {"", "half a na"}) {
        InDialog([&addresses, pszTyped](const CWnd& dialog) {
            const CWnd list = dialog.GetDlgItem(IDC_PFO_LOCAL_INTERFACE);
            EXPECT_EQ(list.GetWindowText(), pszTyped);
            EXPECT_EQ(list.SendMessage(CB_GETCOUNT), std::ssize(addresses));
            const std::string strAny = FormatIpAddress(addresses.back());
            const LPARAM nAny = reinterpret_cast<LPARAM>(strAny.c_str());
            EXPECT_GE(list.SendMessage(CB_FINDSTRINGEXACT, static_cast<WPARAM>(-1), nAny), 0);
            list.SendMessage(CB_ADDSTRING, 0, reinterpret_cast<LPARAM>("gone"));
            list.SetWindowText("half a na");
            Press(dialog, *pszTyped ? IDCANCEL : IDC_PFO_REFRESH);
        });
    }
    EXPECT_EQ(RunNew(), IDCANCEL);
}

TEST_F(PfoOptionsDlgTest, InformationOpensAndTheDialogStays) {
    const auto expect = [&](int nButton, const char* pszTitle, uint32_t nSlot) {
        m_script.Press(kTitle, nButton).In(pszTitle, [this, nSlot](const CWnd& information) {
            EXPECT_EQ(information.GetDlgItemText(IDC_LONG_TEXT), m_settings.slotTable.Text(nSlot));
            Press(information, IDC_LONG_CONTINUE);
        });
    };
    expect(IDC_PFO_MAX_SESSIONS_INFO, "Max Sessions information", kSlotMaxSessionsInfo);
    expect(IDC_PFO_UDP_TIMEOUT_INFO, "UDP Session-Timeout information", kSlotUdpTimeoutInfo);
    m_script.Press(kTitle, IDCANCEL);
    EXPECT_EQ(RunNew(), IDCANCEL);
}

}  // namespace
