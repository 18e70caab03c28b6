#include "store/maildir/header_prefetch.h"

#include <fcntl.h>
#include <unistd.h>

#include <QString>
#include <cerrno>
#include <thread>

namespace tf::store::maildir {

namespace {

// How many messages the reader may be ahead of the caller.
constexpr std::size_t kLead = 2048;

int duplicate(int fd) {
    return fd < 0 ? -1 : ::fcntl(fd, F_DUPFD_CLOEXEC, 0);
}

}  // namespace

HeaderPrefetch::HeaderPrefetch(int curDir, int newDir, std::vector<Wanted> wanted)
    : wanted_(std::move(wanted)), curDir_(duplicate(curDir)), newDir_(duplicate(newDir)) {
    slotOf_.reserve(wanted_.size());
    for (std::size_t i = 0; i < wanted_.size(); ++i) {
        slotOf_.emplace(wanted_[i].stem, i);
    }
    // GMime sets itself up once, before a second thread could race to do so.
    parseHeaders(QByteArray());
    // Two readers: one thread's opens and reads leave the other core idle while the window's
    // thread digests what they read.
    const unsigned readers = std::thread::hardware_concurrency() >= 2 ? 2 : 1;
    reader_.emplace(
        wanted_.size(), [this](std::size_t i) { return read(wanted_[i]); }, kLead, readers);
}

HeaderPrefetch::~HeaderPrefetch() {
    reader_.reset();
    for (int fd : {curDir_, newDir_}) {
        if (fd >= 0) {
            ::close(fd);
        }
    }
}

std::optional<MessageHeaders> HeaderPrefetch::read(const Wanted& wanted) const {
    const int dir = wanted.inNew ? newDir_ : curDir_;
    if (dir < 0) {
        return std::nullopt;
    }
    int fd = ::openat(dir, wanted.name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NOATIME);
    if (fd < 0 && (errno == EPERM || errno == EINVAL)) {
        fd = ::openat(dir, wanted.name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    }
    if (fd < 0) {
        return std::nullopt;
    }
    struct Closer {
        int fd;
        ~Closer() { ::close(fd); }
    } closer{fd};
    // A read error throws; the caller then reads the file again and reports it.
    return parseHeaders(readHeaderBlock(fd, QString()));
}

std::optional<MessageHeaders> HeaderPrefetch::take(const std::string& stem, const std::string& name,
                                                   bool inNew) {
    const auto slot = slotOf_.find(stem);
    if (slot == slotOf_.end()) {
        return std::nullopt;
    }
    std::optional<MessageHeaders> headers = reader_->take(slot->second);
    const Wanted& wanted = wanted_[slot->second];
    if (!headers || wanted.name != name || wanted.inNew != inNew) {
        return std::nullopt;  // not read, or read under a name the message no longer has
    }
    return headers;
}

}  // namespace tf::store::maildir
