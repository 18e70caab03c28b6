// tidyfold-bench COMMAND [--option value ...]
// Prints one "name: value" line per figure. The commands are registered by their own files.
#include <QCoreApplication>
#include <cstdio>

#include "bench/bench_support.h"
#include "common/failure.h"

namespace {

void usage() {
    std::fprintf(stderr, "usage: tidyfold-bench COMMAND [options]\ncommands:\n");
    for (const tf::bench::Command& command : tf::bench::commands()) {
        std::fprintf(stderr, "  %s %s\n", qPrintable(command.name), qPrintable(command.usage));
    }
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    if (args.isEmpty()) {
        usage();
        return 2;
    }
    const QString name = args.takeFirst();
    for (const tf::bench::Command& command : tf::bench::commands()) {
        if (command.name == name) {
            try {
                return command.run(args);
            } catch (const tf::Failure& failure) {
                std::fprintf(stderr, "tidyfold-bench %s: %s\n", qPrintable(name),
                             qPrintable(failure.description()));
                return 1;
            }
        }
    }
    std::fprintf(stderr, "tidyfold-bench: unknown command %s\n", qPrintable(name));
    usage();
    return 2;
}
