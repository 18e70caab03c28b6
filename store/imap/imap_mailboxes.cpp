#include "store/imap/imap_mailboxes.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <algorithm>

#include "common/failure.h"
#include "outlook/constants.h"
#include "outlook/object_model.h"
#include "store/imap/side_by_side.h"
#include "store/maildir/maildir_names.h"
#include "store/maildir/message_headers.h"

namespace tf::store::imap {

namespace {

// Only what the list shows; Body is fetched on its own when asked for.
const QByteArray kHeaderFields = "FROM SUBJECT DATE";

const char* const kTrashNames[] = {"Trash", "Deleted Items", "Deleted Messages", "Deleted"};

[[noreturn]] void itemGone(const QString& id) {
    throw Failure(err::kAutomation,
                  QStringLiteral("The operation failed. The message %1 no longer exists; it has "
                                 "been moved or deleted since it was read.")
                      .arg(id));
}

QString subjectText(const QString& subject) {
    return subject.isEmpty() ? QStringLiteral("(no subject)")
                             : QStringLiteral("\"%1\"").arg(subject);
}

template <typename T>
std::vector<std::vector<T>> chunks(const std::vector<T>& all, std::size_t size) {
    std::vector<std::vector<T>> out;
    for (std::size_t i = 0; i < all.size(); i += size) {
        out.emplace_back(all.begin() + static_cast<std::ptrdiff_t>(i),
                         all.begin() + static_cast<std::ptrdiff_t>(std::min(all.size(), i + size)));
    }
    return out;
}

// Deletions as they go out: sets of at most uidsPerCommand UIDs, setsPerWrite sets written
// together. Every connection that deletes groups them alike.
template <typename T>
std::vector<std::vector<std::vector<T>>> deletionGroups(const std::vector<T>& all,
                                                        const Batching& batching) {
    return chunks(chunks(all, batching.uidsPerCommand),
                  std::max<std::size_t>(1, batching.setsPerWrite));
}

// How many deletions the first `groups` groups hold.
std::size_t deletionsIn(std::size_t groups, const Batching& batching) {
    return groups * batching.uidsPerCommand * std::max<std::size_t>(1, batching.setsPerWrite);
}

}  // namespace

QString displayNameOf(const QByteArray& part) {
    return maildir::decodeFolderName(std::string_view(part.constData(), part.size()));
}

QString entryIdOf(const QByteArray& mailbox, std::uint32_t uidValidity, Uid uid) {
    return QStringLiteral("%1:%2:%3")
        .arg(uidValidity, 8, 16, QLatin1Char('0'))
        .arg(uid, 8, 16, QLatin1Char('0'))
        .arg(QString::fromLatin1(mailbox.toHex()));
}

std::optional<ParsedId> parseEntryId(const QString& id) {
    const QStringList parts = id.split(QLatin1Char(':'));
    if (parts.size() != 3) {
        return std::nullopt;
    }
    bool okValidity = false;
    bool okUid = false;
    ParsedId parsed;
    parsed.uidValidity = parts[0].toUInt(&okValidity, 16);
    parsed.uid = parts[1].toUInt(&okUid, 16);
    parsed.mailbox = QByteArray::fromHex(parts[2].toLatin1());
    if (!okValidity || !okUid || parsed.mailbox.isEmpty()) {
        return std::nullopt;
    }
    return parsed;
}

ImapMailboxes::ImapMailboxes(std::unique_ptr<ImapConnection> connection, QString idFile,
                             Batching batching)
    : connection_(std::move(connection)), idFile_(std::move(idFile)), batching_(batching) {
    loadIds();
    loadCopies();
}

QString ImapMailboxes::storeId() const {
    return account().location();
}

void ImapMailboxes::ensureOpen() {
    if (!connection_->isOpen()) {
        connection_->open();
    }
}

template <typename Command>
auto ImapMailboxes::withReconnect(Command&& command) -> decltype(command()) {
    ensureOpen();
    try {
        return command();
    } catch (const ConnectionLost&) {
        // Once: a server that drops every connection gets no storm of retries.
        ++reconnects_;
        connection_->open();
        return command();
    }
}

void ImapMailboxes::load() {
    ensureOpen();
    canMove_ = connection_->has("MOVE");
    canUidExpunge_ = connection_->has("UIDPLUS");
    if (!canMove_ && !canUidExpunge_) {
        readOnly_ = QStringLiteral(
                        "The server %1 offers neither MOVE nor UIDPLUS. Without them a message "
                        "cannot be moved or deleted without also deleting messages that another "
                        "program has marked for deletion, so the mailbox is opened read-only: "
                        "nothing will be moved or deleted.")
                        .arg(account().host);
    }
    readFolders();
    ensureTrash();
}

void ImapMailboxes::readFolders() {
    const std::vector<ListedMailbox> listed = withReconnect([&] { return connection_->list(); });
    std::map<QByteArray, Mailbox> old = std::move(folders_);
    folders_.clear();
    Mailbox& top = folders_[kTopKey];
    top.key = kTopKey;
    top.name = account().displayName;
    top.noSelect = true;
    top.loaded = true;

    for (const ListedMailbox& entry : listed) {
        if (entry.delimiter != 0) {
            delimiter_ = entry.delimiter;
        }
    }
    QByteArray special[3];  // Trash, Sent, Drafts
    auto add = [&](const QByteArray& key, bool listedHere, bool noSelect) -> Mailbox& {
        auto found = folders_.find(key);
        if (found != folders_.end()) {
            if (listedHere) {
                found->second.noSelect = noSelect;
            }
            return found->second;
        }
        Mailbox box;
        box.key = key;
        box.noSelect = noSelect;
        const qsizetype cut = delimiter_ != 0 ? key.lastIndexOf(delimiter_) : -1;
        box.parent = cut < 0 ? QByteArray(kTopKey) : key.left(cut);
        box.name = displayNameOf(cut < 0 ? key : key.mid(cut + 1));
        if (key.compare("INBOX", Qt::CaseInsensitive) == 0) {
            box.name = QStringLiteral("Inbox");
            box.defaultFolder = outlook::olFolderInbox;
        }
        if (auto was = old.find(key); was != old.end() && was->second.loaded) {
            box.loaded = true;
            box.uidValidity = was->second.uidValidity;
            box.messages = std::move(was->second.messages);
        }
        return folders_.emplace(key, std::move(box)).first->second;
    };
    std::vector<QByteArray> order;
    for (const ListedMailbox& entry : listed) {
        // Parents first, even those the server lists only through their children.
        const QList<QByteArray> parts =
            delimiter_ != 0 ? entry.name.split(delimiter_) : QList<QByteArray>{entry.name};
        QByteArray path;
        for (qsizetype i = 0; i < parts.size(); ++i) {
            path = i == 0 ? parts[0] : path + delimiter_ + parts[i];
            const bool last = i + 1 == parts.size();
            if (!folders_.count(path)) {
                order.push_back(path);
            }
            add(path, last, last ? entry.noSelect : true);
        }
        for (const QString& use : entry.specialUse) {
            if (use.compare(QLatin1String("Trash"), Qt::CaseInsensitive) == 0 &&
                special[0].isEmpty()) {
                special[0] = entry.name;
            } else if (use.compare(QLatin1String("Sent"), Qt::CaseInsensitive) == 0 &&
                       special[1].isEmpty()) {
                special[1] = entry.name;
            } else if (use.compare(QLatin1String("Drafts"), Qt::CaseInsensitive) == 0 &&
                       special[2].isEmpty()) {
                special[2] = entry.name;
            }
        }
    }
    for (const QByteArray& key : order) {
        Mailbox& box = folders_[key];
        folders_[box.parent].children.push_back(key);
    }
    // Deleted Items: the \Trash folder, else one called so at the top, else one below a
    // provider's prefix ("[Gmail]/Trash").
    trashKey_ = special[0];
    for (int depth = 0; depth < 2 && trashKey_.isEmpty(); ++depth) {
        for (const char* name : kTrashNames) {
            for (const QByteArray& key : order) {
                const Mailbox& box = folders_[key];
                const bool atDepth =
                    depth == 0 ? box.parent == kTopKey
                               : folders_[box.parent].parent == kTopKey && box.parent != kTopKey;
                if (atDepth && !box.noSelect &&
                    box.name.compare(QLatin1String(name), Qt::CaseInsensitive) == 0) {
                    trashKey_ = key;
                    break;
                }
            }
            if (!trashKey_.isEmpty()) {
                break;
            }
        }
    }
    if (!trashKey_.isEmpty()) {
        Mailbox& trash = folders_[trashKey_];
        trash.defaultFolder = outlook::olFolderDeletedItems;
        trash.name = QStringLiteral("Deleted Items");
    }
    if (!special[1].isEmpty()) {
        folders_[special[1]].defaultFolder = outlook::olFolderSentMail;
    }
    if (!special[2].isEmpty()) {
        folders_[special[2]].defaultFolder = outlook::olFolderDrafts;
    }
    // In caption order as the other stores show them, the Inbox first.
    for (auto& [key, box] : folders_) {
        std::sort(box.children.begin(), box.children.end(),
                  [this](const QByteArray& a, const QByteArray& b) {
                      const Mailbox& left = folders_.at(a);
                      const Mailbox& right = folders_.at(b);
                      const bool leftInbox = left.defaultFolder == outlook::olFolderInbox;
                      if (leftInbox != (right.defaultFolder == outlook::olFolderInbox)) {
                          return leftInbox;
                      }
                      const int byName = left.name.compare(right.name, Qt::CaseInsensitive);
                      return byName != 0 ? byName < 0 : a < b;
                  });
    }
}

void ImapMailboxes::ensureTrash() {
    if (!trashKey_.isEmpty() || !readOnly_.isEmpty()) {
        return;
    }
    withReconnect([&] { connection_->create("Trash", "Trash"); });
    readFolders();
    if (trashKey_.isEmpty()) {
        throw Failure(err::kAutomation,
                      QStringLiteral("The server %1 has no Trash folder, and the one Tidyfold made "
                                     "does not show in its folder list.")
                          .arg(account().host));
    }
}

QString ImapMailboxes::takeNotes() {
    QStringList out = std::move(notes_);
    notes_.clear();
    if (!readOnly_.isEmpty() && !readOnlyTold_) {
        readOnlyTold_ = true;
        out.prepend(readOnly_);
    }
    return out.join(QStringLiteral("\r\n"));
}

const Mailbox* ImapMailboxes::folder(const QByteArray& key) const {
    const auto found = folders_.find(key);
    return found == folders_.end() ? nullptr : &found->second;
}

std::optional<QByteArray> ImapMailboxes::defaultFolder(long type) const {
    for (const auto& [key, box] : folders_) {
        if (box.defaultFolder == type) {
            return key;
        }
    }
    return std::nullopt;
}

Mailbox& ImapMailboxes::messagesOf(const QByteArray& key) {
    const auto found = folders_.find(key);
    if (found == folders_.end()) {
        throw Failure(err::kAutomation,
                      QStringLiteral("The operation failed. The folder \"%1\" no longer exists.")
                          .arg(displayNameOf(key)));
    }
    Mailbox& box = found->second;
    if (box.noSelect) {
        box.loaded = true;
    }
    if (!box.loaded && !box.reading) {
        box.reading = true;
        try {
            readMessages(box);
        } catch (...) {
            box.reading = false;
            throw;
        }
        box.reading = false;
    }
    return box;
}

void ImapMailboxes::readMessages(Mailbox& box) {
    withReconnect([&] {
        connection_->forgetSelection();  // a fresh SELECT: the folder may have changed
        const SelectedMailbox selected = connection_->select(box.key);
        box.uidNext = selected.uidNext;
        box.messages.clear();
        box.messages.reserve(selected.exists);
        box.uidValidity = selected.uidValidity;
        std::vector<std::pair<std::uint32_t, std::uint32_t>> ranges;
        for (std::uint32_t first = 1; first <= selected.exists;
             first += batching_.messagesPerFetch) {
            ranges.emplace_back(
                first,
                std::min<std::uint32_t>(selected.exists, first + batching_.messagesPerFetch - 1));
        }
        // The chunks are asked for a few at a time, each taken in as its answer arrives; the
        // window runs its events only between such groups, when no answer is outstanding, so
        // that nothing it does can send a command into the middle of them.
        const std::size_t atOnce = std::max<std::size_t>(batching_.fetchesPerWrite, 1);
        for (std::size_t from = 0; from < ranges.size(); from += atOnce) {
            const std::vector<std::pair<std::uint32_t, std::uint32_t>> group(
                ranges.begin() + static_cast<std::ptrdiff_t>(from),
                ranges.begin() +
                    static_cast<std::ptrdiff_t>(std::min(ranges.size(), from + atOnce)));
            connection_->fetchHeadersPipelined(
                group, kHeaderFields, [&](std::vector<FetchedMessage>&& chunk) {
                    for (FetchedMessage& fetched : chunk) {
                        const maildir::MessageHeaders headers =
                            maildir::parseHeaders(fetched.headers);
                        MessageRow row;
                        row.uid = fetched.uid;
                        row.id = entryIdOf(box.key, box.uidValidity, fetched.uid);
                        if (const auto original = originalOf_.find(row.id);
                            original != originalOf_.end()) {
                            row.id = original->second;
                        }
                        row.subject = headers.subject;
                        row.sender = headers.sender;
                        const qint64 when = headers.date ? *headers.date : fetched.internalDate;
                        row.received =
                            when != 0 ? toOleDate(QDateTime::fromSecsSinceEpoch(when)) : kNoDate;
                        row.unread = !fetched.seen;
                        box.messages.append(std::move(row));
                    }
                });
            yieldNow();
        }
        box.loaded = true;
    });
}

std::optional<ImapMailboxes::Location> ImapMailboxes::locate(const QString& id,
                                                             const QByteArray& hint) {
    std::vector<QByteArray> candidates{hint};
    if (const auto current = currentOf_.find(id); current != currentOf_.end()) {
        if (const auto parsed = parseEntryId(current->second)) {
            candidates.push_back(parsed->mailbox);
        }
    }
    if (const auto parsed = parseEntryId(id)) {
        candidates.push_back(parsed->mailbox);
    }
    for (const QByteArray& key : candidates) {
        if (key.isEmpty() || folders_.count(key) == 0) {
            continue;
        }
        if (messagesOf(key).messages.find(id) != nullptr) {
            return Location{key, id};
        }
    }
    for (auto& [key, box] : folders_) {
        if (box.loaded && box.messages.find(id) != nullptr) {
            return Location{key, id};
        }
    }
    return std::nullopt;
}

QByteArray ImapMailboxes::messageText(const Location& at) {
    Mailbox& box = messagesOf(at.folder);
    const MessageRow* row = box.messages.find(at.id);
    if (row == nullptr) {
        itemGone(at.id);
    }
    if (row->uid == 0) {
        flushAll();  // the message's move is still waiting: it has no UID yet
        row = box.messages.find(at.id);
        if (row == nullptr || row->uid == 0) {
            return {};
        }
    }
    const Uid uid = row->uid;
    return withReconnect([&] {
        selectChecked(box);
        return connection_->fetchMessage(uid);
    });
}

void ImapMailboxes::selectChecked(Mailbox& box) {
    const SelectedMailbox selected = connection_->select(box.key);
    if (box.loaded && selected.uidValidity != box.uidValidity) {
        box.loaded = false;
        throw Failure(err::kAutomation,
                      QStringLiteral("The server has renumbered the messages of the folder \"%1\" "
                                     "since it was read. The folder is read afresh; nothing in it "
                                     "was changed.")
                          .arg(box.name));
    }
}

void ImapMailboxes::requireWritable() {
    if (!readOnly_.isEmpty()) {
        throw Failure(err::kPermissionDenied, readOnly_);
    }
}

QString ImapMailboxes::newIdFor(const Mailbox& box, Uid uid) const {
    return entryIdOf(box.key, box.uidValidity, uid);
}

std::optional<ImapMailboxes::Location> ImapMailboxes::deleteMessage(const Location& at) {
    requireWritable();
    Mailbox& box = messagesOf(at.folder);
    const MessageRow* row = box.messages.find(at.id);
    if (row == nullptr) {
        itemGone(at.id);
    }
    if (at.folder == trashKey_) {
        removeAt(at.folder, box.messages.positionOf(at.id));
        return std::nullopt;
    }
    Mailbox& trash = messagesOf(trashKey_);
    MessageRow moved = *row;
    moved.uid = 0;
    moves_[at.folder].push_back({row->id, row->uid, row->subject});
    box.messages.erase(at.id);
    trash.messages.append(std::move(moved));
    if (grouping_ == 0) {
        flushAll();
    } else if (moves_[at.folder].size() >= batching_.uidsPerCommand) {
        flushMoves(at.folder);
        if (!failures_.isEmpty()) {
            const QString why = failures_.join(QStringLiteral("\r\n"));
            failures_.clear();
            throw Failure(err::kAutomation, why);
        }
    }
    return Location{trashKey_, at.id};
}

void ImapMailboxes::removeAt(const QByteArray& folder, long position) {
    requireWritable();
    if (!canUidExpunge_) {
        throw Failure(err::kPermissionDenied,
                      QStringLiteral("The server %1 does not offer UIDPLUS, so a single message "
                                     "cannot be deleted for good without also deleting messages "
                                     "another program has marked for deletion. Nothing was "
                                     "deleted.")
                          .arg(account().host));
    }
    Mailbox& box = messagesOf(folder);
    const MessageRow& row = box.messages.at(position);
    deletes_[folder].push_back({row.id, row.uid, row.subject});
    box.messages.erase(QString(row.id));
    if (grouping_ == 0) {
        flushAll();
    } else if (deletes_[folder].size() >= batching_.uidsPerCommand * batching_.setsPerWrite) {
        if (folder == trashKey_) {
            flushMoves({});
        }
        flushDeletes(folder);
        if (!failures_.isEmpty()) {
            const QString why = failures_.join(QStringLiteral("\r\n"));
            failures_.clear();
            throw Failure(err::kAutomation, why);
        }
    }
}

void ImapMailboxes::noteFailed(const QByteArray& folder, const std::vector<QString>& subjects,
                               const QString& why) {
    // Where they are now is where the server says; read both folders again.
    if (auto found = folders_.find(folder); found != folders_.end()) {
        found->second.loaded = false;
    }
    if (auto trash = folders_.find(trashKey_); trash != folders_.end()) {
        trash->second.loaded = false;
    }
    QStringList names;
    for (const QString& subject : subjects) {
        names << subjectText(subject);
    }
    failures_ << QStringLiteral("%1\r\n%2 message(s) were not changed and are where they were: %3")
                     .arg(why)
                     .arg(subjects.size())
                     .arg(names.join(QStringLiteral(", ")));
}

void ImapMailboxes::flushMoves(const QByteArray& only) {
    std::vector<QByteArray> keys;
    for (const auto& [key, list] : moves_) {
        if (only.isEmpty() || key == only) {
            keys.push_back(key);
        }
    }
    for (const QByteArray& key : keys) {
        const std::vector<PendingMove> all = std::move(moves_[key]);
        moves_.erase(key);
        Mailbox& box = folders_[key];
        for (const std::vector<PendingMove>& part : chunks(all, batching_.uidsPerCommand)) {
            UidList uids;
            std::vector<QString> subjects;
            for (const PendingMove& move : part) {
                uids.push_back(move.uid);
                subjects.push_back(move.subject);
            }
            CopiedUids copied;
            const long reconnectsBefore = reconnects_;
            // Without MOVE: the copy is kept across a reconnect, so that only the flagging and
            // the expunge are sent again.
            std::optional<CopiedUids> copiedBefore;
            try {
                copied = withReconnect([&] {
                    selectChecked(box);
                    if (canMove_) {
                        return connection_->move(uids, trashKey_);
                    }
                    if (!copiedBefore) {
                        copiedBefore = copyToTrash(box, uids);
                    }
                    connection_->markDeleted(uids);
                    connection_->expunge(uids);
                    for (Uid uid : uids) {
                        copiesUnconfirmed_.erase({key, uid});
                    }
                    saveCopies();
                    return *copiedBefore;
                });
            } catch (const Failure& failure) {
                noteFailed(key, subjects, failure.description());
                yieldNow();
                continue;
            }
            yieldNow();
            Mailbox& trash = folders_[trashKey_];
            if (!trash.loaded) {
                continue;
            }
            // After a reconnect, what the first attempt moved is missing from the answer.
            const bool reconnected = reconnects_ != reconnectsBefore;
            if (copied.pairs.empty() || copied.uidValidity != trash.uidValidity) {
                trash.loaded = false;  // the server did not say where they went
                continue;
            }
            std::map<Uid, Uid> newUid(copied.pairs.begin(), copied.pairs.end());
            std::vector<QString> gone;
            for (const PendingMove& move : part) {
                MessageRow* row = trash.messages.find(move.id);
                const auto to = newUid.find(move.uid);
                if (to == newUid.end() && reconnected) {
                    trash.loaded = false;  // moved by the attempt that was cut off
                    continue;
                }
                if (to == newUid.end()) {
                    // Expunged or moved by another program in the meantime.
                    gone.push_back(move.subject);
                    trash.messages.erase(move.id);
                    continue;
                }
                if (row != nullptr) {
                    row->uid = to->second;
                }
                // A copy left by a failed run was read as a message of its own; it is this one.
                if (const QString readAsOwn = newIdFor(trash, to->second); readAsOwn != move.id) {
                    trash.messages.erase(readAsOwn);
                }
                rememberId(newIdFor(trash, to->second), move.id);
                for (PendingDelete& waiting : deletes_[trashKey_]) {
                    if (waiting.id == move.id) {
                        waiting.uid = to->second;
                    }
                }
            }
            saveIds();
            if (!gone.empty()) {
                QStringList names;
                for (const QString& subject : gone) {
                    names << subjectText(subject);
                }
                failures_ << QStringLiteral(
                                 "%1 message(s) had been moved or deleted by another "
                                 "program and were not changed: %2")
                                 .arg(gone.size())
                                 .arg(names.join(QStringLiteral(", ")));
            }
        }
    }
}

CopiedUids ImapMailboxes::copyToTrash(Mailbox& box, const UidList& uids) {
    CopiedUids there;
    UidList rest = uids;
    std::optional<TrashMark> earliest;
    for (Uid uid : uids) {
        const auto found = copiesUnconfirmed_.find({box.key, uid});
        if (found == copiesUnconfirmed_.end() || found->second.sourceValidity != box.uidValidity) {
            continue;  // never copied, or another message of an earlier numbering
        }
        const TrashMark& mark = found->second.trash;
        if (!earliest) {
            earliest = mark;
        } else if (mark.uidValidity != earliest->uidValidity) {
            earliest = TrashMark{};  // from the first UID on
        } else {
            earliest->from = std::min(earliest->from, mark.from);
        }
    }
    if (earliest) {
        there = alreadyInTrash(box, uids, *earliest);
        std::set<Uid> arrived;
        for (const auto& [from, to] : there.pairs) {
            arrived.insert(from);
        }
        rest.erase(std::remove_if(rest.begin(), rest.end(),
                                  [&arrived](Uid uid) { return arrived.count(uid) != 0; }),
                   rest.end());
    }
    if (rest.empty()) {
        return there;
    }
    const Mailbox& trash = folders_[trashKey_];
    const TrashMark before =
        trash.uidNext > 0 ? TrashMark{trash.uidValidity, trash.uidNext} : TrashMark{};
    for (Uid uid : rest) {
        copiesUnconfirmed_.insert_or_assign({box.key, uid},
                                            UnconfirmedCopy{box.uidValidity, before});
    }
    saveCopies();  // before the copy: a process killed after it must still know
    CopiedUids copied = connection_->copy(rest, trashKey_);
    if (!there.pairs.empty() && copied.uidValidity == there.uidValidity) {
        copied.pairs.insert(copied.pairs.end(), there.pairs.begin(), there.pairs.end());
    }
    return copied;
}

CopiedUids ImapMailboxes::alreadyInTrash(Mailbox& box, const UidList& uids,
                                         const TrashMark& since) {
    // Enough to tell messages apart; a copy keeps the headers and the arrival time.
    const QByteArray fields = "MESSAGE-ID DATE FROM TO SUBJECT";
    const std::vector<FetchedMessage> sources = connection_->fetchHeadersByUid(uids, fields);
    const SelectedMailbox selected = connection_->select(trashKey_);
    // UIDs only grow: a copy made since then has a UID from the mark on.
    const Uid from = selected.uidValidity == since.uidValidity ? since.from : 1;
    std::multimap<std::pair<qint64, QByteArray>, Uid> arrived;
    for (FetchedMessage& message : connection_->fetchHeadersFrom(from, fields)) {
        arrived.emplace(std::pair(message.internalDate, std::move(message.headers)), message.uid);
    }
    CopiedUids found;
    found.uidValidity = selected.uidValidity;
    for (const FetchedMessage& source : sources) {
        const auto match = arrived.find(std::pair(source.internalDate, source.headers));
        if (match != arrived.end()) {
            found.pairs.emplace_back(source.uid, match->second);
            arrived.erase(match);
        }
    }
    selectChecked(box);
    return found;
}

void ImapMailboxes::flushDeletes(const QByteArray& only) {
    std::vector<std::pair<QByteArray, std::vector<PendingDelete>>> work;
    std::vector<QByteArray> keys;
    for (const auto& [key, list] : deletes_) {
        if (only.isEmpty() || key == only) {
            keys.push_back(key);
        }
    }
    for (const QByteArray& key : keys) {
        const std::vector<PendingDelete> all = std::move(deletes_[key]);
        deletes_.erase(key);
        if (folders_.count(key) == 0) {
            continue;
        }
        std::vector<PendingDelete> ready;
        std::vector<QString> unknown;
        for (const PendingDelete& item : all) {
            if (item.uid != 0) {
                ready.push_back(item);
            } else {
                unknown.push_back(item.subject);
            }
        }
        if (!unknown.empty()) {
            noteFailed(key, unknown,
                       QStringLiteral("The server did not say where it put the moved messages."));
        }
        if (!ready.empty()) {
            work.emplace_back(key, std::move(ready));
        }
    }
    deleteSideBySide(work);
    for (const auto& [key, ready] : work) {
        deleteOnMain(key, ready);
    }
}

void ImapMailboxes::deleteSideBySide(
    std::vector<std::pair<QByteArray, std::vector<PendingDelete>>>& work) {
    std::size_t total = 0;
    std::vector<std::size_t> sizes;
    for (const auto& [key, ready] : work) {
        // A folder read again since its messages were chosen has no UIDVALIDITY to check here.
        sizes.push_back(folders_[key].loaded ? ready.size() : 0);
        total += ready.size();
    }
    const std::size_t connections = std::min(batching_.deleteConnections, work.size());
    if (connections < 2 || total < batching_.sideBySideFrom) {
        return;
    }
    const std::vector<std::size_t> taker = shareOut(sizes, connections);
    SideBySide others;
    std::vector<std::vector<std::size_t>> shares(connections);
    try {
        for (std::size_t c = 1; c < connections; ++c) {
            std::vector<FolderDeletion> folders;
            for (std::size_t f = 0; f < work.size(); ++f) {
                if (taker[f] != c || sizes[f] == 0) {
                    continue;
                }
                FolderDeletion& folder = folders.emplace_back();
                folder.key = work[f].first;
                folder.uidValidity = folders_[work[f].first].uidValidity;
                for (const auto& group : deletionGroups(work[f].second, batching_)) {
                    std::vector<UidList>& sets = folder.groups.emplace_back();
                    for (const std::vector<PendingDelete>& part : group) {
                        UidList& uids = sets.emplace_back();
                        for (const PendingDelete& item : part) {
                            uids.push_back(item.uid);
                        }
                    }
                }
                shares[c].push_back(f);
            }
            if (!folders.empty()) {
                others.add(connection_->twin(), std::move(folders));
            }
        }
    } catch (const Failure&) {
        return;  // no secret for another sign-in: the own connection does it all
    }
    others.run(
        [&] {
            for (std::size_t f = 0; f < work.size(); ++f) {
                if (taker[f] == 0 || sizes[f] == 0) {
                    deleteOnMain(work[f].first, work[f].second);
                }
            }
        },
        [this] { yieldNow(); });
    extraCommands_ += others.commands();
    // What the others left is the own connection's: from the first group not done whole.
    std::vector<std::pair<QByteArray, std::vector<PendingDelete>>> left;
    std::size_t share = 0;
    for (std::size_t c = 1; c < connections; ++c) {
        if (shares[c].empty()) {
            continue;
        }
        const std::vector<FolderDeletion>& results = others.results()[share++];
        for (std::size_t k = 0; k < shares[c].size(); ++k) {
            const auto& [key, ready] = work[shares[c][k]];
            const std::size_t from = deletionsIn(results[k].groupsDone, batching_);
            if (from < ready.size()) {
                left.emplace_back(
                    key, std::vector<PendingDelete>(
                             ready.begin() + static_cast<std::ptrdiff_t>(from), ready.end()));
            }
        }
    }
    work = std::move(left);
}

void ImapMailboxes::deleteOnMain(const QByteArray& key, const std::vector<PendingDelete>& ready) {
    auto found = folders_.find(key);
    if (found == folders_.end()) {
        return;
    }
    Mailbox& box = found->second;
    for (const auto& group : deletionGroups(ready, batching_)) {
        std::vector<UidList> sets;
        std::vector<std::vector<QString>> subjects;
        for (const std::vector<PendingDelete>& part : group) {
            UidList& uids = sets.emplace_back();
            std::vector<QString>& names = subjects.emplace_back();
            for (const PendingDelete& item : part) {
                uids.push_back(item.uid);
                names.push_back(item.subject);
            }
        }
        std::vector<QString> refused;
        try {
            // Deleting what is already gone changes nothing, so a retry is safe.
            refused = withReconnect([&] {
                selectChecked(box);
                return connection_->deleteSets(sets);
            });
        } catch (const Failure& failure) {
            std::vector<QString> everyOne;
            for (const std::vector<QString>& names : subjects) {
                everyOne.insert(everyOne.end(), names.begin(), names.end());
            }
            noteFailed(key, everyOne, failure.description());
            continue;
        }
        for (std::size_t i = 0; i < refused.size(); ++i) {
            if (!refused[i].isEmpty()) {
                noteFailed(key, subjects[i], refused[i]);
            }
        }
        yieldNow();
    }
}

void ImapMailboxes::flushAll() {
    flushMoves({});
    flushDeletes({});
    if (!failures_.isEmpty()) {
        const QString why = failures_.join(QStringLiteral("\r\n"));
        failures_.clear();
        throw Failure(err::kAutomation, why);
    }
}

void ImapMailboxes::beginChanges() {
    ++grouping_;
}

void ImapMailboxes::endChanges() {
    if (grouping_ > 0 && --grouping_ == 0) {
        flushAll();
    }
}

void ImapMailboxes::removeFolder(const QByteArray& parent, long index) {
    requireWritable();
    const Mailbox* above = folder(parent);
    if (above == nullptr || index < 1 || index > static_cast<long>(above->children.size())) {
        outlook::indexOutOfBounds();
    }
    const QByteArray key = above->children[static_cast<std::size_t>(index - 1)];
    const Mailbox& target = folders_[key];
    if (target.defaultFolder != 0) {
        outlook::standardFolderNotRemovable(target.name);
    }
    flushAll();
    // Leaves first, so that a failure half-way leaves a tree that still hangs together.
    std::vector<QByteArray> order;
    std::function<void(const QByteArray&)> collect = [&](const QByteArray& at) {
        for (const QByteArray& child : folders_[at].children) {
            collect(child);
        }
        order.push_back(at);
    };
    collect(key);
    for (const QByteArray& at : order) {
        withReconnect([&] {
            try {
                connection_->remove(at);
            } catch (const CommandRefused&) {
                // A parent the server lists only through its children has nothing to delete.
                if (!folders_[at].noSelect) {
                    throw;
                }
            }
        });
        Mailbox& gone = folders_[at];
        auto& siblings = folders_[gone.parent].children;
        siblings.erase(std::remove(siblings.begin(), siblings.end(), at), siblings.end());
        folders_.erase(at);
    }
}

void ImapMailboxes::rememberId(const QString& current, const QString& original) {
    if (current == original) {
        return;
    }
    // A message moved twice keeps its very first id.
    QString first = original;
    if (const auto earlier = originalOf_.find(original); earlier != originalOf_.end()) {
        first = earlier->second;
    }
    originalOf_[current] = first;
    currentOf_[first] = current;
    unsavedIds_ += (current + QLatin1Char('\t') + first + QLatin1Char('\n')).toLatin1();
}

void ImapMailboxes::saveIds() {
    if (idFile_.isEmpty() || unsavedIds_.isEmpty()) {
        unsavedIds_.clear();
        return;
    }
    // Appended once per command: losing the file costs only the first ids of moved messages.
    QDir().mkpath(QFileInfo(idFile_).path());
    QFile file(idFile_);
    if (file.open(QIODevice::Append)) {
        file.write(unsavedIds_);
    }
    unsavedIds_.clear();
}

QString ImapMailboxes::copiesFile() const {
    return idFile_.isEmpty() ? QString() : idFile_ + QStringLiteral(".copies");
}

// One line per message: folder (hex), its UIDVALIDITY, UID, Deleted Items' UIDVALIDITY and the
// UID its copies come from.
void ImapMailboxes::saveCopies() const {
    const QString path = copiesFile();
    if (path.isEmpty()) {
        return;
    }
    if (copiesUnconfirmed_.empty()) {
        QFile::remove(path);
        return;
    }
    QDir().mkpath(QFileInfo(path).path());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return;  // only the next run's guard against copying twice is lost
    }
    for (const auto& [where, copy] : copiesUnconfirmed_) {
        file.write(where.first.toHex() + '\t' + QByteArray::number(copy.sourceValidity) + '\t' +
                   QByteArray::number(where.second) + '\t' +
                   QByteArray::number(copy.trash.uidValidity) + '\t' +
                   QByteArray::number(copy.trash.from) + '\n');
    }
    file.commit();
}

