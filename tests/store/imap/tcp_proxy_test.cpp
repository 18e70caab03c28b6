#include "tests/support/tcp_proxy.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QThread>
#include <functional>
#include <string>
#include <thread>

namespace tf::testing {
namespace {

using namespace std::chrono_literals;

int connectTo(quint16 port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    // A broken proxy fails the test instead of hanging it; a machine busy with other builds
    // still gets there.
    timeval timeout{60, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    return fd;
}

void sendAll(int fd, const std::string& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t n = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        ASSERT_GT(n, 0);
        sent += static_cast<std::size_t>(n);
    }
}

// Reads until `size` bytes came or the other side ended; what came.
std::string receive(int fd, std::size_t size) {
    std::string bytes;
    char buffer[65536];
    while (bytes.size() < size) {
        const ssize_t n = ::recv(fd, buffer, std::min(sizeof buffer, size - bytes.size()), 0);
        if (n <= 0) {
            break;
        }
        bytes.append(buffer, static_cast<std::size_t>(n));
    }
    return bytes;
}

// Whether `holds` comes true within a few seconds.
bool eventually(const std::function<bool()>& holds) {
    QElapsedTimer timer;
    timer.start();
    while (!holds()) {
        if (timer.elapsed() > 5000) {
            return false;
        }
        QThread::msleep(1);
    }
    return true;
}

// A server in the manner of IMAP: greets, then echoes each complete line it reads, on a thread
// of its own.
class EchoServer {
  public:
    EchoServer() {
        listenFd_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        ::bind(listenFd_, reinterpret_cast<sockaddr*>(&address), sizeof address);
        ::listen(listenFd_, 16);
        ::getsockname(listenFd_, reinterpret_cast<sockaddr*>(&address), &length);
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] {
            for (;;) {
                const int fd = ::accept(listenFd_, nullptr, nullptr);
                if (fd < 0) {
                    return;
                }
                std::thread([fd] {
                    ::send(fd, "* OK\r\n", 6, MSG_NOSIGNAL);
                    char buffer[65536];
                    std::string pending;
                    ssize_t n;
                    while ((n = ::recv(fd, buffer, sizeof buffer, 0)) > 0) {
                        pending.append(buffer, static_cast<std::size_t>(n));
                        const std::size_t lines = pending.rfind('\n') + 1;  // 0 when none
                        if (lines > 0) {
                            if (::send(fd, pending.data(), lines, MSG_NOSIGNAL) !=
                                static_cast<ssize_t>(lines)) {
                                break;
                            }
                            pending.erase(0, lines);
                        }
                    }
                    ::close(fd);
                }).detach();
            }
        });
    }
    ~EchoServer() {
        ::shutdown(listenFd_, SHUT_RDWR);
        ::close(listenFd_);
        thread_.join();
    }
    quint16 port() const { return port_; }

  private:
    int listenFd_;
    quint16 port_;
    std::thread thread_;
};

TEST(TcpProxyTest, ForwardsBothWaysUnchanged) {
    EchoServer server;
    TcpProxy proxy(server.port());
    ASSERT_NE(proxy.port(), 0);
    const int fd = connectTo(proxy.port());
    ASSERT_GE(fd, 0);
    EXPECT_EQ(receive(fd, 6), "* OK\r\n");
    std::string big(1 << 20, '\0');
    for (std::size_t i = 0; i < big.size(); ++i) {
        big[i] = static_cast<char>(i * 7919 % 251);
    }
    big.back() = '\n';
    std::thread writer([&] { sendAll(fd, big); });
    EXPECT_EQ(receive(fd, big.size()), big);
    writer.join();
    // The proxy counts a write once it has returned, which may be just after the client read it.
    const auto expectedToClient = static_cast<std::int64_t>(big.size() + 6);
    EXPECT_TRUE(eventually([&] { return proxy.bytesToClient() >= expectedToClient; }));
    EXPECT_EQ(proxy.bytesToServer(), static_cast<std::int64_t>(big.size()));
    EXPECT_EQ(proxy.bytesToClient(), expectedToClient);
    EXPECT_EQ(proxy.connectionsAccepted(), 1);
    ::close(fd);
}

