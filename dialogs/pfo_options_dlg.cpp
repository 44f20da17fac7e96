#include "dialogs/pfo_options_dlg.h"

#include <utility>

#include "dialogs/long_message_dlg.h"
#include "language/slots.h"
#include "platform/mfc/dialog.h"
#include "platform/mfc/wnd.h"
#include "platform/net/socket.h"
#include "platform/system/message_box.h"
#include "resources/private_messages.h"
#include "resources/resource.h"
#include "shell/app_settings.h"

namespace {

constexpr struct {
    int nId;
    uint32_t nSlot;
} kCaptions[] = {
    {IDC_PFO_LISTEN_GROUP, kSlotListenGroup},
    {IDC_PFO_FORWARD_GROUP, kSlotForwardGroup},
    {IDC_PFO_LOCAL_PORT_LABEL, kSlotLocalPort},
    {IDC_PFO_LOCAL_INTERFACE_LABEL, kSlotLocalInterface},
    {IDC_PFO_REMOTE_PORT_LABEL, kSlotRemotePort},
    {IDC_PFO_REMOTE_HOST_LABEL, kSlotRemoteHost},
    {IDC_PFO_BOUNCE, kSlotBounce},
    {IDC_PFO_PROTOCOL_LABEL, kSlotProtocol},
    {IDC_PFO_MAX_SESSIONS_LABEL, kSlotMaxSessions},
    {IDC_PFO_UDP_TIMEOUT_LABEL, kSlotUdpTimeout},
    {IDC_PFO_REFRESH, kSlotRefresh},
    {IDC_PFO_FORWARD_ICMP, kSlotForwardIcmp},
    {IDC_PFO_FILTERING, kSlotFiltering},
    {IDOK, kSlotOk},
    {IDCANCEL, kSlotCancel},
};

// Pixels
constexpr int kInfoWidth = 350;
constexpr int kInfoHeight = 300;

int ControlOf(PfoField field) {
    switch (field) {
        case PfoField::MaxSessions:
            return IDC_PFO_MAX_SESSIONS;
        case PfoField::UdpTimeout:
            return IDC_PFO_UDP_TIMEOUT;
        case PfoField::LocalPort:
            return IDC_PFO_LOCAL_PORT;
        case PfoField::RemotePort:
            return IDC_PFO_REMOTE_PORT;
        case PfoField::LocalInterface:
            return IDC_PFO_LOCAL_INTERFACE;
        case PfoField::RemoteHost:
            return IDC_PFO_REMOTE_HOST;
        case PfoField::None:
            break;
    }
    return 0;
}

}  // namespace

CPfoOptionsDlg::CPfoOptionsDlg(AppSettings* pSettings, const CPortForwardOp* pEdited, OpSettings* pResult)
    : CDialog(IDD_PFO_OPTIONS), m_pSettings(pSettings), m_pEdited(pEdited), m_pResult(pResult) {}

INT_PTR CPfoOptionsDlg::DoModal() {
    return OpenDialogFont(this, m_pSettings->languageCode);
}

void CPfoOptionsDlg::DoDataExchange() {
    SetCaptions();
    FillInterfaces();
    m_options = m_pEdited ? m_pEdited->m_settings : LastUsedSettings(*m_pSettings);
    ShowFields();
    EnableFields();
}

void CPfoOptionsDlg::SetCaptions() const {
    const auto texts = m_pSettings->slotTable.Snapshot();
    SetWindowText(texts->Text(kSlotOptionsTitle));
    for (const auto& [nId, nSlot] : kCaptions) SetDlgItemText(nId, texts->Text(nSlot));
}

void CPfoOptionsDlg::FillInterfaces() const {
    const CWnd list = GetDlgItem(IDC_PFO_LOCAL_INTERFACE);
    const std::string strTyped = list.GetWindowText();
    list.SendMessage(CB_RESETCONTENT);
    list.SetWindowText(strTyped);
    for (const uint32_t dwIp : LocalAddresses()) {
        const std::string strAddress = FormatIpAddress(dwIp);
        list.SendMessage(CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(strAddress.c_str()));
    }
}

void CPfoOptionsDlg::ShowFields() const {
    SetDlgItemUInt(IDC_PFO_LOCAL_PORT, m_options.m_wLocalPort);
    SetDlgItemUInt(IDC_PFO_REMOTE_PORT, m_options.m_wRemotePort);
    SetDlgItemText(IDC_PFO_LOCAL_INTERFACE, m_options.m_strLocalInterface);
    SetDlgItemText(IDC_PFO_REMOTE_HOST, m_options.m_strRemoteHost);
    CheckDlgButton(IDC_PFO_BOUNCE, m_options.m_bBounce != 0);
    SetDlgItemInt(IDC_PFO_MAX_SESSIONS, m_options.m_nMaxSessions);
    SetDlgItemInt(IDC_PFO_UDP_TIMEOUT, m_options.m_nUdpTimeoutMs);
    CheckDlgButton(IDC_PFO_FORWARD_ICMP, m_options.m_bForwardIcmp != 0);
    CheckDlgButton(IDC_PFO_UDP, m_options.m_nProtocol == kProtocolUdp);
    CheckDlgButton(IDC_PFO_TCP, m_options.m_nProtocol == kProtocolTcp);
}

