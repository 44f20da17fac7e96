#include "tests/store/settings_fixture.h"

#include "language/language_choice.h"
#include "platform/files/files.h"
#include "platform/system/process.h"

int g_nLanguageChoices = 0;

namespace {

TextTable Texts(const std::string& strWord) {
    TextTable texts;
    for (const uint32_t nSlot : {30U, 31U, 64U, 65U, 66U, 215U, 216U})
        texts.SetText(nSlot, strWord + std::to_string(nSlot));
    return texts;
}

std::string LittleEndian(uint32_t nValue, int nSize) {
    std::string strBytes;
    for (int i = 0; i < nSize; ++i) strBytes += static_cast<char>(nValue >> 8 * i & 0xFF);
    return strBytes;
}

std::string Columns(uint32_t nFirst) {
    std::string strBytes;
    for (uint32_t i = 0; i < kColumnCount; ++i) strBytes += U32(nFirst + i);
    return strBytes;
}

void WriteBytes(const std::string& strPath, const std::string& strBytes) {
    EXPECT_EQ(WriteWholeFile(strPath, {strBytes.begin(), strBytes.end()}), 0);
}

}  // namespace

// Stands in for the language's own: the linker takes this one, and leaves that object in its library.
void ChooseLanguage(LanguageSettings* pSettings, const std::string& /*strBrowser*/) {
    ++g_nLanguageChoices;
    pSettings->slotTable.Replace(Texts("new"));
    pSettings->languageFilePath = "chosen.txt";
}

std::string U8(uint32_t nValue) {
    return LittleEndian(nValue, 1);
}
std::string U16(uint32_t nValue) {
    return LittleEndian(nValue, 2);
}
std::string U32(uint32_t nValue) {
    return LittleEndian(nValue, 4);
}
std::string Text(const std::string& strText) {
    return U32(static_cast<uint32_t>(strText.size() + 1)) + strText + '\0';
}

std::string Header(const std::string& strName, uint32_t nMajor, uint32_t nMinor) {
    const std::string strMagic = "\x7C\x55\xD3\x92\x6E\x94\x45\x48\xA5\x51\xF5\xF1\xD0\xAF\xE4\x40";
    return strMagic + Text(strName) + U32(nMajor) + U32(nMinor) + std::string(16, '\0');
}

std::string Record(const std::string& strAllowList, const std::string& strBlockList, uint32_t nRunning) {
    const std::string strInterface = Text("here") + "\x7F\x01\x02\x03";
    return U8(3) + U32(17) + U8(nRunning) + U8(0) + strInterface + U16(0x1234) + Text("there.example") + U16(0xFEDC) +
           U32(0xFFFFFFFE) + U32(70000) + U8(5) + U8(6) + strAllowList + strBlockList;
}

CFileText::CFileText() {
    const std::string strRange = "\x0A\x01\x02\x03\x0A\x01\x02\x63";
    m_strAhead = U32(7) + U8(9) + Text("kept") + U32(11) + U32(0xFFFFFFF4) + U32(13) + U32(14) + U32(3) + Columns(21) +
                 Columns(31);
    m_records = {Record(U32(0), U32(0)), Record(U32(16) + strRange + strRange, U32(8) + strRange, 2),
                 Record(U32(0), U32(8) + strRange, 1)};
    m_strCount = U32(3);
    m_strBehind = Text("lastif") + Text("lasthost") + U8(41) + U8(42) + U8(43) + U16(0x4445) + U16(0x4647) + U32(48) +
                  U32(49) + U8(51) + U8(52) + U8(53) + U8(54) + U8(55) + Text("resolver") + Text("afrom") +
                  Text("bfrom") + Text("ato") + Text("bto") + U32(61) + U8(62) + U8(63) + Text("date") +
                  Text("logfile") + Text("entry") + U32(64) + Text("profiles") + Text("logs") + U32(65) + U8(66) +
                  U8(67) + U8(68) + U8(69) + Text("language.txt");
}

std::string CFileText::Bytes() const {
    std::string strBytes = m_strHeader + m_strAhead + m_strCount;
    for (const std::string& strRecord : m_records) strBytes += strRecord;
    return strBytes + m_strBehind;
}

size_t CFileText::RecordStart(size_t nRecord) const {
    size_t nStart = m_strHeader.size() + m_strAhead.size() + m_strCount.size();
    for (size_t i = 0; i < nRecord; ++i) nStart += m_records[i].size();
    return nStart;
}

SettingsFile::SettingsFile() : m_strBeside(SettingsPathFor(ModulePath())) {
    std::filesystem::remove_all(m_folder);
    std::filesystem::create_directories(m_folder);
    std::filesystem::remove(m_strBeside);
    SetMessageHandler(TakeMessage);
}

SettingsFile::~SettingsFile() {
    SetMessageHandler(nullptr);
    std::filesystem::remove_all(m_folder);
    std::filesystem::remove(m_strBeside);
}

bool SettingsFile::TakeMessage(const Message& message) {
    s_messages.push_back(message);
    return s_bAnswer;
}

SettingsFileResult SettingsFile::Load(const std::string& strBytes) {
    WriteBytes(m_strPath, strBytes);
    return LoadFrom(m_strPath);
}

SettingsFileResult SettingsFile::LoadBeside(const std::string& strBytes, bool bAnswer) {
    WriteBytes(m_strBeside, strBytes);
    s_bAnswer = bAnswer;
    return LoadFrom("");
}

SettingsFileResult SettingsFile::LoadFrom(const std::string& strPath) {
    s_messages.clear();
    g_nLanguageChoices = 0;
    m_pSettings = std::make_unique<AppSettings>();
    m_pSettings->slotTable.Replace(Texts("old"));
    return LoadSettingsFile(m_pSettings.get(), strPath);
}

std::string SettingsFile::Read(const std::string& strPath) {
    std::vector<uint8_t> data;
    EXPECT_EQ(ReadWholeFile(strPath, &data), 0);
    return {data.begin(), data.end()};
}

std::string SettingsFile::Save() {
    EXPECT_EQ(SaveSettingsFile(Settings(), m_strPath.c_str()), 0);
    return Read(m_strPath);
}

CPortForwardOp& SettingsFile::Op(size_t nIndex) {
    CPortForwardOp* pOp = Settings().firstOp;
    for (size_t i = 0; i < nIndex; ++i) pOp = pOp->m_pNext;
    return *pOp;
}
