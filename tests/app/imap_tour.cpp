// A mailbox on a server, cleaned in the window: a private Dovecot with TLS (a certificate from a
// CA made here, trusted through the account's CA file) holds old and new mail; the program
// itself is started on it with --store and pictured; then the window, put together as main()
// does for --store, marks the messages older than a date in two folders and runs; a separate
// IMAP session checks that exactly the old ones lie in Deleted Items; last the program is
// started again and pictured. scripts/screenshots-imap.sh runs it on a virtual display with a
// window manager.
//   tidyfold-imap-tour --program PATH_OF_TIDYFOLD --out DIR
// Exits 0 when the server agrees with the run, 1 otherwise. It answers every question itself;
// its settings are those of the HOME it is given.
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QCommandLineParser>
#include <QDateEdit>
#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QScreen>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeView>
#include <QUrl>

#include "app/widgets/main_window.h"
#include "app/widgets/message_window.h"
#include "app/widgets/qt_yield.h"
#include "settings/remembered_stores.h"
#include "store/imap/credentials.h"
#include "store/imap/imap_server_backend.h"
#include "store/store_locator.h"
#include "store/store_opener.h"
#include "tests/support/dovecot_server.h"
#include "tests/support/imap_test_client.h"
#include "tests/support/test_certificates.h"
#include "tests/support/tour_answerer.h"
#include "tests/support/tree_view_clicks.h"

