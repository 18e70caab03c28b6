#pragma once

#include <QStringList>
#include <functional>
#include <memory>

#include "help/application_info.h"
#include "help/html_help.h"
#include "window/controls.h"

namespace tf {

// The windows the Help menu opens besides the help viewer.
class HelpWindows {
  public:
    virtual ~HelpWindows() = default;
    // frmHelpBrowser, navigated to the address; not modal.
    virtual void showHelpBrowser(const QString& address) = 0;
    virtual void showAbout() = 0;
};

// The main window's controls as What's This help sees them, in the window's control order.
class ControlsHelpForm : public WhatsThisForm {
  public:
    explicit ControlsHelpForm(Controls& controls) : controls_(controls) {}

    // The window's What's This mode: returns the control clicked.
    std::function<std::optional<Control>()> pickControl = [] { return std::nullopt; };
    std::uintptr_t windowHandle = 0;

    int controlCount() const override { return kControlCount; }
    bool hasHelpProperties(int) const override { return true; }
    int WhatsThisHelpID(int index) const override {
        return controls_[allControls()[static_cast<std::size_t>(index)]].whatsThisHelpID;
    }
    void setWhatsThisHelpID(int index, int contextId) override;
    QString Tag(int index) const override {
        return controls_[allControls()[static_cast<std::size_t>(index)]].tag;
    }
    void setTag(int index, const QString& tag) override;
    std::uintptr_t hWnd() const override { return windowHandle; }
    std::optional<int> WhatsThisMode() override;

  private:
    Controls& controls_;
};

// The address of the on-line manual's index under a site's address.
QString onlineHelpAddress(const QString& site);
// The maker's site: TIDYFOLD_HELP_SITE when set, so that a mirror or a test server can stand in.
QString helpSiteAddress();

// The main window's help: the help file and What's This help set up at start-up, and the Help
// menu's handlers, each reported under its own name on the window's error stack.
class MainWindowHelp {
  public:
    MainWindowHelp(ErrorContext& errors, Prompter& prompter, Controls& controls);

    // The window shell's parts; until they are given the menu opens nothing.
    void attach(HelpViewer& viewer, HelpWindows& windows);

    // Start-up: creates HTML_Help, finds the help file and moves the topics into the tags.
    void initialize();

    void mnuHelp_Click();
    void mnuWhatsThis_Click();
    void mnuOnlineHelp_Click(const QString& address);
    void mnuAbout_Click();

    ApplicationInfo application = tidyfoldApplication();
    ControlsHelpForm form;
    std::unique_ptr<HTML_Help> help;

  private:
    class NoViewer : public HelpViewer {
      public:
        bool showContents(const QString&) override { return false; }
        bool showTopic(const QString&, int) override { return false; }
    };
    class NoWindows : public HelpWindows {
      public:
        void showHelpBrowser(const QString&) override {}
        void showAbout() override {}
    };

    ErrorContext& errors_;
    Prompter& prompter_;
    NoViewer noViewer_;
    NoWindows noWindows_;
    HelpViewer* viewer_ = &noViewer_;
    HelpWindows* windows_ = &noWindows_;
};

}  // namespace tf
