// Waiting for many sockets at once.
//
// One thread adds, removes and waits; Wake is for any thread. The poller owns no socket: each is removed before it is
// closed. Datagram sockets only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "platform/net/socket.h"

class CPoller {
  public:
    /// A socket that has something to receive: datagrams or an error.
    struct Ready {
        void* pOwner = nullptr;  // as it was added with
        bool bEnded = false;     // Interrupt has ended its calls: it will never have more
    };
    static constexpr int32_t kForever = -1;

    CPoller();
    ~CPoller();
    CPoller(const CPoller&) = delete;
    CPoller& operator=(const CPoller&) = delete;

    /// Once, before all other calls; 0 or the system's error code.
    [[nodiscard]] int32_t Open();

    /// From here on no receive on the socket blocks (sends do). 0 or the system's error code.
    [[nodiscard]] int32_t Add(const CSocket& hSocket, void* pOwner);
    void Remove(const CSocket& hSocket);

    /// Blocks until a socket is ready, Wake was called, or so many milliseconds are over. How many are ready; those that
    /// find no room are told of the next time, as is a socket that was not emptied.
    size_t Wait(int32_t nMilliseconds, std::span<Ready> ready);

    /// Makes the present Wait return, or the next one at once. What was changed before is seen by the thread that waits.
    /// Any thread.
    void Wake();

  private:
    struct State;
    const std::unique_ptr<State> m_pState;
};
