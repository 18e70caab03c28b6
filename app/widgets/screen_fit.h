#pragma once

#include <QMargins>
#include <QRect>
#include <QSize>
#include <QString>

class QWidget;

namespace tf {

// The place for a window whose inside is `wanted`: shrunk and moved so that, with its frame, it
// lies within `area`, but never smaller than `minimum`.
QRect fitWithin(const QRect& wanted, const QSize& minimum, const QRect& area,
                const QMargins& frame);

// Fits a top-level window, frame and all, onto its screen's available area. Before the window
// manager has framed it, a typical title bar and border are assumed.
void fitToScreen(QWidget& window);
// Fits the window now and again once the window manager has framed it; for showEvent.
void fitToScreenOnceFramed(QWidget& window);

// A window title short enough for a title bar: a long one loses the middle of its first part
// and keeps its end (" - Mail").
QString shortTitle(const QString& title, int most = 100);

}  // namespace tf
