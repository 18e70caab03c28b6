#pragma once

namespace tf {

// The windows around the main window's logic: showing and unloading them.
class WindowShell {
  public:
    virtual ~WindowShell() = default;
    virtual void showMain() = 0;
    // Unloads the main window. Its unload handler runs unless it is already being unloaded.
    virtual void unloadMain() = 0;
    virtual void unloadAbout() = 0;
    // Brings the folder tree to the front and gives it the focus.
    virtual void focusTree() = 0;
};

}  // namespace tf
