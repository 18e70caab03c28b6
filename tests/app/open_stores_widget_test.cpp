#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QCryptographicHash>
#include <QDialogButtonBox>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QRadioButton>
#include <QSettings>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeView>
#include <QWhatsThis>
#include <QWindow>
#include <functional>
#include <memory>

#include "app/widgets/main_window.h"
#include "app/widgets/message_window.h"
#include "app/widgets/open_store_dialog.h"
#include "store/imap/credentials.h"
#include "store/imap/imap_location.h"
#include "store/imap/imap_server_backend.h"
#include "store/local/sample_content.h"
#include "store/maildir/maildir_writer.h"
#include "store/store_locator.h"
#include "store/store_opener.h"
#include "tests/support/box_answerer.h"
#include "tests/support/dovecot_server.h"
#include "tests/support/qt_printers.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_certificates.h"
#include "tests/support/tree_view_clicks.h"

namespace tf::testing {
namespace {

// A server backend that is there, to show that the dialog's server kind follows it alone.
class ReachableServer : public outlook::ServerBackend {
  public:
    bool available() const override { return true; }
    QString unavailableReason() const override { return {}; }
    outlook::ConnectionTest testConnection(const outlook::ServerAccount& account,
                                           const QString& password) override {
        tried = account;
        passwordSeen = password;
        return {false, QStringLiteral("The certificate of %1 has expired.").arg(account.host)};
    }
    QString location(const outlook::ServerAccount& account) const override {
        return QStringLiteral("imaps://%1@%2:%3").arg(account.user, account.host).arg(account.port);
    }
    outlook::ServerAccount tried;
    QString passwordSeen;
};

// Runs action on the Open Store window once it is up, inside its own event loop.
void onOpenStoreWindow(std::function<void(frmOpenStore&)> action) {
    auto* timer = new QTimer;
    timer->setInterval(20);
    QObject::connect(timer, &QTimer::timeout, [timer, action = std::move(action)] {
        if (auto* dialog = qobject_cast<frmOpenStore*>(QApplication::activeModalWidget())) {
            timer->stop();
            timer->deleteLater();
            action(*dialog);
        }
    });
    timer->start();
}

template <typename T>
T* part(const QWidget& dialog, const char* name) {
    auto* widget = dialog.findChild<T*>(QString::fromLatin1(name));
    EXPECT_NE(widget, nullptr) << name;
    return widget;
}

QPushButton* openButton(const frmOpenStore& dialog) {
    return part<QDialogButtonBox>(dialog, "cmdOpenStoreButtons")->button(QDialogButtonBox::Open);
}

QByteArray digest(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly)
               ? QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha256)
               : QByteArray();
}

