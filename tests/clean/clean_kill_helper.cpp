// Child of the clean kill test: a real cleaning run over a store file through the window's own
// logic, every question answered Yes or OK. Marks the folders named "Inbox" and "Archive", runs
// Turbo or a move run, prints "ready" as the run starts and "n <count>" at its yields, so that
// the parent can kill it in the middle.
#include <QCoreApplication>
#include <cstdio>

#include "app/main_window_logic.h"
#include "outlook/session.h"
#include "store/local/local_store.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/window_fakes.h"
#include "window/control_ids.h"

namespace {

class ProgressYield : public tf::Yield {
  public:
    void yield() override {
        if (logic != nullptr && logic->flags.Processing) {
            std::printf("n %d\n", logic->cleaning.state.ProcessedCount);
            std::fflush(stdout);
        }
    }
    tf::RemoveItemsLogic* logic = nullptr;
};

}  // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s STORE turbo|move\n", argv[0]);
        return 2;
    }
    using namespace tf::testing;
    ScriptedPrompter prompter;
    ProgressYield yield;
    WindowLog log;
    RecordingMessageWindow messageWindow(log);
    RecordingShell shell(log);
    FakeApplicationSource source;
    source.created = std::make_shared<tf::outlook::SessionApplication>(
        tf::store::local::openLocalStores(QString::fromLocal8Bit(argv[1])));
    tf::RemoveItemsLogic logic(prompter, yield, messageWindow, shell, source);
    if (!logic.Form_Load()) {
        return 3;
    }
    for (int node = 1; node <= logic.tree.count(); ++node) {
        const tf::outlook::FolderPtr& folder = logic.records[node].Folder;
        if (folder && (folder->Name() == QLatin1String("Inbox") ||
                       folder->Name() == QLatin1String("Archive"))) {
            logic.tree.setChecked(node, true);
        }
    }
    if (qstrcmp(argv[2], "turbo") == 0) {
        logic.controls.setValue(tf::Control::chkTurbo, 1);
    }
    yield.logic = &logic;
    std::printf("ready\n");
    std::fflush(stdout);
    logic.cleaning.cmdRun_Click();
    std::printf("done %d\n", logic.cleaning.state.ProcessedCount);
    return 0;
}
