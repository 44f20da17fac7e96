// The load tool of script/bench: it opens its servers, says on which ports, reads from the standard input the port that
// leads to them, measures, and prints what it found. Every line that it prints is one object of JSON.
#include <charconv>
#include <cstdio>
#include <exception>
#include <iostream>
#include <span>
#include <string_view>

#include "bench/datagram_load.h"
#include "bench/session_load.h"
#include "bench/stream_load.h"

namespace {

constexpr char kUsage[] =
    "Usage: zelkor_bench throughput CLIENTS WARMUP MS\n"
    "       zelkor_bench connections CLIENTS WARMUP MS\n"
    "       zelkor_bench round-trip BYTES WARMUP MS\n"
    "       zelkor_bench datagrams CLIENTS BYTES INFLIGHT WARMUP MS\n"
    "       zelkor_bench sessions\n"
    "The servers' ports are printed. A line on standard input then names the port to send to. Of sessions, each "
    "further\n"
    "line says how many are to be open. WARMUP and MS are milliseconds.\n";

using Numbers = std::vector<uint32_t>;

// Not empty, and each a number from 1 to a million; or empty.
Numbers ReadNumbers(std::span<char* const> words) {
    Numbers numbers;
    for (const std::string_view word : words) {
        uint32_t nValue = 0;
        const auto result = std::from_chars(word.data(), word.data() + word.size(), nValue);
        if (result.ec != std::errc() || result.ptr != word.data() + word.size()) return {};
        if (nValue < 1 || nValue > 1'000'000) return {};
        numbers.push_back(nValue);
    }
    return numbers;
}

LoadWindow WindowOf(uint32_t nWarmUpMs, uint32_t nMs) {
    return {std::chrono::milliseconds(nWarmUpMs), std::chrono::milliseconds(nMs)};
}

bool IsUsage(std::string_view strKind, const Numbers& numbers) {
    if (strKind == "sessions") return numbers.empty();
    if (strKind == "datagrams") return numbers.size() == 5 && numbers[1] > 8 && numbers[1] <= 2048;
    return (strKind == "throughput" || strKind == "connections" || strKind == "round-trip") && numbers.size() == 3;
}

LoadResult Measure(CLoadServer& server, std::string_view strKind, const Numbers& numbers, uint16_t wPort) {
    if (strKind == "datagrams") {
        return MeasureDatagrams(server, {wPort, numbers[0], numbers[1], numbers[2], WindowOf(numbers[3], numbers[4])});
    }
    const LoadWindow window = WindowOf(numbers[1], numbers[2]);
    if (strKind == "round-trip") return MeasureRoundTrip(server, {wPort, 1, window}, numbers[0]);
    const StreamLoad load = {wPort, static_cast<int32_t>(numbers[0]), window};
    return strKind == "throughput" ? MeasureThroughput(server, load) : MeasureConnections(server, load);
}

int HoldSessions(uint16_t wPort) {
    CHeldSessions sessions(wPort);
    for (size_t nCount = 0; std::cin >> nCount;) {
        const LoadResult result = sessions.OpenUpTo(nCount);
        PrintResult(result);
        if (!result.strError.empty()) return 1;
    }
    return 0;
}

int PrintFailure(const std::string& strError) {
    PrintResult(FailedLoad(strError));
    return 1;
}

int Run(std::string_view strKind, const Numbers& numbers) {
    CLoadServer server;
    const std::string strError = server.Start();
    if (!strError.empty()) return PrintFailure(strError);
    LoadResult ports;
    ports.Add("tcp", uint64_t{server.StreamPort()});
    ports.Add("udp", uint64_t{server.DatagramPort()});
    PrintResult(ports);
    uint16_t wPort = 0;
    if (!(std::cin >> wPort)) return PrintFailure("no port to send to was named");
    if (strKind == "sessions") return HoldSessions(wPort);
    const LoadResult result = Measure(server, strKind, numbers, wPort);
    PrintResult(result);
    return result.strError.empty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) try {
    const std::span<char* const> arguments(argv, static_cast<size_t>(argc));
    const std::string_view strKind = argc > 1 ? argv[1] : "";
    const Numbers numbers = argc > 2 ? ReadNumbers(arguments.subspan(2)) : Numbers();
    if (!IsUsage(strKind, numbers)) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    return Run(strKind, numbers);
} catch (const std::exception& error) {
    // No memory, or no more threads.
    std::fprintf(stderr, "zelkor_bench: %s\n", error.what());
    return 1;
}
