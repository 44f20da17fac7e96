// The load tool of script/bench: it opens its servers, says on which ports, reads from the standard input the port that
// leads to them, puts the load on it, and prints what it found. Every line that it prints is one object of JSON.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string_view>

#include "bench/loads.h"

namespace {

constexpr char kUsage[] =
    "Usage: zelkor_bench throughput|connections|round-trip|datagrams|sessions WARM-UP-MS MS NUMBER...\n"
    "bench/loads.h tells the numbers of each kind.\n";

struct Kind {
    std::string_view strName;
    size_t nNumbers;
    Figures (*pfnMeasure)(Servers& servers, const Load& load);
};

constexpr Kind kKinds[] = {{"throughput", 1, MeasureThroughput},
                           {"connections", 1, MeasureConnections},
                           {"round-trip", 1, MeasureRoundTrip},
                           {"datagrams", 3, MeasureDatagrams},
                           {"sessions", 0, HoldSessions}};

const Kind* FindKind(int nArguments, char** ppszArguments) {
    for (const Kind& kind : kKinds) {
        if (nArguments == static_cast<int>(kind.nNumbers) + 4 && ppszArguments[1] == kind.strName) return &kind;
    }
    return nullptr;
}

void Run(const Kind& kind, char** ppszNumbers) {
    Load load;
    load.warmUp = std::chrono::milliseconds(std::stoul(ppszNumbers[0]));
    load.length = std::chrono::milliseconds(std::stoul(ppszNumbers[1]));
    for (size_t n = 0; n < kind.nNumbers; ++n) {
        load.numbers.push_back(static_cast<uint32_t>(std::stoul(ppszNumbers[2 + n])));
    }
    Servers& servers = StartServers(kind.strName != "throughput");
    PrintFigures({{"tcp", servers.wTcpPort}, {"udp", servers.wUdpPort}});
    if (!(std::cin >> load.wPort)) throw std::runtime_error("no port to send to was named");
    PrintFigures(kind.pfnMeasure(servers, load));
}

}  // namespace

void PrintFigures(const Figures& figures, const std::string& strError) {
    std::printf("{");
    for (const auto& [strName, dValue] : figures) std::printf("\"%s\": %.17g, ", strName.c_str(), dValue);
    std::printf("\"error\": \"%s\"}\n", strError.c_str());
    std::fflush(stdout);
}

int main(int nArguments, char** ppszArguments) {
    const Kind* const pKind = FindKind(nArguments, ppszArguments);
    if (pKind == nullptr) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    int nExitCode = 0;
    try {
        Run(*pKind, ppszArguments + 2);
    } catch (const std::exception& error) {
        PrintFigures({}, error.what());
        nExitCode = 1;
    }
    std::_Exit(nExitCode);  // the servers still run
}
