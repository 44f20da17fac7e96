#include "bench/load_server.h"

#include <algorithm>

namespace {

constexpr size_t kBufferBytes = size_t{256} * 1024;

}  // namespace

CLoadServer::~CLoadServer() {
    m_bStop = true;
    Interrupt(m_hListener);
    Interrupt(m_hDatagrams);
    for (std::thread& thread : m_threads) thread.join();
}

std::string CLoadServer::Start() {
    m_hListener = OpenStreamServer(&m_wStreamPort);
    if (m_hListener.IsOpen()) m_hDatagrams = OpenDatagramServer(&m_wDatagramPort);
    if (!m_hDatagrams.IsOpen()) return "no server could be started: " + LastErrorText();
    for (unsigned n = std::max(std::thread::hardware_concurrency(), 1U); n > 0; --n) {
        m_workers.push_back(std::make_unique<Worker>());
        if (!m_workers.back()->poller.AddForInterrupt(m_hListener)) return "no poller: " + LastErrorText();
    }
    for (const auto& pWorker : m_workers) m_threads.emplace_back([this, &pWorker] { RunWorker(*pWorker); });
    m_threads.emplace_back([this] { AcceptConnections(); });
    m_threads.emplace_back([this] { EchoDatagrams(); });
    return "";
}

bool CLoadServer::WaitForEnds(uint64_t nConnections) {
    std::unique_lock lock(m_csEnds);
    return m_cvEnd.wait_for(lock, std::chrono::milliseconds(kStallMs), [&] { return m_nEnds >= nConnections; });
}

void CLoadServer::AcceptConnections() {
    for (size_t nNext = 0; !m_bStop; nNext = (nNext + 1) % m_workers.size()) {
        CDescriptor hSocket = Accept(m_hListener);
        if (!hSocket.IsOpen()) continue;
        Worker& worker = *m_workers[nNext];
        const int nDescriptor = hSocket.Get();
        const std::scoped_lock lock(worker.csConnections);
        const Connection& connection = worker.connections[nDescriptor] = {std::move(hSocket)};
        if (!worker.poller.Add(connection.hSocket)) worker.connections.erase(nDescriptor);
    }
}

void CLoadServer::EchoDatagrams() {
    std::vector<char> buffer(kBufferBytes);
    while (EchoDatagram(m_hDatagrams, buffer, m_nDatagrams)) {
    }
}

void CLoadServer::RunWorker(Worker& worker) {
    std::vector<char> buffer(kBufferBytes);
    for (;;) {
        const std::vector<int>& ready = worker.poller.Wait(-1);
        if (m_bStop) return;
        for (const int nDescriptor : ready) {
            Connection* pConnection = nullptr;
            {
                const std::scoped_lock lock(worker.csConnections);
                pConnection = &worker.connections[nDescriptor];
            }
            if (!Serve(*pConnection, buffer)) EndConnection(worker, nDescriptor);
        }
    }
}

bool CLoadServer::Serve(Connection& connection, std::vector<char>& buffer) {
    const ptrdiff_t nBytes = Receive(connection.hSocket, buffer.data(), buffer.size());
    if (nBytes <= 0) return false;
    if (connection.chMode == 0) connection.chMode = buffer[0];
    if (connection.chMode == kSinkMode) {
        m_nSunkBytes.fetch_add(static_cast<uint64_t>(nBytes), std::memory_order_relaxed);
        return true;
    }
    m_nEchoedBytes.fetch_add(static_cast<uint64_t>(nBytes), std::memory_order_relaxed);
    return SendAll(connection.hSocket, buffer.data(), static_cast<size_t>(nBytes));
}

void CLoadServer::EndConnection(Worker& worker, int nDescriptor) {
    {
        const std::scoped_lock lock(worker.csConnections);
        worker.connections.erase(nDescriptor);
    }
    const std::scoped_lock lock(m_csEnds);
    ++m_nEnds;
    m_cvEnd.notify_all();
}
