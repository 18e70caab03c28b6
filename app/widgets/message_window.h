#pragma once

#include <QLabel>
#include <QWidget>

#include "window/message_window.h"

namespace tf {

// frmMessageBox: a small modeless window with one label, shown while the store is reached.
class frmMessageBox : public QWidget, public MessageWindow {
    Q_OBJECT
  public:
    frmMessageBox();

    void setText(const QString& text) override;
    void show() override;
    void hide() override { QWidget::hide(); }
    void unload() override { QWidget::close(); }

  private:
    QLabel* label_;
};

}  // namespace tf
