// libFuzzer target for everything that reads bytes of a message file or its name: the header
// block reader, the header decoder, the body decoder, and the file and folder name parsers.
#include <sys/mman.h>
#include <unistd.h>

#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "common/failure.h"
#include "store/maildir/maildir_names.h"
#include "store/maildir/message_headers.h"

namespace {

// The header block as the scan reads it, through a file, with a small limit so that the chunked
// reads and the limit are both reached.
void readThroughAFile(const QByteArray& bytes) {
    const int fd = ::memfd_create("message", MFD_CLOEXEC);
    if (fd < 0) {
        return;
    }
    if (::write(fd, bytes.constData(), static_cast<size_t>(bytes.size())) == bytes.size() &&
        ::lseek(fd, 0, SEEK_SET) == 0) {
        try {
            const QByteArray block =
                tf::store::maildir::readHeaderBlock(fd, QStringLiteral("fuzz"), 6000);
            if (block.size() > 6000 || !bytes.startsWith(block)) {
                __builtin_trap();
            }
            tf::store::maildir::parseHeaders(block);
        } catch (const tf::Failure&) {
        }
    }
    ::close(fd);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    tf::store::maildir::parseHeaders(bytes);
    tf::store::maildir::messageBodyText(bytes);
    readThroughAFile(bytes);
    const std::string_view name(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    const std::string unique = tf::store::maildir::splitMessageName(name).unique;
    if (tf::store::maildir::uniqueOf(tf::store::maildir::entryIdOf(unique)) != unique) {
        __builtin_trap();  // an EntryID that does not lead back to its file
    }
    tf::store::maildir::deliveredBefore(name, "1700000000.M1P1Q1.host");
    tf::store::maildir::folderPathOf(name);
    return 0;
}
