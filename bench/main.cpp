// The load tool of script/bench: it opens its servers, says on which ports, reads from the standard input the port that
// leads to them, puts the load on it, and prints what it found. Every line that it prints is one object of JSON.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <map>

#include "bench/load.h"

namespace {

void Run(const std::vector<std::string>& words) {
    struct Kind {
        Figures (*pfnMeasure)(const Servers&, const Load&);
        Answer answer;
    };
    static const std::map<std::string, Kind> kKinds = {{"throughput", {MeasureThroughput, Answer::Nothing}},
                                                       {"connections", {MeasureConnections, Answer::Echo}},
                                                       {"connect-bursts", {MeasureConnectBursts, Answer::Echo}},
                                                       {"round-trip", {MeasureRoundTrip, Answer::Echo}},
                                                       {"two-writes", {MeasureTwoWrites, Answer::Ends}},
                                                       {"datagrams", {MeasureDatagrams, Answer::Echo}},
                                                       {"one-way", {MeasureOneWay, Answer::Nothing}},
                                                       {"datagram-sessions", {HoldDatagramSessions, Answer::Echo}},
                                                       {"sessions", {HoldSessions, Answer::Echo}}};
    const auto& [pfnMeasure, answer] = kKinds.at(words.at(0));
    Load load;
    load.warmUp = std::chrono::milliseconds(std::stoul(words.at(1)));
    load.length = std::chrono::milliseconds(std::stoul(words.at(2)));
    for (size_t n = 3; n < words.size(); ++n) load.numbers.push_back(static_cast<uint32_t>(std::stoul(words[n])));
    const Servers& servers = StartServers(answer);
    PrintFigures({{"tcp", servers.wTcpPort}, {"udp", servers.wUdpPort}});
    std::cin >> load.wPort;
    PrintFigures(pfnMeasure(servers, load));
}

}  // namespace

void PrintFigures(const Figures& figures, const std::string& strError) {
    std::printf("{");
    for (const Figure& figure : figures) std::printf("\"%s\": %.17g, ", figure.pszName, figure.dValue);
    std::printf("\"error\": \"%s\"}\n", strError.c_str());
    std::fflush(stdout);
}

// KIND WARM-UP-MS MS NUMBER..., the numbers as bench/load.h tells.
int main(int nArguments, char** ppszArguments) {
    try {
        Run({ppszArguments + 1, ppszArguments + nArguments});
    } catch (const std::exception& error) {
        PrintFigures({}, error.what());
        std::_Exit(1);
    }
    std::_Exit(0);  // the servers still run
}
