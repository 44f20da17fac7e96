#include "tests/language/language_fixture.h"

#include <random>
#include <utility>

#include "language/language_store.h"
#include "platform/files/files.h"
#include "tests/support/failing_new.h"

namespace {

std::vector<Message> g_messages;

bool CollectMessage(const Message& message) {
    g_messages.push_back(message);
    return true;
}

// Tests of one program may run at the same time, each in a process of its own.
std::filesystem::path FileOfThisTest() {
    const std::string strName = testing::UnitTest::GetInstance()->current_test_info()->name();
    const std::string strTag = std::to_string(std::random_device()());
    return std::filesystem::temp_directory_path() / ("zelkor_" + strName + "_" + strTag + ".txt");
}

}  // namespace

std::vector<uint8_t> Utf16Bytes(std::u16string_view strText) {
    std::vector<uint8_t> bytes;
    for (const char16_t wUnit : strText) {
        bytes.push_back(static_cast<uint8_t>(wUnit & 0xFF));
        bytes.push_back(static_cast<uint8_t>(wUnit >> 8));
    }
    return bytes;
}

CLanguageTest::CLanguageTest() : m_file(FileOfThisTest()) {
    g_messages.clear();
    SetMessageHandler(CollectMessage);
}

CLanguageTest::~CLanguageTest() {
    FailNextAllocationOf(0);
    SetMessageHandler(nullptr);
    std::error_code error;
    std::filesystem::remove(m_file, error);
}

void CLanguageTest::ApplyFile(const std::vector<uint8_t>& bytes) {
    ASSERT_EQ(WriteWholeFile(m_file.string(), bytes), 0);
    m_settings.languageFilePath = m_file.string();
    Apply(LANGUAGE_FILE);
}

void CLanguageTest::Apply(uint32_t dwCode) {
    m_settings.languageCode = dwCode;
    ApplyLanguage(&m_settings);
}

std::vector<uint32_t> CLanguageTest::FilledSlots() const {
    std::vector<uint32_t> filled;
    for (uint32_t nSlot = 0; nSlot < kSlotCount; ++nSlot) {
        if (!Slot(nSlot).empty()) filled.push_back(nSlot);
    }
    return filled;
}

std::vector<std::string> CLanguageTest::TakeMessages() {
    std::vector<std::string> texts;
    for (const Message& message : std::exchange(g_messages, {})) {
        EXPECT_EQ(message.icon, MessageIcon::Error);
        EXPECT_EQ(message.buttons, MessageButtons::Ok);
        texts.push_back(message.strCaption + ": " + message.strText);
    }
    return texts;
}
