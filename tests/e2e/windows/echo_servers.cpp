#include "tests/e2e/windows/echo_servers.h"

#include <chrono>

namespace {

constexpr size_t kBufferSize = 65536;

Endpoint Loopback(uint16_t wPort = 0) {
    return {IpFromNumber(0x7F000001), wPort};
}

/// A socket on a port that the system chose, which goes to *pwPort.
CSocket BoundSocket(SocketKind kind, uint16_t* pwPort) {
    CSocket hSocket;
    Endpoint local;
    if (hSocket.Open(kind) == 0 && hSocket.Bind(Loopback()) == 0 && hSocket.LocalEndpoint(&local) == 0) {
        *pwPort = local.wPort;
    }
    return hSocket;
}

void EchoStream(CSocket& hClient) {
    std::string strBuffer(kBufferSize, '\0');
    for (;;) {
        const IoResult got = hClient.Recv(strBuffer.data(), strBuffer.size());
        if (got.nBytes <= 0 || hClient.Send(strBuffer.data(), static_cast<size_t>(got.nBytes)).nBytes < 0) break;
    }
    hClient.ShutdownSend();
}

void EchoDatagrams(CSocket& hSocket) {
    std::string strBuffer(kBufferSize, '\0');
    Endpoint peer;
    for (;;) {
        const IoResult got = hSocket.RecvFrom(strBuffer.data(), strBuffer.size(), &peer);
        if (got.nBytes < 0 && !IsConnectionResetError(got.nError)) break;
        if (got.nBytes < 0) continue;
        if (hSocket.SendTo(strBuffer.data(), static_cast<size_t>(got.nBytes), peer).nBytes < 0) break;
    }
}

}  // namespace

CServedSocket::CServedSocket(CSocket hSocket, std::function<void(CSocket&)> fnServe)
    : m_hSocket(std::move(hSocket)), m_thread([this, fnServe = std::move(fnServe)] {
          fnServe(m_hSocket);
          m_bOver = true;
      }) {}

// Repeated, since one interrupt can miss a call that was just beginning.
CServedSocket::~CServedSocket() {
    while (!m_bOver) {
        m_hSocket.Interrupt();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    m_thread.join();
}

CEchoServer::CEchoServer(SocketKind kind) {
    CSocket hSocket = BoundSocket(kind, &m_wPort);
    if (kind == SocketKind::Udp) {
        m_server.emplace(std::move(hSocket), EchoDatagrams);
    } else if (hSocket.Listen(100) == 0) {
        m_server.emplace(std::move(hSocket), [this](CSocket& hListen) { Accept(hListen); });
    }
}

void CEchoServer::Accept(CSocket& hListen) {
    for (;;) {
        CSocket hClient;
        Endpoint peer;
        if (hListen.Accept(&hClient, &peer) != 0) return;
        m_connections.remove_if([](const CServedSocket& connection) { return connection.IsOver(); });
        m_connections.emplace_back(std::move(hClient), EchoStream);
    }
}

uint16_t FreePort(SocketKind kind) {
    uint16_t wPort = 0;
    static_cast<void>(BoundSocket(kind, &wPort));
    return wPort;
}

CEchoClient::CEchoClient(SocketKind kind, uint16_t wPort)
    : m_bConnected(m_hSocket.Open(kind) == 0 && m_hSocket.Connect(Loopback(wPort)) == 0) {}

std::string CEchoClient::Echo(const std::string& strBytes) {
    if (m_hSocket.Send(strBytes.data(), strBytes.size()).nBytes < 0) return "not sent";
    std::string strBack(strBytes.size(), '\0');
    size_t nBack = 0;
    while (nBack < strBack.size()) {
        const IoResult got = m_hSocket.Recv(strBack.data() + nBack, strBack.size() - nBack);
        if (got.nBytes <= 0) break;
        nBack += static_cast<size_t>(got.nBytes);
    }
    strBack.resize(nBack);
    return strBack;
}

bool CEchoClient::IsClosedByPeer() {
    char buffer[4096];
    while (m_hSocket.Recv(buffer, sizeof buffer).nBytes > 0) {
    }
    return true;
}