class OpenStoresWidgets : public ::testing::Test {
  protected:
    void SetUp() override {
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope,
                           home.file(QStringLiteral(".config")));
    }
    void TearDown() override { stop(); }

    QString storeFile(const QString& name) {
        const QString path = home.file(name);
        store::local::SampleOptions options;
        options.items = 60;
        store::local::writeSampleStoreFile(path, options);
        return path;
    }
    QString maildir(const QString& name) {
        store::maildir::MaildirWriter writer(home.file(name));
        writer.addFolder(QStringLiteral(".Archive"));
        for (int i = 0; i < 5; ++i) {
            store::maildir::MailToWrite mail;
            mail.subject = QStringLiteral("Newsletter %1").arg(i);
            writer.deliver(QString(), store::maildir::composeMail(mail), i + 1,
                           QStringLiteral("S"));
        }
        return writer.root();
    }

    // A run of the program as main() puts it together, on the settings the last run left.
    bool start(const QStringList& commandLine = {}) {
        stop();
        stores = std::make_unique<OpenStores>(opener, remembered, commandLine);
        window = std::make_unique<frmRemoveItems>(messageWindow, *stores, *backend);
        return window->load();
    }
    void stop() {
        if (window) {
            window->close();
        }
        window.reset();
        stores.reset();
    }
    // Opens a store through File > Open Store, as a user fills the window in.
    void openThroughWindow(std::function<void(frmOpenStore&)> fill) {
        onOpenStoreWindow([fill = std::move(fill)](frmOpenStore& dialog) {
            fill(dialog);
            if (openButton(dialog)->isEnabled()) {
                QTest::mouseClick(openButton(dialog), Qt::LeftButton);
            } else {
                dialog.reject();
            }
        });
        window->findChild<QAction*>(QStringLiteral("mnuOpenStore"))->trigger();
    }
    void openMaildir(const QString& folder) {
        openThroughWindow([folder](frmOpenStore& dialog) {
            dialog.setKind(frmOpenStore::Kind::Maildir);
            part<QLineEdit>(dialog, "txtMaildirFolder")->setText(folder);
        });
    }
    void openFile(const QString& file) {
        openThroughWindow([file](frmOpenStore& dialog) {
            dialog.setKind(frmOpenStore::Kind::StoreFile);
            QTest::keyClicks(part<QLineEdit>(dialog, "txtStoreFile"), file);
        });
    }
    // The captions of the stores' top folders in the view, without their counts.
    QStringList storesInView() const {
        const QAbstractItemModel* model = window->folderView()->model();
        const auto name = [](const QModelIndex& index) {
            return index.data().toString().section(QStringLiteral(" - ("), 0, 0);
        };
        const QModelIndex root = model->index(0, 0);
        if (!window->logic().treeBuilder.severalStores()) {
            return {name(root)};
        }
        QStringList names;
        for (int row = 0; row < model->rowCount(root); ++row) {
            names << name(model->index(row, 0, root));
        }
        return names;
    }
    QStringList rememberedNames() const {
        QStringList names;
        for (const RememberedStore& store : remembered.load().value_or(QList<RememberedStore>{})) {
            names << store.name;
        }
        return names;
    }
    void selectInView(const QString& folder) {
        const QModelIndex index = folderIndex(*window->folderView()->model(), folder);
        ASSERT_TRUE(index.isValid()) << folder.toStdString();
        window->folderView()->setCurrentIndex(index);
    }

    TempHome home;
    BoxAnswerer answerer;
    // As main() has it: a password typed in Open Store waits here for the sign-in.
    store::imap::TypedPasswords typed{nullptr};
    store::LocatorStoreOpener opener{home.file(QStringLiteral("data/default.tidystore")),
                                     store::ServerCredentials{&typed, nullptr, {}}};
    RememberedStores remembered;
    store::NoServerBackend server;
    outlook::ServerBackend* backend = &server;
    frmMessageBox messageWindow;
    std::unique_ptr<OpenStores> stores;
    std::unique_ptr<frmRemoveItems> window;
};

const QString kLoaded = QStringLiteral("All Folders Loaded");

TEST_F(OpenStoresWidgets, AMaildirOpenedFromTheWindowIsThereAgainAtTheNextStart) {
    const QString mail = maildir(QStringLiteral("Mail"));
    ASSERT_TRUE(start());
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Sample Mailbox - Tidyfold"));
    EXPECT_EQ(storesInView(), QStringList{QStringLiteral("Sample Mailbox")});

    openMaildir(mail);
    EXPECT_EQ(answerer.texts(), (QStringList{kLoaded, kLoaded}));
    EXPECT_EQ(storesInView(), QStringList{QStringLiteral("Mail")});
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Mail - Tidyfold"));

    ASSERT_TRUE(start());
    EXPECT_EQ(storesInView(), QStringList{QStringLiteral("Mail")});
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Mail - Tidyfold"));
}

TEST_F(OpenStoresWidgets, EachKindOpensAndTheTreeFollowsTheRememberedList) {
    const QString file = storeFile(QStringLiteral("a.tidystore"));
    const QString mail = maildir(QStringLiteral("Mail"));
    ASSERT_TRUE(start());
    openFile(file);
    openMaildir(mail);
    window->findChild<QAction*>(QStringLiteral("mnuOpenSampleStore"))->trigger();
    const QStringList all = {QStringLiteral("Personal Folders"), QStringLiteral("Mail"),
                             QStringLiteral("Sample Mailbox")};
    EXPECT_EQ(storesInView(), all);
    EXPECT_EQ(rememberedNames(), all);
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Tidyfold"));

    selectInView(QStringLiteral("Mail"));
    window->findChild<QAction*>(QStringLiteral("mnuCloseStore"))->trigger();
    EXPECT_TRUE(answerer.texts().contains(QStringLiteral(
        "Close the store \"Mail\"?\n\nIts folders leave the tree and it is no longer opened "
        "at start. Nothing in the store is changed.")))
        << answerer.texts().join(QStringLiteral(" | ")).toStdString();
    EXPECT_EQ(storesInView(),
              (QStringList{QStringLiteral("Personal Folders"), QStringLiteral("Sample Mailbox")}));
    EXPECT_EQ(rememberedNames(), storesInView());
    // Closed, not deleted: the Maildir keeps every message.
    EXPECT_EQ(QDir(mail + QStringLiteral("/cur")).entryList(QDir::Files).size(), 5);
}