void ImapMailboxes::loadCopies() {
    QFile file(copiesFile());
    if (copiesFile().isEmpty() || !file.open(QIODevice::ReadOnly)) {
        return;
    }
    while (!file.atEnd()) {
        const QList<QByteArray> parts = file.readLine().trimmed().split('\t');
        bool ok[4] = {false, false, false, false};
        if (parts.size() != 5) {
            continue;
        }
        const auto sourceValidity = parts[1].toUInt(&ok[0]);
        const auto uid = parts[2].toUInt(&ok[1]);
        const auto trashValidity = parts[3].toUInt(&ok[2]);
        const auto from = parts[4].toUInt(&ok[3]);
        if (ok[0] && ok[1] && ok[2] && ok[3]) {
            copiesUnconfirmed_.insert_or_assign(
                {QByteArray::fromHex(parts[0]), uid},
                UnconfirmedCopy{sourceValidity, TrashMark{trashValidity, from}});
        }
    }
}

void ImapMailboxes::loadIds() {
    if (idFile_.isEmpty()) {
        return;
    }
    QFile file(idFile_);
    if (!file.open(QIODevice::ReadOnly)) {
        return;
    }
    while (!file.atEnd()) {
        const QList<QByteArray> parts = file.readLine().trimmed().split('\t');
        if (parts.size() == 2) {
            originalOf_[QString::fromLatin1(parts[0])] = QString::fromLatin1(parts[1]);
            currentOf_[QString::fromLatin1(parts[1])] = QString::fromLatin1(parts[0]);
        }
    }
}

}  // namespace tf::store::imap
