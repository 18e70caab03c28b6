// tidyfold-bench-tree [--items N] [--stores N] [--store FILE]
// Times what start-up does before the window shows: opening the store file, building the folder
// tree with its captions, and finding the start folder, through the window's own logic.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <cstdio>

#include "common/failure.h"
#include "outlook/session.h"
#include "store/local/local_store.h"
#include "store/local/sample_content.h"
#include "tree/folder_tree_builder.h"
#include "window/controls.h"

namespace {

using namespace tf;

// The window parts, answering nothing and showing nothing.
struct Silent : Prompter, Yield, MessageWindow {
    int ask(const QString& text, int, const QString&) override {
        std::fprintf(stderr, "message: %s\n", qPrintable(text));
        return Ok;
    }
    void yield() override {}
    void setText(const QString&) override {}
    void show() override {}
    void hide() override {}
    void unload() override {}
};

void print(const char* name, double value) {
    std::printf("%s: %.3f\n", name, value);
}

}  // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    qint64 items = 1'000'000;
    int stores = 1;
    QString path;
    const QStringList args = QCoreApplication::arguments();
    for (int i = 1; i + 1 < args.size(); i += 2) {
        if (args[i] == QLatin1String("--items")) {
            items = args[i + 1].toLongLong();
        } else if (args[i] == QLatin1String("--stores")) {
            stores = args[i + 1].toInt();
        } else if (args[i] == QLatin1String("--store")) {
            path = args[i + 1];
        } else {
            std::fprintf(stderr,
                         "usage: tidyfold-bench-tree [--items N] [--stores N] [--store FILE]\n");
            return 2;
        }
    }
    try {
        QTemporaryDir scratch;
        if (path.isEmpty()) {
            path = scratch.filePath(QStringLiteral("bench.tidystore"));
            store::local::SampleOptions options;
            options.items = items;
            options.stores = stores;
            QElapsedTimer generate;
            generate.start();
            store::local::writeSampleStoreFile(path, options);
            print("generate_s", generate.elapsed() / 1000.0);
        }
        print("file_mb", QFileInfo(path).size() / (1024.0 * 1024.0));

        Silent silent;
        ErrorContext errors(silent);
        FolderTree tree;
        FolderRecords records;
        ItemsGrid grid;
        Controls controls;
        WindowColours colours;
        WindowFlags flags;
        StatusPanels status;
        FolderTreeBuilder builder(WindowParts{errors, silent, silent, tree, records, grid, controls,
                                              colours, flags, status},
                                  silent);

        QElapsedTimer timer;
        timer.start();
        auto session = std::make_shared<outlook::Session>(store::local::openLocalStores(path));
        print("open_s", timer.elapsed() / 1000.0);

        timer.restart();
        builder.setNameSpace(session);
        builder.Build_Folder_Tree();
        builder.Set_Start_Folder();
        print("tree_build_s", timer.elapsed() / 1000.0);
        std::printf("nodes: %d\n", tree.count());
        std::printf("root: %s\n", qPrintable(tree.node(1).Text));
    } catch (const Failure& failure) {
        std::fprintf(stderr, "tidyfold-bench-tree: %s\n", qPrintable(failure.description()));
        return 1;
    }
    return 0;
}
