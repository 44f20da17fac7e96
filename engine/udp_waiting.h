// Clients of a UDP operation whose session waits for the remote host's name to be looked up.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/host_lookup.h"
#include "engine/session_event.h"
#include "platform/net/datagrams.h"

/// One client, and the datagrams that it has sent so far, as far as there is room for them.
struct WaitingClient {
    Endpoint client;
    uint32_t dwAskedIp = 0;  // see UdpSession
    std::shared_ptr<CHostLookup> pLookup;
    std::vector<std::vector<uint8_t>> datagrams;
    size_t nBytes = 0;  // of them all
};

/// All of an operation. The listener's thread only. Whoever is dropped with the list is not told of.
class CWaitingClients {
  public:
    /// told() is called on another thread when TakeFinished has something to give; see CHostLookup::Start.
    explicit CWaitingClients(std::function<void()> told) : m_told(std::move(told)) {}

    /// Keeps the datagram if its client waits already. False if it does not. A client that sends too many before its session
    /// stands loses the last ones of them.
    bool Append(const Datagram& datagram);
    /// Begins to look the host up for the datagram's client.
    [[nodiscard]] Rejection Add(const Datagram& datagram, const std::string& strHost);
    /// A client whose look-up has ended; empty when there is none.
    std::optional<WaitingClient> TakeFinished();
    size_t Count() const { return m_clients.size(); }

  private:
    const std::function<void()> m_told;
    std::vector<WaitingClient> m_clients;
};
