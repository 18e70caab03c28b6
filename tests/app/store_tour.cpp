// Pictures of a person's first day with their own mail: Tidyfold started as its desktop entry
// starts it (no arguments), the Open Store window in each kind, a Maildir opened, a folder of it
// cleaned, and Quit. Started again, the Maildir is open; scripts/screenshots-stores.sh pictures
// that start with the program itself, and with --again in its frame.
//   tidyfold-store-tour --maildir DIR --out DIR [--again]
// It answers every question itself. Its settings and stores are those of the HOME it is given.
#include <QAction>
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QTest>
#include <QTimer>
#include <QTreeView>
#include <functional>

#include "app/widgets/main_window.h"
#include "app/widgets/message_window.h"
#include "app/widgets/open_store_dialog.h"
#include "store/imap/imap_server_backend.h"
#include "store/maildir/maildir_writer.h"
#include "store/store_locator.h"
#include "store/store_opener.h"
#include "tests/support/tour_answerer.h"
#include "tests/support/tree_view_clicks.h"

namespace {

QString outDir;

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

// A Maildir as a mail program leaves it: an Inbox, a newsletter folder, a Trash.
void makeMaildir(const QString& root) {
    tf::store::maildir::MaildirWriter writer(root);
    writer.addFolder(QStringLiteral(".Trash"));
    writer.addFolder(QStringLiteral(".Newsletters"));
    writer.addFolder(QStringLiteral(".Sent"));
    for (int i = 0; i < 40; ++i) {
        tf::store::maildir::MailToWrite mail;
        mail.subject = QStringLiteral("Weekly digest %1").arg(i + 1);
        mail.senderName = QStringLiteral("News Desk");
        mail.date = QDateTime::currentDateTime().addDays(-7 * (i + 1));
        writer.deliver(QStringLiteral(".Newsletters"), tf::store::maildir::composeMail(mail), i + 1,
                       QStringLiteral("S"));
    }
    for (int i = 0; i < 12; ++i) {
        tf::store::maildir::MailToWrite mail;
        mail.subject = QStringLiteral("Lunch on Friday? (%1)").arg(i + 1);
        mail.senderName = QStringLiteral("Ann Example");
        mail.date = QDateTime::currentDateTime().addDays(-i);
        writer.deliver(QString(), tf::store::maildir::composeMail(mail), 100 + i,
                       i % 3 == 0 ? std::optional<QString>() : QStringLiteral("S"));
    }
}

// Runs steps on the Open Store window once it is up.
void withOpenStoreWindow(std::function<void(tf::frmOpenStore&)> steps) {
    auto* timer = new QTimer;
    timer->setInterval(50);
    QObject::connect(timer, &QTimer::timeout, [timer, steps = std::move(steps)] {
        if (auto* dialog = qobject_cast<tf::frmOpenStore*>(QApplication::activeModalWidget())) {
            timer->stop();
            timer->deleteLater();
            steps(*dialog);
        }
    });
    timer->start();
}

void typeInto(QLineEdit* edit, const QString& text) {
    edit->setFocus();
    edit->clear();
    QTest::keyClicks(edit, text);
}

}  // namespace

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tidyfold"));
    QCommandLineParser parser;
    const QCommandLineOption maildirOption(QStringLiteral("maildir"), QStringLiteral("folder"),
                                           QStringLiteral("dir"));
    const QCommandLineOption outOption(QStringLiteral("out"), QStringLiteral("folder"),
                                       QStringLiteral("dir"));
    // The next day: only a picture of the window as it opens, with its frame and title.
    const QCommandLineOption againOption(QStringLiteral("again"), QStringLiteral("next start"));
    parser.addOptions({maildirOption, outOption, againOption});
    parser.process(app);
    const QString maildir = parser.value(maildirOption);
    outDir = parser.value(outOption);
    QDir().mkpath(outDir);
    const bool again = parser.isSet(againOption);
    if (!again) {
        makeMaildir(maildir);
    }
    QDir(maildir).mkpath(QStringLiteral("../NotMail/cur"));
    const QString notMaildir = QDir(maildir).absoluteFilePath(QStringLiteral("../NotMail"));
    // Yes or OK to every box, after a picture of those worth seeing.
    tf::testing::TourAnswerer answerer([](const QString& text) {
        if (text.contains(QStringLiteral("were moved"))) {
            shot(QStringLiteral("stores-6-cleaned"));
        } else if (text.startsWith(QStringLiteral("Quit"))) {
            shot(QStringLiteral("stores-7-quit"));
        }
    });
    // Put together as main() does without arguments.
    tf::store::LocatorStoreOpener opener(tf::store::defaultStorePath());
    tf::RememberedStores remembered;
    tf::OpenStores stores(opener, remembered, {});
    tf::store::imap::ImapServerBackend server;
    tf::frmMessageBox messageWindow;
    messageWindow.show();
    tf::frmRemoveItems window(messageWindow, stores, server);
    if (!window.load()) {
        return 1;
    }
    if (again) {
        QTest::qWait(1500);  // the window manager frames a window that opened at once
        shot(QStringLiteral("stores-9-started-again-framed"));
        window.close();
        return 0;
    }
    shot(QStringLiteral("stores-1-first-start"));

    // The Open Store window: a store file, a folder that is no Maildir, the server kind, and
    // the Maildir that is opened.
    withOpenStoreWindow([&](tf::frmOpenStore& dialog) {
        dialog.setKind(tf::frmOpenStore::Kind::StoreFile);
        typeInto(dialog.findChild<QLineEdit*>(QStringLiteral("txtStoreFile")),
                 QDir::home().filePath(QStringLiteral("Archive/2019.tidystore")));
        shot(QStringLiteral("stores-2-dialog-store-file"));
        dialog.setKind(tf::frmOpenStore::Kind::Server);
        auto* option = dialog.findChild<QRadioButton*>(QStringLiteral("optServer"));
        QTest::mouseMove(option);
        QTest::qWait(1200);  // the kind's tooltip
        QHelpEvent tip(QEvent::ToolTip, option->rect().center(),
                       option->mapToGlobal(option->rect().center()));
        QApplication::sendEvent(option, &tip);
        shot(QStringLiteral("stores-3-dialog-server"));
        dialog.setKind(tf::frmOpenStore::Kind::Maildir);
        auto* folder = dialog.findChild<QLineEdit*>(QStringLiteral("txtMaildirFolder"));
        typeInto(folder, notMaildir);
        shot(QStringLiteral("stores-4-dialog-not-a-maildir"));
        typeInto(folder, maildir);
        shot(QStringLiteral("stores-4b-dialog-maildir"));
        QTest::keyClick(folder, Qt::Key_Return);
    });
    window.findChild<QAction*>(QStringLiteral("mnuOpenStore"))->trigger();
    QTest::qWait(500);
    shot(QStringLiteral("stores-5-maildir-open"));

    // Clean: the newsletters go to Deleted Items, every question answered Yes.
    QTreeView* tree = window.folderView();
    const QModelIndex newsletters =
        tf::testing::folderIndex(*tree->model(), QStringLiteral("Newsletters"));
    if (!newsletters.isValid()) {
        qWarning("no Newsletters folder in the tree");
        return 1;
    }
    tf::testing::tickInView(*tree, newsletters);
    QTest::qWait(300);
    window.findChild<QPushButton*>(QStringLiteral("cmdRun"))->click();
    QTest::qWait(300);
    window.findChild<QAction*>(QStringLiteral("mnuQuit"))->trigger();
    return 0;
}
