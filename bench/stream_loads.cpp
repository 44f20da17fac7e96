#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <iostream>
#include <stdexcept>
#include <thread>

#include "bench/load.h"

namespace {

using Count = std::atomic<uint64_t>;

constexpr size_t kWriteBytes = size_t{128} << 10;
constexpr size_t kSessionBytes = 64;
constexpr uint32_t kSources = 100;  // addresses that bursts come from in turn

// Runs the clients, each on a thread of its own, while the window passes; work(client's number, stop) returns soon
// after the stop. What a client throws is thrown. The figures are how much the sum grew in the window, and the window's
// length: that of a busy machine is longer rather than empty.
Figures RunClients(const Load& load, const Count& nSum,
                   const std::function<void(uint32_t, const std::atomic<bool>&)>& work) {
    std::atomic<bool> bStop = false;
    std::vector<std::future<void>> clients;
    for (uint32_t n = 0; n < load.numbers.at(0); ++n) {
        clients.push_back(std::async(std::launch::async, work, n, std::cref(bStop)));
    }
    std::this_thread::sleep_for(load.warmUp);
    const uint64_t nBefore = nSum;
    const auto begin = Clock::now();
    do std::this_thread::sleep_for(load.length);
    while (nSum == nBefore && Clock::now() < begin + load.length + kStall);
    const double dSeconds = std::chrono::duration<double>(Clock::now() - begin).count();
    const uint64_t nDone = nSum - nBefore;
    bStop = true;
    for (auto& client : clients) client.get();
    return {{"done", nDone}, {"seconds", dSeconds}};
}

void SendUntil(uint16_t wPort, const std::atomic<bool>& bStop, Count& nSent) {
    const CDescriptor hSocket = Connect(SOCK_STREAM, wPort);
    const std::vector<char> data(kWriteBytes, kByte);
    for (; !bStop; nSent += data.size()) SendAll(hSocket.Get(), data.data(), data.size());
    shutdown(hSocket.Get(), SHUT_WR);
    // The other side's end, so that its last bytes are not thrown away by a close.
    char chEnd = 0;
    static_cast<void>(recv(hSocket.Get(), &chEnd, 1, 0));
}

void Exchange(const CDescriptor& hSocket, size_t nBytes) {
    std::vector<char> message(nBytes, kByte);
    SendAll(hSocket.Get(), message.data(), nBytes);
    message.back() = 0;
    ReceiveAll(hSocket.Get(), message.data(), nBytes);
    if (message.back() != kByte) throw std::runtime_error("another byte came back");
}

// The value that so much of the whole does not exceed, in microseconds. The times are in order and not empty.
double PercentileUs(const std::vector<Clock::duration>& times, double dShare) {
    const auto nIndex = static_cast<size_t>(dShare * static_cast<double>(times.size() - 1));
    return std::chrono::duration<double, std::micro>(times[nIndex]).count();
}

Figures Percentiles(std::vector<Clock::duration> times) {
    std::sort(times.begin(), times.end());
    return {{"p50_us", PercentileUs(times, 0.50)}, {"p99_us", PercentileUs(times, 0.99)}};
}

}  // namespace