TEST_F(OpenStoresWidgets, AWrongMaildirFolderIsNamedInTheWindowAndNotOpened) {
    QDir(home.path()).mkpath(QStringLiteral("Half/cur"));
    ASSERT_TRUE(start());
    QString said;
    bool couldOpen = true;
    openThroughWindow([&](frmOpenStore& dialog) {
        dialog.setKind(frmOpenStore::Kind::Maildir);
        part<QLineEdit>(dialog, "txtMaildirFolder")->setText(home.file(QStringLiteral("Half")));
        said = part<QLabel>(dialog, "lblMaildirCheck")->text();
        couldOpen = openButton(dialog)->isEnabled();
    });
    EXPECT_EQ(said, QStringLiteral("%1 is not a Maildir folder: it has no new/ and tmp/. Choose "
                                   "the folder that holds cur/, new/ and tmp/ (often ~/Mail or "
                                   "~/Maildir).")
                        .arg(home.file(QStringLiteral("Half"))));
    EXPECT_FALSE(couldOpen);
    EXPECT_EQ(storesInView(), QStringList{QStringLiteral("Sample Mailbox")});
    EXPECT_FALSE(remembered.load().has_value());
}

TEST_F(OpenStoresWidgets, AFileThatIsNoStoreAndTheSameStoreTwiceAreToldOnce) {
    const QString file = storeFile(QStringLiteral("a.tidystore"));
    const QString copy = home.file(QStringLiteral("copy of a.tidystore"));
    ASSERT_TRUE(QFile::copy(file, copy));
    const QString photo = home.file(QStringLiteral("photo.jpg"));
    QFile junk(photo);
    ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
    junk.write(QByteArray(3000, '\xff'));
    junk.close();
    ASSERT_TRUE(start());
    openFile(file);
    const QStringList before = answerer.texts();

    openFile(photo);
    ASSERT_EQ(answerer.texts().size(), before.size() + 1);
    EXPECT_TRUE(answerer.texts().last().startsWith(
        QStringLiteral("The store \"local:%1\" could not be opened.").arg(photo)));
    openFile(copy);
    openFile(QDir(home.path()).filePath(QStringLiteral("./a.tidystore")));
    EXPECT_EQ(
        answerer.texts().mid(before.size() + 1),
        (QStringList{QStringLiteral("local:%1 is already open as \"Personal Folders\".").arg(copy),
                     QStringLiteral("local:%1 is already open as \"Personal Folders\".")
                         .arg(QDir(home.path()).filePath(QStringLiteral("./a.tidystore")))}));
    EXPECT_EQ(storesInView(), QStringList{QStringLiteral("Personal Folders")});
    EXPECT_EQ(digest(photo),
              QCryptographicHash::hash(QByteArray(3000, '\xff'), QCryptographicHash::Sha256));
}

TEST_F(OpenStoresWidgets, ClosingAStoreWhileAnotherIsMarkedLeavesNoMarkBehind) {
    const QString a = storeFile(QStringLiteral("a.tidystore"));
    const QString mail = maildir(QStringLiteral("Mail"));
    ASSERT_TRUE(start());
    openFile(a);
    openMaildir(mail);
    const QByteArray before = digest(a);
    QAbstractItemModel* model = window->folderView()->model();
    // The Maildir's Archive is marked; its store stays while the store file closes.
    QModelIndex archive = folderIndex(*model, QStringLiteral("Mail"));
    archive = folderIndex(*model, QStringLiteral("Archive"), archive);
    ASSERT_TRUE(archive.isValid());
    window->folderView()->expand(archive.parent());
    tickInView(*window->folderView(), archive);
    ASSERT_EQ(archive.data(Qt::CheckStateRole).toInt(), Qt::Checked);

    selectInView(QStringLiteral("Personal Folders"));
    const QString closedID = window->logic().selectedStoreTop();
    ASSERT_FALSE(closedID.isEmpty());
    window->findChild<QAction*>(QStringLiteral("mnuCloseStore"))->trigger();
    EXPECT_EQ(storesInView(), QStringList{QStringLiteral("Mail")});
    EXPECT_EQ(rememberedNames(), QStringList{QStringLiteral("Mail")});
    // The tree is built anew: no node is marked, so nothing can be cleaned by a stale mark.
    const RemoveItemsLogic& logic = window->logic();
    for (int n = 1; n <= logic.tree.count(); ++n) {
        EXPECT_FALSE(logic.tree.node(n).Checked) << n;
        ASSERT_TRUE(logic.records[n].Folder);
        EXPECT_NE(logic.records[n].Folder->StoreID(), closedID);
    }
    EXPECT_FALSE(window->findChild<QPushButton*>(QStringLiteral("cmdRun"))->isEnabled());
    EXPECT_EQ(digest(a), before);
    EXPECT_EQ(QDir(mail + QStringLiteral("/cur")).entryList(QDir::Files).size(), 5);
}

