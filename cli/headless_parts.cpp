#include "cli/headless_parts.h"

#include "app/main_window_logic.h"

namespace tf::cli {

namespace {
const QString kItemFailure = QStringLiteral("An processing error has occurred.");
const QString kQuitQuestion = QStringLiteral("Quit processing records?");

// The text after a report line's label ("  Item:      \t"), up to the line's end.
QString field(const QString& report, const QString& label) {
    for (const QString& line : report.split(QStringLiteral("\r\n"))) {
        if (line.trimmed().startsWith(label)) {
            return line.section(QLatin1Char('\t'), 1).trimmed();
        }
    }
    return {};
}
}  // namespace

bool CommandPrompter::isQuestion(int buttons) {
    const int kind = buttons & 7;
    return kind == YesNo || kind == YesNoCancel;
}

bool CommandPrompter::isItemFailure(const QString& text) {
    return text.startsWith(kItemFailure);
}

int CommandPrompter::ask(const QString& text, int buttons, const QString&) {
    Shown s{text, buttons, Ok};
    const int kind = buttons & 7;
    if (isItemFailure(text)) {
        // No: every failure keeps being reported, so that the report lists each one.
        s.answer = No;
        failures.push_back(
            {field(text, QStringLiteral("Item:")), field(text, QStringLiteral("Descripton:"))});
    } else if (text == kQuitQuestion) {
        s.answer = Yes;  // asked only because a signal pressed Cancel
    } else if (isQuestion(buttons)) {
        s.answer = answerYes ? Yes : No;
    } else if (kind == OkCancel) {
        s.answer = answerYes ? Ok : Cancel;
    }
    shown.push_back(s);
    if (onShown) {
        onShown(s);
    }
    return s.answer;
}

void CommandYield::yield() {
    if (logic == nullptr) {
        return;
    }
    if (interrupted && interrupted()) {
        if (logic->flags.Processing) {
            if (!cancelPressed_) {
                // The window's Cancel: the run ends after the current item, through its closing
                // steps, so nothing is left half done.
                cancelPressed_ = true;
                logic->cleaning.cmdRun_Click();
            }
        } else {
            logic->flags.StopCaching = true;
            logic->flags.InterruptCaching = true;
        }
    }
    if (onProgress && logic->flags.Processing) {
        if (!sinceProgress_.isValid() || sinceProgress_.elapsed() >= 200) {
            sinceProgress_.start();
            onProgress();
        }
    }
}

void CurrentFolderWatch::changed(int index) {
    if (index >= 1 && index <= tree_.count() &&
        tree_.node(index).Text.endsWith(QLatin1String(" <<<<"))) {
        node = index;
    }
}

}  // namespace tf::cli