Figures MeasureThroughput(const Servers& servers, const Load& load) {
    Count nSent = 0;
    Figures figures = RunClients(load, servers.nStreamBytes, [&](uint32_t, const std::atomic<bool>& bStop) {
        SendUntil(load.wPort, bStop, nSent);
    });
    for (const auto end = Clock::now() + kStall; servers.nStreamEnds < load.numbers.at(0);) {
        if (Clock::now() > end) throw std::runtime_error("the end of a stream did not arrive");
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    CheckSum(nSent == servers.nStreamBytes, nSent, "bytes were sent", servers.nStreamBytes);
    figures.emplace_back("received", servers.nStreamBytes.load());
    return figures;
}

Figures MeasureConnections(const Servers& servers, const Load& load) {
    Count nDone = 0;
    Count nFailed = 0;
    Figures figures = RunClients(load, nDone, [&](uint32_t nClient, const std::atomic<bool>& bStop) {
        std::exception_ptr pFailure;
        while (!bStop) {
            try {
                Exchange(Connect(SOCK_STREAM, load.wPort, nClient), 1);
                ++nDone;
            } catch (const std::exception&) {
                pFailure = std::current_exception();
                ++nFailed;
            }
        }
        // Single failures are told of as a figure.
        if (pFailure && nFailed * 100 >= nDone) std::rethrow_exception(pFailure);
    });
    const uint64_t nArrived = servers.nStreamBytes;
    CheckSum(nDone <= nArrived && nArrived <= nDone + nFailed, nDone, "bytes came back", nArrived);
    figures.insert(figures.end(), {{"total", nDone.load()}, {"failed", nFailed.load()}});
    return figures;
}

Figures MeasureRoundTrip(const Servers& servers, const Load& load) {
    const CDescriptor hSocket = Connect(SOCK_STREAM, load.wPort);
    const size_t nBytes = load.numbers.at(0);
    std::vector<Clock::duration> times;  // of the messages that began in the window
    uint64_t nTotal = 0;
    const auto begin = Clock::now() + load.warmUp;
    for (auto sent = Clock::now(); sent < begin + load.length || times.empty(); ++nTotal) {
        Exchange(hSocket, nBytes);
        const auto now = Clock::now();
        if (sent >= begin) times.push_back(now - sent);
        sent = now;
    }
    CheckSum(servers.nStreamBytes == nTotal * nBytes, nTotal, "messages came back", servers.nStreamBytes);
    return Percentiles(std::move(times));
}

Figures MeasureTwoWrites(const Servers& servers, const Load& load) {
    const CDescriptor hSocket = Connect(SOCK_STREAM, load.wPort);
    const std::vector<char> first(load.numbers.at(0), ' ');
    const std::vector<char> second(first.size(), kByte);
    std::vector<Clock::duration> times;  // of the messages that began in the window
    uint64_t nTotal = 0;
    const auto begin = Clock::now() + load.warmUp;
    for (auto sent = Clock::now(); sent < begin + load.length || times.empty(); ++nTotal) {
        SendAll(hSocket.Get(), first.data(), first.size());
        SendAll(hSocket.Get(), second.data(), second.size());
        char chAnswer = 0;
        ReceiveAll(hSocket.Get(), &chAnswer, 1);
        const auto now = Clock::now();
        if (sent >= begin) times.push_back(now - sent);
        sent = now;
    }
    CheckSum(servers.nStreamBytes == nTotal * 2 * first.size(), nTotal, "were answered", servers.nStreamBytes);
    return Percentiles(std::move(times));
}

Figures MeasureConnectBursts(const Servers& /*servers*/, const Load& load) {
    Clock::duration slowest{0};
    const auto begin = Clock::now();
    uint32_t nBurst = 0;
    do {
        std::vector<CDescriptor> connections;
        for (uint32_t n = 0; n < load.numbers.at(0); ++n) {
            const auto before = Clock::now();
            connections.push_back(Connect(SOCK_STREAM, load.wPort, nBurst % kSources));
            slowest = std::max(slowest, Clock::now() - before);
        }
        for (const CDescriptor& hConnection : connections) Exchange(hConnection, 1);
        ++nBurst;
    } while (Clock::now() < begin + load.warmUp + load.length);
    return {{"slowest_us", std::chrono::duration<double, std::micro>(slowest).count()}, {"bursts", nBurst}};
}

Figures HoldSessions(const Servers& /*servers*/, const Load& load) {
    std::vector<CDescriptor> sessions;
    for (size_t nCount = 0; std::cin >> nCount; PrintFigures({})) {
        while (sessions.size() < nCount) {
            sessions.push_back(Connect(SOCK_STREAM, load.wPort));
            Exchange(sessions.back(), kSessionBytes);
        }
    }
    return {};
}
