#include "app/widgets/help_browser_window.h"

#include <QCloseEvent>
#include <QResizeEvent>
#include <cmath>

namespace tf {

namespace {
// The designed size, in pixels: 13500 by 10500 twips.
constexpr int kDesignWidth = 900;
constexpr int kDesignHeight = 700;

int toPixels(double twips) {
    return std::max(1, static_cast<int>(std::lround(twips / 15.0)));
}
}  // namespace

frmHelpBrowser::frmHelpBrowser(QWidget* parent) : QWidget(parent, Qt::Window) {
    setObjectName(QStringLiteral("frmHelpBrowser"));
    setWindowTitle(QStringLiteral("Tidyfold Online Help"));
    setAttribute(Qt::WA_DeleteOnClose);
    resize(kDesignWidth, kDesignHeight);
    browser_ = new WebBrowser(this);
    browser_->setGeometry(0, 0, kDesignWidth, kDesignHeight);
    controls_ = elasticControlsOf(this);
    logic_.Form_Load();
}

void frmHelpBrowser::setWidth(double twips) {
    resize(toPixels(twips), height());
    if (!isVisible()) {
        // A hidden window hears of its new size only when it is shown; the layout follows now.
        logic_.Form_Resize();
    }
}

void frmHelpBrowser::setHeight(double twips) {
    resize(width(), toPixels(twips));
    if (!isVisible()) {
        logic_.Form_Resize();
    }
}

void frmHelpBrowser::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    logic_.Form_Resize();
}

void frmHelpBrowser::closeEvent(QCloseEvent* event) {
    if (!unloaded_) {
        unloaded_ = true;
        logic_.Form_Unload();
    }
    event->accept();
}

}  // namespace tf
