#include "app/widgets/qt_yield.h"

#include <QCoreApplication>

namespace tf {

namespace {
constexpr qint64 kSliceMs = 15;
}

void QtYield::yield() {
    if (sinceLast_.isValid() && sinceLast_.elapsed() < kSliceMs) {
        return;
    }
    QCoreApplication::processEvents(QEventLoop::AllEvents);
    sinceLast_.start();
}

}  // namespace tf
