#pragma once

#include <QString>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "store/maildir/message_headers.h"
#include "store/maildir/message_index.h"

namespace tf::store::local {
class Database;
}

// The header fields of a tree's messages kept between runs, so that opening an unchanged tree
// again reads no message file. A message is known by its folder and stem and trusted only while
// its file has the same size and modification time. The cache only ever saves time: one that is
// missing, stale, damaged or cannot be written gives the same fields, read from the files.
namespace tf::store::maildir {

class HeaderCache {
  public:
    // The cache of the tree at root, in the user's cache folder; nothing is written until a
    // message has been read from its file.
    explicit HeaderCache(const std::string& root);
    ~HeaderCache();
    HeaderCache(const HeaderCache&) = delete;
    HeaderCache& operator=(const HeaderCache&) = delete;

    // Where the cache of the tree at root lives.
    static QString pathFor(const std::string& root);

    // The fields kept for the message, when its file is still the one they were read from.
    std::optional<MessageHeaders> find(const std::string& folder, const IndexEntry& entry);
    // Whether find would give the message's fields; takes nothing.
    bool holds(const std::string& folder, const IndexEntry& entry);
    // Keeps fields just read from the message's file.
    void keep(const std::string& folder, const IndexEntry& entry, const MessageHeaders& headers);
    // Writes what has been kept so far.
    void flush();

  private:
    struct Row {
        std::int64_t size = 0;
        std::int64_t mtime = 0;
        MessageHeaders headers;
    };
    struct Kept {
        std::string folder;
        std::string stem;
        Row row;
    };

    // Rows for the writer; with replaces set, they take the place of all of that folder's rows.
    struct Batch {
        std::vector<Kept> rows;
        std::optional<std::string> replaces;
    };

    bool open();
    void loadFolder(const std::string& folder);
    void drop();
    void enqueue(Batch batch);
    void write(const Batch& batch);
    void writeQueued();

    std::string root_;
    // The connection is shared by the reading thread and the writer: dbMutex_ guards it.
    std::mutex dbMutex_;
    std::unique_ptr<local::Database> db_;
    bool tried_ = false;
    std::atomic<bool> unusable_{false};  // no cache file can be had: nothing is kept
    // Kept rows are written on a thread of their own, so the scan never waits for SQLite.
    std::mutex queueMutex_;
    std::condition_variable queued_;
    std::deque<Batch> queue_;
    bool closing_ = false;
    std::thread writer_;
    // Each folder's rows, read in one query the first time the folder is asked about; a row
    // leaves when it has been used, so the map shrinks as the folder is read.
    std::unordered_map<std::string, std::unordered_map<std::string, Row>> folders_;
    std::vector<Kept> kept_;
    std::string lastFolder_;
};

}  // namespace tf::store::maildir
