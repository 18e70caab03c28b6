// Tidyfold beside a real mbsync that keeps the tree in step with a real Dovecot: messages moved to
// Deleted Items arrive in the server's Trash, once, whatever mbsync expunges.
#include <gtest/gtest.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <set>

#include "outlook/constants.h"
#include "store/maildir/maildir_store.h"
#include "store/maildir/message_headers.h"
#include "tests/support/dovecot_server.h"
#include "tests/support/qt_printers.h"
#include "tests/support/temp_home.h"

namespace tf::store::maildir {
namespace {

void writeFile(const QString& path, const QByteArray& text) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(text);
}

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
    void SetUp() override { ASSERT_TRUE(dir_.isValid()); }

    // One mbsync run over every folder with the given settings; its exit code and what it said.
    int mbsync(QString& said) {
        const QString rc = dir_.filePath(QStringLiteral("mbsyncrc"));
        writeFile(rc, QStringLiteral("IMAPAccount server\nHost 127.0.0.1\nPort %1\nUser ann\n"
                                     "Pass secret\nSSLType None\nAuthMechs LOGIN\n\n"
                                     "IMAPStore far\nAccount server\n\n"
                                     "MaildirStore near\nInbox %2/\nSubFolders Maildir++\n\n"
                                     "Channel mail\nFar :far:\nNear :near:\nPatterns *\n"
                                     "Create Both\nExpunge Both\nSyncState *\n")
                          .arg(server_.imapPort())
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
    testing::DovecotServer server_{dir_.path()};
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
    testing::DovecotServer::giveToMailUser(server_.mailDir());
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
