// The header cache of Maildir trees: a second opening of an unchanged tree reads no message file,
// and a cache that is stale, damaged or cannot be written changes nothing but the time taken.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "outlook/constants.h"
#include "store/local/sqlite_db.h"
#include "store/maildir/header_cache.h"
#include "store/maildir/maildir_store.h"
#include "store/maildir/maildir_writer.h"
#include "tests/support/qt_printers.h"
#include "tests/support/temp_home.h"

namespace tf::store::maildir {
namespace {

using outlook::StorePtr;

class MaildirCacheTest : public ::testing::Test {
  protected:
    void SetUp() override {
        writer_.addFolder(QStringLiteral(".Archive"));
        for (int i = 0; i < 5; ++i) {
            MailToWrite mail;
            mail.subject = QStringLiteral("subject %1").arg(i);
            mail.senderName = QStringLiteral("Sender %1").arg(i);
            mail.date = QDateTime(QDate(2020, 1, 1 + i), QTime(12, 0), Qt::UTC);
            paths_ << writer_.deliver(i % 2 == 0 ? QString() : QStringLiteral(".Archive"),
                                      composeMail(mail), 1600000000 + i,
                                      i == 4 ? std::nullopt : std::optional(QStringLiteral("S")));
        }
    }

    QString root() const { return dir_.filePath(QStringLiteral("Mail")); }
    QString cacheFile() const {
        return HeaderCache::pathFor(
            QFile::encodeName(QFileInfo(root()).canonicalFilePath()).toStdString());
    }

    // Every message's subject, sender and date, folder by folder, from a fresh opening.
    QStringList fields() {
        StorePtr store = openMaildirStore(root());
        QStringList out;
        auto folders = store->TopFolder()->Folders();
        for (long f = 1; f <= folders->Count(); ++f) {
            auto items = folders->Item(f)->Items();
            for (long i = 1; i <= items->Count(); ++i) {
                auto item = items->Item(i);
                out << item->Subject() + QLatin1Char('|') +
                           item->MAPIOBJECT()
                               ->property(outlook::PR_SENDER_NAME)
                               .value_or(QString()) +
                           QLatin1Char('|') + QString::number(item->ReceivedTime(), 'f', 6);
            }
        }
        return out;
    }

    // Rewrites a message file with other headers of the same length, keeping its times.
    void replaceKeepingSizeAndTime(const QString& path, const QByteArray& from,
                                   const QByteArray& to) {
        struct stat st {};
        ASSERT_EQ(::stat(QFile::encodeName(path).constData(), &st), 0);
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        QByteArray raw = file.readAll();
        ASSERT_EQ(from.size(), to.size());
        raw.replace(from, to);
        file.seek(0);
        file.write(raw);
        file.close();
        const timespec times[2] = {st.st_atim, st.st_mtim};
        ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0), 0);
    }

    // Runs one statement on the cache file, as a damaged or an old cache would have it.
    void onCache(const char* sql) {
        local::Database db(cacheFile(), local::Database::Mode::ReadWrite);
        db.exec(sql);
    }
    qint64 cacheChunks() {
        local::Database db(cacheFile(), local::Database::Mode::ReadWrite);
        auto count = db.prepare("SELECT count(*) FROM chunks");
        return count.step() ? count.int64(0) : -1;
    }

    QTemporaryDir dir_;
    MaildirWriter writer_{root()};
    QStringList paths_;
    testing::TempHome home_;  // the header cache goes there
};

