// What the traffic is forwarded to: a TCP server and a UDP echo, both in the process of the clients, so that the two
// ends' counts can be compared.
//
// The first byte of a TCP connection says what becomes of it: kSinkMode swallows the rest, kEchoMode gives everything
// back, that byte included. One thread accepts, and gives the connections in turn to one worker for each processor.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

#include "bench/net.h"
#include "platform/threads/thread_annotations.h"

constexpr char kSinkMode = 'S';
constexpr char kEchoMode = 'E';

class CLoadServer {
  public:
    ~CLoadServer();

    /// Empty, or what went wrong. Once, before any other call.
    [[nodiscard]] std::string Start();
    uint16_t StreamPort() const { return m_wStreamPort; }
    uint16_t DatagramPort() const { return m_wDatagramPort; }

    // Any thread. Bytes of connections in sink mode, their first byte included.
    uint64_t SunkBytes() const { return m_nSunkBytes.load(std::memory_order_relaxed); }
    uint64_t EchoedBytes() const { return m_nEchoedBytes.load(std::memory_order_relaxed); }
    uint64_t Datagrams() const { return m_nDatagrams.load(std::memory_order_relaxed); }
    /// Waits until so many connections have been read to their end since the start. False if that takes too long.
    [[nodiscard]] bool WaitForEnds(uint64_t nConnections);

  private:
    struct Connection {
        CDescriptor hSocket;
        char chMode = 0;  // of the first byte; 0 before it came
    };
    struct Worker {
        CPoller poller;
        std::mutex csConnections;
        std::unordered_map<int, Connection> connections GUARDED_BY(csConnections);  // only the worker takes out
    };

    void AcceptConnections();
    void EchoDatagrams();
    void RunWorker(Worker& worker);
    // False at the connection's end.
    bool Serve(Connection& connection, std::vector<char>& buffer);
    void EndConnection(Worker& worker, int nDescriptor);

    // Fixed once started.
    CDescriptor m_hListener;
    CDescriptor m_hDatagrams;
    uint16_t m_wStreamPort = 0;
    uint16_t m_wDatagramPort = 0;
    std::vector<std::unique_ptr<Worker>> m_workers;

    // Sums for the client side, written by the threads below; no other data hangs on them.
    std::atomic<uint64_t> m_nSunkBytes = 0;
    std::atomic<uint64_t> m_nEchoedBytes = 0;
    std::atomic<uint64_t> m_nDatagrams = 0;
    std::atomic<bool> m_bStop = false;  // written by the destructor

    std::mutex m_csEnds;
    std::condition_variable m_cvEnd;
    uint64_t m_nEnds = 0;  // guarded by m_csEnds

    std::vector<std::thread> m_threads;
};
