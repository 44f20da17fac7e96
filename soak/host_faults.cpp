#include "soak/host_faults.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string_view>
#include <vector>

#include "language/language_store.h"
#include "platform/files/files.h"
#include "platform/threads/threads.h"
#include "soak/load_socket.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint32_t kPollMs = 10;
constexpr std::chrono::seconds kLongestWait(60);
constexpr uint32_t kLanguages = 10;
constexpr std::chrono::seconds kLongestStorm(2);
constexpr int32_t kUsualSessions = 200;  // the load alone has fewer

// Each begins and ends with marks of its own, by which a torn line is seen.
constexpr std::array<const char*, 3> kLineFormats = {"<%E|%P|%CIP|%CPort|%RHost>", "{%G%E %DAT %LIP:%LPort}",
                                                     "(%Z%G%E %DAT %RPort)"};
constexpr std::array<const char*, 2> kDateFormats = {"%Y.%MY.%D %H24:%MN:%S.%MS", "%D %H12 %AP"};

bool IsWholeLine(std::string_view strLine) {
    if (strLine.size() < 2) return false;
    const char chEnd = strLine.back();
    switch (strLine.front()) {
        case '<':
            return chEnd == '>';
        case '{':
            return chEnd == '}';
        case '(':
            return chEnd == ')';
        default:
            return false;
    }
}

bool WaitFor(const std::function<bool()>& condition) {
    const auto end = Clock::now() + kLongestWait;
    while (!condition()) {
        if (Clock::now() > end) return false;
        Sleep(kPollMs);
    }
    return true;
}

void Hold(CRandom& random, uint64_t nMostMs) {
    Sleep(static_cast<uint32_t>(random.Between(100, nMostMs)));
}

}  // namespace

CHostFaults::CHostFaults(SharedBlock& shared, AppSettings& settings, const EngineCounters& counters,
                         const CSurroundings& surroundings)
    : m_shared(shared),
      m_settings(settings),
      m_counters(counters),
      m_surroundings(surroundings),
      m_strLog(surroundings.Folder() + "/engine.log") {}

void CHostFaults::SetUpLog() {
    m_settings.autoLogEnabled = 1;
    m_settings.logEntryFormat.Set(kLineFormats[0]);
    m_settings.logFilePath.Set(m_strLog);
}

// All in turn, in an order that is drawn anew each time: none stays away for long.
void CHostFaults::PlayOne(CRandom& random) {
    using Play = void (CHostFaults::*)(CRandom&);
    static constexpr std::array<Play, 8> kAll = {&CHostFaults::PlayDescriptorShortage,
                                                 &CHostFaults::PlayPortShortage,
                                                 &CHostFaults::PlayThreadShortage,
                                                 &CHostFaults::PlayLookupFailure,
                                                 &CHostFaults::PlayStorm,
                                                 &CHostFaults::PlayFullDisk,
                                                 &CHostFaults::MoveLog,
                                                 &CHostFaults::ReloadTexts};
    if (m_left.empty()) {
        for (size_t n = 0; n < kAll.size(); ++n)
            m_left.insert(m_left.begin() + static_cast<int>(random.Below(n + 1)), n);
    }
    const Play play = kAll[m_left.back()];
    m_left.pop_back();
    (this->*play)(random);
}

void CHostFaults::PlayDescriptorShortage(CRandom& random) {
    CDisturbedTime refusals;
    for (OpSlot& op : m_shared.EngineOps()) refusals.AddAdmission(op);
    const CDescriptorShortage shortage(random.Below(8));
    Hold(random, 2000);
    m_shared.Add(Tally::DescriptorShortages);
}

// The program's operations share the network.
void CHostFaults::PlayPortShortage(CRandom& random) {
    if (!m_surroundings.HasPortRange()) return;
    CDisturbedTime refusals;
    for (OpSlot& op : m_shared.ops) refusals.AddAdmission(op);
    const auto wFirst = static_cast<uint16_t>(random.Between(33000, 60000));
    const CPortShortage shortage(wFirst, static_cast<uint16_t>(wFirst + random.Between(1, 16)));
    Hold(random, 1000);
    m_shared.Add(Tally::PortShortages);
}

void CHostFaults::PlayThreadShortage(CRandom& random) {
    CDisturbedTime refusals;
    for (OpSlot& op : m_shared.EngineOps()) refusals.AddAdmission(op);
    FailThreadStartsAfter(static_cast<int32_t>(random.Below(10)));
    Hold(random, 500);
    FailThreadStartsAfter(-1);
    m_shared.Add(Tally::ThreadShortages);
}

