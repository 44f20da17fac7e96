#include "platform/net/carry.h"

#include <poll.h>

#include <cerrno>
#include <cstring>

namespace {

// So many buffers in full are a stream.
constexpr int kFullBuffers = 16;

constexpr short kReadable = POLLIN;

// What one look at one of the connections has given.
struct Step {
    bool bLeave = false;
    bool bFull = false;  // the buffer came in full
    CarryResult result;
};

// Carries what has come in, as far as the receiver takes it.
Step CarryOnce(CSocket& hFrom, CSocket& hTo, bool bFromServer, std::span<uint8_t> buffer, IByteCounter& counter) {
    const IoResult received = hFrom.RecvNow(buffer.data(), buffer.size());
    if (IsWouldBlockError(received.nError)) return {};
    if (received.nBytes <= 0) return {true, false, {true, bFromServer, 0}};
    counter.OnReceived(bFromServer, received.nBytes);
    const auto nReceived = static_cast<size_t>(received.nBytes);
    const IoResult sent = hTo.SendNow(buffer.data(), nReceived);
    const size_t nRest = sent.nBytes < 0 ? nReceived : nReceived - static_cast<size_t>(sent.nBytes);
    if (nRest != 0) std::memmove(buffer.data(), buffer.data() + nReceived - nRest, nRest);
    return {nRest != 0, nReceived == buffer.size(), {false, bFromServer, nRest}};
}

}  // namespace

CarryResult CarryQuietly(CSocket& hClient, CSocket& hServer, std::span<uint8_t> buffer, IByteCounter& counter) {
    CSocket* const sockets[] = {&hClient, &hServer};
    pollfd waits[] = {{static_cast<int>(hClient.m_hSocket), kReadable, 0},
                      {static_cast<int>(hServer.m_hSocket), kReadable, 0}};
    for (int nFull = 0;;) {
        // Without memory for the wait: blocking calls need none.
        if (poll(waits, 2, -1) < 0 && errno != EINTR) return {};
        for (const bool bFromServer : {false, true}) {
            if (waits[bFromServer].revents == 0) continue;
            const Step step = CarryOnce(*sockets[bFromServer], *sockets[!bFromServer], bFromServer, buffer, counter);
            if (step.bFull) ++nFull;
            if (step.bLeave || nFull == kFullBuffers) return step.result;
        }
    }
}
