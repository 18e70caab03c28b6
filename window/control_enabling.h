#pragma once

#include <QString>
#include <vector>

#include "window/control_ids.h"
#include "window/window_parts.h"

namespace tf {

// An option box and the value it starts with and returns to on Reset Options.
struct OptionDefault {
    Control box;
    int value;
};

// The options as a first run finds them: nothing is deleted for good, no folder is deleted, unread
// items are left alone and every folder is confirmed. The grid shows the current folder, every
// row of it, so that a click on a folder shows what it holds. Delete Folders, Turbo and Select By
// Row come first, so that Reset Options leaves those modes before it sets the boxes they force.
const std::vector<OptionDefault>& defaultOptions();

// The tooltip of each control, as Load_Tooltips sets them.
struct ControlTooltip {
    Control control;
    const char* text;
};
const std::vector<ControlTooltip>& controlTooltips();

// Switches the window's controls on and off: all of them around a cleaning run, the option boxes
// by their interlocks, and the commands by what is selected.
class ControlEnabling {
  public:
    explicit ControlEnabling(WindowParts parts) : w_(parts) {}

    // Every control on or off; during a run the Clean button stays on, as Cancel.
    void Enable_All_Controls(bool enable);
    // A box that an option in force has set is not the user's to change while it is in force,
    // and the controls of a filter follow its box. Nothing is switched on during a run.
    void Enable_Check_Boxes();
    // Clean needs something to clean: a selected row with select-by-row on, a marked folder
    // otherwise. Unmark needs a marked folder.
    void Enable_Command_Buttons();
    void Load_Tooltips();
    // Puts every option box back to its default, through its click handler.
    void Set_Checkbox_Values();
    // The defaults as the window starts with them, before anything is loaded: no handler runs.
    void setStartValues();

    int markedNodes() const;

  private:
    WindowParts w_;
};

}  // namespace tf