// More connections at once than the engine takes, which say nothing and end in one way or the other.
void CHostFaults::PlayStorm(CRandom& random) {
    CDisturbedTime refusals;
    for (OpSlot& op : m_shared.EngineOps()) refusals.AddAdmission(op);
    const OpSlot& op = m_shared.EngineOps()[random.Below(kEngineOps)];
    if (op.bUdp) return;
    {
        // A full queue of the listener makes a connect wait for seconds.
        const auto end = Clock::now() + kLongestStorm;
        std::vector<CLoadSocket> storm(random.Between(100, 1000));
        for (CLoadSocket& socket : storm) {
            if (Clock::now() > end) break;
            socket = CLoadSocket::Connect(SocketKind::Tcp, m_shared.dwClientIp, {m_shared.dwOpIp, op.wPort});
        }
        Hold(random, 500);
        for (CLoadSocket& socket : storm) {
            if (random.OneIn(2)) socket.Reset();
        }
    }
    if (!WaitFor([&] { return m_counters.nSessions < kUsualSessions; })) m_shared.Fail("sessions of a storm remain");
    m_shared.Add(Tally::Storms);
}

// The look-up is tried here too: it must really fail, and really work again.
void CHostFaults::PlayLookupFailure(CRandom& random) {
    if (!m_surroundings.HasHostTable()) return;
    CDisturbedTime refusals;
    for (OpSlot& op : m_shared.EngineOps()) {
        if (op.bByName) refusals.AddAdmission(op);
    }
    uint32_t dwIp = 0;
    m_surroundings.WriteHostTable(false, m_shared.dwServerIp);
    if (ResolveHostName(kSoakHost, &dwIp)) m_shared.Fail("a name that is gone was found");
    Hold(random, 1500);
    m_surroundings.WriteHostTable(true, m_shared.dwServerIp);
    if (!ResolveHostName(kSoakHost, &dwIp) || dwIp != m_shared.dwServerIp)
        m_shared.Fail("a name that is back was not found");
    m_shared.Add(Tally::LookupFailures);
}

void CHostFaults::PlayFullDisk(CRandom& random) {
    const std::string strFull = m_surroundings.FileOnFullDisk();
    m_surroundings.FillDisk();
    m_settings.autoLogEnabled = 1;
    m_settings.logFilePath.Set(strFull);
    Hold(random, 1500);
    // Room again: the log must go on by itself.
    m_surroundings.EmptyDisk();
    if (m_surroundings.HasDisk() && !WaitFor([&] { return FileSize(strFull) > 0; })) {
        m_shared.Fail("the log did not go on when its disk had room again");
    }
    m_settings.logFilePath.Set(m_strLog);
    m_shared.Add(Tally::FullDisks);
}

void CHostFaults::MoveLog(CRandom& random) {
    Hold(random, 1000);
    const std::string strMoved = m_strLog + ".1";
    m_settings.autoLogEnabled = 1;
    if (!WaitFor([&] { return FileSize(m_strLog) > 0; }) || std::rename(m_strLog.c_str(), strMoved.c_str()) != 0 ||
        !WaitFor([&] { return FileSize(m_strLog) > 0; })) {
        m_shared.Fail("no new log was begun in place of one that was moved away");
        return;
    }
    CheckLog(strMoved);
    m_shared.Add(Tally::LogsMoved);
}

void CHostFaults::CheckLastLog() {
    CheckLog(m_strLog);
}

// Nobody writes to it any more.
void CHostFaults::CheckLog(const std::string& strPath) {
    std::vector<uint8_t> data;
    if (ReadWholeFile(strPath, &data) != 0) return;
    std::string_view strLeft(reinterpret_cast<const char*>(data.data()), data.size());
    while (!strLeft.empty()) {
        const size_t nEnd = std::min(strLeft.find("\r\n", 2), strLeft.size());
        if (!strLeft.starts_with("\r\n") || !IsWholeLine(strLeft.substr(2, nEnd - 2))) {
            m_shared.Fail("a log line that no event has written: %.*s", static_cast<int>(std::min<size_t>(nEnd, 200)),
                          strLeft.data());
            break;
        }
        m_shared.Add(Tally::LogLinesChecked);
        strLeft.remove_prefix(nEnd);
    }
    std::remove(strPath.c_str());
}

void CHostFaults::ReloadTexts(CRandom& random) {
    m_settings.languageCode = static_cast<uint32_t>(random.Below(kLanguages));
    ApplyLanguage(&m_settings);
    m_settings.logEntryFormat.Set(kLineFormats[random.Below(kLineFormats.size())]);
    m_settings.logDateFormat.Set(kDateFormats[random.Below(kDateFormats.size())]);
    m_settings.noLogBlocked = random.OneIn(2) ? 1 : 0;
    m_settings.autoLogEnabled = random.OneIn(4) ? 0 : 1;
    m_shared.Add(Tally::TextReloads);
}
