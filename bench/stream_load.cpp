#include "bench/stream_load.h"

#include <algorithm>
#include <functional>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kWriteBytes = size_t{128} * 1024;

double Seconds(Clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

// How much a sum grew in the window, and the window's true length. The window of a busy machine is longer rather than
// empty.
void AddWindow(const LoadWindow& window, const std::function<uint64_t()>& sum, LoadResult* pResult) {
    std::this_thread::sleep_for(window.warmUp);
    const uint64_t nBefore = sum();
    const auto begin = Clock::now();
    uint64_t nBehind = nBefore;
    while (nBehind == nBefore && Clock::now() < begin + window.length + std::chrono::milliseconds(kStallMs)) {
        std::this_thread::sleep_for(window.length);
        nBehind = sum();
    }
    pResult->Add("done", nBehind - nBefore);
    pResult->Add("seconds", Seconds(Clock::now() - begin));
}

// What one client thread did. Written by that thread; the sums are also read while it runs.
struct Client {
    CDescriptor hSocket;
    std::atomic<uint64_t> nBytes = 0;
    std::atomic<uint64_t> nDone = 0;
    uint64_t nFailed = 0;
    std::string strError;  // the first failure's
};

uint64_t SumOf(const std::vector<Client>& clients, std::atomic<uint64_t> Client::*pCount) {
    uint64_t nSum = 0;
    for (const Client& client : clients) nSum += (client.*pCount).load(std::memory_order_relaxed);
    return nSum;
}

// Runs the clients, each on a thread of its own, while the window passes; work(client, its number, stop) returns soon
// after the stop.
template <class Work>
void RunClients(std::vector<Client>* pClients, const LoadWindow& window, const std::function<uint64_t()>& sum,
                Work work, LoadResult* pResult) {
    std::atomic<bool> bStop = false;
    std::vector<std::thread> threads;
    for (size_t n = 0; n < pClients->size(); ++n) {
        threads.emplace_back([&, n] { work((*pClients)[n], static_cast<int32_t>(n), bStop); });
    }
    AddWindow(window, sum, pResult);
    bStop = true;
    for (std::thread& thread : threads) thread.join();
    for (const Client& client : *pClients) {
        if (pResult->strError.empty()) pResult->strError = client.strError;
    }
}

void Fail(Client& client, const std::string& strWhat) {
    ++client.nFailed;
    if (client.strError.empty()) client.strError = strWhat + " failed: " + LastErrorText();
}

void SendUntil(Client& client, const std::atomic<bool>& bStop) {
    const std::vector<char> data(kWriteBytes, kSinkMode);
    while (!bStop) {
        if (!SendAll(client.hSocket, data.data(), data.size())) return Fail(client, "sending");
        client.nBytes.fetch_add(data.size(), std::memory_order_relaxed);
    }
    ShutdownSend(client.hSocket);
    // The other side's end, so that its last bytes are not thrown away by a close.
    char chEnd = 0;
    static_cast<void>(Receive(client.hSocket, &chEnd, 1));
}

// True when the byte came back.
bool VisitOnce(Client& client, uint16_t wPort, int32_t nSource) {
    const CDescriptor hSocket = ConnectStream(wPort, nSource);
    char chByte = kEchoMode;
    if (!hSocket.IsOpen()) {
        Fail(client, "connecting");
    } else if (!SendAll(hSocket, &chByte, 1)) {
        Fail(client, "sending");
    } else if (!ReceiveAll(hSocket, &chByte, 1) || chByte != kEchoMode) {
        Fail(client, "receiving");
    } else {
        return true;
    }
    return false;
}

void VisitUntil(Client& client, uint16_t wPort, int32_t nSource, const std::atomic<bool>& bStop) {
    while (!bStop) {
        if (VisitOnce(client, wPort, nSource)) client.nDone.fetch_add(1, std::memory_order_relaxed);
    }
}

// The value that so much of the whole does not exceed. The times are in order and not empty.
double PercentileUs(const std::vector<int64_t>& timesNs, double dShare) {
    const auto nIndex = static_cast<size_t>(dShare * static_cast<double>(timesNs.size() - 1));
    return static_cast<double>(timesNs[nIndex]) / 1000;
}

// Exchanges messages until the window is over; the times of those that began in it.
std::vector<int64_t> TimeMessages(Client& client, const LoadWindow& window, size_t nBytes) {
    std::vector<char> message(nBytes, kEchoMode);
    std::vector<int64_t> timesNs;
    const auto begin = Clock::now() + window.warmUp;
    const auto end = begin + window.length;
    for (auto sent = Clock::now(); sent < end || timesNs.empty();) {
        if (!SendAll(client.hSocket, message.data(), nBytes) || !ReceiveAll(client.hSocket, message.data(), nBytes)) {
            Fail(client, "exchanging a message");
            break;
        }
        ++client.nDone;
        const auto now = Clock::now();
        if (sent >= begin) timesNs.push_back(std::chrono::nanoseconds(now - sent).count());
        sent = now;
    }
    return timesNs;
}

}  // namespace

LoadResult MeasureThroughput(CLoadServer& server, const StreamLoad& load) {
    std::vector<Client> clients(static_cast<size_t>(load.nClients));
    for (Client& client : clients) {
        client.hSocket = ConnectStream(load.wPort, 0);
        if (!client.hSocket.IsOpen()) return FailedLoad("connecting failed: " + LastErrorText());
    }
    LoadResult result;
    const auto work = [](Client& client, int32_t, const std::atomic<bool>& bStop) { SendUntil(client, bStop); };
    RunClients(
        &clients, load.window, [&server] { return server.SunkBytes(); }, work, &result);
    if (!server.WaitForEnds(clients.size()) && result.strError.empty()) {
        result.strError = "the end of a stream did not arrive";
    }
    result.Add("sent", SumOf(clients, &Client::nBytes));
    result.Add("received", server.SunkBytes());
    return result;
}

LoadResult MeasureConnections(const CLoadServer& server, const StreamLoad& load) {
    std::vector<Client> clients(static_cast<size_t>(load.nClients));
    const auto visits = [&clients] { return SumOf(clients, &Client::nDone); };
    const auto work = [&load](Client& client, int32_t nNumber, const std::atomic<bool>& bStop) {
        VisitUntil(client, load.wPort, nNumber, bStop);
    };
    LoadResult result;
    RunClients(&clients, load.window, visits, work, &result);
    uint64_t nFailed = 0;
    for (const Client& client : clients) nFailed += client.nFailed;
    // Single failures are told of as a figure.
    if (nFailed * 100 < visits()) result.strError.clear();
    result.Add("total", visits());
    result.Add("failed", nFailed);
    result.Add("echoed", server.EchoedBytes());
    return result;
}

LoadResult MeasureRoundTrip(const CLoadServer& server, const StreamLoad& load, size_t nBytes) {
    Client client;
    client.hSocket = ConnectStream(load.wPort, 0);
    if (!client.hSocket.IsOpen()) return FailedLoad("connecting failed: " + LastErrorText());
    std::vector<int64_t> timesNs = TimeMessages(client, load.window, nBytes);
    if (!client.strError.empty()) return FailedLoad(client.strError);
    std::sort(timesNs.begin(), timesNs.end());
    LoadResult result;
    result.Add("done", timesNs.size());
    result.Add("p50_us", PercentileUs(timesNs, 0.50));
    result.Add("p99_us", PercentileUs(timesNs, 0.99));
    result.Add("total", client.nDone.load());
    result.Add("echoed", server.EchoedBytes());
    return result;
}
