#include "platform/net/carry.h"

#include <poll.h>

#include <cerrno>
#include <cstring>

namespace {

// So many buffers in full are a stream.
constexpr int kFullBuffers = 16;

constexpr short kReadable = POLLIN;

}  // namespace

CarryResult CarryQuietly(CSocket& hClient, CSocket& hServer, std::span<uint8_t> buffer, IByteCounter& counter) {
    CSocket* const sockets[] = {&hClient, &hServer};
    pollfd waits[] = {{static_cast<int>(hClient.m_hSocket), kReadable, 0},
                      {static_cast<int>(hServer.m_hSocket), kReadable, 0}};
    for (int nFull = 0;;) {
        if (poll(waits, 2, -1) < 0) {
            if (errno == EINTR) continue;
            return {};  // no memory for the wait: blocking calls need none
        }
        for (const bool bFromServer : {false, true}) {
            if (waits[bFromServer].revents == 0) continue;
            const IoResult received = sockets[bFromServer]->RecvNow(buffer.data(), buffer.size());
            if (IsWouldBlockError(received.nError)) continue;
            if (received.nBytes <= 0) return {true, bFromServer, 0};
            counter.OnReceived(bFromServer, received.nBytes);
            const auto nReceived = static_cast<size_t>(received.nBytes);
            const IoResult sent = sockets[!bFromServer]->SendNow(buffer.data(), nReceived);
            const size_t nRest = sent.nBytes < 0 ? nReceived : nReceived - static_cast<size_t>(sent.nBytes);
            if (nRest != 0) std::memmove(buffer.data(), buffer.data() + nReceived - nRest, nRest);
            if (nReceived == buffer.size()) ++nFull;
            if (nRest != 0 || nFull == kFullBuffers) return {false, bFromServer, nRest};
        }
    }
}
