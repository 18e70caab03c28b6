#pragma once

#include <QElapsedTimer>
#include <QString>
#include <functional>
#include <vector>

#include "common/prompter.h"
#include "window/folder_tree.h"
#include "window/message_window.h"
#include "window/window_shell.h"
#include "window/yield.h"

namespace tf {
class RemoveItemsLogic;
}

namespace tf::cli {

// The window's message boxes without a window. Nobody is there to answer, so the answers follow
// a policy: informations are acknowledged, the window's questions are answered Yes only when the
// command line said --yes, and failures of single items are kept instead of silenced.
class CommandPrompter : public Prompter {
  public:
    struct Shown {
        QString text;
        int buttons = OkOnly;
        int answer = Ok;
    };
    struct FailedItem {
        QString item;
        QString reason;
    };

    int ask(const QString& text, int buttons, const QString& title) override;

    // True for the questions that take a Yes or No from the user, not only an OK.
    static bool isQuestion(int buttons);
    static bool isCritical(int buttons) { return (buttons & Critical) != 0; }
    // The report of one item that could not be removed, as the deletion loops show it.
    static bool isItemFailure(const QString& text);

    bool answerYes = false;
    // Called with each message as it is shown, for the terminal.
    std::function<void(const Shown&)> onShown;
    std::vector<Shown> shown;
    std::vector<FailedItem> failures;
};

// Lets the run's loops notice a SIGINT or SIGTERM: it presses Cancel as the window's user would,
// and keeps the one-line progress display on a terminal up to date.
class CommandYield : public Yield {
  public:
    void yield() override;

    RemoveItemsLogic* logic = nullptr;
    // Tells whether a signal asked the run to stop.
    std::function<bool()> interrupted;
    // Called at most every fifth of a second while a run goes.
    std::function<void()> onProgress;
    bool cancelPressed() const { return cancelPressed_; }

  private:
    bool cancelPressed_ = false;
    QElapsedTimer sinceProgress_;
};

// Follows which folder the run is cleaning: the walk marks its node's caption while it works.
class CurrentFolderWatch : public FolderTreeObserver {
  public:
    explicit CurrentFolderWatch(const FolderTree& tree) : tree_(tree) {}
    void aboutToReset() override {}
    void reset() override {}
    void aboutToInsert(int, int) override {}
    void inserted() override {}
    void aboutToReorder() override {}
    void reordered() override {}
    void changed(int index) override;
    void selectionChanged(int) override {}

    int node = 0;  // the node being cleaned, 0 before the first

  private:
    const FolderTree& tree_;
};

class NoWindow : public MessageWindow, public WindowShell {
  public:
    void setText(const QString&) override {}
    void show() override {}
    void hide() override {}
    void unload() override {}
    void showMain() override {}
    void unloadMain() override {}
    void unloadAbout() override {}
    void focusTree() override {}
};

}  // namespace tf::cli
