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
constexpr char kByte = 'E';

// How much a sum grew in the window. The window of a busy machine is longer rather than empty.
Figures WatchWindow(const Load& load, const Count& nSum) {
    std::this_thread::sleep_for(load.warmUp);
    const uint64_t nBefore = nSum;
    const auto begin = Clock::now();
    do std::this_thread::sleep_for(load.length);
    while (nSum == nBefore && Clock::now() < begin + load.length + kStall);
    const double dSeconds = std::chrono::duration<double>(Clock::now() - begin).count();
    return {{"done", nSum - nBefore}, {"seconds", dSeconds}};
}

// Runs the clients, each on a thread of its own, while the window passes; work(client's number, stop) returns soon after
// the stop. What a client throws is thrown.
Figures RunClients(const Load& load, const Count& nSum,
                   const std::function<void(uint32_t, const std::atomic<bool>&)>& work) {
    std::atomic<bool> bStop = false;
    std::vector<std::future<void>> clients;
    for (uint32_t n = 0; n < load.numbers.at(0); ++n) {
        clients.push_back(std::async(std::launch::async, work, n, std::cref(bStop)));
    }
    Figures figures = WatchWindow(load, nSum);
    bStop = true;
    for (auto& client : clients) client.get();
    return figures;
}

void SendUntil(int nSocket, const std::atomic<bool>& bStop, Count& nSent) {
    const std::vector<char> data(kWriteBytes, kByte);
    while (!bStop) {
        SendAll(nSocket, data.data(), data.size());
        nSent += data.size();
    }
    shutdown(nSocket, SHUT_WR);
    // The other side's end, so that its last bytes are not thrown away by a close.
    char chEnd = 0;
    static_cast<void>(recv(nSocket, &chEnd, 1, 0));
}

void Visit(uint16_t wPort, uint32_t nSource) {
    const CDescriptor hSocket = Connect(SOCK_STREAM, wPort, nSource);
    char chByte = kByte;
    SendAll(hSocket.Get(), &chByte, 1);
    ReceiveAll(hSocket.Get(), &chByte, 1);
    if (chByte != kByte) throw std::runtime_error("another byte came back");
}

// The value that so much of the whole does not exceed, in microseconds. The times are in order and not empty.
double PercentileUs(const std::vector<Clock::duration>& times, double dShare) {
    const auto nIndex = static_cast<size_t>(dShare * static_cast<double>(times.size() - 1));
    return std::chrono::duration<double, std::micro>(times[nIndex]).count();
}

}  // namespace

Figures MeasureThroughput(Servers& servers, const Load& load) {
    const uint32_t nClients = load.numbers.at(0);
    Count nSent = 0;
    std::vector<CDescriptor> sockets;
    for (uint32_t n = 0; n < nClients; ++n) sockets.push_back(Connect(SOCK_STREAM, load.wPort));
    Figures figures = RunClients(load, servers.nStreamBytes, [&](uint32_t nClient, const std::atomic<bool>& bStop) {
        SendUntil(sockets[nClient].Get(), bStop, nSent);
    });
    for (const auto end = Clock::now() + kStall; servers.nStreamEnds < nClients;) {
        if (Clock::now() > end) throw std::runtime_error("the end of a stream did not arrive");
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    CheckSum(nSent == servers.nStreamBytes, nSent, "bytes were sent", servers.nStreamBytes);
    figures.emplace_back("received", servers.nStreamBytes.load());
    return figures;
}

Figures MeasureConnections(Servers& servers, const Load& load) {
    Count nDone = 0;
    Count nFailed = 0;
    Figures figures = RunClients(load, nDone, [&](uint32_t nClient, const std::atomic<bool>& bStop) {
        std::exception_ptr pFailure;
        while (!bStop) {
            try {
                Visit(load.wPort, nClient);
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

Figures MeasureRoundTrip(Servers& servers, const Load& load) {
    const CDescriptor hSocket = Connect(SOCK_STREAM, load.wPort);
    std::vector<char> message(load.numbers.at(0), kByte);
    std::vector<Clock::duration> times;  // of the messages that began in the window
    uint64_t nTotal = 0;
    const auto begin = Clock::now() + load.warmUp;
    for (auto sent = Clock::now(); sent < begin + load.length || times.empty(); ++nTotal) {
        SendAll(hSocket.Get(), message.data(), message.size());
        ReceiveAll(hSocket.Get(), message.data(), message.size());
        const auto now = Clock::now();
        if (sent >= begin) times.push_back(now - sent);
        sent = now;
    }
    CheckSum(servers.nStreamBytes == nTotal * message.size(), nTotal, "messages came back", servers.nStreamBytes);
    std::ranges::sort(times);
    return {{"p50_us", PercentileUs(times, 0.50)}, {"p99_us", PercentileUs(times, 0.99)}};
}

Figures HoldSessions(Servers& /*servers*/, const Load& load) {
    std::vector<CDescriptor> sessions;
    for (size_t nCount = 0; std::cin >> nCount; PrintFigures({})) {
        while (sessions.size() < nCount) {
            sessions.push_back(Connect(SOCK_STREAM, load.wPort));
            char message[kSessionBytes] = {};
            SendAll(sessions.back().Get(), message, sizeof message);
            ReceiveAll(sessions.back().Get(), message, sizeof message);
        }
    }
    return {};
}
