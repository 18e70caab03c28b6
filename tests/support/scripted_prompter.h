#pragma once

#include <QString>
#include <QStringList>
#include <deque>
#include <vector>

#include "common/prompter.h"
#include "tests/support/qt_printers.h"

namespace tf::testing {

// Records every message box and answers from a script. With the script used up it answers the
// box's default: OK for OK-only and OK/Cancel boxes, Yes for Yes/No boxes.
class ScriptedPrompter : public Prompter {
  public:
    struct Shown {
        QString text;
        int buttons;
        QString title;
    };

    int ask(const QString& text, int buttons, const QString& title) override;

    // Queues answers for the next boxes, in order.
    ScriptedPrompter& answer(int reply) {
        script_.push_back(reply);
        return *this;
    }

    // Queues an answer for the next box whose text starts with prefix; such answers go before
    // the plain script.
    ScriptedPrompter& answerWhen(const QString& prefix, int reply) {
        byText_.emplace_back(prefix, reply);
        return *this;
    }

    const std::vector<Shown>& shown() const { return shown_; }
    QStringList texts() const;
    const Shown& last() const { return shown_.back(); }
    void forget() { shown_.clear(); }
    bool scriptUsedUp() const { return script_.empty(); }

  private:
    std::deque<int> script_;
    std::deque<std::pair<QString, int>> byText_;
    std::vector<Shown> shown_;
};

}  // namespace tf::testing
