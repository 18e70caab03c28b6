#include <QApplication>
#include <QCommandLineParser>
#include <QTextStream>
#include <QTimer>
#include <cstdio>

#include "app/widgets/main_window.h"
#include "app/widgets/message_window.h"
#include "store/store_locator.h"

namespace {

bool haveDisplay() {
    return !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") ||
           !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

}  // namespace

int main(int argc, char* argv[]) {
    if (!haveDisplay()) {
        std::fputs(
            "Tidyfold is a desktop program and needs a display, but none was found "
            "(DISPLAY is not set).\n"
            "Run it from a desktop session, or under a virtual display:\n"
            "    xvfb-run -a tidyfold\n",
            stderr);
        return 2;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tidyfold"));
    QApplication::setApplicationVersion(QStringLiteral(TIDYFOLD_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Removes unwanted items from mail stores, safely."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption storeOption(
        QStringLiteral("store"),
        QStringLiteral("Opens the store at <location> (local:FILE or FILE) instead of the default "
                       "store. Repeat it to open several stores."),
        QStringLiteral("location"));
    parser.addOption(storeOption);
    // For documentation and checks: saves a picture of the window once it has loaded, then quits.
    QCommandLineOption screenshotOption(QStringLiteral("screenshot"),
                                        QStringLiteral("Saves the loaded window to <file>."),
                                        QStringLiteral("file"));
    screenshotOption.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOption(screenshotOption);
    if (!parser.parse(QApplication::arguments())) {
        QTextStream(stderr) << "tidyfold: " << parser.errorText() << "\n"
                            << "Try 'tidyfold --help' for the options.\n";
        return 2;
    }
    if (parser.isSet(QStringLiteral("help"))) {
        parser.showHelp(0);
    }
    if (parser.isSet(QStringLiteral("version"))) {
        parser.showVersion();
    }
    if (!parser.positionalArguments().isEmpty()) {
        QTextStream(stderr) << "tidyfold: unexpected argument '"
                            << parser.positionalArguments().first()
                            << "'. Name stores with --store.\n";
        return 2;
    }

    tf::store::StoreApplicationSource source(parser.values(storeOption),
                                             tf::store::defaultStorePath());
    tf::frmMessageBox messageWindow;
    messageWindow.show();
    tf::frmRemoveItems window(messageWindow, source);
    if (!window.load()) {
        return 1;
    }
    if (!window.isVisible()) {
        return 0;
    }
    if (parser.isSet(screenshotOption)) {
        const QString file = parser.value(screenshotOption);
        QTimer::singleShot(500, &window, [&window, file] {
            const bool saved = window.grab().save(file);
            if (!saved) {
                QTextStream(stderr) << "tidyfold: could not save " << file << "\n";
            }
            QApplication::exit(saved ? 0 : 1);
        });
    }
    return QApplication::exec();
}
