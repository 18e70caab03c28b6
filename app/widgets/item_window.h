#pragma once

#include <QDialog>
#include <QPointer>

#include "outlook/item_window.h"

namespace tf {

// frmItem: one item, read-only: its fields above, its body below.
class frmItem : public QDialog {
    Q_OBJECT
  public:
    explicit frmItem(const outlook::ItemContent& content, QWidget* parent = nullptr);

  protected:
    // However long its fields, the window fits the screen.
    void showEvent(QShowEvent* event) override;
    // Esc and Ctrl+W close it.
    void keyPressEvent(QKeyEvent* event) override;
};

// Opens each displayed item in a window of its own, as a mail program does.
class QtItemWindows : public outlook::ItemWindow {
  public:
    explicit QtItemWindows(QWidget* owner) : owner_(owner) {}
    void show(const outlook::ItemContent& content) override;
    // The window opened last, while it is open.
    frmItem* last() const { return last_; }

  private:
    QWidget* owner_;
    QPointer<frmItem> last_;
};

}  // namespace tf
