#pragma once

#include <QString>

#include "errors/error_stack.h"
#include "window/status_panels.h"

namespace tf {

// Tells the user in the status bar which folder is being cleaned and how far the run has come.
class CleaningStatus {
  public:
    CleaningStatus(ErrorStack& stack, StatusPanels& panels) : stack_(stack), panels_(panels) {}

    // For the strategies that work through one folder.
    void Display_Cleaning_Status(const QString& folderName, long checked, long deletedInFolder,
                                 long total);
    // For the run that works through the grid's picked rows.
    void Display_Delete_By_Selected_Status(long processed, long cleaned);

  private:
    ErrorStack& stack_;
    StatusPanels& panels_;
};

}  // namespace tf
