#include "tests/support/tcp_proxy.h"

#include <errno.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <list>
#include <vector>

#include "tests/support/loopback.h"

namespace tf::testing {

namespace {

using Clock = std::chrono::steady_clock;

void setNonBlocking(int fd) {
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
    const int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
}

struct Chunk {
    Clock::time_point due;
    std::vector<char> bytes;
    std::size_t sent = 0;
};

// One way of one connection: what was read from `from` and waits to be written to `to`.
struct Direction {
    int from = -1;
    int to = -1;
    bool toServer = false;
    std::deque<Chunk> queue;
    bool ended = false;     // `from` reached its end
    bool shutDown = false;  // and `to` was told so
};

struct Link {
    Direction up, down;
    bool serverSpokeLast = false;
    bool broken = false;
};

}  // namespace

TcpProxy::TcpProxy(quint16 targetPort, std::chrono::milliseconds delayEachWay)
    : target_(targetPort), delay_(delayEachWay) {
    listenFd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    if (listenFd_ < 0 ||
        ::bind(listenFd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listenFd_, 64) != 0 ||
        ::getsockname(listenFd_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        return;
    }
    setNonBlocking(listenFd_);
    wakeFd_ = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { run(); });
}

TcpProxy::~TcpProxy() {
    stop_ = true;
    wake();
    if (thread_.joinable()) {
        thread_.join();
    }
    if (listenFd_ >= 0) {
        ::close(listenFd_);
    }
    if (wakeFd_ >= 0) {
        ::close(wakeFd_);
    }
}

void TcpProxy::resetCounters() {
    roundTrips_ = 0;
    bytesToServer_ = 0;
    bytesToClient_ = 0;
}

void TcpProxy::cutAfter(std::int64_t bytes, Counting counting) {
    cutCountsToServerOnly_ = counting == Counting::ToServerOnly;
    cutBudget_ = std::max<std::int64_t>(bytes, 0);
    wake();
}

void TcpProxy::cutAfterText(const QByteArray& text, Toward toward) {
    const std::lock_guard<std::mutex> lock(cutTextLock_);
    cutText_ = text;
    cutTextToServer_ = toward == Toward::Server;
    cutTextDelivered_ = true;
}

void TcpProxy::cutInsteadOfText(const QByteArray& text, Toward toward) {
    const std::lock_guard<std::mutex> lock(cutTextLock_);
    cutText_ = text;
    cutTextToServer_ = toward == Toward::Server;
    cutTextDelivered_ = false;
}

void TcpProxy::cutNow() {
    cutRequested_ = true;
    wake();
}

void TcpProxy::wake() {
    if (wakeFd_ >= 0) {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = ::write(wakeFd_, &one, sizeof one);
    }
}

void TcpProxy::run() {
    std::list<Link> links;
    // Whether the text cut asked for falls on this chunk, at this moment (before it is sent, or
    // once it is sent whole); a cut happens once.
    const auto cutsAt = [this](const Chunk& chunk, bool toServer, bool delivered) {
        const std::lock_guard<std::mutex> lock(cutTextLock_);
        if (cutText_.isEmpty() || cutTextToServer_ != toServer || cutTextDelivered_ != delivered ||
            !QByteArrayView(chunk.bytes.data(), static_cast<qsizetype>(chunk.bytes.size()))
                 .contains(QByteArrayView(cutText_))) {
            return false;
        }
        cutText_.clear();
        return true;
    };
    const auto cutAll = [&] {
        for (Link& link : links) {
            link.broken = true;
        }
        ++cuts_;
    };

    while (!stop_) {
        // What to wait for, and until when the next delayed chunk falls due.
        std::vector<pollfd> fds{{listenFd_, POLLIN, 0}, {wakeFd_, POLLIN, 0}};
        std::vector<std::pair<Direction*, short>> owners;
        const Clock::time_point now = Clock::now();
        int timeout = -1;
        for (Link& link : links) {
            for (Direction* d : {&link.up, &link.down}) {
                if (!d->ended) {
                    fds.push_back({d->from, POLLIN, 0});
                    owners.emplace_back(d, POLLIN);
                }
                if (!d->queue.empty()) {
                    if (d->queue.front().due <= now) {
                        fds.push_back({d->to, POLLOUT, 0});
                        owners.emplace_back(d, POLLOUT);
                    } else {
                        const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(
                                              d->queue.front().due - now)
                                              .count() +
                                          1;
                        timeout = timeout < 0 ? static_cast<int>(wait)
                                              : std::min(timeout, static_cast<int>(wait));
                    }
                }
            }
        }
        if (::poll(fds.data(), fds.size(), timeout) < 0 && errno != EINTR) {
            break;
        }
        if (fds[1].revents & POLLIN) {
            std::uint64_t count = 0;
            [[maybe_unused]] const auto got = ::read(wakeFd_, &count, sizeof count);
        }
        if (cutRequested_.exchange(false)) {
            cutAll();
        }

        for (std::size_t i = 2; i < fds.size(); ++i) {
            Direction* d = owners[i - 2].first;
            Link& link = *std::find_if(links.begin(), links.end(),
                                       [d](const Link& l) { return &l.up == d || &l.down == d; });
            if (link.broken || fds[i].revents == 0) {
                continue;
            }
            if (owners[i - 2].second == POLLIN) {
                std::vector<char> buffer(64 * 1024);
                const ssize_t n = ::recv(d->from, buffer.data(), buffer.size(), 0);
                if (n > 0) {
                    buffer.resize(static_cast<std::size_t>(n));
                    d->queue.push_back({Clock::now() + delay_, std::move(buffer)});
                    if (d->toServer) {
                        if (link.serverSpokeLast) {
                            ++roundTrips_;
                        }
                        link.serverSpokeLast = false;
                    } else {
                        link.serverSpokeLast = true;
                    }
                } else if (n == 0) {
                    d->ended = true;
                } else if (errno != EAGAIN && errno != EINTR) {
                    link.broken = true;
                }
                continue;
            }
            // Due data: write as much as the socket takes and the cut budget allows.
            Chunk& chunk = d->queue.front();
            if (chunk.sent == 0 && cutsAt(chunk, d->toServer, false)) {
                cutAll();
                break;
            }
            std::size_t length = chunk.bytes.size() - chunk.sent;
            const std::int64_t budget =
                d->toServer || !cutCountsToServerOnly_ ? cutBudget_.load() : -1;
            if (budget >= 0) {
                length = std::min<std::size_t>(length, static_cast<std::size_t>(budget));
            }
            const ssize_t n =
                length == 0 ? 0
                            : ::send(d->to, chunk.bytes.data() + chunk.sent, length, MSG_NOSIGNAL);
            if (n < 0 && errno != EAGAIN && errno != EINTR) {
                link.broken = true;
                continue;
            }
            if (n > 0) {
                chunk.sent += static_cast<std::size_t>(n);
                (d->toServer ? bytesToServer_ : bytesToClient_) += n;
                if (budget >= 0) {
                    cutBudget_ = budget - n;
                }
            }
            if (budget >= 0 && cutBudget_ == 0) {
                cutBudget_ = -1;
                cutAll();
                break;
            }
            if (chunk.sent == chunk.bytes.size()) {
                const bool cutHere = cutsAt(chunk, d->toServer, true);
                d->queue.pop_front();
                if (cutHere) {
                    cutAll();
                    break;
                }
            }
        }

        // Pass an end on once everything before it is delivered; drop finished connections.
        for (auto it = links.begin(); it != links.end();) {
            for (Direction* d : {&it->up, &it->down}) {
                if (d->ended && d->queue.empty() && !d->shutDown) {
                    ::shutdown(d->to, SHUT_WR);
                    d->shutDown = true;
                }
            }
            if (it->broken || (it->up.shutDown && it->down.shutDown)) {
                ::close(it->up.from);
                ::close(it->up.to);
                it = links.erase(it);
            } else {
                ++it;
            }
        }

        if (fds[0].revents & POLLIN) {
            for (;;) {
                const int client = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
                if (client < 0) {
                    break;
                }
                ++accepted_;
                if (refusing_) {
                    ::close(client);
                    continue;
                }
                const int server = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
                sockaddr_in address = loopback(target_);
                if (server < 0 ||
                    ::connect(server, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
                    ::close(client);
                    if (server >= 0) {
                        ::close(server);
                    }
                    continue;
                }
                setNonBlocking(client);
                setNonBlocking(server);
                Link& link = links.emplace_back();
                link.up.from = link.down.to = client;
                link.up.to = link.down.from = server;
                link.up.toServer = true;
            }
        }
    }
    for (Link& link : links) {
        ::close(link.up.from);
        ::close(link.up.to);
    }
}

}  // namespace tf::testing
