#pragma once

#include <QApplication>
#include <QMessageBox>
#include <QStringList>
#include <QTimer>

#include "tests/support/screenshot.h"

namespace tf::testing {

// Answers the real message boxes as they come up, and keeps their texts.
class BoxAnswerer {
  public:
    BoxAnswerer() {
        timer_.setInterval(20);
        QObject::connect(&timer_, &QTimer::timeout, [this] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                texts_ << box->text();
                screenshot(QStringLiteral("box-%1").arg(texts_.size()));
                box->done(box->standardButtons().testFlag(QMessageBox::Yes) ? QMessageBox::Yes
                                                                            : QMessageBox::Ok);
            }
        });
        timer_.start();
    }
    const QStringList& texts() const { return texts_; }

  private:
    QTimer timer_;
    QStringList texts_;
};

}  // namespace tf::testing
