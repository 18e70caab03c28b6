#include "tests/support/scripted_prompter.h"

namespace tf::testing {

int ScriptedPrompter::ask(const QString& text, int buttons, const QString& title) {
    shown_.push_back({text, buttons, title.isEmpty() ? kDefaultTitle : title});
    for (auto it = byText_.begin(); it != byText_.end(); ++it) {
        if (text.startsWith(it->first)) {
            const int reply = it->second;
            byText_.erase(it);
            return reply;
        }
    }
    if (!script_.empty()) {
        const int reply = script_.front();
        script_.pop_front();
        return reply;
    }
    const int kind = buttons & 0x7;
    return kind == YesNo || kind == YesNoCancel ? Yes : Ok;
}

QStringList ScriptedPrompter::texts() const {
    QStringList all;
    for (const Shown& s : shown_) {
        all << s.text;
    }
    return all;
}

}  // namespace tf::testing
