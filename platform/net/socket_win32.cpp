#include "platform/net/socket.h"

#include <cstdlib>

#include "platform/net/breakable_calls.h"
#include "platform/net/socket_system.h"
#include "platform/system/windows_api.h"

#include <mstcpip.h>

namespace {

SOCKET Handle(intptr_t hSocket) {
    return static_cast<SOCKET>(hSocket);
}

// The code is read only behind a call that failed: the calls leave an old one standing.
int32_t LastErrorIf(bool bFailed) {
    return bFailed ? WSAGetLastError() : 0;
}

IoResult ToResult(int nBytes) {
    if (nBytes < 0) return {-1, WSAGetLastError()};
    return {nBytes, 0};
}

// The times also for a Windows that does not know the options for them; such a one always probes ten times.
void SetProbeTimes(SOCKET hSocket) {
    tcp_keepalive times = {1, kFirstProbeSeconds * 1000, kProbeSeconds * 1000};
    DWORD dwBytes = 0;
    static_cast<void>(
        WSAIoctl(hSocket, SIO_KEEPALIVE_VALS, &times, sizeof times, nullptr, 0, &dwBytes, nullptr, nullptr));
}

}  // namespace

int32_t CSocket::Open(SocketKind kind) {
    Close();
    const SocketType type = TypeOf(kind);
    const SOCKET hSocket = socket(AF_INET, type.nType, type.nProtocol);
    if (hSocket == INVALID_SOCKET) return WSAGetLastError();
    // Programs that a user starts from this one must not keep its ports.
    SetHandleInformation(reinterpret_cast<HANDLE>(hSocket), HANDLE_FLAG_INHERIT, 0);
    SetOptions(hSocket, kind);
    if (kind == SocketKind::Tcp) SetProbeTimes(hSocket);
    m_hSocket = static_cast<intptr_t>(hSocket);
    return 0;
}

