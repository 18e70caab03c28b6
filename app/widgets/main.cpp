#include <QApplication>
#include <QCommandLineParser>
#include <QPixmap>
#include <QTextStream>
#include <QTimer>
#include <optional>

#include "app/widgets/main_window.h"
#include "app/widgets/message_window.h"
#include "app/widgets/password_dialog.h"
#include "app/widgets/qt_yield.h"
#include "settings/remembered_stores.h"
#include "store/imap/credentials.h"
#include "store/imap/imap_server_backend.h"
#include "store/store_locator.h"
#include "store/store_opener.h"

namespace {

bool haveDisplay() {
    return !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") ||
           !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

QStringList argumentsOf(int argc, char* argv[]) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    return arguments;
}

struct Options {
    QStringList stores;
    QString screenshot;
};

// Reads the command line before any window exists, so that --help, --version and mistakes are
// answered on a machine without a display too. Returns an exit code when the program is done.
std::optional<int> parse(const QStringList& arguments, Options& options) {
    QCommandLineParser parser;
    QString description = QStringLiteral(
        "Removes unwanted items from mail stores, safely.\n\nWithout --store the stores opened "
        "last time open again (the sample store the first time).\n\nKinds of <location>:");
    for (const tf::store::LocationKind& kind : tf::store::locationKinds()) {
        description += QStringLiteral("\n  %1\n      %2").arg(kind.form, kind.meaning);
    }
    parser.setApplicationDescription(description);
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows these options."));
    const QCommandLineOption version(QStringLiteral("version"),
                                     QStringLiteral("Shows the version."));
    const QCommandLineOption store(
        QStringLiteral("store"),
        QStringLiteral("Opens the store at <location> instead of the remembered stores, for this "
                       "run only. Repeat it to open several stores."),
        QStringLiteral("location"));
    // For documentation and checks: saves a picture of the window once it has loaded, then quits.
    QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                  QStringLiteral("Saves the loaded window to <file>."),
                                  QStringLiteral("file"));
    screenshot.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOptions({help, version, store, screenshot});

    QTextStream out(stdout);
    QTextStream err(stderr);
    if (!parser.parse(arguments)) {
        err << "tidyfold: " << parser.errorText() << "\nTry 'tidyfold --help' for the options.\n";
        return 2;
    }
    if (!parser.positionalArguments().isEmpty()) {
        err << "tidyfold: unexpected argument '" << parser.positionalArguments().first()
            << "'. Name stores with --store.\n";
        return 2;
    }
    if (parser.isSet(help)) {
        // No application object exists yet to lend the parser its name.
        out << parser.helpText().replace(QStringLiteral("<executable_name>"),
                                         QStringLiteral("tidyfold"));
        return 0;
    }
    if (parser.isSet(version)) {
        out << "Tidyfold " << TIDYFOLD_VERSION << "\n";
        return 0;
    }
    options.stores = parser.values(store);
    options.screenshot = parser.value(screenshot);
    return std::nullopt;
}

}  // namespace

int main(int argc, char* argv[]) {
    Options options;
    if (const std::optional<int> done = parse(argumentsOf(argc, argv), options)) {
        return *done;
    }
    if (!haveDisplay()) {
        QTextStream(stderr)
            << "Tidyfold is a desktop program and needs a display, but none was found "
               "(DISPLAY is not set).\n"
               "Run it from a desktop session, or under a virtual display:\n"
               "    xvfb-run -a tidyfold\n";
        return 2;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tidyfold"));
    QApplication::setApplicationVersion(QStringLiteral(TIDYFOLD_VERSION));

    // A server account without a password command finds its password in the keyring, or asks
    // once.
    tf::store::imap::SystemKeyring keyring;
    tf::PasswordDialog passwordDialog;
    // A server's long fetches let the window repaint and take its Cancel click meanwhile.
    tf::QtYield serverYield;
    // A password typed in the Open Store window signs in once, ahead of the keyring.
    tf::store::imap::TypedPasswords typedPasswords(&keyring);
    tf::store::LocatorStoreOpener opener(
        tf::store::defaultStorePath(),
        {&typedPasswords, &passwordDialog, [&] { serverYield.yield(); }});
    tf::RememberedStores remembered;
    tf::OpenStores stores(opener, remembered, options.stores);
    tf::store::imap::ImapServerBackend server(&typedPasswords);
    tf::frmMessageBox messageWindow;
    messageWindow.show();
    tf::frmRemoveItems window(messageWindow, stores, server);
    bool screenshotTaken = false;
    if (!options.screenshot.isEmpty()) {
        // Set before loading, which ends in a modal message box; the picture is of the main
        // window alone.
        QTimer::singleShot(1500, &window, [&, file = options.screenshot] {
            const QPixmap picture = window.grab();
            screenshotTaken = true;
            if (!picture.save(file)) {
                QTextStream(stderr) << "tidyfold: could not save " << file << "\n";
            }
            QApplication::exit(0);
        });
    }
    if (!window.load()) {
        // The window says only that no session could be had; whoever started the program from a
        // terminal also learns why.
        for (const QString& reason : window.logic().session.startFailures) {
            QTextStream(stderr) << "tidyfold: "
                                << QString(reason)
                                       .replace(QStringLiteral("\r\n\r\n"), QStringLiteral(" "))
                                       .replace(QStringLiteral("\r\n"), QStringLiteral(" "))
                                << "\n";
        }
        return 1;
    }
    if (!window.isVisible() || screenshotTaken) {
        return 0;
    }
    return QApplication::exec();
}
