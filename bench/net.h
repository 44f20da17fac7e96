// The sockets of the load tool: loopback only, IPv4, ports in host byte order. They block, but those of TCP no longer than
// kStall: what stands still for that long is broken. What fails throws std::system_error.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <utility>

constexpr std::chrono::seconds kStall(20);

/// Throws with the system's last error unless it is true.
void Require(bool bDone, const char* pszWhat);

/// Owns one descriptor; -1 is none.
class CDescriptor {
  public:
    explicit CDescriptor(int nDescriptor) : m_nDescriptor(nDescriptor) {}
    ~CDescriptor();
    CDescriptor(CDescriptor&& other) noexcept : m_nDescriptor(std::exchange(other.m_nDescriptor, -1)) {}
    CDescriptor& operator=(CDescriptor&&) = delete;

    int Get() const { return m_nDescriptor; }
    int Release() { return std::exchange(m_nDescriptor, -1); }

  private:
    int m_nDescriptor;
};

/// SOCK_STREAM or SOCK_DGRAM, on a port of the system's choice.
CDescriptor Serve(int nType, uint16_t* pwPort);
/// nSource varies the client's loopback address: each has the system's port range to itself, which closed connections
/// occupy for a while.
CDescriptor Connect(int nType, uint16_t wPort, uint32_t nSource = 0);
/// None when the listener was asked in vain.
CDescriptor Accept(const CDescriptor& hListener);

/// All of them, in as many calls as it takes.
void SendAll(int nSocket, const void* pData, size_t nSize);
void ReceiveAll(int nSocket, void* pBuffer, size_t nSize);
