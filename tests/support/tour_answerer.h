#pragma once

#include <QApplication>
#include <QMessageBox>
#include <QObject>
#include <QString>
#include <QTimer>
#include <functional>
#include <utility>

namespace tf::testing {

// Answers the real message boxes of a picture tour with Yes or OK, as they come up. Before each
// answer, beforeAnswer sees the box's text, to take a picture of the ones worth seeing; a box
// that comes up meanwhile waits for the next turn.
class TourAnswerer : public QObject {
  public:
    explicit TourAnswerer(std::function<void(const QString& text)> beforeAnswer)
        : beforeAnswer_(std::move(beforeAnswer)) {
        timer_.setInterval(50);
        connect(&timer_, &QTimer::timeout, this, [this] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (box == nullptr || answering_) {
                return;
            }
            answering_ = true;
            beforeAnswer_(box->text());
            box->done(box->standardButtons().testFlag(QMessageBox::Yes) ? QMessageBox::Yes
                                                                        : QMessageBox::Ok);
            answering_ = false;
        });
        timer_.start();
    }

  private:
    std::function<void(const QString&)> beforeAnswer_;
    QTimer timer_;
    bool answering_ = false;
};

}  // namespace tf::testing
