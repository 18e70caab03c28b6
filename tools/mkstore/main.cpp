#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <cstdio>

#include "common/failure.h"
#include "store/local/sample_content.h"

namespace {

int fail(const QString& message) {
    std::fprintf(stderr, "tidyfold-mkstore: %s\n", qUtf8Printable(message));
    return 2;
}

// A whole number within [minimum, maximum], or nothing.
std::optional<qint64> number(const QString& text, qint64 minimum, qint64 maximum) {
    bool ok = false;
    const qint64 value = text.toLongLong(&ok);
    if (!ok || value < minimum || value > maximum) {
        return std::nullopt;
    }
    return value;
}

}  // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tidyfold-mkstore"));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Writes a Tidyfold store file with sample folders and items."));
    parser.addHelpOption();
    const QCommandLineOption out(QStringList{QStringLiteral("o"), QStringLiteral("out")},
                                 QStringLiteral("The store file to write."),
                                 QStringLiteral("file"));
    const QCommandLineOption stores(QStringLiteral("stores"),
                                    QStringLiteral("Number of stores in the file (default 1)."),
                                    QStringLiteral("n"), QStringLiteral("1"));
    const QCommandLineOption items(
        QStringLiteral("items"),
        QStringLiteral("Number of items in the whole file (default %1 per store).")
            .arg(tf::store::local::kDefaultItemsPerStore),
        QStringLiteral("n"));
    const QCommandLineOption seed(QStringLiteral("seed"),
                                  QStringLiteral("Seed of the content (default 1)."),
                                  QStringLiteral("n"), QStringLiteral("1"));
    const QCommandLineOption force(QStringLiteral("force"),
                                   QStringLiteral("Replace the file if it exists."));
    parser.addOptions({out, stores, items, seed, force});
    if (!parser.parse(QCoreApplication::arguments())) {
        return fail(parser.errorText());
    }
    if (parser.isSet(QStringLiteral("help"))) {
        parser.showHelp(0);
    }
    if (!parser.positionalArguments().isEmpty()) {
        return fail(QStringLiteral("unexpected argument \"%1\"")
                        .arg(parser.positionalArguments().constFirst()));
    }
    if (!parser.isSet(out) || parser.value(out).isEmpty()) {
        return fail(QStringLiteral("--out FILE is required"));
    }

    tf::store::local::SampleOptions options;
    const auto storeCount = number(parser.value(stores), 1, 1000);
    if (!storeCount) {
        return fail(QStringLiteral("--stores wants a whole number from 1 to 1000, not \"%1\"")
                        .arg(parser.value(stores)));
    }
    options.stores = static_cast<int>(*storeCount);
    if (parser.isSet(items)) {
        const auto itemCount = number(parser.value(items), 0, 100'000'000);
        if (!itemCount) {
            return fail(
                QStringLiteral("--items wants a whole number from 0 to 100000000, not \"%1\"")
                    .arg(parser.value(items)));
        }
        options.items = *itemCount;
    }
    const auto seedValue = number(parser.value(seed), 0, std::numeric_limits<qint64>::max());
    if (!seedValue) {
        return fail(QStringLiteral("--seed wants a whole number of 0 or more, not \"%1\"")
                        .arg(parser.value(seed)));
    }
    options.seed = static_cast<quint64>(*seedValue);

    const QString path = parser.value(out);
    const QFileInfo info(path);
    if (info.isDir()) {
        return fail(QStringLiteral("%1 is a folder").arg(path));
    }
    if (info.exists() && !parser.isSet(force)) {
        return fail(QStringLiteral("%1 exists already; pass --force to replace it").arg(path));
    }
    try {
        QElapsedTimer timer;
        timer.start();
        tf::store::local::writeSampleStoreFile(path, options);
        std::printf("Wrote %s in %.1f s\n", qUtf8Printable(path), timer.elapsed() / 1000.0);
    } catch (const tf::Failure& failure) {
        return fail(failure.description());
    }
    return 0;
}
