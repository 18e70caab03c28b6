#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <cstdint>

struct mailimap;

namespace tf::testing {

// A second IMAP client for the tests, apart from the store under test: it fills a test's Dovecot
// and plays "another program" on the same mailbox. Plain text on 127.0.0.1 only. Every call
// fails the running test (ADD_FAILURE) when the server refuses it.
class ImapTestClient {
  public:
    ImapTestClient(quint16 port, const QString& user = QStringLiteral("ann"),
                   const QString& password = QStringLiteral("secret"));
    ~ImapTestClient();
    ImapTestClient(const ImapTestClient&) = delete;
    ImapTestClient& operator=(const ImapTestClient&) = delete;

    bool connected() const { return imap_ != nullptr; }
    void create(const QByteArray& mailbox);
    void append(const QByteArray& mailbox, const QByteArray& message, bool seen,
                const QDateTime& received);
    // Every mailbox name the server lists.
    QList<QByteArray> mailboxes();
    // The Message-ID of each message in the mailbox, in UID order.
    QStringList messageIds(const QByteArray& mailbox);
    std::uint32_t uidValidity(const QByteArray& mailbox);
    // Deletes the messages with these Message-IDs, as another mail program would: \Deleted and
    // EXPUNGE; without expunge, only marks them.
    void expungeMessageIds(const QByteArray& mailbox, const QStringList& ids, bool expunge = true);

  private:
    void select(const QByteArray& mailbox);

    mailimap* imap_ = nullptr;
};

// A small plain-text mail with the given Message-ID ("<id@example.org>").
QByteArray testMail(const QString& subject, const QString& sender, const QDateTime& date,
                    const QString& messageId, const QString& body = QStringLiteral("Hello."));

}  // namespace tf::testing
