// The far end of a forwarded port: a TCP or UDP server on loopback that sends back what it gets, on a port of its own,
// and the client that talks through the program.
#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <thread>

#include "platform/net/socket.h"

/// A socket and the one thread that makes blocking calls on it. The end of the object ends the calls and the thread.
class CServedSocket {
  public:
    CServedSocket(CSocket hSocket, std::function<void(CSocket&)> fnServe);
    ~CServedSocket();
    CServedSocket(const CServedSocket&) = delete;
    CServedSocket& operator=(const CServedSocket&) = delete;

    bool IsOver() const { return m_bOver; }

  private:
    CSocket m_hSocket;
    std::atomic<bool> m_bOver = false;  // set by the thread as its last act
    std::thread m_thread;
};

class CEchoServer {
  public:
    explicit CEchoServer(SocketKind kind);

    uint16_t Port() const { return m_wPort; }

  private:
    void Accept(CSocket& hListen);

    uint16_t m_wPort = 0;
    std::list<CServedSocket> m_connections;  // the accepting thread only, and the destructor behind it
    std::optional<CServedSocket> m_server;   // last: its end comes first
};

/// A port that nothing is bound to at this moment.
uint16_t FreePort(SocketKind kind);

/// A client of the program, connected to a port of this machine.
class CEchoClient {
  public:
    CEchoClient(SocketKind kind, uint16_t wPort);

    bool IsConnected() const { return m_bConnected; }
    /// Sends these bytes and gives what came back: as many, or fewer when the connection ended.
    std::string Echo(const std::string& strBytes);
    /// Whether the connection is over; blocks until it is.
    bool IsClosedByPeer();

  private:
    CSocket m_hSocket;
    bool m_bConnected;
};
