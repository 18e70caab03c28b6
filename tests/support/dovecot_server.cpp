#include "tests/support/dovecot_server.h"

#include <netinet/in.h>
#include <pwd.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QThread>
#include <filesystem>

#include "tests/support/loopback.h"

namespace tf::testing {

namespace {

QString userName(uid_t uid) {
    const passwd* entry = ::getpwuid(uid);
    return entry != nullptr ? QString::fromLocal8Bit(entry->pw_name) : QString::number(uid);
}

bool writeFile(const QString& path, const QByteArray& text) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

}  // namespace

quint16 freeLoopbackPort() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    ::close(fd);
    return ntohs(address.sin_port);
}

bool acceptsConnections(quint16 port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback(port);
    const bool ok = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return ok;
}

// Dovecot refuses to serve mail as root: then "nobody" owns the mail.
uid_t DovecotServer::mailUid() {
    return ::geteuid() == 0 ? 65534 : ::geteuid();
}

void DovecotServer::giveToMailUser(const QString& path) {
    const uid_t uid = mailUid();
    std::error_code error;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(path.toStdString(), error)) {
        ::lchown(entry.path().c_str(), uid, static_cast<gid_t>(-1));
    }
    ::lchown(QFile::encodeName(path).constData(), uid, static_cast<gid_t>(-1));
}

DovecotServer::DovecotServer(QString dir, DovecotOptions options)
    : dir_(std::move(dir)),
      options_(std::move(options)),
      imapPort_(freeLoopbackPort()),
      imapsPort_(freeLoopbackPort()) {
    // Dovecot's own processes run as other users and must reach their folders, also through
    // the test's temporary folders above dir.
    QDir().mkpath(dir_);
    ::chmod(QFile::encodeName(dir_).constData(), 0755);
    const QString temp = QDir(QDir::tempPath()).canonicalPath();
    for (QDir up(QFileInfo(dir_).canonicalFilePath()); up.cdUp();) {
        const QString path = up.path();
        if (!path.startsWith(temp + QLatin1Char('/'))) {
            break;
        }
        struct stat st {};
        if (::stat(QFile::encodeName(path).constData(), &st) == 0) {
            ::chmod(QFile::encodeName(path).constData(), (st.st_mode & 07777) | 0011);
        }
    }
}

DovecotServer::~DovecotServer() {
    stop();
}

QString DovecotServer::mailDir(const QString& user) const {
    return dir_ + QStringLiteral("/home/") + user + QStringLiteral("/Maildir");
}

QString DovecotServer::logText() const {
    QFile log(dir_ + QStringLiteral("/dovecot.log"));
    return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
}

bool DovecotServer::writeConfig(QString& why) {
    const bool root = ::geteuid() == 0;
    const QString login = root ? QStringLiteral("dovenull") : userName(::geteuid());
    const QString internal = root ? QStringLiteral("dovecot") : userName(::geteuid());
    const gid_t gid = root ? 65534 : ::getegid();
    const bool tls = !options_.certFile.isEmpty();

    QByteArray users;
    for (const auto& [user, password] : options_.users) {
        users +=
            (user + QStringLiteral(":{PLAIN}") + password + QStringLiteral("::::::\n")).toUtf8();
        QDir().mkpath(mailDir(user));
    }
    const QString usersFile = dir_ + QStringLiteral("/users");
    if (!writeFile(usersFile, users)) {
        why = QStringLiteral("cannot write ") + usersFile;
        return false;
    }
    ::chmod(QFile::encodeName(usersFile).constData(), 0644);

    QString conf = QStringLiteral(
                       "base_dir = %1/run\nstate_dir = %1/state\nlog_path = %1/dovecot.log\n"
                       "protocols = imap\nlisten = 127.0.0.1\n"
                       "disable_plaintext_auth = no\nauth_mechanisms = plain login\n"
                       "mail_location = maildir:~/Maildir\nfirst_valid_uid = 0\n"
                       "default_login_user = %2\ndefault_internal_user = %3\n"
                       "passdb {\n  driver = passwd-file\n  args = scheme=PLAIN %1/users\n}\n"
                       "userdb {\n  driver = static\n  args = uid=%4 gid=%5 home=%1/home/%u\n}\n"
                       "service anvil {\n  chroot =\n}\n")
                       .arg(dir_, login, internal)
                       .arg(mailUid())
                       .arg(gid);
    if (tls) {
        conf += QStringLiteral("ssl = yes\nssl_cert = <%1\nssl_key = <%2\n")
                    .arg(options_.certFile, options_.keyFile);
    } else {
        conf += QStringLiteral("ssl = no\n");
    }
    conf += QStringLiteral(
                "service imap-login {\n  chroot =\n  inet_listener imap {\n"
                "    address = 127.0.0.1\n    port = %1\n  }\n")
                .arg(imapPort_);
    if (tls) {
        conf += QStringLiteral(
                    "  inet_listener imaps {\n    address = 127.0.0.1\n"
                    "    port = %1\n    ssl = yes\n  }\n")
                    .arg(imapsPort_);
    }
    conf += QStringLiteral("}\n");
    conf += QStringLiteral("namespace inbox {\n  inbox = yes\n");
    if (!options_.separator.isEmpty()) {
        conf += QStringLiteral("  separator = %1\n").arg(options_.separator);
    }
    if (options_.standardSpecialUse) {
        conf += QStringLiteral(
            "  mailbox Trash {\n    special_use = \\Trash\n  }\n"
            "  mailbox Sent {\n    special_use = \\Sent\n  }\n"
            "  mailbox Drafts {\n    special_use = \\Drafts\n  }\n");
    }
    for (const QString& line : options_.namespaceLines) {
        conf += QStringLiteral("  ") + line + QLatin1Char('\n');
    }
    conf += QStringLiteral("}\n");
    if (!options_.capability.isEmpty()) {
        conf += QStringLiteral("imap_capability = %1\n").arg(options_.capability);
    }
    if (!options_.oauth2TokenCheckUrl.isEmpty()) {
        // Tokens go to the token-check endpoint; the oauth2 passdb checks that the token's
        // user is the one signing in.
        const QString oauth2File = dir_ + QStringLiteral("/dovecot-oauth2.conf.ext");
        const QString oauth2 = QStringLiteral(
                                   "introspection_mode = get\nintrospection_url = %1\n"
                                   "username_attribute = username\nactive_attribute = active\n"
                                   "active_value = true\n")
                                   .arg(options_.oauth2TokenCheckUrl);
        if (!writeFile(oauth2File, oauth2.toUtf8())) {
            why = QStringLiteral("cannot write ") + oauth2File;
            return false;
        }
        ::chmod(QFile::encodeName(oauth2File).constData(), 0644);
        // Only the oauth2 passdb judges tokens: a password sent as a token is refused.
        conf.replace(QStringLiteral("driver = passwd-file\n"),
                     QStringLiteral("driver = passwd-file\n  mechanisms = plain login\n"));
        conf += QStringLiteral(
                    "auth_mechanisms = plain login xoauth2 oauthbearer\n"
                    "passdb {\n  driver = oauth2\n  mechanisms = xoauth2 oauthbearer\n"
                    "  args = %1\n}\n")
                    .arg(oauth2File);
    }
    conf += options_.extraConfig + QLatin1Char('\n');

    if (!writeFile(dir_ + QStringLiteral("/dovecot.conf"), conf.toUtf8())) {
        why = QStringLiteral("cannot write the configuration");
        return false;
    }
    QDir().mkpath(dir_ + QStringLiteral("/run"));
    QDir().mkpath(dir_ + QStringLiteral("/state"));
    giveToMailUser(dir_ + QStringLiteral("/home"));
    return true;
}