TEST(TcpProxyTest, CountsRoundTripsNotWrites) {
    EchoServer server;
    TcpProxy proxy(server.port());
    const int fd = connectTo(proxy.port());
    ASSERT_GE(fd, 0);
    EXPECT_EQ(receive(fd, 6), "* OK\r\n");
    for (int i = 0; i < 3; ++i) {
        sendAll(fd, "a1 NOOP\r\n");
        EXPECT_EQ(receive(fd, 9), "a1 NOOP\r\n");
    }
    EXPECT_EQ(proxy.roundTrips(), 3);
    // Commands sent together before any answer are one round trip.
    sendAll(fd, "a2 NOOP\r\na3 NOOP\r\na4 NOOP\r\n");
    EXPECT_EQ(receive(fd, 27).size(), 27u);
    EXPECT_EQ(proxy.roundTrips(), 4);
    // One command written in pieces is one round trip too.
    sendAll(fd, "a5 NO");
    QThread::msleep(100);
    sendAll(fd, "OP\r\n");
    EXPECT_EQ(receive(fd, 9), "a5 NOOP\r\n");
    EXPECT_EQ(proxy.roundTrips(), 5);
    proxy.resetCounters();
    EXPECT_EQ(proxy.roundTrips(), 0);
    EXPECT_EQ(proxy.bytesToServer(), 0);
    ::close(fd);
}

TEST(TcpProxyTest, DelaysEachWay) {
    EchoServer server;
    TcpProxy proxy(server.port(), 100ms);
    QElapsedTimer timer;
    timer.start();
    const int fd = connectTo(proxy.port());
    ASSERT_GE(fd, 0);
    EXPECT_EQ(receive(fd, 6), "* OK\r\n");
    EXPECT_GE(timer.elapsed(), 100);  // the greeting came one way
    timer.restart();
    sendAll(fd, "x\r\n");
    EXPECT_EQ(receive(fd, 3), "x\r\n");
    EXPECT_GE(timer.elapsed(), 200);  // there and back
    ::close(fd);
}

TEST(TcpProxyTest, CutsAfterExactlyTheBytesAsked) {
    EchoServer server;
    TcpProxy proxy(server.port());
    const int fd = connectTo(proxy.port());
    ASSERT_GE(fd, 0);
    EXPECT_EQ(receive(fd, 6), "* OK\r\n");
    proxy.cutAfter(150);  // 100 there, then 50 of the 100 coming back
    const std::string line = std::string(99, 'q') + "\n";
    sendAll(fd, line);
    EXPECT_EQ(receive(fd, 100), line.substr(0, 50));
    EXPECT_EQ(proxy.cuts(), 1);
    ::close(fd);

    // A new connection is forwarded again, uncut.
    const int again = connectTo(proxy.port());
    ASSERT_GE(again, 0);
    EXPECT_EQ(receive(again, 6), "* OK\r\n");
    const std::string longer = std::string(199, 'r') + "\n";
    sendAll(again, longer);
    EXPECT_EQ(receive(again, 200), longer);
    EXPECT_EQ(proxy.cuts(), 1);
    ::close(again);
}

TEST(TcpProxyTest, CutsAfterTheClientsBytesAloneWhenAsked) {
    EchoServer server;
    TcpProxy proxy(server.port());
    const int fd = connectTo(proxy.port());
    ASSERT_GE(fd, 0);
    EXPECT_EQ(receive(fd, 6), "* OK\r\n");
    proxy.cutAfter(50, TcpProxy::Counting::ToServerOnly);
    // 20 bytes there and 20 back: the answer does not count.
    const std::string first = std::string(18, 'a') + "\r\n";
    sendAll(fd, first);
    EXPECT_EQ(receive(fd, first.size()), first);
    EXPECT_EQ(proxy.cuts(), 0);
    // 30 more reach the server, which never sees this line end.
    sendAll(fd, std::string(98, 'b') + "\r\n");
    EXPECT_EQ(receive(fd, 1), "");
    EXPECT_EQ(proxy.cuts(), 1);
    EXPECT_EQ(proxy.bytesToServer(), 50);
    ::close(fd);
}

