// The Linux program.
#include <cstdio>
#include <span>

#include "platform/net/socket.h"
#include "platform/system/process.h"
#include "shell/server/server_options.h"
#include "shell/server/server_run.h"

namespace {

int Run(const ServerOptions& options) {
    // Static: engine threads may still use it while the process ends.
    static CServerRun run;
    PrepareServerProcess();
    if (StartSocketLayer() != 0) return kExitNothingStarted;
    return options.action == ServerAction::RunFile ? run.RunFile(options) : run.RunOperation(options);
}

int Perform(const ServerOptions& options) {
    switch (options.action) {
        case ServerAction::Help:
            std::fputs(ServerUsage(), stdout);
            return kExitOrderly;
        case ServerAction::Version:
            std::printf("%s %s\n", kProgramName, kVersionText);
            return kExitOrderly;
        case ServerAction::Usage:
            std::fprintf(stderr, "zelkor: %s\n%s", options.strError.c_str(), ServerUsage());
            return kExitUsage;
        default:
            return Run(options);
    }
}

}  // namespace

int main(int argc, char** argv) {
    HoldStandardStreams();
    const std::span<const char* const> arguments(argv + 1, static_cast<size_t>(argc > 0 ? argc - 1 : 0));
    EndProcess(Perform(ParseServerOptions(arguments)));
}
