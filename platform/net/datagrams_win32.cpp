#include "platform/net/datagrams.h"

#include <algorithm>
#include <cstring>

#include "platform/net/socket_system.h"
#include "platform/system/windows_api.h"

#include <mswsock.h>

namespace {

constexpr size_t kPlaceBytes = 65536;
constexpr int kWaitMs = 1000;

// Room for a local address, laid out for its header.
union Control {
    WSACMSGHDR header;
    char bytes[WSA_CMSG_SPACE(sizeof(in_pktinfo))];
};

LPFN_WSARECVMSG FindReceive(SOCKET hSocket) {
    GUID id = WSAID_WSARECVMSG;
    LPFN_WSARECVMSG pfnReceive = nullptr;
    DWORD dwBytes = 0;
    const int nResult = WSAIoctl(hSocket, SIO_GET_EXTENSION_FUNCTION_POINTER, &id, sizeof id, &pfnReceive,
                                 sizeof pfnReceive, &dwBytes, nullptr, nullptr);
    return nResult == 0 ? pfnReceive : nullptr;
}

uint32_t LocalAddressOf(WSAMSG* pMessage) {
    for (WSACMSGHDR* pHeader = WSA_CMSG_FIRSTHDR(pMessage); pHeader != nullptr;
         pHeader = WSA_CMSG_NXTHDR(pMessage, pHeader)) {
        if (pHeader->cmsg_level != IPPROTO_IP || pHeader->cmsg_type != IP_PKTINFO) continue;
        in_pktinfo info = {};
        std::memcpy(&info, WSA_CMSG_DATA(pHeader), sizeof info);
        return info.ipi_addr.s_addr;
    }
    return 0;
}

bool HasWaitedForRoom(SOCKET hSocket) {
    WSAPOLLFD polled = {hSocket, POLLWRNORM, 0};
    return WSAPoll(&polled, 1, kWaitMs) > 0;
}

// Repeats the call while the system had no room and has it now, and, since Wine gives them to sends too, behind errors of
// earlier datagrams. The code of the last one.
template <class Call>
int32_t SendOne(SOCKET hSocket, Call call) {
    int nTries = kSendTries;
    for (;;) {
        const IoResult sent = call();
        const bool bNoRoom = sent.nError == WSAEWOULDBLOCK && HasWaitedForRoom(hSocket);
        if (!bNoRoom && (!IsEarlierDatagramError(sent.nError) || --nTries == 0)) return sent.nError;
    }
}

}  // namespace

struct CDatagramBatch::State {
    // The bytes that came, or below zero.
    int ReceiveOne(SOCKET hSocket, Datagram* pDatagram);

    const std::unique_ptr<uint8_t[]> pBytes = std::make_unique_for_overwrite<uint8_t[]>(kPlaces * kPlaceBytes);
    LPFN_WSARECVMSG pfnReceive = nullptr;
    bool bAskedForReceive = false;
};

int CDatagramBatch::State::ReceiveOne(SOCKET hSocket, Datagram* pDatagram) {
    sockaddr_in address = {};
    if (!bAskedForReceive) pfnReceive = FindReceive(hSocket);
    bAskedForReceive = true;
    auto* const pBuffer = reinterpret_cast<char*>(pDatagram->pBytes);
    int nBytes = 0;
    if (pfnReceive != nullptr) {
        Control control = {};
        WSABUF buffer = {kPlaceBytes, pBuffer};
        WSAMSG message = {reinterpret_cast<sockaddr*>(&address),
                          sizeof address,
                          &buffer,
                          1,
                          {sizeof control.bytes, control.bytes},
                          0};
        DWORD dwBytes = 0;
        if (pfnReceive(hSocket, &message, &dwBytes, nullptr, nullptr) != 0) return -1;
        pDatagram->dwLocalIp = LocalAddressOf(&message);
        nBytes = static_cast<int>(dwBytes);
    } else {
        int nSize = sizeof address;
        nBytes = recvfrom(hSocket, pBuffer, kPlaceBytes, 0, reinterpret_cast<sockaddr*>(&address), &nSize);
    }
    pDatagram->peer = FromSystemAddress(address);
    return nBytes;
}