int32_t CSocket::Bind(const Endpoint& local) {
    const sockaddr_in address = ToSystemAddress(local);
    return LastErrorIf(bind(Handle(m_hSocket), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0);
}

int32_t CSocket::Listen(int32_t nQueue) {
    return LastErrorIf(listen(Handle(m_hSocket), nQueue) != 0);
}

int32_t CSocket::Accept(CSocket* pClient, Endpoint* pPeer) {
    sockaddr_in address = {};
    int nSize = sizeof address;
    const SOCKET hClient = accept(Handle(m_hSocket), reinterpret_cast<sockaddr*>(&address), &nSize);
    if (hClient == INVALID_SOCKET) return WSAGetLastError();
    SetHandleInformation(reinterpret_cast<HANDLE>(hClient), HANDLE_FLAG_INHERIT, 0);
    SetProbeTimes(hClient);
    pClient->Close();
    pClient->m_hSocket = static_cast<intptr_t>(hClient);
    *pPeer = FromSystemAddress(address);
    return 0;
}

int32_t CSocket::Connect(const Endpoint& remote) {
    const sockaddr_in address = ToSystemAddress(remote);
    return LastErrorIf(connect(Handle(m_hSocket), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0);
}

int32_t CSocket::LocalEndpoint(Endpoint* pLocal) const {
    sockaddr_in address = {};
    int nSize = sizeof address;
    if (getsockname(Handle(m_hSocket), reinterpret_cast<sockaddr*>(&address), &nSize) != 0) return WSAGetLastError();
    *pLocal = FromSystemAddress(address);
    return 0;
}

uint32_t CSocket::LocalAddressToward(uint32_t dwIp) const {
    sockaddr_in peer = ToSystemAddress({dwIp, 0});
    sockaddr_in local = {};
    DWORD dwBytes = 0;
    const int nResult = WSAIoctl(Handle(m_hSocket), SIO_ROUTING_INTERFACE_QUERY, &peer, sizeof peer, &local,
                                 sizeof local, &dwBytes, nullptr, nullptr);
    return nResult == 0 ? FromSystemAddress(local).dwIp : dwIp;
}

IoResult CSocket::Recv(void* pBuffer, size_t nSize, const CBreakableCalls* pCalls) {
    if (pCalls != nullptr && pCalls->IsBroken()) return {-1, WSA_OPERATION_ABORTED};
    return ToResult(recv(Handle(m_hSocket), static_cast<char*>(pBuffer), static_cast<int>(nSize), 0));
}

IoResult CSocket::RecvFrom(void* pBuffer, size_t nSize, Endpoint* pPeer) {
    sockaddr_in address = {};
    int nAddressSize = sizeof address;
    const int nBytes = recvfrom(Handle(m_hSocket), static_cast<char*>(pBuffer), static_cast<int>(nSize), 0,
                                reinterpret_cast<sockaddr*>(&address), &nAddressSize);
    if (nBytes < 0) return {-1, WSAGetLastError()};
    *pPeer = FromSystemAddress(address);
    return {nBytes, 0};
}

IoResult CSocket::Send(const void* pData, size_t nSize, const CBreakableCalls* pCalls) {
    if (pCalls != nullptr && pCalls->IsBroken()) return {-1, WSA_OPERATION_ABORTED};
    // A blocking send hands all bytes over before it returns.
    return ToResult(send(Handle(m_hSocket), static_cast<const char*>(pData), static_cast<int>(nSize), 0));
}

IoResult CSocket::SendTo(const void* pData, size_t nSize, const Endpoint& peer) {
    const sockaddr_in address = ToSystemAddress(peer);
    return ToResult(sendto(Handle(m_hSocket), static_cast<const char*>(pData), static_cast<int>(nSize), 0,
                           reinterpret_cast<const sockaddr*>(&address), sizeof address));
}

void CSocket::SetNonBlocking() {
    u_long nOn = 1;
    ioctlsocket(Handle(m_hSocket), static_cast<long>(FIONBIO), &nOn);
}

void CSocket::ShutdownSend() {
    shutdown(Handle(m_hSocket), SD_SEND);
}

bool CSocket::Interrupt() {
    // Calls that begin later fail by the shutdown (but not accept: a listener must look at its stop flag); calls in
    // progress end by the cancel, which misses one that has passed the first check and has not reached the driver yet.
    shutdown(Handle(m_hSocket), SD_BOTH);
    CancelIoEx(reinterpret_cast<HANDLE>(m_hSocket), nullptr);
    return false;
}

void CSocket::Close() {
    if (m_hSocket != kNone) closesocket(Handle(m_hSocket));
    m_hSocket = kNone;
}

bool IsNotSocketError(int32_t nError) {
    return nError == WSAENOTSOCK;
}

bool IsWouldBlockError(int32_t nError) {
    return nError == WSAEWOULDBLOCK;
}

// An ICMP port-unreachable shows as the first on Windows and as the second under Wine.
bool IsConnectionResetError(int32_t nError) {
    return nError == WSAECONNRESET || nError == WSAECONNREFUSED;
}

bool IsEarlierDatagramError(int32_t nError) {
    return IsConnectionResetError(nError) || nError == WSAENETRESET || nError == WSAEHOSTUNREACH ||
           nError == WSAENETUNREACH;
}

bool IsRawSocketRefusal(int32_t nError) {
    return nError == WSAEACCES;
}

bool IsTemporaryAcceptError(int32_t nError) {
    return nError == WSAEMFILE || nError == WSAENOBUFS || nError == WSAECONNRESET;
}

int32_t StartSocketLayer() {
    WSADATA data;
    return WSAStartup(MAKEWORD(2, 2), &data);
}

bool ResolveHostName(const std::string& strHost, uint32_t* pdwIp) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): Winsock answers each thread in a record of its own
    const hostent* const pHost = gethostbyname(strHost.c_str());
    if (pHost == nullptr || pHost->h_addrtype != AF_INET || pHost->h_addr_list[0] == nullptr) return false;
    // The list holds addresses in network byte order, as s_addr does.
    *pdwIp = reinterpret_cast<const in_addr*>(pHost->h_addr_list[0])->s_addr;
    return true;
}

std::vector<uint32_t> LocalAddresses() {
    char szName[256] = {};
    if (gethostname(szName, sizeof(szName)) != 0) return {};
    // NOLINTNEXTLINE(concurrency-mt-unsafe): Winsock answers each thread in a record of its own
    const hostent* const pHost = gethostbyname(szName);
    if (!pHost || pHost->h_addrtype != AF_INET) return {};
    std::vector<uint32_t> addresses;
    for (char** ppAddress = pHost->h_addr_list; *ppAddress; ++ppAddress)
        addresses.push_back(reinterpret_cast<const in_addr*>(*ppAddress)->s_addr);
    return addresses;
}
