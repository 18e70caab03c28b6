#include "clean/cleaning_status.h"

#include "common/text.h"
#include "errors/error_trap.h"

namespace tf {

namespace {
// Digits alone: the classic number-to-text blank in front of a positive number is dropped.
QString digits(long n) {
    return LTrim(Str(n));
}
}  // namespace

void CleaningStatus::Display_Cleaning_Status(const QString& folderName, long checked,
                                             long deletedInFolder, long total) {
    Procedure procedure(stack_, QStringLiteral("Display_Cleaning_Status"));
    panels_.setText(1,
                    QStringLiteral("Cleaning Folder \"") + Trim(folderName) + QStringLiteral("\""));
    panels_.setText(2, QStringLiteral("Checked: ") + digits(checked) +
                           QStringLiteral(", Deleted: Folder - ") + digits(deletedInFolder) +
                           QStringLiteral(", Total - ") + digits(total));
}

void CleaningStatus::Display_Delete_By_Selected_Status(long processed, long cleaned) {
    Procedure procedure(stack_, QStringLiteral("Display_Delete_By_Selected_Status"));
    panels_.setText(2, QStringLiteral("Processed - ") + digits(processed) +
                           QStringLiteral(", Cleaned - ") + digits(cleaned));
}

}  // namespace tf