bool DovecotServer::start(QString& why) {
    if (running()) {
        return true;
    }
    const QString dovecot = QStandardPaths::findExecutable(
        QStringLiteral("dovecot"), {QStringLiteral("/usr/sbin"), QStringLiteral("/sbin")});
    if (dovecot.isEmpty()) {
        why = QStringLiteral("dovecot is not installed (scripts/setup.sh --tests)");
        return false;
    }
    if (!writeConfig(why)) {
        return false;
    }
    process_.start(dovecot, {QStringLiteral("-F"), QStringLiteral("-c"),
                             dir_ + QStringLiteral("/dovecot.conf")});
    if (!process_.waitForStarted(5000)) {
        why = QStringLiteral("dovecot did not start");
        return false;
    }
    for (int i = 0; i < 100; ++i) {
        const bool both =
            acceptsConnections(imapPort_) && (imapsPort() == 0 || acceptsConnections(imapsPort_));
        if (both) {
            return true;
        }
        if (process_.state() == QProcess::NotRunning) {
            break;
        }
        QThread::msleep(100);
    }
    why = QStringLiteral("dovecot does not answer: ") + logText() +
          QString::fromUtf8(process_.readAllStandardError());
    stop();
    return false;
}

bool DovecotServer::running() const {
    return process_.state() != QProcess::NotRunning;
}

pid_t DovecotServer::pid() const {
    return static_cast<pid_t>(process_.processId());
}

void DovecotServer::stop() {
    if (!running()) {
        return;
    }
    ::kill(pid(), SIGTERM);
    if (!process_.waitForFinished(10000)) {
        kill();
    }
}

void DovecotServer::kill() {
    if (!running()) {
        return;
    }
    // Every process of the server dies at once, as in a crash of the machine: the master and
    // the imap, login and auth processes it started, found by their parent ids.
    std::vector<pid_t> family{pid()};
    for (std::size_t i = 0; i < family.size(); ++i) {
        for (const QString& entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
            bool isPid = false;
            const pid_t candidate = static_cast<pid_t>(entry.toInt(&isPid));
            if (!isPid) {
                continue;
            }
            QFile stat(QStringLiteral("/proc/%1/stat").arg(entry));
            if (!stat.open(QIODevice::ReadOnly)) {
                continue;
            }
            const QByteArray text = stat.readAll();
            // "pid (comm) state ppid ...": comm may hold spaces, so read after the last ')'.
            const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
            if (fields.size() > 1 && fields[1].toInt() == family[i]) {
                family.push_back(candidate);
            }
        }
    }
    for (const pid_t member : family) {
        ::kill(member, SIGKILL);
    }
    process_.waitForFinished(5000);
    for (int i = 0; i < 50 && (acceptsConnections(imapPort_)); ++i) {
        QThread::msleep(100);
    }
}

}  // namespace tf::testing
