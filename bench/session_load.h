// Connections that are opened and kept, for the memory that a forwarder needs for them.
#pragma once

#include "bench/load_result.h"
#include "bench/load_server.h"

class CHeldSessions {
  public:
    explicit CHeldSessions(uint16_t wPort) : m_wPort(wPort) {}

    /// Opens more until there are nCount in all. Each has had one message of 64 bytes echoed, so that the forwarder has
    /// it standing on both sides.
    LoadResult OpenUpTo(size_t nCount);

  private:
    uint16_t m_wPort;
    std::vector<CDescriptor> m_sockets;
};