namespace {

QString outDir;
const QDate kCutoff(2021, 1, 1);

void shot(const QString& name) {
    QApplication::processEvents();
    QTest::qWait(400);  // lets the window manager draw its frames
    const QPixmap picture = QApplication::primaryScreen()->grabWindow(0);
    const QString file = QDir(outDir).filePath(name + QStringLiteral(".png"));
    if (!picture.save(file)) {
        qWarning("could not save %s", qPrintable(file));
    } else {
        qInfo("saved %s", qPrintable(file));
    }
}

// What the server holds before the run, by Message-ID: old ones (before the cut-off) and new
// ones in the Inbox and a newsletter folder, and a project folder nobody ticks.
struct Mail {
    QStringList oldIds, newIds, untouchedIds;
};

Mail fill(quint16 port) {
    tf::testing::ImapTestClient client(port);
    client.create("Newsletters");
    client.create("Projects");
    Mail mail;
    const QDateTime now = QDateTime::currentDateTime();
    const auto put = [&](const QByteArray& box, const QString& subject, const QString& sender,
                         const QDateTime& when, bool seen) {
        const QString id =
            QStringLiteral("<%1-%2@example.org>")
                .arg(QString::fromLatin1(box))
                .arg(mail.oldIds.size() + mail.newIds.size() + mail.untouchedIds.size() + 1);
        client.append(box, tf::testing::testMail(subject, sender, when, id), seen, when);
        if (box == "Projects") {
            mail.untouchedIds << id;
        } else {
            (when.date() < kCutoff ? mail.oldIds : mail.newIds) << id;
        }
    };
    for (int i = 0; i < 24; ++i) {
        put("Newsletters", QStringLiteral("Weekly digest %1").arg(i + 1),
            QStringLiteral("News Desk"), QDateTime(QDate(2019, 1, 7), QTime(8, 0)).addDays(7 * i),
            true);
    }
    for (int i = 0; i < 4; ++i) {
        put("Newsletters", QStringLiteral("Weekly digest, new series %1").arg(i + 1),
            QStringLiteral("News Desk"), now.addDays(-7 * (i + 1)), i > 0);
    }
    for (int i = 0; i < 9; ++i) {
        put("INBOX", QStringLiteral("Invoice %1 for 2018").arg(i + 1),
            QStringLiteral("Billing Office"),
            QDateTime(QDate(2018, 3, 1), QTime(9, 30)).addMonths(i), true);
    }
    for (int i = 0; i < 6; ++i) {
        put("INBOX", QStringLiteral("Lunch on Friday? (%1)").arg(i + 1),
            QStringLiteral("Ann Example"), now.addDays(-i), i % 3 != 0);
    }
    for (int i = 0; i < 5; ++i) {
        put("Projects", QStringLiteral("Plan, draft %1").arg(i + 1), QStringLiteral("Bo Berg"),
            QDateTime(QDate(2017, 5, 2), QTime(14, 0)).addDays(i), true);
    }
    return mail;
}

// Starts the program itself with --store and --screenshot, as a person would from a terminal.
bool pictureOfTheProgram(const QString& program, const QString& location, const QString& name) {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(program, {QStringLiteral("--store"), location, QStringLiteral("--screenshot"),
                            QDir(outDir).filePath(name + QStringLiteral(".png"))});
    if (!process.waitForFinished(120000) || process.exitCode() != 0) {
        qWarning("tidyfold --screenshot ended with %d", process.exitCode());
        return false;
    }
    qInfo("saved %s.png (the program itself)", qPrintable(name));
    return true;
}

// Clicks the folder's caption, as a person does to see its messages.
void showFolder(QTreeView& tree, const QString& name) {
    const QModelIndex index = tf::testing::folderIndex(*tree.model(), name);
    QTest::mouseClick(tree.viewport(), Qt::LeftButton, {}, tree.visualRect(index).center());
    QTest::qWait(300);
}

bool sameIds(const QString& what, QStringList found, QStringList expected) {
    found.sort();
    expected.sort();
    if (found == expected) {
        qInfo("%s: the %lld expected messages, each once", qPrintable(what),
              static_cast<long long>(found.size()));
        return true;
    }
    qWarning("%s: found %s, expected %s", qPrintable(what),
             qPrintable(found.join(QLatin1Char(' '))), qPrintable(expected.join(QLatin1Char(' '))));
    return false;
}

}  // namespace

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tidyfold"));
    QCommandLineParser parser;
    const QCommandLineOption programOption(
        QStringLiteral("program"), QStringLiteral("the tidyfold program"), QStringLiteral("path"));
    const QCommandLineOption outOption(QStringLiteral("out"), QStringLiteral("folder"),
                                       QStringLiteral("dir"));
    parser.addOptions({programOption, outOption});
    parser.process(app);
    outDir = parser.value(outOption);
    QDir().mkpath(outDir);

    // The server, its certificate from a CA of our own, and the mail.
    QTemporaryDir work;
    tf::testing::TestCertificateAuthority ca(work.path());
    const tf::testing::PemFiles files =
        ca.issueServer(QStringLiteral("127.0.0.1"), QStringLiteral("server"));
    tf::testing::DovecotOptions options;
    options.certFile = files.certificate;
    options.keyFile = files.key;
    tf::testing::DovecotServer dovecot(work.filePath(QStringLiteral("dovecot")), options);
    QString why;
    if (!dovecot.start(why)) {
        qWarning("the test server did not start: %s", qPrintable(why));
        return 1;
    }
    const Mail mail = fill(dovecot.imapPort());

    // The account trusts the CA through its CA file; the password comes from a command, as a
    // password manager gives it, so it is on no command line.
    {
        QSettings accounts(tf::store::imap::accountSettingsFile(), QSettings::IniFormat);
        accounts.setValue(QStringLiteral("ann@127.0.0.1/cafile"), ca.caFile());
    }
    const QString passwordScript = work.filePath(QStringLiteral("password.sh"));
    {
        QFile script(passwordScript);
        if (!script.open(QIODevice::WriteOnly)) {
            return 1;
        }
        script.write("#!/bin/sh\nprintf 'secret\\n'\n");
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    const QString location = QStringLiteral("imaps://ann@127.0.0.1:%1?password-command=%2")
                                 .arg(dovecot.imapsPort())
                                 .arg(QString::fromLatin1(QUrl::toPercentEncoding(passwordScript)));

    const QString program = parser.value(programOption);
    bool agreed = pictureOfTheProgram(program, location, QStringLiteral("imap-1-program-before"));

    {
        // Put together as main() does for --store.
        // Yes or OK to every box, after a picture of the one that reports the run.
        tf::testing::TourAnswerer answerer([](const QString& text) {
            qInfo("answering: %s", qPrintable(text.simplified()));
            if (text.contains(QStringLiteral("were moved"))) {
                shot(QStringLiteral("imap-3-run-done"));
            }
        });
        tf::QtYield serverYield;
        tf::store::LocatorStoreOpener opener(tf::store::defaultStorePath(),
                                             {nullptr, nullptr, [&] { serverYield.yield(); }});
        tf::RememberedStores remembered;
        tf::OpenStores stores(opener, remembered, {location});
        tf::store::imap::ImapServerBackend server;
        tf::frmMessageBox messageWindow;
        messageWindow.show();
        tf::frmRemoveItems window(messageWindow, stores, server);
        if (!window.load()) {
            qWarning("the window did not load the server's mailbox");
            return 1;
        }
        QTest::qWait(500);

        // Older than the cut-off, in the Inbox and the newsletters.
        auto* olderThan = window.findChild<QCheckBox*>(QStringLiteral("chkSelectDate"));
        auto* cutoff = window.findChild<QDateEdit*>(QStringLiteral("dtpCutoffDate"));
        if (olderThan == nullptr || cutoff == nullptr) {
            qWarning("no date filter in the window");
            return 1;
        }
        cutoff->setDate(kCutoff);
        QTest::mouseClick(olderThan, Qt::LeftButton, {}, QPoint(8, olderThan->height() / 2));
        QTreeView* tree = window.folderView();
        for (const QString& name : {QStringLiteral("Inbox"), QStringLiteral("Newsletters")}) {
            const QModelIndex index = tf::testing::folderIndex(*tree->model(), name);
            if (!index.isValid()) {
                qWarning("no %s folder in the tree", qPrintable(name));
                return 1;
            }
            tf::testing::tickInView(*tree, index);
            QTest::qWait(200);
        }
        showFolder(*tree, QStringLiteral("Inbox"));
        shot(QStringLiteral("imap-2-marked"));
        window.findChild<QPushButton*>(QStringLiteral("cmdRun"))->click();
        QTest::qWait(500);
        showFolder(*tree, QStringLiteral("Deleted Items"));
        shot(QStringLiteral("imap-4-deleted-items"));
        window.close();
    }

    // A separate session: exactly the old ones in Trash, the rest where they were.
    tf::testing::ImapTestClient check(dovecot.imapPort());
    agreed =
        sameIds(QStringLiteral("Deleted Items"), check.messageIds("Trash"), mail.oldIds) && agreed;
    agreed = sameIds(QStringLiteral("Inbox and Newsletters"),
                     check.messageIds("INBOX") + check.messageIds("Newsletters"), mail.newIds) &&
             agreed;
    agreed = sameIds(QStringLiteral("Projects"), check.messageIds("Projects"), mail.untouchedIds) &&
             agreed;

    agreed =
        pictureOfTheProgram(program, location, QStringLiteral("imap-5-program-after")) && agreed;
    dovecot.stop();
    qInfo(agreed ? "the server agrees with the run" : "the server does NOT agree with the run");
    return agreed ? 0 : 1;
}
