#include "platform/net/datagrams.h"

#include <netinet/udp.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/net/socket_system.h"

namespace {

constexpr size_t kPlaces = CDatagramBatch::kPlaces;
// A cache line more than the largest datagram, so that the beginnings of all of them do not share the few places that the
// processor's cache has for one address.
constexpr size_t kStride = 65536 + 64;
// What the system takes in one call for one receiver: a run.
constexpr size_t kMostInRun = 64;
constexpr size_t kMostBytesInRun = 65507;
// Datagrams that are sent one by one before runs are tried again.
constexpr size_t kSinglesBehindRefusal = 1000;

// Room for the local address and the size of a run's datagrams.
union Control {
    cmsghdr header;
    char bytes[CMSG_SPACE(sizeof(in_pktinfo)) + CMSG_SPACE(sizeof(uint16_t))];
};

template <class T>
void AppendControl(msghdr* pMessage, int nLevel, int nType, const T& value) {
    auto* const pHeader =
        reinterpret_cast<cmsghdr*>(static_cast<char*>(pMessage->msg_control) + pMessage->msg_controllen);
    pMessage->msg_controllen += CMSG_SPACE(sizeof value);
    pHeader->cmsg_level = nLevel;
    pHeader->cmsg_type = nType;
    pHeader->cmsg_len = CMSG_LEN(sizeof value);
    std::memcpy(CMSG_DATA(pHeader), &value, sizeof value);
}

void AppendLocalAddress(msghdr* pMessage, uint32_t dwLocalIp) {
    in_pktinfo info = {};
    info.ipi_spec_dst.s_addr = dwLocalIp;
    AppendControl(pMessage, IPPROTO_IP, IP_PKTINFO, info);
}

uint32_t LocalAddressOf(msghdr* pMessage) {
    for (cmsghdr* pHeader = CMSG_FIRSTHDR(pMessage); pHeader != nullptr; pHeader = CMSG_NXTHDR(pMessage, pHeader)) {
        if (pHeader->cmsg_level != IPPROTO_IP || pHeader->cmsg_type != IP_PKTINFO) continue;
        in_pktinfo info = {};
        std::memcpy(&info, CMSG_DATA(pHeader), sizeof info);
        return info.ipi_spec_dst.s_addr;  // where the header's own address is one of many receivers: the machine's
    }
    return 0;
}

// Whether the datagram can follow in a run: those have one size, only the last one may be smaller.
bool FitsRun(const Datagram& first, const Datagram& next, bool bConnected) {
    if (next.nBytes == 0 || next.nBytes > first.nBytes) return false;
    return bConnected || (next.peer == first.peer && next.dwLocalIp == first.dwLocalIp);
}

size_t LengthOfRun(std::span<Datagram* const> datagrams, bool bConnected) {
    const Datagram& first = *datagrams[0];
    const size_t nMost = std::min(datagrams.size(), kMostInRun);
    size_t nBytes = first.nBytes;
    for (size_t n = 1; n < nMost; ++n) {
        nBytes += datagrams[n]->nBytes;
        if (nBytes > kMostBytesInRun || !FitsRun(first, *datagrams[n], bConnected)) return n;
        if (datagrams[n]->nBytes < first.nBytes) return n + 1;
    }
    return nMost;
}

// The way has no room for such large datagrams without cutting them, or lets nobody else make their checksums.
bool IsRunRefusal(int nError) {
    return nError == EINVAL || nError == EIO || nError == EMSGSIZE || nError == EOPNOTSUPP;
}

// Not set to anything: pages that no datagram fills cost nothing.
struct Bytes {
    // cppcheck-suppress uninitMemberVar
    Bytes() {}  // NOLINT(cppcoreguidelines-pro-type-member-init,modernize-use-equals-default)
    uint8_t bytes[kPlaces * kStride];
};

}  // namespace

struct CDatagramBatch::State {
    void PrepareToReceive(size_t nPlace, size_t nMessage);
    Datagram ReceivedAt(size_t nPlace, size_t nMessage);
    size_t PrepareToSend(std::span<Datagram* const> datagrams, bool bConnected);
    void SendAll(CSocket& hSocket, std::span<Datagram* const> datagrams, bool bConnected);
    void SendSingly(CSocket& hSocket, std::span<Datagram* const> datagrams, bool bConnected);

    uint8_t* BytesAt(size_t nPlace) { return pBytes->bytes + nPlace * kStride; }

    const std::unique_ptr<Bytes> pBytes = std::make_unique<Bytes>();
    size_t nSinglesLeft = 0;
    // What one call of the system reads and fills
    std::array<mmsghdr, kPlaces> messages = {};
    std::array<sockaddr_in, kPlaces> addresses = {};
    std::array<Control, kPlaces> controls = {};
    std::array<iovec, kPlaces> parts = {};
    std::array<size_t, kPlaces + 1> firsts = {};  // the first datagram of each message, and the end
};

void CDatagramBatch::State::PrepareToReceive(size_t nPlace, size_t nMessage) {
    parts[nMessage] = {BytesAt(nPlace), kStride};
    messages[nMessage].msg_hdr = {&addresses[nMessage],
                                  sizeof addresses[0],
                                  &parts[nMessage],
                                  1,
                                  controls[nMessage].bytes,
                                  sizeof controls[0].bytes,
                                  0};
}

Datagram CDatagramBatch::State::ReceivedAt(size_t nPlace, size_t nMessage) {
    return {.pBytes = BytesAt(nPlace),
            .nBytes = messages[nMessage].msg_len,
            .peer = FromSystemAddress(addresses[nMessage]),
            .dwLocalIp = LocalAddressOf(&messages[nMessage].msg_hdr)};
}

