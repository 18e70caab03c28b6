// Tidyfold beside a real mbsync that keeps the tree in step with a real Dovecot: messages moved to
// Deleted Items arrive in the server's Trash, once, whatever mbsync expunges.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <pwd.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>
#include <filesystem>
#include <set>

#include "outlook/constants.h"
#include "store/maildir/maildir_store.h"
#include "store/maildir/message_headers.h"
#include "tests/support/qt_printers.h"
#include "tests/support/temp_home.h"

namespace tf::store::maildir {
namespace {

// The uid Dovecot serves mail as: ourselves, or "nobody" when we are root, which it refuses.
uid_t mailUid() {
    return ::geteuid() == 0 ? 65534 : ::geteuid();
}

QString userName(uid_t uid) {
    const passwd* entry = ::getpwuid(uid);
    return entry != nullptr ? QString::fromLocal8Bit(entry->pw_name) : QString::number(uid);
}

int freePort() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    ::close(fd);
    return ntohs(address.sin_port);
}

bool accepts(int port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    const bool ok = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return ok;
}

void writeFile(const QString& path, const QByteArray& text) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(text);
}

void giveTo(const QString& path, uid_t uid) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path.toStdString())) {
        ::lchown(entry.path().c_str(), uid, static_cast<gid_t>(-1));
    }
    ::lchown(QFile::encodeName(path).constData(), uid, static_cast<gid_t>(-1));
}

// A private Dovecot on 127.0.0.1 with one user, "ann", whose Maildir is filled before it starts.
class DovecotServer {
  public:
    DovecotServer(const QString& dir) : dir_(dir), port_(freePort()) {}
    ~DovecotServer() { stop(); }

    QString mailDir() const { return dir_ + QStringLiteral("/home/Maildir"); }
    int port() const { return port_; }

    bool start(QString& why) {
        const uid_t uid = mailUid();
        const QString login = ::geteuid() == 0 ? QStringLiteral("dovenull") : userName(uid);
        const QString internal = ::geteuid() == 0 ? QStringLiteral("dovecot") : userName(uid);
        const QString conf = dir_ + QStringLiteral("/dovecot.conf");
        writeFile(conf, QStringLiteral(
                            "base_dir = %1/run\nstate_dir = %1/state\nlog_path = %1/dovecot.log\n"
                            "protocols = imap\nlisten = 127.0.0.1\nssl = no\n"
                            "disable_plaintext_auth = no\nauth_mechanisms = plain login\n"
                            "mail_location = maildir:~/Maildir\nfirst_valid_uid = 0\n"
                            "default_login_user = %2\ndefault_internal_user = %3\n"
                            "passdb {\n  driver = static\n  args = password=secret\n}\n"
                            "userdb {\n  driver = static\n  args = uid=%4 gid=%5 home=%1/home\n}\n"
                            "service imap-login {\n  chroot =\n  inet_listener imap {\n"
                            "    address = 127.0.0.1\n    port = %6\n  }\n}\n"
                            "service anvil {\n  chroot =\n}\n")
                            .arg(dir_, login, internal)
                            .arg(uid)
                            .arg(::getegid() == 0 ? 65534 : ::getegid())
                            .arg(port_)
                            .toUtf8());
        QDir().mkpath(dir_ + QStringLiteral("/run"));
        QDir().mkpath(dir_ + QStringLiteral("/state"));
        giveTo(dir_ + QStringLiteral("/home"), uid);
        const QString dovecot = QStandardPaths::findExecutable(
            QStringLiteral("dovecot"), {QStringLiteral("/usr/sbin"), QStringLiteral("/sbin")});
        if (dovecot.isEmpty()) {
            why = QStringLiteral("dovecot is not installed (scripts/setup.sh --tests)");
            return false;
        }
        process_.start(dovecot, {QStringLiteral("-F"), QStringLiteral("-c"), conf});
        if (!process_.waitForStarted(5000)) {
            why = QStringLiteral("dovecot did not start");
            return false;
        }
        for (int i = 0; i < 100; ++i) {
            if (accepts(port_)) {
                return true;
            }
            if (process_.state() == QProcess::NotRunning) {
                break;
            }
            QThread::msleep(100);
        }
        QFile log(dir_ + QStringLiteral("/dovecot.log"));
        log.open(QIODevice::ReadOnly);
        why = QStringLiteral("dovecot does not answer: ") + QString::fromUtf8(log.readAll()) +
              QString::fromUtf8(process_.readAllStandardError());
        return false;
    }

    void stop() {
        if (process_.state() != QProcess::NotRunning) {
            ::kill(static_cast<pid_t>(process_.processId()), SIGTERM);
            if (!process_.waitForFinished(10000)) {
                ::kill(static_cast<pid_t>(process_.processId()), SIGKILL);
                process_.waitForFinished(5000);
            }
        }
    }

  private:
    QString dir_;
    int port_;
    QProcess process_;
};

