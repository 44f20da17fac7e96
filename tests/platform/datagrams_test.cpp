#include "platform/net/datagrams.h"

#include <gmock/gmock.h>

#include <string>
#include <thread>
#include <vector>

#include "platform/net/poller.h"
#include "platform/threads/threads.h"
#include "tests/support/wait.h"

namespace {

using Texts = std::vector<std::string>;

class Datagrams : public testing::Test {
  protected:
    Datagrams() {
        for (CSocket* phSocket : {&m_hNear, &m_hFar}) {
            EXPECT_EQ(phSocket->Open(SocketKind::Udp), 0);
            EXPECT_EQ(phSocket->Bind({IpFromNumber(0x7F000001), 0}), 0);
        }
        EXPECT_EQ(m_hFar.LocalEndpoint(&m_far), 0);
        EXPECT_EQ(m_poller.Open(), 0);
        EXPECT_EQ(m_poller.Add(m_hFar, &m_hFar), 0);
    }

    // Datagrams of these bytes to the far socket.
    std::vector<Datagram> Make(Texts& texts) const {
        std::vector<Datagram> datagrams;
        for (std::string& strText : texts) {
            datagrams.push_back(
                {.pBytes = reinterpret_cast<uint8_t*>(strText.data()), .nBytes = strText.size(), .peer = m_far});
        }
        return datagrams;
    }
    static std::vector<Datagram*> PointersTo(std::vector<Datagram>& datagrams) {
        std::vector<Datagram*> pointers;
        for (Datagram& datagram : datagrams) pointers.push_back(&datagram);
        return pointers;
    }
    // So many that the far socket gets, taken in parts.
    Texts Receive(size_t nCount) {
        Texts texts;
        while (texts.size() < nCount) {
            CPoller::Ready ready;
            EXPECT_EQ(m_poller.Wait(CPoller::kForever, std::span(&ready, 1)), 1U);
            EXPECT_EQ(ready.pOwner, &m_hFar);
            m_batch.Clear();
            EXPECT_GT(m_batch.Receive(m_hFar, 7).nBytes, 0);
            for (const Datagram& datagram : m_batch.Received()) {
                texts.emplace_back(reinterpret_cast<char*>(datagram.pBytes), datagram.nBytes);
            }
        }
        m_batch.Clear();
        return texts;
    }

    CWatchdog m_watchdog;
    CSocket m_hNear;
    CSocket m_hFar;
    Endpoint m_far;
    CPoller m_poller;
    CDatagramBatch m_batch;
};

TEST_F(Datagrams, OfEverySizeArriveWholeAndInOrder) {
    Texts texts(20, std::string(100, 'r'));  // a run
    for (const size_t nSize : {40, 0, 0, 40, 40, 100, 65507, 65507, 1, 30000, 30000, 30000}) {
        texts.emplace_back(nSize, static_cast<char>('a' + texts.size() % 26));
    }
    for (const bool bConnected : {false, true}) {
        EXPECT_TRUE(!bConnected || m_hNear.Connect(m_far) == 0);
        auto datagrams = Make(texts);
        const auto pointers = PointersTo(datagrams);
        bConnected ? m_batch.Send(m_hNear, pointers) : m_batch.SendTo(m_hNear, pointers);
        for (const Datagram& datagram : datagrams) EXPECT_EQ(datagram.nError, 0);
        EXPECT_EQ(Receive(texts.size()), texts);
    }
    EXPECT_EQ(m_batch.Receive(m_hFar, 1).nBytes, 0) << "does not wait";
}

TEST_F(Datagrams, OneThatIsRefusedKeepsNoOtherBack) {
    Texts texts(7, "kept");
    texts[2].assign(70000, 'x');  // larger than any datagram
    auto datagrams = Make(texts);
    datagrams[4].peer.wPort = 0;
    datagrams[5].dwLocalIp = IpFromNumber(0x01020304);  // none of this machine's
    m_batch.SendTo(m_hNear, PointersTo(datagrams));
    EXPECT_NE(datagrams[2].nError, 0);
    EXPECT_EQ(datagrams[5].nError, 0);
    EXPECT_EQ(Receive(5), Texts(5, "kept"));
}

TEST_F(Datagrams, AWaitEndsByAWakeATimeoutOrTheSocketsEnd) {
    CPoller::Ready ready;
    for (int n = 0; n < 20; ++n) {
        std::atomic<bool> bWoken = false;
        std::thread waker([&] {
            bWoken = true;
            m_poller.Wake();
            m_poller.Wake();
        });
        while (!bWoken) EXPECT_EQ(m_poller.Wait(CPoller::kForever, std::span(&ready, 1)), 0U);
        waker.join();
    }
    m_poller.Wake();
    EXPECT_EQ(m_poller.Wait(CPoller::kForever, std::span(&ready, 1)), 0U) << "also one that comes before";
    EXPECT_EQ(m_poller.Wait(10, std::span(&ready, 1)), 0U);
    m_poller.Remove(m_hFar);
    Texts texts = {"x"};
    auto datagrams = Make(texts);
    m_batch.SendTo(m_hNear, PointersTo(datagrams));
    EXPECT_EQ(m_poller.Wait(10, std::span(&ready, 1)), 0U) << "of a socket that was removed";
    ASSERT_EQ(m_poller.Add(m_hFar, &m_hFar), 0);
    EXPECT_EQ(Receive(1), texts);
}

}  // namespace
