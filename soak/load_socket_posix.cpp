#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "platform/net/socket_address.h"
#include "soak/load_socket.h"

namespace {

bool BindTo(int nDescriptor, const Endpoint& local) {
    const sockaddr_in address = ToSystemAddress(local);
    return bind(nDescriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

void SetOption(int nDescriptor, int nLevel, int nOption, int nValue) {
    setsockopt(nDescriptor, nLevel, nOption, &nValue, sizeof nValue);
}

Transfer ToTransfer(ssize_t nBytes, size_t* pnBytes) {
    if (nBytes > 0) {
        *pnBytes = static_cast<size_t>(nBytes);
        return Transfer::Done;
    }
    if (nBytes == 0) return Transfer::Ended;
    return errno == EAGAIN || errno == EINTR ? Transfer::Again : Transfer::Failed;
}

}  // namespace

CLoadSocket& CLoadSocket::operator=(CLoadSocket&& other) noexcept {
    if (this != &other) {
        Close();
        m_nDescriptor = std::exchange(other.m_nDescriptor, -1);
    }
    return *this;
}

CLoadSocket CLoadSocket::Connect(SocketKind kind, uint32_t dwFromIp, const Endpoint& to) {
    CLoadSocket client(socket(AF_INET, TypeOf(kind).nType | SOCK_CLOEXEC, 0));
    if (!client.IsOpen()) return {};
    // Only connect chooses the port: a bind would take one that no other destination could share.
    SetOption(client.m_nDescriptor, IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, 1);
    const sockaddr_in address = ToSystemAddress(to);
    if (!BindTo(client.m_nDescriptor, {dwFromIp, 0}) ||
        connect(client.m_nDescriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return {};
    }
    return client;
}

CLoadSocket CLoadSocket::Serve(SocketKind kind, const Endpoint& local) {
    CLoadSocket server(socket(AF_INET, TypeOf(kind).nType | SOCK_CLOEXEC, 0));
    if (!server.IsOpen()) return {};
    if (kind == SocketKind::Tcp) SetOption(server.m_nDescriptor, SOL_SOCKET, SO_REUSEADDR, 1);
    if (!BindTo(server.m_nDescriptor, local)) return {};
    if (kind == SocketKind::Tcp && listen(server.m_nDescriptor, SOMAXCONN) != 0) return {};
    return server;
}

uint16_t CLoadSocket::LocalPort() const {
    sockaddr_in address = {};
    socklen_t nSize = sizeof address;
    getsockname(m_nDescriptor, reinterpret_cast<sockaddr*>(&address), &nSize);
    return ntohs(address.sin_port);
}

CLoadSocket CLoadSocket::Accept(int nMilliseconds) {
    pollfd wait = {m_nDescriptor, POLLIN, 0};
    if (poll(&wait, 1, nMilliseconds) <= 0) return {};
    return CLoadSocket(accept4(m_nDescriptor, nullptr, nullptr, SOCK_CLOEXEC));
}

void CLoadSocket::MakeBufferSmall() {
    SetOption(m_nDescriptor, SOL_SOCKET, SO_RCVBUF, 4096);
}

void CLoadSocket::ShutdownSend() {
    shutdown(m_nDescriptor, SHUT_WR);
}

void CLoadSocket::Reset() {
    const linger noWait = {1, 0};
    setsockopt(m_nDescriptor, SOL_SOCKET, SO_LINGER, &noWait, sizeof noWait);
    Close();
}

void CLoadSocket::Close() {
    if (m_nDescriptor >= 0) close(std::exchange(m_nDescriptor, -1));
}

bool WaitReady(const CLoadSocket& socket, bool bRead, bool bWrite, int nMilliseconds, bool* pbReadable,
               bool* pbWritable) {
    pollfd wait = {socket.Descriptor(), static_cast<short>((bRead ? POLLIN : 0) | (bWrite ? POLLOUT : 0)), 0};
    // Without anything to wait for the call is a pause: a dead connection would otherwise end it at once, again and again.
    const bool bReady = poll(&wait, bRead || bWrite ? 1 : 0, nMilliseconds) > 0;
    const bool bDead = (wait.revents & (POLLERR | POLLHUP)) != 0;
    *pbReadable = bReady && bRead && ((wait.revents & POLLIN) != 0 || bDead);
    *pbWritable = bReady && bWrite && ((wait.revents & POLLOUT) != 0 || bDead);
    return bReady;
}

Transfer ReceiveSome(const CLoadSocket& socket, std::span<uint8_t> block, size_t* pnBytes) {
    return ToTransfer(recv(socket.Descriptor(), block.data(), block.size(), MSG_DONTWAIT), pnBytes);
}

Transfer SendSome(const CLoadSocket& socket, std::span<const uint8_t> bytes, size_t* pnBytes) {
    return ToTransfer(send(socket.Descriptor(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL), pnBytes);
}

Transfer ReceiveDatagram(const CLoadSocket& socket, std::span<uint8_t> block, size_t* pnBytes, Endpoint* pFrom) {
    sockaddr_in address = {};
    socklen_t nSize = sizeof address;
    const ssize_t nBytes = recvfrom(socket.Descriptor(), block.data(), block.size(), MSG_DONTWAIT,
                                    reinterpret_cast<sockaddr*>(&address), &nSize);
    *pFrom = {address.sin_addr.s_addr, ntohs(address.sin_port)};
    if (nBytes == 0) *pnBytes = 0;
    return nBytes == 0 ? Transfer::Done : ToTransfer(nBytes, pnBytes);
}

void SendDatagram(const CLoadSocket& socket, std::span<const uint8_t> bytes, const Endpoint& to) {
    const sockaddr_in address = ToSystemAddress(to);
    sendto(socket.Descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address),
           sizeof address);
}
