#pragma once

#include <QByteArray>
#include <QString>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "store/imap/imap_connection.h"
#include "store/imap/message_list.h"

// The server side of an IMAP store: its folders and each folder's messages as the object model
// sees them, and every change, sent to the server in as few commands as it allows. Folder keys
// are the mailbox names as the server spells them; "/" is the store's top folder.
namespace tf::store::imap {

struct Mailbox {
    QByteArray key;  // the server's name; "/" for the top
    QByteArray parent;
    QString name;  // as the user sees it
    long defaultFolder = 0;
    bool noSelect = false;
    std::vector<QByteArray> children;  // the Inbox first, then by name as shown
    // The messages, read on first use; stale after a failed change, read again then.
    bool loaded = false;
    // Set while its messages are read: the window may run its events between chunks, and what it
    // asks of the folder meanwhile is answered from what has arrived instead of a second read.
    bool reading = false;
    std::uint32_t uidValidity = 0;
    std::uint32_t uidNext = 0;  // when it was read
    MessageList messages;
};

// The limits of one command: a few hundred UIDs per change, a few thousand messages per FETCH;
// and how many sets of changes are written before their answers are read, so that a run over a
// distant server waits for one round trip per folder rather than one per command.
struct Batching {
    std::size_t uidsPerCommand = 800;
    std::uint32_t messagesPerFetch = 5000;
    std::size_t setsPerWrite = 4;
    // A folder's FETCH chunks asked for together; the window's events run between such groups.
    std::size_t fetchesPerWrite = 4;
    // Connections that delete for good side by side at the end of a change group, each taking
    // whole folders (1: the store's own connection alone), and the fewest messages worth
    // signing in again for.
    std::size_t deleteConnections = 3;
    std::size_t sideBySideFrom = 2000;
};

class ImapMailboxes {
  public:
    static constexpr const char* kTopKey = "/";

    // connection: open or not; it is opened on first use. idFile: where EntryIDs that moved with
    // their message are kept between runs (empty: not kept).
    ImapMailboxes(std::unique_ptr<ImapConnection> connection, QString idFile,
                  Batching batching = {});

    // Opens the connection and reads the folder list; makes the Trash folder when there is none.
    void load();
    const ImapAccount& account() const { return connection_->account(); }
    QString storeId() const;
    // Set when the server can neither move nor delete single messages: then nothing is changed
    // and the reason is given once.
    const QString& readOnlyReason() const { return readOnly_; }
    QString takeNotes();

    const Mailbox* folder(const QByteArray& key) const;
    std::optional<QByteArray> defaultFolder(long type) const;
    // The folder's messages, read from the server when not yet read.
    Mailbox& messagesOf(const QByteArray& key);

    struct Location {
        QByteArray folder;
        QString id;
    };
    // Finds a message by its EntryID: in the hinted folder first, then in the folder the EntryID
    // names, then everywhere read so far.
    std::optional<Location> locate(const QString& id, const QByteArray& hint);
    // The message's full text, fetched now (never marks it as read).
    QByteArray messageText(const Location& at);

    // Item.Delete: to Deleted Items, or for good from there; returns where it lies afterwards.
    std::optional<Location> deleteMessage(const Location& at);
    // Items.Remove at a 0-based position: for good.
    void removeAt(const QByteArray& folder, long position);
    // Folders.Remove: the sub-folder at a 1-based index with its own sub-folders, leaves first.
    void removeFolder(const QByteArray& parent, long index);

    void beginChanges();
    void endChanges();

    // Commands sent so far, for the benchmark.
    long commands() const { return connection_->commands() + extraCommands_; }

    // Called between the chunks of a long fetch and between queued commands, so that a window
    // can run its events meanwhile (none: nothing is called).
    void setYield(std::function<void()> yield) { yield_ = std::move(yield); }

  private:
    struct PendingMove {
        QString id;
        Uid uid;
        QString subject;
    };
    struct PendingDelete {
        QString id;
        Uid uid;  // 0: lies in Deleted Items after a move still waiting
        QString subject;
    };

