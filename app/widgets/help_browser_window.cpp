#include "app/widgets/help_browser_window.h"

#include <QAction>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QResizeEvent>
#include <QStyle>
#include <QToolBar>
#include <cmath>

#include "app/widgets/help_viewer_window.h"
#include "app/widgets/screen_fit.h"

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
    toolBar_ = buildToolBar();
    const int top = toolBar_->sizeHint().height();
    toolBar_->setGeometry(0, 0, kDesignWidth, top);
    // The page takes the rest of the designed window; it grows and shrinks with the window.
    browser_->setGeometry(0, top, kDesignWidth, kDesignHeight - top);
    controls_ = elasticControlsOf(this);
    logic_.Form_Load();
}

QToolBar* frmHelpBrowser::buildToolBar() {
    // Unnamed, so that the elastic resizing passes it over; resizeEvent keeps it full width.
    auto* bar = new QToolBar(this);
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    QAction* back =
        bar->addAction(style()->standardIcon(QStyle::SP_ArrowBack), QStringLiteral("&Back"));
    back->setObjectName(QStringLiteral("browserBack"));
    back->setShortcut(QKeySequence::Back);
    back->setEnabled(false);
    QAction* forward =
        bar->addAction(style()->standardIcon(QStyle::SP_ArrowForward), QStringLiteral("&Forward"));
    forward->setObjectName(QStringLiteral("browserForward"));
    forward->setShortcut(QKeySequence::Forward);
    forward->setEnabled(false);
    connect(back, &QAction::triggered, browser_, &WebBrowser::back);
    connect(forward, &QAction::triggered, browser_, &WebBrowser::forward);
    connect(browser_, &WebBrowser::historyChanged, this, [this, back, forward] {
        back->setEnabled(browser_->canGoBack());
        forward->setEnabled(browser_->canGoForward());
    });
    return bar;
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
    toolBar_->resize(width(), toolBar_->height());
    logic_.Form_Resize();
}

void frmHelpBrowser::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    fitToScreenOnceFramed(*this);
}

void frmHelpBrowser::keyPressEvent(QKeyEvent* event) {
    if (isCloseKey(*event)) {
        closeBrowser();
        return;
    }
    QWidget::keyPressEvent(event);
}

void frmHelpBrowser::closeEvent(QCloseEvent* event) {
    if (!unloaded_) {
        unloaded_ = true;
        logic_.Form_Unload();
    }
    event->accept();
}

}  // namespace tf
