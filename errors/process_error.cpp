#include "errors/process_error.h"

#include "common/prompter.h"
#include "errors/current_error.h"

namespace tf {

QString ProcessError::reportText(const QString& process, const QString& item) const {
    const QString crlf = QStringLiteral("\r\n");
    const QString tab = QStringLiteral("\t");
    return QStringLiteral("An processing error has occurred.") + crlf + crlf +
           QStringLiteral("The following item could not be processed:") + crlf +
           QStringLiteral("  Source:    ") + tab + currentError_.source + crlf +
           QStringLiteral("  Process:   ") + tab + process + crlf +
           QStringLiteral("  Item:      ") + tab + item + crlf + QStringLiteral("  Descripton:") +
           tab + currentError_.description + crlf + QStringLiteral("  Number:    ") + tab +
           QString::number(currentError_.number) + crlf + crlf +
           QStringLiteral("Suppress further messages?");
}

void ProcessError::DisplayProcessingError(const QString& process, const QString& item) {
    if (suppress_) {
        return;
    }
    if (prompter_.ask(reportText(process, item), Prompter::YesNo) == Prompter::Yes) {
        suppress_ = true;
    }
}

}  // namespace tf