PfoFields CPfoOptionsDlg::ReadFields() const {
    PfoFields fields = {m_options, GetDlgItemInt(IDC_PFO_LOCAL_PORT), GetDlgItemInt(IDC_PFO_REMOTE_PORT)};
    OpSettings& settings = fields.settings;
    settings.m_nMaxSessions = GetDlgItemInt(IDC_PFO_MAX_SESSIONS);
    settings.m_nUdpTimeoutMs = GetDlgItemInt(IDC_PFO_UDP_TIMEOUT);
    settings.m_strLocalInterface = GetDlgItemText(IDC_PFO_LOCAL_INTERFACE);
    settings.m_strRemoteHost = GetDlgItemText(IDC_PFO_REMOTE_HOST);
    settings.m_nProtocol = 0;
    if (IsDlgButtonChecked(IDC_PFO_UDP)) settings.m_nProtocol = kProtocolUdp;
    if (IsDlgButtonChecked(IDC_PFO_TCP)) settings.m_nProtocol = kProtocolTcp;
    settings.m_bBounce = IsDlgButtonChecked(IDC_PFO_BOUNCE);
    settings.m_bForwardIcmp = IsDlgButtonChecked(IDC_PFO_FORWARD_ICMP);
    return fields;
}

void CPfoOptionsDlg::EnableFields() const {
    const bool bUdp = IsDlgButtonChecked(IDC_PFO_UDP);
    GetDlgItem(IDC_PFO_UDP_TIMEOUT).EnableWindow(bUdp);
    GetDlgItem(IDC_PFO_FORWARD_ICMP).EnableWindow(bUdp);
    GetDlgItem(IDC_PFO_REMOTE_HOST).EnableWindow(!IsDlgButtonChecked(IDC_PFO_BOUNCE));
    // The filters have no dialog yet.
    GetDlgItem(IDC_PFO_FILTERING).EnableWindow(false);
}

bool CPfoOptionsDlg::OnCommand(int nId, int nCode) {
    // Only what the user types counts: a choice from the list and a text set by the program tell themselves otherwise.
    if (nId == IDC_PFO_LOCAL_INTERFACE && nCode == CBN_EDITCHANGE) {
        if (IsIcmpPhrase(GetDlgItemText(nId))) GetDlgItem(IDC_PFO_FORWARD_ICMP).ShowWindow(SW_SHOW);
        return true;
    }
    return nCode == BN_CLICKED && OnClicked(nId);
}

bool CPfoOptionsDlg::OnClicked(int nId) {
    switch (nId) {
        case IDC_PFO_BOUNCE:
        case IDC_PFO_TCP:
        case IDC_PFO_UDP:
            EnableFields();
            return true;
        case IDC_PFO_REFRESH:
            FillInterfaces();
            return true;
        case IDC_PFO_MAX_SESSIONS_INFO:
            ShowInformation(kSlotMaxSessionsInfo, kSlotMaxSessionsInfoTitle);
            return true;
        case IDC_PFO_UDP_TIMEOUT_INFO:
            ShowInformation(kSlotUdpTimeoutInfo, kSlotUdpTimeoutInfoTitle);
            return true;
        default:
            return false;
    }
}

void CPfoOptionsDlg::ShowInformation(uint32_t nSlot, uint32_t nTitleSlot) const {
    const SlotTable& texts = m_pSettings->slotTable;
    ShowLongMessage(texts.Text(nSlot), texts.Text(nTitleSlot), kInfoWidth, kInfoHeight, m_pSettings);
}

void CPfoOptionsDlg::OnOK() {
    PfoFields fields = ReadFields();
    PfoRefusal refusal = CheckNumbers(&fields);
    if (refusal.field == PfoField::None) {
        const CWaitCursor wait;
        refusal = ResolveHosts(&fields.settings);
    }
    if (refusal.field != PfoField::None) {
        Refuse(refusal);
        return;
    }
    if (!MayCloseSessions()) return;
    StoreLastUsed(fields.settings, m_pSettings);
    *m_pResult = std::move(fields.settings);
    EndDialog(IDOK);
}

void CPfoOptionsDlg::Refuse(const PfoRefusal& refusal) const {
    const auto pTexts = m_pSettings->slotTable.Snapshot();
    const std::string strText = RefusalText(refusal, *pTexts);
    if (refusal.field == PfoField::LocalInterface || refusal.field == PfoField::RemoteHost) {
        ShowMessage({strText, "", MessageIcon::Error, MessageButtons::Ok});
    } else {
        MessageBox(strText, pTexts->Text(kSlotInvalidInput), MB_ICONERROR);
    }
    SelectDlgItemText(ControlOf(refusal.field));
    if (refusal.field != PfoField::LocalInterface) return;
    // The combo box does not hand these on to its edit field, and selects by itself only when the focus comes to it.
    const CWnd edit(::FindWindowExA(GetDlgItem(IDC_PFO_LOCAL_INTERFACE).GetSafeHwnd(), nullptr, "Edit", nullptr));
    edit.SendMessage(EM_SETSEL, 0, -1);
    edit.SendMessage(EM_SCROLLCARET);
}

bool CPfoOptionsDlg::MayCloseSessions() const {
    if (!m_pEdited || m_pEdited->m_nSessions <= 0) return true;
    const SlotTable& texts = m_pSettings->slotTable;
    return MessageBox(texts.Text(kSlotCloseSessions), texts.Text(kSlotCloseSessionsTitle),
                      MB_YESNO | MB_ICONQUESTION) == IDYES;
}

LRESULT CPfoOptionsDlg::DefWindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam) {
    if (nMessage != WM_SAVE_SETTINGS) return CDialog::DefWindowProc(nMessage, wParam, lParam);
    return CWnd(GetParent()).SendMessage(WM_SAVE_SETTINGS);
}