TEST(TcpProxyTest, CutsAfterOrInsteadOfTheDataThatHoldsAText) {
    EchoServer server;
    TcpProxy proxy(server.port());
    for (bool delivered : {true, false}) {
        SCOPED_TRACE(delivered ? "after" : "instead");
        const int fd = connectTo(proxy.port());
        ASSERT_GE(fd, 0);
        EXPECT_EQ(receive(fd, 6), "* OK\r\n");
        if (delivered) {
            proxy.cutAfterText("a2 OK", TcpProxy::Toward::Client);
        } else {
            proxy.cutInsteadOfText("a2 OK", TcpProxy::Toward::Client);
        }
        // On its way to the server the text does not count.
        sendAll(fd, "a1 NOOP\r\n");
        EXPECT_EQ(receive(fd, 9), "a1 NOOP\r\n");
        sendAll(fd, "a2 OK done\r\n");
        EXPECT_EQ(receive(fd, 100), delivered ? "a2 OK done\r\n" : "");
        ::close(fd);
    }
    EXPECT_EQ(proxy.cuts(), 2);
}

TEST(TcpProxyTest, ACutInTheMiddleOfACommandLetsLaterConnectionsThrough) {
    EchoServer server;
    TcpProxy proxy(server.port(), 20ms);
    for (std::size_t size : {std::size_t{100}, std::size_t{4} << 20, std::size_t{100}}) {
        SCOPED_TRACE(size);
        const int fd = connectTo(proxy.port());
        ASSERT_GE(fd, 0);
        EXPECT_EQ(receive(fd, 6), "* OK\r\n");
        proxy.cutAfter(static_cast<std::int64_t>(size / 2));  // half way through the line
        const std::string line = std::string(size - 2, 'm') + "\r\n";
        std::thread writer([&] {
            std::size_t sent = 0;
            ssize_t n = 1;
            while (sent < line.size() && n > 0) {
                n = ::send(fd, line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
                sent += n > 0 ? static_cast<std::size_t>(n) : 0;
            }
        });
        // The server never saw a whole line, so nothing comes back but the end.
        EXPECT_EQ(receive(fd, 1), "");
        ::shutdown(fd, SHUT_RDWR);
        writer.join();
        ::close(fd);

        const int again = connectTo(proxy.port());
        ASSERT_GE(again, 0);
        EXPECT_EQ(receive(again, 6), "* OK\r\n");
        sendAll(again, "x1 NOOP\r\n");
        EXPECT_EQ(receive(again, 9), "x1 NOOP\r\n");
        ::close(again);
    }
    EXPECT_EQ(proxy.cuts(), 3);
}

TEST(TcpProxyTest, CutsEveryConnectionOnDemand) {
    EchoServer server;
    TcpProxy proxy(server.port());
    const int first = connectTo(proxy.port());
    const int second = connectTo(proxy.port());
    ASSERT_GE(first, 0);
    ASSERT_GE(second, 0);
    EXPECT_EQ(receive(first, 6), "* OK\r\n");
    EXPECT_EQ(receive(second, 6), "* OK\r\n");
    proxy.cutNow();
    // Both see their end rather than an answer.
    EXPECT_EQ(receive(first, 1), "");
    EXPECT_EQ(receive(second, 1), "");
    EXPECT_EQ(proxy.cuts(), 1);
    ::close(first);
    ::close(second);
}

TEST(TcpProxyTest, ClientEndReachesTheServer) {
    EchoServer server;
    TcpProxy proxy(server.port());
    const int fd = connectTo(proxy.port());
    ASSERT_GE(fd, 0);
    EXPECT_EQ(receive(fd, 6), "* OK\r\n");
    sendAll(fd, "bye\r\n");
    ::shutdown(fd, SHUT_WR);
    // The echo server answers what it had, sees the end, and closes; so does the proxy.
    EXPECT_EQ(receive(fd, 100), "bye\r\n");
    ::close(fd);
}

TEST(TcpProxyTest, NothingListeningMeansTheClientIsClosed) {
    const quint16 deadPort = [&] {
        TcpProxy probe(1);
        return probe.port();  // free again once the probe is gone
    }();
    TcpProxy proxy(deadPort);
    const int fd = connectTo(proxy.port());
    ASSERT_GE(fd, 0);
    EXPECT_EQ(receive(fd, 1), "");
    ::close(fd);
}

}  // namespace
}  // namespace tf::testing
