#include "bench/bench_mail.h"

#include <QDateTime>
#include <optional>

#include "store/maildir/maildir_writer.h"

namespace tf::bench {

std::vector<QString> benchFolderDirs() {
    std::vector<QString> dirs{QString()};
    for (int i = 1; i < 20; ++i) {
        dirs.push_back(QStringLiteral(".Folder%1").arg(i, 2, 10, QLatin1Char('0')));
    }
    return dirs;
}

void writeBenchMaildir(const QString& root, qint64 messages) {
    store::maildir::MaildirWriter writer(root);
    writer.addFolder(QStringLiteral(".Trash"));
    const std::vector<QString> dirs = benchFolderDirs();
    for (const QString& dir : dirs) {
        writer.addFolder(dir);
    }
    const QString body =
        QStringLiteral("Hello,\r\n\r\nthe figures for this week are attached. ").repeated(12);
    const QDateTime start(QDate(2015, 1, 1), QTime(8, 0));
    for (qint64 i = 0; i < messages; ++i) {
        store::maildir::MailToWrite mail;
        mail.subject = QStringLiteral("Weekly report %1 for the team").arg(i);
        mail.senderName = i % 7 == 0 ? QStringLiteral("Zoë Lefèvre") : QStringLiteral("Ann Jensen");
        mail.date = start.addSecs(i * 600);
        mail.messageId = QStringLiteral("bench-%1@example.org").arg(i);
        mail.body = body;
        const std::optional<QString> flags =
            i % 3 == 0 ? std::optional<QString>(QStringLiteral("S")) : std::nullopt;
        writer.deliver(dirs[static_cast<std::size_t>(i) % dirs.size()],
                       store::maildir::composeMail(mail), 1420000000 + i, flags);
    }
}

}  // namespace tf::bench
