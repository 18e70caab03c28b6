#include "bench/bench_support.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <cstdio>

#include "common/failure.h"

namespace tf::bench {

namespace {
std::vector<Command>& registry() {
    static std::vector<Command> all;
    return all;
}
}  // namespace

std::unique_ptr<QTemporaryDir> scratchWithCache(const Options& options) {
    const QString base = options.text(
        QStringLiteral("dir"), QStandardPaths::writableLocation(QStandardPaths::TempLocation));
    auto dir = std::make_unique<QTemporaryDir>(
        QDir(base).filePath(QStringLiteral("tidyfold-bench-XXXXXX")));
    if (!dir->isValid()) {
        throw Failure(err::kPermissionDenied,
                      QStringLiteral("Cannot make a folder in %1.").arg(base));
    }
    qputenv("XDG_CACHE_HOME", QFile::encodeName(dir->filePath(QStringLiteral("cache"))));
    return dir;
}

bool addCommand(Command command) {
    registry().push_back(std::move(command));
    return true;
}

const std::vector<Command>& commands() {
    return registry();
}

Options::Options(const QStringList& args, const QStringList& known) {
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& arg = args[i];
        if (!arg.startsWith(QStringLiteral("--")) || !known.contains(arg.mid(2))) {
            error_ = QStringLiteral("unknown option %1").arg(arg);
            return;
        }
        if (i + 1 >= args.size()) {
            error_ = QStringLiteral("%1 needs a value").arg(arg);
            return;
        }
        values_.emplace_back(arg.mid(2), args[i + 1]);
        ++i;
    }
}

qint64 Options::number(const QString& name, qint64 fallback) const {
    for (const auto& [key, value] : values_) {
        if (key == name) {
            bool ok = false;
            const qint64 n = value.toLongLong(&ok);
            return ok && n >= 0 ? n : fallback;
        }
    }
    return fallback;
}

QString Options::text(const QString& name, const QString& fallback) const {
    for (const auto& [key, value] : values_) {
        if (key == name) {
            return value;
        }
    }
    return fallback;
}

void print(const char* name, double value) {
    std::printf("%s: %.6g\n", name, value);
    std::fflush(stdout);
}

void print(const char* name, const QString& value) {
    std::printf("%s: %s\n", name, qPrintable(value));
    std::fflush(stdout);
}

double seconds(const std::function<void()>& work) {
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

namespace {
// One "Key:   1234 kB" line of /proc/self/status, in MiB.
double statusMb(const QByteArray& key) {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(key)) {
            return line.mid(key.size()).trimmed().split(' ').first().toDouble() / 1024.0;
        }
    }
    return -1;
}
}  // namespace

double peakRssMb() {
    return statusMb("VmHWM:");
}

double residentMb() {
    return statusMb("VmRSS:");
}

}  // namespace tf::bench