// The subjects of the messages in one folder of a Maildir, each as often as it is there.
std::multiset<QString> subjectsIn(const QString& folderDir) {
    std::multiset<QString> subjects;
    for (const char* sub : {"/cur", "/new"}) {
        QDirIterator files(folderDir + QLatin1String(sub), QDir::Files);
        while (files.hasNext()) {
            QFile file(files.next());
            if (file.open(QIODevice::ReadOnly)) {
                subjects.insert(parseHeaders(file.readAll()).subject);
            }
        }
    }
    return subjects;
}

class MbsyncBesideDovecot : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(dir_.isValid());
        // Dovecot's own processes run as another user and must reach their folders.
        ::chmod(QFile::encodeName(dir_.path()).constData(), 0755);
    }

    // One mbsync run over every folder with the given settings; its exit code and what it said.
    int mbsync(QString& said) {
        const QString rc = dir_.filePath(QStringLiteral("mbsyncrc"));
        writeFile(rc, QStringLiteral("IMAPAccount server\nHost 127.0.0.1\nPort %1\nUser ann\n"
                                     "Pass secret\nSSLType None\nAuthMechs LOGIN\n\n"
                                     "IMAPStore far\nAccount server\n\n"
                                     "MaildirStore near\nInbox %2/\nSubFolders Maildir++\n\n"
                                     "Channel mail\nFar :far:\nNear :near:\nPatterns *\n"
                                     "Create Both\nExpunge Both\nSyncState *\n")
                          .arg(server_.port())
                          .arg(local())
                          .toUtf8());
        const QString program = QStandardPaths::findExecutable(QStringLiteral("mbsync"));
        if (program.isEmpty()) {
            said = QStringLiteral("mbsync is not installed (scripts/setup.sh --tests)");
            return -1;
        }
        QProcess run;
        run.start(program, {QStringLiteral("-c"), rc, QStringLiteral("-a")});
        run.waitForFinished(60000);
        said = QString::fromUtf8(run.readAllStandardOutput() + run.readAllStandardError());
        return run.exitStatus() == QProcess::NormalExit ? run.exitCode() : -1;
    }
    QString local() const { return dir_.filePath(QStringLiteral("local")); }

    QTemporaryDir dir_;
    testing::TempHome home_;  // the header cache goes there
    DovecotServer server_{dir_.path()};
};

TEST_F(MbsyncBesideDovecot, MessagesMovedToDeletedItemsReachTheServersTrashExactlyOnce) {
    QStringList all;
    for (int i = 1; i <= 6; ++i) {
        const QString subject = QStringLiteral("message %1").arg(i);
        all << subject;
        writeFile(server_.mailDir() + QStringLiteral("/cur/17000000%1.M1P1Q%1.server:2,S").arg(i),
                  QStringLiteral("From: Ann <ann@example.org>\r\nSubject: %1\r\n"
                                 "Message-ID: <m%2@example.org>\r\n"
                                 "Date: Mon, 1 Jan 2018 10:00:00 +0000\r\n\r\nbody\r\n")
                      .arg(subject)
                      .arg(i)
                      .toUtf8());
    }
    for (const char* sub : {"/.Trash/cur", "/.Trash/new", "/.Trash/tmp", "/new", "/tmp"}) {
        QDir().mkpath(server_.mailDir() + QLatin1String(sub));
    }
    QString why;
    ASSERT_TRUE(server_.start(why)) << why.toStdString();
    QDir().mkpath(local());
    QString said;
    ASSERT_EQ(mbsync(said), 0) << said.toStdString();
    ASSERT_EQ(QDir(local() + QStringLiteral("/cur")).entryList(QDir::Files).size(), 6);

    // Three messages to Deleted Items, as a cleaning run moves them.
    {
        outlook::StorePtr store = openMaildirStore(local());
        auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
        store->beginChanges();
        QStringList ids;
        for (long i = 1; i <= inbox->Count(); ++i) {
            const QString subject = inbox->Item(i)->Subject();
            if (subject.endsWith(QLatin1Char('2')) || subject.endsWith(QLatin1Char('4')) ||
                subject.endsWith(QLatin1Char('5'))) {
                ids << inbox->Item(i)->EntryID();
            }
        }
        ASSERT_EQ(ids.size(), 3);
        for (const QString& id : ids) {
            store->GetItemFromID(id)->Delete();
        }
        store->endChanges();
    }

    ASSERT_EQ(mbsync(said), 0) << said.toStdString();
    const std::multiset<QString> moved{all[1], all[3], all[4]};
    const std::multiset<QString> kept{all[0], all[2], all[5]};
    EXPECT_EQ(subjectsIn(server_.mailDir() + QStringLiteral("/.Trash")), moved);
    EXPECT_EQ(subjectsIn(server_.mailDir()), kept);
    // A later run finds nothing to do and duplicates nothing, on either side.
    ASSERT_EQ(mbsync(said), 0) << said.toStdString();
    EXPECT_EQ(subjectsIn(server_.mailDir() + QStringLiteral("/.Trash")), moved);
    EXPECT_EQ(subjectsIn(server_.mailDir()), kept);
    EXPECT_EQ(subjectsIn(local() + QStringLiteral("/.Trash")), moved);
    EXPECT_EQ(subjectsIn(local()), kept);
}

}  // namespace
}  // namespace tf::store::maildir
