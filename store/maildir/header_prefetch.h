#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "store/maildir/message_headers.h"
#include "store/maildir/read_ahead.h"

// Reads the header fields of one folder's messages ahead of the window's loop, in the folder's
// order. A message it cannot read (gone, renamed, unreadable) is left to the caller, who reads it
// as if there were no read-ahead, so that every rule about missing and unreadable files stays in
// one place.
namespace tf::store::maildir {

class HeaderPrefetch {
  public:
    struct Wanted {
        std::string stem;
        std::string name;  // the file's name in cur/ or new/
        bool inNew = false;
    };

    // curDir and newDir are open directories of the folder (-1 when missing); they are
    // duplicated, so the caller may close its own.
    HeaderPrefetch(int curDir, int newDir, std::vector<Wanted> wanted);
    ~HeaderPrefetch();
    HeaderPrefetch(const HeaderPrefetch&) = delete;
    HeaderPrefetch& operator=(const HeaderPrefetch&) = delete;

    // The fields read from the file called name, when the reader has them. Nothing when the
    // message is not one of those wanted, the file had another name, or the reader failed or has
    // not come to it yet: then the caller reads the file itself.
    std::optional<MessageHeaders> take(const std::string& stem, const std::string& name,
                                       bool inNew);

  private:
    std::optional<MessageHeaders> read(const Wanted& wanted) const;

    std::vector<Wanted> wanted_;
    std::unordered_map<std::string, std::size_t> slotOf_;
    int curDir_ = -1;
    int newDir_ = -1;
    std::optional<ReadAhead<MessageHeaders>> reader_;  // last: stops before the rest goes
};

}  // namespace tf::store::maildir
