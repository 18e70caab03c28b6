// tidyfold-clean: the window's cleaning without the window, for scripts and timers.
#include <unistd.h>

#include <QCoreApplication>
#include <QTextStream>

#include "cli/clean_command.h"
#include "cli/interrupt.h"

int main(int argc, char* argv[]) {
    tf::cli::catchInterrupts();
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Tidyfold"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TIDYFOLD_VERSION));
    QTextStream out(stdout);
    QTextStream err(stderr);

    const tf::cli::ParseOutcome parsed = tf::cli::parseArguments(QCoreApplication::arguments());
    if (!parsed.options) {
        out << parsed.out;
        err << parsed.err;
        return parsed.exit;
    }
    tf::cli::CleanCommand command(out, err);
    command.interrupted = [] { return tf::cli::interruptRequested(); };
    // The progress line rewrites itself; in a log or a pipe it would only be noise.
    command.progressOnTerminal = isatty(STDERR_FILENO) == 1;
    return command.run(*parsed.options);
}
