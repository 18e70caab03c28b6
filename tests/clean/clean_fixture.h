#pragma once

#include <QTemporaryDir>
#include <map>

#include "store/local/local_store.h"
#include "tests/marking/marking_fixture.h"
#include "tests/support/faulty_store.h"
#include "tests/support/local_copy.h"

namespace tf::testing {

// A mail received on the given day.
inline MemoryItemSpec dated(int year, int month, int day, const QString& subject = {}) {
    MemoryItemSpec spec;
    spec.received = dateSerial(year, month, day);
    spec.subject = subject;
    return spec;
}

// Records every text the status bar was given, in order.
class PanelLog : public StatusPanelsObserver {
  public:
    explicit PanelLog(const StatusPanels& panels) : panels_(panels) {}
    void panelChanged(int panel) override {
        texts.push_back(QString::number(panel) + QLatin1Char(':') + panels_.text(panel));
    }
    bool saw(const QString& entry) const {
        return std::find(texts.begin(), texts.end(), entry) != texts.end();
    }
    // The texts given, in order, that start with prefix ("2:Checked").
    std::vector<QString> startingWith(const QString& prefix) const {
        std::vector<QString> found;
        for (const QString& text : texts) {
            if (text.startsWith(prefix)) {
                found.push_back(text);
            }
        }
        return found;
    }
    std::vector<QString> texts;

  private:
    const StatusPanels& panels_;
};

// The window's logic over the embedded store: the layout is built with the MemoryStore builder,
// written to a store file, and opened through a wrapper that fails where a test says. What a run
// did is counted in the file itself, through a connection of its own.
class CleanFixture : public MarkingFixture {
  protected:
    CleanFixture() : panels(logic.status) { logic.status.setObserver(&panels); }
    ~CleanFixture() override { logic.status.setObserver(nullptr); }

    void loadLocal(const std::vector<std::shared_ptr<MemoryStore>>& layout = {sampleStore()}) {
        ASSERT_TRUE(dir.isValid());
        path = dir.filePath(QStringLiteral("clean.tfs"));
        writeLocalStoreFile(layout, path);
        std::vector<outlook::StorePtr> stores;
        for (const outlook::StorePtr& store : store::local::openLocalStores(path)) {
            stores.push_back(faultyStore(store, faults));
        }
        source.created = std::make_shared<outlook::SessionApplication>(stores);
        ASSERT_TRUE(logic.Form_Load());
        ASSERT_TRUE(logic.flags.AllFoldersCached);
        prompter.forget();
        panels.texts.clear();
    }

    // Presses Clean.
    void clean() { logic.cleaning.cmdRun_Click(); }
    // Items in a folder of the first store, counted in the file: "Inbox", "Projects/Alpha".
    int inStore(const QString& folder, const QString& store = QStringLiteral("Personal Folders")) {
        const std::map<QString, int> counts = folderCounts(path);
        const auto found = counts.find(store + QLatin1Char('/') + folder);
        return found == counts.end() ? -1 : found->second;
    }
    QStringList subjects(const QString& folder) {
        return subjectsIn(path, QStringLiteral("Personal Folders/") + folder);
    }
    bool shown(const QString& text) const { return prompter.texts().contains(text); }
    int shownStartingWith(const QString& prefix) const {
        int n = 0;
        for (const QString& text : prompter.texts()) {
            n += text.startsWith(prefix) ? 1 : 0;
        }
        return n;
    }
    const RunState& run() const { return logic.cleaning.state; }

    QTemporaryDir dir;
    QString path;
    std::shared_ptr<Faults> faults = std::make_shared<Faults>();
    PanelLog panels;
};

}  // namespace tf::testing
