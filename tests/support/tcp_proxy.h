#pragma once

#include <QByteArray>
#include <QtGlobal>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <thread>

namespace tf::testing {

// A TCP proxy on 127.0.0.1 on a free port, forwarding every connection to 127.0.0.1:target on a
// thread of its own (so a client that blocks in the test's thread still gets answers). It can
// add a delay each way, as a server on the internet has, count round trips, and cut every
// connection after some bytes or on demand. Connections made after a cut are forwarded again.
class TcpProxy {
  public:
    explicit TcpProxy(quint16 targetPort,
                      std::chrono::milliseconds delayEachWay = std::chrono::milliseconds(0));
    ~TcpProxy();
    TcpProxy(const TcpProxy&) = delete;
    TcpProxy& operator=(const TcpProxy&) = delete;

    // 0 when the proxy could not listen.
    quint16 port() const { return port_; }

    // Round trips: client-to-server data that follows server-to-client data on a connection
    // (the first command after the server's greeting counts as one).
    std::int64_t roundTrips() const { return roundTrips_; }
    std::int64_t bytesToServer() const { return bytesToServer_; }
    std::int64_t bytesToClient() const { return bytesToClient_; }
    int connectionsAccepted() const { return accepted_; }
    void resetCounters();

    // Which bytes a cut after some bytes counts.
    enum class Counting { BothWays, ToServerOnly };
    // Once `bytes` more bytes have been forwarded, every open connection is closed at once; the
    // bytes beyond that are never delivered. Counting only the client's bytes puts the cut at a
    // known place inside a command, whatever the server answered before.
    void cutAfter(std::int64_t bytes, Counting counting = Counting::BothWays);
    // When a piece of data holding `text` is due to be forwarded the given way, every open
    // connection is closed: after it has been forwarded whole (e.g. right after the server's OK
    // to a command), or instead of forwarding it (the server did the command, the client never
    // hears so).
    enum class Toward { Server, Client };
    void cutAfterText(const QByteArray& text, Toward toward);
    void cutInsteadOfText(const QByteArray& text, Toward toward);
    // Closes every open connection now.
    void cutNow();
    // While set, a new connection is closed as soon as it is accepted, as by a server that is
    // down; open connections go on.
    void refuseNewConnections(bool refuse) { refusing_ = refuse; }
    // How many times connections were cut.
    int cuts() const { return cuts_; }

  private:
    void run();
    void wake();

    int listenFd_ = -1;
    int wakeFd_ = -1;
    quint16 port_ = 0;
    quint16 target_;
    std::chrono::milliseconds delay_;
    std::atomic<bool> stop_{false};
    std::atomic<bool> cutRequested_{false};
    std::atomic<std::int64_t> cutBudget_{-1};
    std::atomic<bool> cutCountsToServerOnly_{false};
    std::mutex cutTextLock_;
    QByteArray cutText_;  // empty: none
    bool cutTextToServer_ = false;
    bool cutTextDelivered_ = true;
    std::atomic<std::int64_t> roundTrips_{0};
    std::atomic<std::int64_t> bytesToServer_{0};
    std::atomic<std::int64_t> bytesToClient_{0};
    std::atomic<int> accepted_{0};
    std::atomic<int> cuts_{0};
    std::atomic<bool> refusing_{false};
    std::thread thread_;
};

}  // namespace tf::testing
