// The tidyfold-mkstore command: arguments, refusal to overwrite, and the file it writes.
#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <functional>

#include "store/local/local_store.h"

namespace tf::store::local {
namespace {

struct ToolRun {
    int code;
    QString errors;
};

ToolRun mkstore(const QStringList& arguments) {
    QProcess process;
    process.start(QStringLiteral(TF_MKSTORE), arguments);
    EXPECT_TRUE(process.waitForFinished(60000));
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardError())};
}

long itemCount(const QString& path) {
    long total = 0;
    for (const auto& store : openLocalStores(path)) {
        std::function<void(const outlook::FolderPtr&)> add = [&](const outlook::FolderPtr& f) {
            total += f->Items()->Count();
            auto folders = f->Folders();
            for (long i = 1; i <= folders->Count(); ++i) {
                add(folders->Item(i));
            }
        };
        add(store->TopFolder());
    }
    return total;
}

TEST(Mkstore, WritesRefusesToOverwriteAndReportsBadArguments) {
    QTemporaryDir dir;
    const QString out = dir.filePath(QStringLiteral("demo.tfs"));
    EXPECT_EQ(mkstore({QStringLiteral("--out"), out, QStringLiteral("--items"),
                       QStringLiteral("50"), QStringLiteral("--stores"), QStringLiteral("2")})
                  .code,
              0);
    EXPECT_EQ(itemCount(out), 50);
    EXPECT_EQ(openLocalStores(out).size(), 2u);

    const ToolRun again = mkstore({QStringLiteral("--out"), out});
    EXPECT_EQ(again.code, 2);
    EXPECT_TRUE(again.errors.contains(QStringLiteral("--force"))) << again.errors.toStdString();
    EXPECT_EQ(itemCount(out), 50);

    EXPECT_EQ(mkstore({QStringLiteral("--out"), out, QStringLiteral("--force")}).code, 0);
    EXPECT_EQ(itemCount(out), 600);

    const ToolRun badItems = mkstore({QStringLiteral("--out"), dir.filePath(QStringLiteral("x")),
                                      QStringLiteral("--items"), QStringLiteral("many")});
    EXPECT_EQ(badItems.code, 2);
    EXPECT_TRUE(badItems.errors.contains(QStringLiteral("--items")));
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("x"))));

    const ToolRun noOut = mkstore({});
    EXPECT_EQ(noOut.code, 2);
    EXPECT_TRUE(noOut.errors.contains(QStringLiteral("--out")));
    EXPECT_EQ(
        mkstore({QStringLiteral("--out"), out, QStringLiteral("--stores"), QStringLiteral("0")})
            .code,
        2);
}

}  // namespace
}  // namespace tf::store::local
