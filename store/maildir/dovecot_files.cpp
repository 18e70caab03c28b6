#include "store/maildir/dovecot_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <QString>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>

#include "common/failure.h"

namespace tf::store::maildir {

namespace {

constexpr int kLetters = 26;

[[noreturn]] void cannotWrite(const std::string& path, int error) {
    throw Failure(
        error == EACCES || error == EPERM || error == EROFS ? err::kPermissionDenied
                                                            : err::kAutomation,
        QStringLiteral("The operation failed. Cannot write %1 (%2).")
            .arg(QString::fromStdString(path), QString::fromLocal8Bit(std::strerror(error))));
}

// The whole of a small file; nothing when it is not there. Never through a symbolic link.
bool readSmallFile(const std::string& path, std::string& out, struct stat* st = nullptr) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    if (st != nullptr && ::fstat(fd, st) != 0) {
        ::close(fd);
        return false;
    }
    out.clear();
    char buffer[8192];
    ssize_t got = 0;
    while ((got = ::read(fd, buffer, sizeof buffer)) > 0 || (got < 0 && errno == EINTR)) {
        if (got > 0) {
            out.append(buffer, static_cast<std::size_t>(got));
        }
    }
    ::close(fd);
    return true;
}

// Replaces path with text: written to path + ".lock" (created anew, so that a second writer,
// Dovecot included, waits or fails instead of mixing its lines with ours), then renamed over it.
void replaceFile(const std::string& path, const std::string& text) {
    const std::string staging = path + ".lock";
    const int fd =
        ::open(staging.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0) {
        cannotWrite(staging, errno);
    }
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t wrote = ::write(fd, text.data() + done, text.size() - done);
        if (wrote < 0 && errno == EINTR) {
            continue;
        }
        if (wrote <= 0) {
            const int error = errno;
            ::close(fd);
            ::unlink(staging.c_str());
            cannotWrite(staging, error);
        }
        done += static_cast<std::size_t>(wrote);
    }
    if (::fsync(fd) != 0 || ::close(fd) != 0) {
        const int error = errno;
        ::unlink(staging.c_str());
        cannotWrite(staging, error);
    }
    if (::rename(staging.c_str(), path.c_str()) != 0) {
        const int error = errno;
        ::unlink(staging.c_str());
        cannotWrite(path, error);
    }
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos) {
            end = text.size();
        }
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

}  // namespace

void KeywordTable::load(const std::string& dir) {
    const std::string path = dir + "/dovecot-keywords";
    struct stat st {};
    if (read_) {
        if (::lstat(path.c_str(), &st) != 0) {
            st = {};
        }
        if (st.st_ino == inode_ && st.st_mtim.tv_sec == mtime_.tv_sec &&
            st.st_mtim.tv_nsec == mtime_.tv_nsec) {
            return;
        }
    }
    names_.assign(kLetters, std::string());
    std::string text;
    st = {};
    if (readSmallFile(path, text, &st)) {
        // Lines of "<number> <keyword>", the number 0 standing for the letter a.
        for (const std::string& line : linesOf(text)) {
            const std::size_t space = line.find(' ');
            if (space == std::string::npos || space == 0) {
                continue;
            }
            int index = 0;
            bool number = space <= 2;
            for (std::size_t i = 0; i < space && number; ++i) {
                number = line[i] >= '0' && line[i] <= '9';
                index = index * 10 + (line[i] - '0');
            }
            if (number && index < kLetters) {
                names_[static_cast<std::size_t>(index)] = line.substr(space + 1);
            }
        }
    }
    mtime_ = st.st_mtim;
    inode_ = st.st_ino;
    read_ = true;
}

const std::string& KeywordTable::nameOf(char letter) const {
    static const std::string none;
    if (letter < 'a' || letter >= 'a' + kLetters || names_.empty()) {
        return none;
    }
    return names_[static_cast<std::size_t>(letter - 'a')];
}

char KeywordTable::letterOf(const std::string& name, const std::string& dir) {
    load(dir);
    for (int i = 0; i < kLetters; ++i) {
        if (names_[static_cast<std::size_t>(i)] == name) {
            return static_cast<char>('a' + i);
        }
    }
    for (int i = 0; i < kLetters; ++i) {
        if (names_[static_cast<std::size_t>(i)].empty()) {
            names_[static_cast<std::size_t>(i)] = name;
            write(dir);
            return static_cast<char>('a' + i);
        }
    }
    return 0;
}

void KeywordTable::write(const std::string& dir) {
    std::string text;
    for (int i = 0; i < kLetters; ++i) {
        if (!names_[static_cast<std::size_t>(i)].empty()) {
            text += std::to_string(i) + ' ' + names_[static_cast<std::size_t>(i)] + '\n';
        }
    }
    const std::string path = dir + "/dovecot-keywords";
    try {
        replaceFile(path, text);
    } catch (...) {
        read_ = false;  // read again next time: what we hold was not written
        throw;
    }
    struct stat st {};
    ::lstat(path.c_str(), &st);
    mtime_ = st.st_mtim;
    inode_ = st.st_ino;
}

std::string translateFlags(const std::string& flags, const KeywordTable& from, KeywordTable& to,
                           const std::string& toDir) {
    std::string out;
    for (const char flag : flags) {
        if (flag < 'a' || flag > 'z') {
            out += flag;
            continue;
        }
        const std::string& name = from.nameOf(flag);
        if (name.empty()) {
            continue;
        }
        if (const char letter = to.letterOf(name, toDir)) {
            out += letter;
        }
    }
    return out;
}

void unsubscribe(const std::string& root, const std::vector<std::string>& dirNames) {
    const std::string path = root + "/subscriptions";
    std::string text;
    if (dirNames.empty() || !readSmallFile(path, text)) {
        return;
    }
    std::vector<std::string> lines = linesOf(text);
    // Version 2 starts with "V\t2" and a blank line and separates levels with a tab; the old
    // form is one name a line with the tree's own separator, the dot.
    const bool tabbed =
        !lines.empty() && lines[0].size() >= 2 && lines[0][0] == 'V' && lines[0][1] == '\t';
    std::set<std::string> doomed;
    for (const std::string& dir : dirNames) {
        std::string name = dir.substr(1);
        if (tabbed) {
            std::replace(name.begin(), name.end(), '.', '\t');
        }
        doomed.insert(name);
    }
    std::string kept;
    bool changed = false;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const bool header = tabbed && i < 2;
        if (!header && doomed.count(lines[i]) != 0) {
            changed = true;
            continue;
        }
        kept += lines[i] + '\n';
    }
    if (changed) {
        replaceFile(path, kept);
    }
}

}  // namespace tf::store::maildir
