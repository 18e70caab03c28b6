#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "common/failure.h"
#include "store/imap/imap_location.h"

struct mailimap;

// One signed-in IMAP connection over libetpan: the commands the store needs, each one round trip
// unless it says it pipelines several, each read bounded by a time-out. Every failure is a
// tf::Failure; a dropped connection is a ConnectionLost, after which open() may be called again.
namespace tf::store::imap {

using Uid = std::uint32_t;
using UidList = std::vector<Uid>;

// The connection broke (or timed out) in the middle of a command: whether the command took
// effect on the server is not known.
class ConnectionLost : public Failure {
  public:
    explicit ConnectionLost(const QString& description) : Failure(err::kAutomation, description) {}
};

// The server answered NO or BAD.
class CommandRefused : public Failure {
  public:
    explicit CommandRefused(const QString& description) : Failure(err::kAutomation, description) {}
};

struct ListedMailbox {
    QByteArray name;  // as the server spells it (modified UTF-7)
    char delimiter = 0;
    bool noSelect = false;
    QStringList specialUse;  // "Trash", "Sent", "Drafts", "All", "Junk", ... without the backslash
};

struct SelectedMailbox {
    std::uint32_t uidValidity = 0;
    std::uint32_t exists = 0;
    std::uint32_t uidNext = 0;
};

struct FetchedMessage {
    Uid uid = 0;
    bool seen = false;
    qint64 internalDate = 0;  // seconds since 1970, UTC
    QByteArray headers;       // the requested header fields
};

// What a COPY or MOVE reported with UIDPLUS: the destination's UIDVALIDITY and each source UID's
// new UID. Empty when the server did not say.
struct CopiedUids {
    std::uint32_t uidValidity = 0;
    std::vector<std::pair<Uid, Uid>> pairs;
};

// Asks for the secret to sign in with only when it is needed; returns the password or token.
using SecretSource = std::function<QByteArray()>;

class ImapConnection {
  public:
    static constexpr int kDefaultTimeoutSeconds = 30;

    ImapConnection(ImapAccount account, SecretSource secret,
                   int timeoutSeconds = kDefaultTimeoutSeconds);
    ~ImapConnection();
    ImapConnection(const ImapConnection&) = delete;
    ImapConnection& operator=(const ImapConnection&) = delete;

    // Connects, checks the server's certificate and host name before anything is sent, signs in
    // and reads the capabilities. Closes any earlier connection first.
    void open();
    bool isOpen() const { return imap_ != nullptr; }
    // Another connection to the same account, not open yet, for work done side by side on a
    // thread of its own: it signs in with the secret this one would use, asked for here.
    std::unique_ptr<ImapConnection> twin() const;
    void close();
    const ImapAccount& account() const { return account_; }

    bool has(const char* capability) const;

    std::vector<ListedMailbox> list();
    // Selects the mailbox read-write, unless it is selected already.
    SelectedMailbox select(const QByteArray& mailbox);
    // Forgets which mailbox is selected, so the next select() asks the server again.
    void forgetSelection() { selected_.clear(); }
    const QByteArray& selectedMailbox() const { return selected_; }

    // UID, FLAGS, INTERNALDATE and the named header fields of the messages first..last (sequence
    // numbers of the selected mailbox), in one command.
    std::vector<FetchedMessage> fetchHeaders(std::uint32_t first, std::uint32_t last,
                                             const QByteArray& fields);
    // The same by UID set.
    std::vector<FetchedMessage> fetchHeadersByUid(const UidList& uids, const QByteArray& fields);
    // The UIDs of messages UID first or higher.
    UidList uidsFrom(Uid first);
    // UID, FLAGS, INTERNALDATE and the named header fields of the messages UID first or higher.
    std::vector<FetchedMessage> fetchHeadersFrom(Uid first, const QByteArray& fields);
    // The whole message, without marking it as read; empty when it is gone.
    QByteArray fetchMessage(Uid uid);

    // The same for several ranges, written in one go: one round trip however many there are.
    // Each range's messages are handed to `each` as its answer is read, in order.
    void fetchHeadersPipelined(const std::vector<std::pair<std::uint32_t, std::uint32_t>>& ranges,
                               const QByteArray& fields,
                               const std::function<void(std::vector<FetchedMessage>&&)>& each);

    CopiedUids move(const UidList& uids, const QByteArray& to);
    CopiedUids copy(const UidList& uids, const QByteArray& to);
    void markDeleted(const UidList& uids);
    // UID EXPUNGE of exactly these UIDs.
    void expunge(const UidList& uids);
    // For each set, UID STORE +FLAGS.SILENT (\Deleted) and UID EXPUNGE of exactly those UIDs:
    // every STORE written in one go, then every EXPUNGE, so two round trips in all. Returns, for
    // each set, an empty text when the server did both, else what it said.
    std::vector<QString> deleteSets(const std::vector<UidList>& sets);
    void create(const QByteArray& mailbox, const QByteArray& specialUse = {});
    void remove(const QByteArray& mailbox);

    // Commands sent since the connection object was made, for the benchmark's figures.
    long commands() const { return commands_; }

  private:
    void connect();
    void checkCertificate();
    void signIn();
    void loadCapabilities();
    // Turns a libetpan result into a Failure; does nothing for success.
    void check(int result, const QString& what);
    QString serverSaid() const;
    // Writes the commands, each with its own tag, in one go, then reads their answers in order;
    // answered(i, ok) sees each while libetpan still holds what came with it.
    void pipeline(const std::vector<QByteArray>& commands, const QString& what,
                  const std::function<void(std::size_t, bool)>& answered);

    ImapAccount account_;
    SecretSource secret_;
    int timeoutSeconds_;
    mailimap* imap_ = nullptr;
    QByteArray selected_;
    QStringList capabilities_;
    long commands_ = 0;
};

// A UID list as an IMAP set ("3:7,9"), for messages and logs.
QByteArray uidSetText(const UidList& uids);

}  // namespace tf::store::imap