TEST_F(OpenStoresWidgets, TheServerKindIsShownWholeButNotOfferedWithoutItsBackend) {
    frmOpenStore dialog(server);
    auto* option = part<QRadioButton>(dialog, "optServer");
    EXPECT_FALSE(option->isEnabled());
    EXPECT_EQ(option->toolTip(), server.unavailableReason());
    for (const char* name : {"txtHost", "spnPort", "txtUser", "cboTls", "cboSignIn", "txtPassword",
                             "txtCommand", "cmdTestConnection"}) {
        QWidget* field = part<QWidget>(dialog, name);
        ASSERT_NE(field, nullptr);
        EXPECT_FALSE(field->isEnabled()) << name;
    }
    EXPECT_EQ(part<QComboBox>(dialog, "cboSignIn")->count(), 3);
    // Every control explains itself.
    for (QWidget* control : dialog.findChildren<QWidget*>()) {
        if (control->objectName().startsWith(QLatin1String("txt")) ||
            control->objectName().startsWith(QLatin1String("cbo")) ||
            control->objectName().startsWith(QLatin1String("opt")) ||
            control->objectName().startsWith(QLatin1String("cmd"))) {
            if (control->objectName() == QLatin1String("cmdOpenStoreButtons")) {
                continue;
            }
            EXPECT_FALSE(control->toolTip().isEmpty()) << control->objectName().toStdString();
            EXPECT_FALSE(control->whatsThis().isEmpty()) << control->objectName().toStdString();
        }
    }
}

TEST_F(OpenStoresWidgets, WithABackendTheServerKindTestsTheConnectionAndKeepsNoPassword) {
    ReachableServer reachable;
    frmOpenStore dialog(reachable);
    dialog.show();
    auto* option = part<QRadioButton>(dialog, "optServer");
    ASSERT_TRUE(option->isEnabled());
    QTest::mouseClick(option, Qt::LeftButton, {}, QPoint(6, option->height() / 2));
    EXPECT_FALSE(openButton(dialog)->isEnabled());
    part<QLineEdit>(dialog, "txtHost")->setText(QStringLiteral("imap.example.org"));
    part<QLineEdit>(dialog, "txtUser")->setText(QStringLiteral("ann"));
    part<QComboBox>(dialog, "cboTls")->setCurrentIndex(1);
    EXPECT_EQ(part<QSpinBox>(dialog, "spnPort")->value(), 143);
    part<QLineEdit>(dialog, "txtPassword")->setText(QStringLiteral("s3cret"));
    QTest::mouseClick(part<QPushButton>(dialog, "cmdTestConnection"), Qt::LeftButton);
    EXPECT_EQ(part<QLabel>(dialog, "lblTestResult")->text(),
              QStringLiteral("The certificate of imap.example.org has expired."));
    EXPECT_EQ(reachable.passwordSeen, QStringLiteral("s3cret"));
    EXPECT_EQ(reachable.tried.tls, outlook::ServerAccount::Tls::StartTls);
    EXPECT_TRUE(openButton(dialog)->isEnabled());
    EXPECT_EQ(dialog.location(), QStringLiteral("imaps://ann@imap.example.org:143"));
    EXPECT_FALSE(dialog.location().contains(QStringLiteral("s3cret")));

    // A command instead of a password: the password field is out of use.
    part<QComboBox>(dialog, "cboSignIn")->setCurrentIndex(2);
    EXPECT_FALSE(part<QLineEdit>(dialog, "txtPassword")->isEnabled());
    EXPECT_TRUE(part<QLineEdit>(dialog, "txtCommand")->isEnabled());
}

