#pragma once

#include <QWidget>
#include <memory>
#include <vector>

#include "app/widgets/web_browser.h"
#include "app/widgets/widget_elastic_window.h"
#include "help/help_browser_logic.h"
#include "settings/registry_routines.h"

class QToolBar;

namespace tf {

// frmHelpBrowser: the program's own browser window for the on-line manual and the maker's site.
// Back and Forward stand above the page; the page grows with the window, and the window's size
// is kept between runs.
class frmHelpBrowser : public QWidget, public HelpBrowserWindow {
    Q_OBJECT
  public:
    explicit frmHelpBrowser(QWidget* parent = nullptr);

    WebBrowser* WebBrowser1() const { return browser_; }
    // Unloads the window (its size is saved as it closes).
    void closeBrowser() { close(); }

    // HelpBrowserWindow, in twips.
    double Width() const override { return WidgetElasticControl::twips(width()); }
    double Height() const override { return WidgetElasticControl::twips(height()); }
    bool AutoRedraw() const override { return autoRedraw_; }
    void setAutoRedraw(bool on) override { autoRedraw_ = on; }
    int controlCount() const override { return static_cast<int>(controls_.size()); }
    ElasticControl& control(int index) override {
        return *controls_.at(static_cast<std::size_t>(index));
    }
    void setWidth(double twips) override;
    void setHeight(double twips) override;

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    QToolBar* buildToolBar();

    QToolBar* toolBar_;
    WebBrowser* browser_;
    std::vector<std::unique_ptr<WidgetElasticControl>> controls_;
    Registry_Routines settings_;
    HelpBrowserLogic logic_{*this, settings_};
    bool autoRedraw_ = false;
    bool unloaded_ = false;
};

}  // namespace tf
