#pragma once

#include "layout/class_elastic.h"
#include "settings/registry_routines.h"

namespace tf {

// The help browser window as its logic sees it: an elastic window whose size can be set.
class HelpBrowserWindow : public ElasticWindow {
  public:
    virtual void setWidth(double twips) = 0;
    virtual void setHeight(double twips) = 0;
};

// The setting identifiers that keep the help browser's size between runs.
inline constexpr std::int16_t kHelpScreenHeight = 302;
inline constexpr std::int16_t kHelpScreenWidth = 303;

// frmHelpBrowser's load, resize and unload: its browser fills the window as it is resized, and
// the window's size is kept between runs. A saved height under 5000 twips (or none) leaves the
// designed size.
class HelpBrowserLogic {
  public:
    HelpBrowserLogic(HelpBrowserWindow& window, Registry_Routines& settings)
        : window_(window), settings_(settings) {}

    void Form_Load();
    void Form_Resize() { elastic_.FormResize(window_); }
    void Form_Unload();

  private:
    HelpBrowserWindow& window_;
    Registry_Routines& settings_;
    class_Elastic elastic_;
};

}  // namespace tf