// How many messages they make.
size_t CDatagramBatch::State::PrepareToSend(std::span<Datagram* const> datagrams, bool bConnected) {
    size_t nMessages = 0;
    for (size_t nFirst = 0, nRun = 0; nFirst < datagrams.size(); nFirst += nRun, ++nMessages) {
        nRun = nSinglesLeft == 0 ? LengthOfRun(datagrams.subspan(nFirst), bConnected) : 1;
        const Datagram& first = *datagrams[nFirst];
        for (size_t n = nFirst; n < nFirst + nRun; ++n) parts[n] = {datagrams[n]->pBytes, datagrams[n]->nBytes};
        msghdr& message = messages[nMessages].msg_hdr;
        message = {nullptr, 0, &parts[nFirst], nRun, controls[nMessages].bytes, 0, 0};
        if (!bConnected) {
            addresses[nMessages] = ToSystemAddress(first.peer);
            message.msg_name = &addresses[nMessages];
            message.msg_namelen = sizeof addresses[0];
            if (first.dwLocalIp != 0) AppendLocalAddress(&message, first.dwLocalIp);
        }
        if (nRun > 1) AppendControl(&message, SOL_UDP, UDP_SEGMENT, static_cast<uint16_t>(first.nBytes));
        firsts[nMessages] = nFirst;
    }
    firsts[nMessages] = datagrams.size();
    nSinglesLeft -= std::min(nSinglesLeft, datagrams.size());
    return nMessages;
}

void CDatagramBatch::State::SendAll(CSocket& hSocket, std::span<Datagram* const> datagrams, bool bConnected) {
    for (Datagram* pDatagram : datagrams) pDatagram->nError = 0;
    const size_t nMessages = PrepareToSend(datagrams, bConnected);
    int nTries = kSendTries;
    for (size_t nNext = 0; nNext < nMessages;) {
        const int nSent = sendmmsg(static_cast<int>(hSocket.m_hSocket), &messages[nNext],
                                   static_cast<unsigned>(nMessages - nNext), MSG_NOSIGNAL);
        if (nSent > 0) {
            nNext += static_cast<size_t>(nSent);
            continue;
        }
        if (errno == EINTR || (IsEarlierDatagramError(errno) && --nTries > 0)) continue;
        const auto refused = datagrams.subspan(firsts[nNext], firsts[nNext + 1] - firsts[nNext]);
        if (refused.size() > 1 && IsRunRefusal(errno)) nSinglesLeft = kSinglesBehindRefusal;
        SendSingly(hSocket, refused, bConnected);
        ++nNext;
    }
}

void CDatagramBatch::State::SendSingly(CSocket& hSocket, std::span<Datagram* const> datagrams, bool bConnected) {
    for (Datagram* pDatagram : datagrams) {
        const auto& [pData, nBytes, peer, dwLocalIp, nError] = *pDatagram;
        const IoResult sent =
            bConnected ? hSocket.Send(pData, nBytes) : hSocket.SendFrom(dwLocalIp, pData, nBytes, peer);
        pDatagram->nError = sent.nError;
    }
}

CDatagramBatch::CDatagramBatch() : m_pState(std::make_unique<State>()) {}
CDatagramBatch::~CDatagramBatch() = default;

IoResult CDatagramBatch::Receive(CSocket& hSocket, size_t nMost) {
    State& state = *m_pState;
    nMost = std::min(nMost, FreePlaces());
    for (size_t n = 0; n < nMost; ++n) state.PrepareToReceive(m_nReceived + n, n);
    int nReceived = 0;
    do {
        nReceived = recvmmsg(static_cast<int>(hSocket.m_hSocket), state.messages.data(), static_cast<unsigned>(nMost),
                             MSG_DONTWAIT, nullptr);
    } while (nReceived < 0 && errno == EINTR);
    if (nReceived < 0) return errno == EAGAIN ? IoResult{0, 0} : IoResult{-1, errno};
    for (size_t n = 0; n < static_cast<size_t>(nReceived); ++n, ++m_nReceived) {
        m_datagrams[m_nReceived] = state.ReceivedAt(m_nReceived, n);
    }
    return {nReceived, 0};
}

void CDatagramBatch::Send(CSocket& hSocket, std::span<Datagram* const> datagrams) {
    m_pState->SendAll(hSocket, datagrams, true);
}

void CDatagramBatch::SendTo(CSocket& hSocket, std::span<Datagram* const> datagrams) {
    m_pState->SendAll(hSocket, datagrams, false);
}

bool CSocket::TellTargets() {
    const int nOn = 1;
    return setsockopt(static_cast<int>(m_hSocket), IPPROTO_IP, IP_PKTINFO, &nOn, sizeof nOn) == 0;
}

IoResult CSocket::SendFrom(uint32_t dwLocalIp, const void* pData, size_t nSize, const Endpoint& peer) {
    if (dwLocalIp == 0) return SendTo(pData, nSize, peer);
    sockaddr_in address = ToSystemAddress(peer);
    iovec part = {const_cast<void*>(pData), nSize};
    Control control = {};
    msghdr message = {&address, sizeof address, &part, 1, control.bytes, 0, 0};
    AppendLocalAddress(&message, dwLocalIp);
    const ssize_t nBytes = sendmsg(static_cast<int>(m_hSocket), &message, MSG_NOSIGNAL);
    // The address may be the machine's no longer, or have no way to the peer.
    return nBytes < 0 ? SendTo(pData, nSize, peer) : IoResult{static_cast<int32_t>(nBytes), 0};
}