TEST_F(OpenStoresWidgets, TheOpenStoreWindowWorksFromTheKeyboard) {
    const QString mail = maildir(QStringLiteral("Mail"));
    frmOpenStore dialog(server);
    dialog.show();
    QApplication::setActiveWindow(&dialog);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    // Alt+S picks the store file kind, Alt+F its field; Alt+M the Maildir kind.
    QWindow* keys = dialog.windowHandle();
    QTest::keyClick(keys, Qt::Key_S, Qt::AltModifier);
    QTest::qWait(300);  // a mnemonic clicks a button as a shown click, after a moment
    EXPECT_TRUE(part<QRadioButton>(dialog, "optStoreFile")->isChecked());
    QTest::keyClick(keys, Qt::Key_M, Qt::AltModifier);
    QTest::qWait(300);
    EXPECT_TRUE(part<QRadioButton>(dialog, "optMaildir")->isChecked());
    QTest::keyClick(keys, Qt::Key_F, Qt::AltModifier);
    auto* folder = part<QLineEdit>(dialog, "txtMaildirFolder");
    EXPECT_TRUE(folder->hasFocus());
    // Shift+F1 explains the next control clicked; Esc leaves that mode.
    QTest::keyClick(keys, Qt::Key_F1, Qt::ShiftModifier);
    EXPECT_TRUE(QWhatsThis::inWhatsThisMode());
    QWhatsThis::leaveWhatsThisMode();
    QTest::keyClicks(folder, mail);
    QTest::keyClick(keys, Qt::Key_Return);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.location(), QStringLiteral("maildir:") + mail);
}

TEST(TidyfoldHelp, ListsEveryKindOfLocation) {
    QProcess program;
    program.start(QStringLiteral(TIDYFOLD_PROGRAM), {QStringLiteral("--help")});
    ASSERT_TRUE(program.waitForFinished(30000));
    EXPECT_EQ(program.exitCode(), 0);
    const QString help = QString::fromLocal8Bit(program.readAllStandardOutput());
    ASSERT_FALSE(store::locationKinds().empty());
    for (const store::LocationKind& kind : store::locationKinds()) {
        EXPECT_TRUE(help.contains(kind.form)) << kind.form.toStdString();
        EXPECT_TRUE(help.contains(kind.meaning)) << kind.meaning.toStdString();
    }
}

// A password typed in the window opens the account without a second question, and is kept
// nowhere afterwards.
TEST_F(OpenStoresWidgets, APasswordTypedInTheWindowOpensTheAccountWithoutAskingAgain) {
    QTemporaryDir serverDir;
    testing::TestCertificateAuthority ca(serverDir.path());
    const testing::PemFiles files =
        ca.issueServer(QStringLiteral("127.0.0.1"), QStringLiteral("server"));
    testing::DovecotOptions options;
    options.certFile = files.certificate;
    options.keyFile = files.key;
    options.users = {{QStringLiteral("ann"), QStringLiteral("Typed-4711-pw")}};
    testing::DovecotServer dovecot(serverDir.filePath(QStringLiteral("dovecot")), options);
    QString why;
    ASSERT_TRUE(dovecot.start(why)) << why.toStdString();
    {
        QSettings accounts(store::imap::accountSettingsFile(), QSettings::IniFormat);
        accounts.setValue(QStringLiteral("ann@127.0.0.1/cafile"), ca.caFile());
    }
    store::imap::ImapServerBackend imap(&typed);
    backend = &imap;
    ASSERT_TRUE(start());
    openThroughWindow([&](frmOpenStore& dialog) {
        dialog.setKind(frmOpenStore::Kind::Server);
        part<QLineEdit>(dialog, "txtHost")->setText(QStringLiteral("127.0.0.1"));
        part<QLineEdit>(dialog, "txtUser")->setText(QStringLiteral("ann"));
        part<QComboBox>(dialog, "cboTls")->setCurrentIndex(0);
        part<QSpinBox>(dialog, "spnPort")->setValue(dovecot.imapsPort());
        part<QComboBox>(dialog, "cboSignIn")->setCurrentIndex(0);
        QTest::keyClicks(part<QLineEdit>(dialog, "txtPassword"), QStringLiteral("Typed-4711-pw"));
    });
    EXPECT_EQ(storesInView(), QStringList{QStringLiteral("ann@127.0.0.1")})
        << answerer.texts().join(QStringLiteral(" | ")).toStdString();
    // Used up: a later sign-in of the account finds no typed password.
    store::imap::ImapAccount account;
    account.user = QStringLiteral("ann");
    account.host = QStringLiteral("127.0.0.1");
    account.port = dovecot.imapsPort();
    EXPECT_FALSE(typed.password(account).has_value());
    // Not in the settings files, nor anywhere else under the home folder.
    QDirIterator everyFile(home.path(), QDir::Files, QDirIterator::Subdirectories);
    while (everyFile.hasNext()) {
        QFile file(everyFile.next());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << file.fileName().toStdString();
        EXPECT_FALSE(file.readAll().contains("4711")) << file.fileName().toStdString();
    }
    stop();
    dovecot.stop();
}

}  // namespace
}  // namespace tf::testing

