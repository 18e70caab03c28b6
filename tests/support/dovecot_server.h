#pragma once

#include <sys/types.h>

#include <QProcess>
#include <QString>
#include <QStringList>
#include <utility>
#include <vector>

namespace tf::testing {

// How a test's Dovecot is set up. Every field has a default that gives a plain server with one
// user, "ann", whose password is "secret".
struct DovecotOptions {
    // PEM files of the server's certificate chain and key; empty: the server offers no TLS.
    QString certFile;
    QString keyFile;
    // Replaces the capabilities the server announces after login ("IMAP4rev1 UIDPLUS"), to
    // stand in for servers that lack an extension; empty: Dovecot's own.
    QString capability;
    // The hierarchy delimiter clients see; empty: Dovecot's default for Maildir++ (".").
    QString separator;
    // Lines added inside the inbox namespace, e.g. special-use mailboxes:
    //   mailbox "[Gmail]/Trash" { special_use = \Trash }
    QStringList namespaceLines;
    // When false, Dovecot's usual special-use Trash, Sent and Drafts mailboxes are not declared.
    bool standardSpecialUse = true;
    std::vector<std::pair<QString, QString>> users{
        {QStringLiteral("ann"), QStringLiteral("secret")}};
    // An OAuth2 token-check address that takes the token appended, as
    // TokenCheckServer::url() gives; when set, the server also accepts XOAUTH2 and
    // OAUTHBEARER and asks there about each token.
    QString oauth2TokenCheckUrl;
    // Anything else for dovecot.conf, appended as it stands.
    QString extraConfig;
};

// A private Dovecot on 127.0.0.1 for the life of the object: its configuration, state, logs and
// every user's Maildir lie under dir. It listens on free ports and is stopped by its process id.
class DovecotServer {
  public:
    explicit DovecotServer(QString dir, DovecotOptions options = {});
    ~DovecotServer();
    DovecotServer(const DovecotServer&) = delete;
    DovecotServer& operator=(const DovecotServer&) = delete;

    // Starts the server (again, after stop or kill, on the same ports); false with the reason
    // when it does not answer.
    bool start(QString& why);
    // SIGTERM, then SIGKILL when it does not end.
    void stop();
    // SIGKILL to the server and every process it started, as a crash would.
    void kill();
    bool running() const;
    pid_t pid() const;

    // The plain port (STARTTLS when the server has a certificate) and the implicit-TLS port
    // (0 without a certificate).
    quint16 imapPort() const { return imapPort_; }
    quint16 imapsPort() const { return options_.certFile.isEmpty() ? 0 : imapsPort_; }
    // Where the user's Maildir++ tree lies; files put there before start are the user's mail.
    QString mailDir(const QString& user = QStringLiteral("ann")) const;
    QString logText() const;
    const DovecotOptions& options() const { return options_; }

    // The uid Dovecot serves mail as, which must own every file below mailDir().
    static uid_t mailUid();
    // Gives a tree written by the test to mailUid().
    static void giveToMailUser(const QString& path);

  private:
    bool writeConfig(QString& why);

    QString dir_;
    DovecotOptions options_;
    quint16 imapPort_;
    quint16 imapsPort_;
    QProcess process_;
};

// A port on 127.0.0.1 that nothing listens on right now.
quint16 freeLoopbackPort();
// Whether something accepts connections on 127.0.0.1:port.
bool acceptsConnections(quint16 port);

}  // namespace tf::testing
