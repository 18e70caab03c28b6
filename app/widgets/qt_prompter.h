#pragma once

#include <QPointer>
#include <QWidget>

#include "common/prompter.h"

namespace tf {

// Message boxes on screen, with the classic button codes mapped to Qt's buttons.
class QtPrompter : public Prompter {
  public:
    void setParent(QWidget* parent) { parent_ = parent; }
    int ask(const QString& text, int buttons, const QString& title) override;

  private:
    QPointer<QWidget> parent_;
};

}  // namespace tf