namespace tf::testing {
namespace {

TEST(OpenStoreWindow, ThePathFieldsTakeTheWindowsWidthInEveryKind) {
    store::NoServerBackend server;
    frmOpenStore dialog(server);
    dialog.show();
    for (const auto& [kind, field] : {std::pair{frmOpenStore::Kind::StoreFile, "txtStoreFile"},
                                      std::pair{frmOpenStore::Kind::Maildir, "txtMaildirFolder"},
                                      std::pair{frmOpenStore::Kind::Server, "txtHost"}}) {
        dialog.setKind(kind);
        QApplication::processEvents();
        const QWidget* edit = part<QWidget>(dialog, field);
        EXPECT_GT(edit->width(), dialog.width() / 2)
            << field << " " << edit->width() << " of " << dialog.width();
    }
}

// The server kind against a real Dovecot, as a person fills it in: Test connection, then Open.
TEST_F(OpenStoresWidgets, AServerAccountIsTestedAndOpenedAgainstARealServer) {
    QTemporaryDir serverDir;
    testing::TestCertificateAuthority ca(serverDir.path());
    const testing::PemFiles files =
        ca.issueServer(QStringLiteral("127.0.0.1"), QStringLiteral("server"));
    testing::DovecotOptions options;
    options.certFile = files.certificate;
    options.keyFile = files.key;
    testing::DovecotServer dovecot(serverDir.filePath(QStringLiteral("dovecot")), options);
    QString why;
    ASSERT_TRUE(dovecot.start(why)) << why.toStdString();
    {
        // The test's CA, as a company's CA is named for one account.
        QSettings accounts(store::imap::accountSettingsFile(), QSettings::IniFormat);
        accounts.setValue(QStringLiteral("ann@127.0.0.1/cafile"), ca.caFile());
    }
    store::imap::ImapServerBackend imap;
    backend = &imap;
    ASSERT_TRUE(start());
    QString tested;
    openThroughWindow([&](frmOpenStore& dialog) {
        dialog.setKind(frmOpenStore::Kind::Server);
        part<QLineEdit>(dialog, "txtHost")->setText(QStringLiteral("127.0.0.1"));
        part<QLineEdit>(dialog, "txtUser")->setText(QStringLiteral("ann"));
        part<QComboBox>(dialog, "cboTls")->setCurrentIndex(0);
        part<QSpinBox>(dialog, "spnPort")->setValue(dovecot.imapsPort());
        part<QComboBox>(dialog, "cboSignIn")->setCurrentIndex(1);
        part<QLineEdit>(dialog, "txtCommand")->setText(QStringLiteral("printf secret"));
        QTest::mouseClick(part<QPushButton>(dialog, "cmdTestConnection"), Qt::LeftButton);
        tested = part<QLabel>(dialog, "lblTestResult")->text();
    });
    EXPECT_EQ(tested, QStringLiteral("The connection works."));
    EXPECT_EQ(storesInView(), QStringList{QStringLiteral("ann@127.0.0.1")});
    EXPECT_EQ(rememberedNames(), storesInView());
    EXPECT_EQ(window->windowTitle(), QStringLiteral("ann@127.0.0.1 - Tidyfold"));
    stop();
    dovecot.stop();
}

}  // namespace
}  // namespace tf::testing
