#pragma once

#include <QString>
#include <cstdint>
#include <optional>

#include "common/prompter.h"
#include "errors/error_trap.h"
#include "help/application_info.h"

namespace tf {

// Shows the help file: at its contents, or at the topic with a context identifier. False when the
// file could not be opened.
class HelpViewer {
  public:
    virtual ~HelpViewer() = default;
    virtual bool showContents(const QString& helpFile) = 0;
    virtual bool showTopic(const QString& helpFile, int contextId) = 0;
};

// A window's controls as What's This help sees them: each carries the context identifier of its
// help topic (WhatsThisHelpID) and a Tag, in the window's control order.
class WhatsThisForm {
  public:
    virtual ~WhatsThisForm() = default;
    virtual int controlCount() const = 0;
    // False for a control that lacks either property; such controls are passed over.
    virtual bool hasHelpProperties(int index) const = 0;
    virtual int WhatsThisHelpID(int index) const = 0;
    virtual void setWhatsThisHelpID(int index, int contextId) = 0;
    virtual QString Tag(int index) const = 0;
    virtual void setTag(int index, const QString& tag) = 0;
    virtual std::uintptr_t hWnd() const = 0;
    // Waits for the user's next click; the control clicked, or nothing when the mode was left.
    virtual std::optional<int> WhatsThisMode() = 0;
};

// The help file and What's This help of one window. It reports its failures through an error
// stack of its own, apart from the window's.
class HTML_Help {
  public:
    HTML_Help(Prompter& prompter, ApplicationInfo& application, HelpViewer& viewer);

    void Show_Help();
    // Looks for the help file where the build put it, then next to the program.
    void Set_Help_File(WhatsThisForm& form);
    // Moves the designed topics into the controls' tags and clears the live identifiers, so that
    // nothing opens a topic by itself.
    void Initialize_WhatsThis_Help(WhatsThisForm& form);
    // The next click on a control opens its topic.
    void Activate_WhatsThis_Help(WhatsThisForm& form);
    // "COPY": tag from identifier; "ZERO": identifier 0; "GET": identifier from tag.
    void Transfer_WhatsThisHelpIDs(WhatsThisForm& form, const QString& mode);

    const QString& helpFile() const { return helpFile_; }
    std::uintptr_t ownerWindow() const { return ownerWindow_; }

    ErrorContext errors;

  private:
    // False, with the message shown, when there is no help file or the viewer cannot open it.
    bool reportUnopened(bool opened);

    Prompter& prompter_;
    ApplicationInfo& application_;
    HelpViewer& viewer_;
    QString helpFile_;
    std::uintptr_t ownerWindow_ = 0;
};

}  // namespace tf
