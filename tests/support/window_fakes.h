#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "common/failure.h"
#include "outlook/application_source.h"
#include "window/items_grid.h"
#include "window/message_window.h"
#include "window/window_shell.h"
#include "window/yield.h"

namespace tf::testing {

// Counts yields and runs the action scripted for a given yield ("press Refresh at yield 150").
class ScriptedYield : public Yield {
  public:
    void yield() override {
        ++count_;
        const auto it = actions_.find(count_);
        if (it != actions_.end()) {
            it->second();
        }
        for (auto& [condition, action] : whenever_) {
            if (action && condition()) {
                // Taken out first, so that an action that yields again does not run twice.
                std::function<void()> once = std::move(action);
                action = nullptr;
                once();
            }
        }
        if (onEvery) {
            onEvery();
        }
    }
    void at(int yieldNumber, std::function<void()> action) {
        actions_[yieldNumber] = std::move(action);
    }
    // Runs action once, at the first yield where condition holds.
    void when(std::function<bool()> condition, std::function<void()> action) {
        whenever_.emplace_back(std::move(condition), std::move(action));
    }
    // Runs at every yield, after the scripted actions.
    std::function<void()> onEvery;
    int count() const { return count_; }

  private:
    int count_ = 0;
    std::map<int, std::function<void()>> actions_;
    std::vector<std::pair<std::function<bool()>, std::function<void()>>> whenever_;
};

// Counts what the items grid tells its view.
class CountingGridObserver : public ItemsGridObserver {
  public:
    void aboutToReset() override { ++resets; }
    void reset() override {}
    void rowsChanged(int, int) override { ++changes; }
    int resets = 0;
    int changes = 0;
};

// Records what the windows were asked to do, in order.
class WindowLog {
  public:
    void add(const QString& event) { events_ << event; }
    const QStringList& events() const { return events_; }

  private:
    QStringList events_;
};

class RecordingMessageWindow : public MessageWindow {
  public:
    explicit RecordingMessageWindow(WindowLog& log) : log_(log) {}
    void setText(const QString& text) override { text_ = text; }
    void show() override { log_.add(QStringLiteral("message:show")); }
    void hide() override { log_.add(QStringLiteral("message:hide")); }
    void unload() override { log_.add(QStringLiteral("message:unload")); }
    const QString& text() const { return text_; }

  private:
    WindowLog& log_;
    QString text_;
};

class RecordingShell : public WindowShell {
  public:
    explicit RecordingShell(WindowLog& log) : log_(log) {}
    void showMain() override { log_.add(QStringLiteral("main:show")); }
    void unloadMain() override {
        log_.add(QStringLiteral("main:unload"));
        if (onUnloadMain) {
            onUnloadMain();
        }
    }
    void unloadAbout() override { log_.add(QStringLiteral("about:unload")); }
    void focusTree() override { log_.add(QStringLiteral("tree:focus")); }

    // What unloading the main window sets off, as closing the real window runs its unload handler.
    std::function<void()> onUnloadMain;

  private:
    WindowLog& log_;
};

// Hands out the applications a test prepares, and records which way was taken.
class FakeApplicationSource : public ApplicationSource {
  public:
    outlook::ApplicationPtr GetObject() override {
        ++getObjectCalls;
        if (getObjectFailure) {
            throw *getObjectFailure;
        }
        return attached;
    }
    outlook::ApplicationPtr CreateObject() override {
        ++createObjectCalls;
        if (createObjectFailure) {
            throw *createObjectFailure;
        }
        return created;
    }

    outlook::ApplicationPtr attached;
    outlook::ApplicationPtr created;
    std::optional<Failure> getObjectFailure;
    std::optional<Failure> createObjectFailure;
    int getObjectCalls = 0;
    int createObjectCalls = 0;
};

}  // namespace tf::testing