TEST_F(MaildirCacheTest, ASecondOpeningOfAnUnchangedTreeReadsNoMessageFile) {
    const QStringList first = fields();
    ASSERT_EQ(first.size(), 5);
    EXPECT_TRUE(QFileInfo::exists(cacheFile()));
    // Files whose size and time did not change are not read again: their old fields show.
    for (const QString& path : paths_) {
        replaceKeepingSizeAndTime(path, "subject ", "SUBJECT ");
    }
    EXPECT_EQ(fields(), first);
    // A file whose size or time changed is read again.
    {
        struct stat st {};
        ASSERT_EQ(::stat(QFile::encodeName(paths_[0]).constData(), &st), 0);
        QFile file(paths_[0]);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("Subject: rewritten, shorter\n\n");
        file.close();
        const timespec times[2] = {st.st_atim, st.st_mtim};
        ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(paths_[0]).constData(), times, 0), 0);
    }
    ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(paths_[2]).constData(), nullptr, 0), 0);
    const QStringList now = fields();
    ASSERT_EQ(now.size(), 5);
    EXPECT_TRUE(now[0].startsWith(QStringLiteral("rewritten, shorter|"))) << now[0].toStdString();
    EXPECT_TRUE(now[1].startsWith(QStringLiteral("SUBJECT 2|"))) << now[1].toStdString();
    EXPECT_EQ(now.mid(2), first.mid(2));
}

TEST_F(MaildirCacheTest, ADamagedOrUnwritableCacheGivesTheSameFields) {
    const QStringList first = fields();
    {
        QFile damaged(cacheFile());
        ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
        damaged.write(QByteArray(8192, '\x5a'));
    }
    QFile::remove(cacheFile() + QStringLiteral("-wal"));
    QFile::remove(cacheFile() + QStringLiteral("-shm"));
    EXPECT_EQ(fields(), first);
    EXPECT_EQ(fields(), first);  // from the cache made anew
    // No cache folder can be made: the files are read every time.
    QFile blocker(dir_.filePath(QStringLiteral("blocked")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(blocker.fileName()));
    EXPECT_EQ(fields(), first);
}

TEST_F(MaildirCacheTest, ADamagedChunkOrACacheOfAnOlderLayoutGivesTheSameFields) {
    const QStringList first = fields();
    ASSERT_GT(cacheChunks(), 0);
    // Lengths that run past the end of the chunk, and a chunk cut short.
    onCache("UPDATE chunks SET rows = x'ffffffff' || rows");
    EXPECT_EQ(fields(), first);
    // The damaged chunks were replaced by rows read from the files: the cache serves again.
    for (const QString& path : paths_) {
        replaceKeepingSizeAndTime(path, "subject ", "SUBJECT ");
    }
    EXPECT_EQ(fields(), first);
    onCache("UPDATE chunks SET rows = substr(rows, 1, length(rows) - 3)");
    const QStringList fromFiles = fields();
    ASSERT_EQ(fromFiles.size(), first.size());
    EXPECT_TRUE(fromFiles[0].startsWith(QStringLiteral("SUBJECT "))) << fromFiles[0].toStdString();
    // A cache written by an earlier version, with another table, is started afresh.
    onCache("DROP TABLE chunks");
    onCache("CREATE TABLE messages (folder TEXT, stem TEXT)");
    onCache("PRAGMA user_version=1");
    EXPECT_EQ(fields(), fromFiles);
    EXPECT_GT(cacheChunks(), 0);
}

TEST_F(MaildirCacheTest, MessagesReadAgainAndAgainDoNotMakeTheCacheGrowWithoutEnd) {
    const QStringList first = fields();
    const qint64 chunksAtFirst = cacheChunks();
    // Every opening finds every file touched, so every message is read again and kept anew.
    for (int round = 0; round < 40; ++round) {
        for (const QString& path : paths_) {
            const timespec times[2] = {{0, UTIME_OMIT}, {1700000000 + round, 0}};
            ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0), 0);
        }
        ASSERT_EQ(fields(), first) << "round " << round;
    }
    // Each opening adds a chunk per folder; now and then a folder's chunks are written afresh.
    EXPECT_LE(cacheChunks(), chunksAtFirst + 2 * 17);
    // The rows written afresh are the newest: an unchanged tree is still read from the cache.
    for (const QString& path : paths_) {
        replaceKeepingSizeAndTime(path, "subject ", "SUBJECT ");
    }
    EXPECT_EQ(fields(), first);
}

}  // namespace
}  // namespace tf::store::maildir
