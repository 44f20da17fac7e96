#include "language/language_dlg.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include "language/slots.h"
#include "language/zones.h"
#include "platform/mfc/dialog.h"
#include "platform/mfc/file_dialog.h"
#include "platform/system/process.h"
#include "resources/program_names.h"
#include "resources/resource.h"
#include "resources/web_pages.h"

namespace {

struct LanguageRow {
    int nButtonId;
    int nPromptId;
    uint32_t dwCode;
    const char* pszFixedName;  // of a language that the ANSI code pages of the others cannot show; null: from the store
};

constexpr LanguageRow kRows[] = {
    {IDC_LANGUAGE_CHINESE, IDC_LANGUAGE_CHINESE_PROMPT, 6, "Chinese (Trad.)"},
    {IDC_LANGUAGE_DEUTSCH, IDC_LANGUAGE_DEUTSCH_PROMPT, 1, nullptr},
    {IDC_LANGUAGE_ENGLISH, IDC_LANGUAGE_ENGLISH_PROMPT, 0, nullptr},
    {IDC_LANGUAGE_ESPANOL, IDC_LANGUAGE_ESPANOL_PROMPT, 3, nullptr},
    {IDC_LANGUAGE_FRANCAIS, IDC_LANGUAGE_FRANCAIS_PROMPT, 2, nullptr},
    {IDC_LANGUAGE_ITALIANO, IDC_LANGUAGE_ITALIANO_PROMPT, 7, nullptr},
    {IDC_LANGUAGE_NEDERLANDS, IDC_LANGUAGE_NEDERLANDS_PROMPT, 8, nullptr},
    {IDC_LANGUAGE_JAPANESE, IDC_LANGUAGE_JAPANESE_PROMPT, 4, "Japanese"},
    {IDC_LANGUAGE_PORTUGUESE, IDC_LANGUAGE_PORTUGUESE_PROMPT, 5, nullptr},
    {IDC_LANGUAGE_RUSSIAN, IDC_LANGUAGE_RUSSIAN_PROMPT, 9, "Russian"},
};

// Not in the store: the user has no language yet.
constexpr char kUnicodeOnly[] =
    "You will need to obtain the Unicode version of this program to use it in this language,\r\n\r\nWould you like to "
    "go "
    "to the program's Web-page now?";
constexpr char kUnicodeOnlyCaption[] = "Not supported in this version";

// Scan codes, so that no keyboard layout matters.
constexpr unsigned kScanEscape = 1;
constexpr unsigned kScanF1 = 59;

bool IsFile(const std::string& strPath) {
    const DWORD dwAttributes = ::GetFileAttributesA(strPath.c_str());
    return dwAttributes != INVALID_FILE_ATTRIBUTES && (dwAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

}  // namespace

CLanguageDlg::CLanguageDlg(LanguageSettings* pSettings, std::string strBrowser)
    : CDialog(IDD_LANGUAGE),
      m_pSettings(pSettings),
      m_strBrowser(std::move(strBrowser)),
      m_hIcon(::LoadIconA(GetModuleHandleA(nullptr), MAKEINTRESOURCEA(IDI_ZELKOR))) {}

INT_PTR CLanguageDlg::DoModal() {
    return OpenDialogLanguageFont(this);
}

void CLanguageDlg::DoDataExchange() {
    SetWindowText(kProgramName);
    const auto texts = m_pSettings->generalTable.Snapshot();
    for (const LanguageRow& row : kRows) {
        const LanguageZone& zone = ZoneOfLanguage(row.dwCode);
        SetDlgItemText(row.nButtonId, row.pszFixedName ? row.pszFixedName : texts->Text(zone.nNameSlot));
        SetDlgItemText(row.nPromptId, texts->Text(zone.nPromptSlot));
    }
}

bool CLanguageDlg::OnInitDialog() {
    CDialog::OnInitDialog();
    SetIcon(m_hIcon);
    // A button that has the focus takes the Enter key from the default button; the first of the tab order is Chinese.
    GetDlgItem(IDC_LANGUAGE_ENGLISH).SetFocus();
    return false;
}

bool CLanguageDlg::PreTranslateMessage(MSG* pMessage) {
    const unsigned nScanCode = HIWORD(pMessage->lParam) & 0xFF;
    if (pMessage->message == WM_KEYDOWN && (nScanCode == kScanEscape || nScanCode == kScanF1)) return true;
    return CDialog::PreTranslateMessage(pMessage);
}

bool CLanguageDlg::OnCommand(int nId, int nCode) {
    if (nCode != BN_CLICKED) return false;
    if (nId == IDC_LANGUAGE_FILE) {
        ChooseFile();
        return true;
    }
    const LanguageRow* const pRow = std::ranges::find(kRows, nId, &LanguageRow::nButtonId);
    if (pRow == std::end(kRows)) return false;
    if (pRow->pszFixedName) {
        OfferUnicodeVersion();
        return true;
    }
    m_pSettings->languageCode = pRow->dwCode;
    EndDialog(IDOK);
    return true;
}

void CLanguageDlg::OfferUnicodeVersion() const {
    if (MessageBox(kUnicodeOnly, kUnicodeOnlyCaption, MB_YESNO | MB_ICONQUESTION) == IDYES)
        OpenWebPage(m_strBrowser, kProgramPage);
}

void CLanguageDlg::ChooseFile() {
    FileDialogOptions options;
    options.strFilter = m_pSettings->slotTable.Text(kSlotTextFilter);
    options.strDefaultExtension = "txt";
    CFileDialog dialog(std::move(options));
    if (dialog.DoModal() != IDOK || !IsFile(dialog.GetPathName())) return;
    m_pSettings->languageFilePath = dialog.GetPathName();
    m_pSettings->languageCode = LANGUAGE_FILE;
    EndDialog(IDOK);
}
