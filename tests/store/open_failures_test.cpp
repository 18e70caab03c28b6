// Bad store files are refused with a clear message that names the file; nothing crashes and the
// file is left as it was.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <random>

#include "common/failure.h"
#include "outlook/object_model.h"
#include "store/local/local_store.h"
#include "store/local/sample_content.h"
#include "store/local/sqlite_db.h"

namespace tf::store::local {
namespace {

class OpenFailures : public ::testing::Test {
  protected:
    QString file(const QString& name) const { return dir_.filePath(name); }

    QString sampleStore(const QString& name, qint64 items = 2000) const {
        SampleOptions options;
        options.items = items;
        writeSampleStoreFile(file(name), options);
        return file(name);
    }

    static void write(const QString& path, const QByteArray& bytes) {
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes);
    }

    static QByteArray read(const QString& path) {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }

    // The failure's description when opening fails; fails the test when the file opens.
    static QString openFailure(const QString& path) {
        try {
            openLocalStores(path);
        } catch (const Failure& failure) {
            EXPECT_TRUE(failure.description().contains(QDir::toNativeSeparators(path)))
                << failure.description().toStdString();
            return failure.description();
        }
        ADD_FAILURE() << "opened " << path.toStdString();
        return {};
    }

    QTemporaryDir dir_;
};

TEST_F(OpenFailures, MissingEmptyAndForeignFilesAreNotStores) {
    EXPECT_TRUE(openFailure(file(QStringLiteral("nowhere.tfs"))).contains(u"does not exist"));
    EXPECT_FALSE(QFile::exists(file(QStringLiteral("nowhere.tfs"))));

    const QString empty = file(QStringLiteral("empty.tfs"));
    write(empty, {});
    EXPECT_TRUE(openFailure(empty).contains(u"not a Tidyfold store file"));
    EXPECT_EQ(QFileInfo(empty).size(), 0);

    const QString noise = file(QStringLiteral("noise.tfs"));
    std::mt19937 random(42);
    QByteArray bytes(65536, '\0');
    for (char& c : bytes) {
        c = static_cast<char>(random());
    }
    write(noise, bytes);
    EXPECT_TRUE(openFailure(noise).contains(u"not a Tidyfold store file"));
    EXPECT_EQ(read(noise), bytes);

    const QString other = file(QStringLiteral("other.sqlite"));
    {
        Database db(other, Database::Mode::Create);
        db.exec(
            "CREATE TABLE notes(id INTEGER PRIMARY KEY, text TEXT); "
            "INSERT INTO notes(text) VALUES ('hello')");
    }
    EXPECT_TRUE(openFailure(other).contains(u"not a Tidyfold store file"));

    EXPECT_TRUE(openFailure(dir_.path()).contains(u"is a folder"));
}

TEST_F(OpenFailures, DamagedStoresAreRefusedOrFailCleanly) {
    const QString truncated = sampleStore(QStringLiteral("truncated.tfs"));
    QByteArray bytes = read(truncated);
    ASSERT_GT(bytes.size(), 8192);
    write(truncated, bytes.left(bytes.size() / 2));
    EXPECT_TRUE(openFailure(truncated).contains(u"damaged"));

    // Garbage over the middle of the file: either refused or a Failure while reading, never a
    // crash.
    const QString scribbled = sampleStore(QStringLiteral("scribbled.tfs"));
    bytes = read(scribbled);
    std::mt19937 random(7);
    for (qsizetype i = bytes.size() / 3; i < bytes.size() * 2 / 3; ++i) {
        bytes[i] = static_cast<char>(random());
    }
    write(scribbled, bytes);
    bool failed = false;
    try {
        for (const auto& store : openLocalStores(scribbled)) {
            std::function<void(const outlook::FolderPtr&)> readAll =
                [&readAll](const outlook::FolderPtr& folder) {
                    auto items = folder->Items();
                    for (long i = 1; i <= items->Count(); ++i) {
                        items->Item(i)->Subject();
                    }
                    auto folders = folder->Folders();
                    for (long i = 1; i <= folders->Count(); ++i) {
                        readAll(folders->Item(i));
                    }
                };
            readAll(store->TopFolder());
        }
    } catch (const Failure& failure) {
        failed = true;
        EXPECT_TRUE(failure.description().contains(QDir::toNativeSeparators(scribbled)));
    }
    EXPECT_TRUE(failed);
    EXPECT_FALSE(checkStoreFile(scribbled).isEmpty());
}

TEST_F(OpenFailures, ReadOnlyFilesAreRefusedUntouched) {
    const QString path = sampleStore(QStringLiteral("locked.tfs"), 100);
    const QByteArray before = read(path);
    ASSERT_TRUE(QFile::setPermissions(path, QFile::ReadOwner | QFile::ReadUser));
    EXPECT_TRUE(openFailure(path).contains(u"is read-only"));
    EXPECT_EQ(read(path), before);
    EXPECT_FALSE(QFile::exists(path + QStringLiteral("-wal")));
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    EXPECT_EQ(openLocalStores(path).size(), 1u);
}

TEST_F(OpenFailures, NewerStoreFormatIsRefused) {
    const QString path = sampleStore(QStringLiteral("future.tfs"), 10);
    {
        Database db(path, Database::Mode::ReadWrite);
        db.exec("UPDATE meta SET value = '99' WHERE key = 'schema_version'");
    }
    EXPECT_TRUE(openFailure(path).contains(u"newer version"));
    {
        Database db(path, Database::Mode::ReadWrite);
        db.exec("DELETE FROM meta WHERE key = 'format'");
    }
    EXPECT_TRUE(openFailure(path).contains(u"not a Tidyfold store file"));
}

}  // namespace
}  // namespace tf::store::local
