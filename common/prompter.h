#pragma once

#include <QString>

namespace tf {

// Modal message boxes with the classic button codes and answers.
class Prompter {
  public:
    enum Buttons : int { OkOnly = 0, OkCancel = 1, YesNoCancel = 3, YesNo = 4, Critical = 16 };
    enum Answer : int { Ok = 1, Cancel = 2, Yes = 6, No = 7 };

    static inline const QString kDefaultTitle = QStringLiteral("Tidyfold");

    virtual ~Prompter() = default;
    // Shows text and returns the answer. An empty title means the application's default title.
    virtual int ask(const QString& text, int buttons = OkOnly, const QString& title = {}) = 0;
    void tell(const QString& text) { ask(text, OkOnly); }
};

}  // namespace tf