CDatagramBatch::CDatagramBatch() : m_pState(std::make_unique<State>()) {}
CDatagramBatch::~CDatagramBatch() = default;

IoResult CDatagramBatch::Receive(CSocket& hSocket, size_t nMost) {
    const size_t nEnd = m_nReceived + std::min(nMost, FreePlaces());
    int32_t nReceived = 0;
    for (; m_nReceived < nEnd; ++m_nReceived, ++nReceived) {
        Datagram& datagram = m_datagrams[m_nReceived];
        datagram = {};
        datagram.pBytes = m_pState->pBytes.get() + m_nReceived * kPlaceBytes;
        const int nBytes = m_pState->ReceiveOne(static_cast<SOCKET>(hSocket.m_hSocket), &datagram);
        const int nError = nBytes < 0 ? WSAGetLastError() : 0;
        if (nError == WSAEWOULDBLOCK) break;
        if (nError != 0 && nReceived == 0) return {-1, nError};
        if (nError != 0) break;
        datagram.nBytes = static_cast<size_t>(nBytes);
    }
    return {nReceived, 0};
}

void CDatagramBatch::Send(CSocket& hSocket, std::span<Datagram* const> datagrams) {
    for (Datagram* pDatagram : datagrams) {
        pDatagram->nError = SendOne(static_cast<SOCKET>(hSocket.m_hSocket),
                                    [&] { return hSocket.Send(pDatagram->pBytes, pDatagram->nBytes); });
    }
}

void CDatagramBatch::SendTo(CSocket& hSocket, std::span<Datagram* const> datagrams) {
    for (Datagram* pDatagram : datagrams) {
        pDatagram->nError = SendOne(static_cast<SOCKET>(hSocket.m_hSocket), [&] {
            return hSocket.SendFrom(pDatagram->dwLocalIp, pDatagram->pBytes, pDatagram->nBytes, pDatagram->peer);
        });
    }
}

bool CSocket::TellTargets() {
    const DWORD dwOn = 1;
    return setsockopt(static_cast<SOCKET>(m_hSocket), IPPROTO_IP, IP_PKTINFO, reinterpret_cast<const char*>(&dwOn),
                      sizeof dwOn) == 0;
}

IoResult CSocket::SendFrom(uint32_t dwLocalIp, const void* pData, size_t nSize, const Endpoint& peer) {
    if (dwLocalIp == 0) return SendTo(pData, nSize, peer);
    sockaddr_in address = ToSystemAddress(peer);
    WSABUF buffer = {static_cast<ULONG>(nSize), static_cast<char*>(const_cast<void*>(pData))};
    Control control = {};
    WSAMSG message = {
        reinterpret_cast<sockaddr*>(&address), sizeof address, &buffer, 1, {sizeof control.bytes, control.bytes}, 0};
    in_pktinfo info = {};
    info.ipi_addr.s_addr = dwLocalIp;
    WSACMSGHDR* const pHeader = WSA_CMSG_FIRSTHDR(&message);
    pHeader->cmsg_level = IPPROTO_IP;
    pHeader->cmsg_type = IP_PKTINFO;
    pHeader->cmsg_len = WSA_CMSG_LEN(sizeof info);
    std::memcpy(WSA_CMSG_DATA(pHeader), &info, sizeof info);
    DWORD dwBytes = 0;
    // The address may be the machine's no longer, or one of many receivers.
    if (WSASendMsg(static_cast<SOCKET>(m_hSocket), &message, 0, &dwBytes, nullptr, nullptr) != 0) {
        return SendTo(pData, nSize, peer);
    }
    return {static_cast<int32_t>(dwBytes), 0};
}
