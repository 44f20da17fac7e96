#include "bench/session_load.h"

#include <array>

namespace {

constexpr size_t kMessageBytes = 64;

}  // namespace

LoadResult CHeldSessions::OpenUpTo(size_t nCount) {
    while (m_sockets.size() < nCount) {
        const std::string strSession = " session " + std::to_string(m_sockets.size() + 1) + " failed: ";
        CDescriptor hSocket = ConnectStream(m_wPort, 0);
        if (!hSocket.IsOpen()) return FailedLoad("connecting" + strSession + LastErrorText());
        std::array<char, kMessageBytes> message = {};
        message.fill(kEchoMode);
        if (!SendAll(hSocket, message.data(), message.size()) || !ReceiveAll(hSocket, message.data(), message.size())) {
            return FailedLoad("the echo of" + strSession + LastErrorText());
        }
        m_sockets.push_back(std::move(hSocket));
    }
    LoadResult result;
    result.Add("open", m_sockets.size());
    return result;
}
