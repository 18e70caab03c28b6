#pragma once

#include <QApplication>
#include <QPixmap>
#include <QScreen>
#include <QString>

namespace tf::testing {

// Saves the whole screen as NAME.png in $TIDYFOLD_SCREENSHOTS when that is set. Run under
// xvfb-run, the widget tests are then the script of the screenshots that a person looks at;
// offscreen, and without the variable, nothing is saved.
inline void screenshot(const QString& name) {
    const QString dir = qEnvironmentVariable("TIDYFOLD_SCREENSHOTS");
    if (dir.isEmpty()) {
        return;
    }
    QApplication::processEvents();
    QScreen* screen = QApplication::primaryScreen();
    const QRect all = screen->virtualGeometry();
    const QPixmap shot = screen->grabWindow(0, all.x(), all.y(), all.width(), all.height());
    if (!shot.isNull()) {
        shot.save(dir + QStringLiteral("/") + name + QStringLiteral(".png"));
    }
}

}  // namespace tf::testing