    void ensureOpen();
    void readFolders();
    void ensureTrash();
    void readMessages(Mailbox& box);
    // Runs a command; after a dropped connection, signs in again and runs it once more.
    template <typename Command>
    auto withReconnect(Command&& command) -> decltype(command());
    // Selects the folder and checks that its UIDs still mean what they meant when read.
    void selectChecked(Mailbox& box);
    void requireWritable();
    QString newIdFor(const Mailbox& box, Uid uid) const;
    void flushMoves(const QByteArray& folder);
    // Where Deleted Items stood before a copy was sent: its UIDVALIDITY and a UID no copy made
    // then can lie below.
    struct TrashMark {
        std::uint32_t uidValidity = 0;
        Uid from = 1;
    };
    // Copies the messages of the selected folder to Deleted Items for a server without MOVE.
    // When a copy of any of them may have been made before (its answer lost, or its messages
    // not yet expunged after a failure), copies only those that did not arrive: Deleted Items
    // never gets a message twice.
    CopiedUids copyToTrash(Mailbox& box, const UidList& uids);
    // Which of these messages already lie in Deleted Items, found by their headers and arrival
    // time among those that came there since `since`; each with its UID there.
    CopiedUids alreadyInTrash(Mailbox& box, const UidList& uids, const TrashMark& since);
    void flushDeletes(const QByteArray& folder);
    // One folder's deletions on the store's own connection.
    void deleteOnMain(const QByteArray& key, const std::vector<PendingDelete>& ready);
    // Hands whole folders to extra connections and does the own connection's share meanwhile;
    // what the others left undone stays in `work` for the own connection.
    void deleteSideBySide(std::vector<std::pair<QByteArray, std::vector<PendingDelete>>>& work);
    void flushAll();
    // A command that failed: its messages are read again from the server (where they still
    // are), and the failure names each one.
    void noteFailed(const QByteArray& folder, const std::vector<QString>& subjects,
                    const QString& why);
    void rememberId(const QString& current, const QString& original);
    void saveIds();
    void loadIds();
    QString copiesFile() const;
    void saveCopies() const;
    void loadCopies();

    void yieldNow() const {
        if (yield_) {
            yield_();
        }
    }

    std::unique_ptr<ImapConnection> connection_;
    long extraCommands_ = 0;  // sent by connections that deleted side by side
    std::function<void()> yield_;
    QString idFile_;
    Batching batching_;
    std::map<QByteArray, Mailbox> folders_;
    QByteArray trashKey_;
    char delimiter_ = '/';
    bool canMove_ = false;
    bool canUidExpunge_ = false;
    QString readOnly_;
    bool readOnlyTold_ = false;
    int grouping_ = 0;
    long reconnects_ = 0;
    std::map<QByteArray, std::vector<PendingMove>> moves_;
    std::map<QByteArray, std::vector<PendingDelete>> deletes_;
    // Messages whose copy to Deleted Items was sent but which are not yet expunged where they
    // were (folder, UID), with the folder's UIDVALIDITY and where Deleted Items stood before.
    // Kept on disk too, so that a run after a killed one does not copy them again.
    struct UnconfirmedCopy {
        std::uint32_t sourceValidity = 0;
        TrashMark trash;
    };
    std::map<std::pair<QByteArray, Uid>, UnconfirmedCopy> copiesUnconfirmed_;
    QStringList failures_;
    QStringList notes_;
    // A moved message keeps the EntryID it was first read with: its id in Deleted Items -> the
    // first id, and back.
    std::map<QString, QString> originalOf_;
    std::map<QString, QString> currentOf_;
    QByteArray unsavedIds_;
};

// A mailbox name as users see it: modified UTF-7 decoded.
QString displayNameOf(const QByteArray& part);
// An EntryID: the mailbox's UIDVALIDITY and the message's UID, and the mailbox's name.
QString entryIdOf(const QByteArray& mailbox, std::uint32_t uidValidity, Uid uid);
struct ParsedId {
    QByteArray mailbox;
    std::uint32_t uidValidity = 0;
    Uid uid = 0;
};
std::optional<ParsedId> parseEntryId(const QString& id);

}  // namespace tf::store::imap
