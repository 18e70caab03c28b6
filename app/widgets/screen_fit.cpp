#include "app/widgets/screen_fit.h"

#include <QPointer>
#include <QScreen>
#include <QTimer>
#include <QWidget>
#include <algorithm>

namespace tf {

namespace {
// What window managers commonly add around a window: a title bar and thin borders.
const QMargins kAssumedFrame(4, 36, 4, 4);
constexpr int kFramedAfterMs = 300;
}  // namespace

QRect fitWithin(const QRect& wanted, const QSize& minimum, const QRect& area,
                const QMargins& frame) {
    const QRect inside = area.marginsRemoved(frame);
    const QSize size(std::max(minimum.width(), std::min(wanted.width(), inside.width())),
                     std::max(minimum.height(), std::min(wanted.height(), inside.height())));
    // Moved back onto the area when it would stick out; the top-left corner wins when the
    // window is larger than the area, so that the title bar stays reachable.
    const int x = std::max(inside.left(), std::min(wanted.x(), inside.right() + 1 - size.width()));
    const int y = std::max(inside.top(), std::min(wanted.y(), inside.bottom() + 1 - size.height()));
    return {QPoint(x, y), size};
}

void fitToScreen(QWidget& window) {
    const QScreen* screen = window.screen();
    if (screen == nullptr) {
        return;
    }
    QMargins frame(window.geometry().left() - window.frameGeometry().left(),
                   window.geometry().top() - window.frameGeometry().top(),
                   window.frameGeometry().right() - window.geometry().right(),
                   window.frameGeometry().bottom() - window.geometry().bottom());
    if (frame.isNull() && window.isWindow()) {
        frame = kAssumedFrame;
    }
    const QRect area = screen->availableGeometry();
    QRect wanted = window.geometry();
    if (!window.isVisible() && !window.testAttribute(Qt::WA_Moved)) {
        // Not placed yet: centred on the screen, as the window system would place it.
        wanted.moveCenter(area.center());
    }
    const QRect placed = fitWithin(wanted, window.minimumSize(), area, frame);
    if (placed.size() != window.size()) {
        window.resize(placed.size());
    }
    const QRect now = QRect(window.geometry().topLeft(), placed.size()).marginsAdded(frame);
    if (!area.contains(now)) {
        // A window's position is that of its frame.
        window.move(placed.topLeft() - QPoint(frame.left(), frame.top()));
    }
}

void fitToScreenOnceFramed(QWidget& window) {
    fitToScreen(window);
    // The window manager tells of its frame a little after the window is shown.
    QTimer::singleShot(kFramedAfterMs, &window, [w = QPointer<QWidget>(&window)] {
        if (w != nullptr && w->isVisible()) {
            fitToScreen(*w);
        }
    });
}

QString shortTitle(const QString& title, int most) {
    // One line only: a title bar shows no more.
    QString line = title;
    line.replace(QLatin1Char('\n'), QLatin1Char(' ')).replace(QLatin1Char('\r'), QLatin1Char(' '));
    if (line.size() <= most) {
        return line;
    }
    const qsizetype dash = line.lastIndexOf(QStringLiteral(" - "));
    const QString tail = dash > 0 && line.size() - dash < most / 2 ? line.mid(dash) : QString();
    return line.left(most - tail.size() - 1) + QChar(0x2026) + tail;
}

}  // namespace tf
