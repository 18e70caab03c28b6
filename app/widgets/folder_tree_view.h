#pragma once

#include <QKeyEvent>
#include <QTreeView>

namespace tf {

// The folder tree's view. It tells of a released mouse button or key only after the view has
// handled it, so that a tick or a click made by that press is already recorded when the logic
// decides on it.
class FolderTreeView : public QTreeView {
    Q_OBJECT
  public:
    using QTreeView::QTreeView;

  signals:
    void mouseUp();
    void keyUp();

  protected:
    void mouseReleaseEvent(QMouseEvent* event) override {
        QTreeView::mouseReleaseEvent(event);
        emit mouseUp();
    }
    void keyReleaseEvent(QKeyEvent* event) override {
        QTreeView::keyReleaseEvent(event);
        if (!event->isAutoRepeat()) {
            emit keyUp();
        }
    }
};

}  // namespace tf
