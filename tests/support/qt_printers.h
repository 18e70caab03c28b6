#pragma once

#include <QString>
#include <QStringList>
#include <ostream>

#include "window/control_ids.h"

// Lets GoogleTest print Qt's strings as text in its failure messages.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QStringList& list, std::ostream* out) {
    *out << '[' << list.join(QStringLiteral(" | ")).toStdString() << ']';
}

namespace tf {
// A control by its name in the window.
inline void PrintTo(Control control, std::ostream* out) {
    *out << controlName(control).toStdString();
}
inline std::ostream& operator<<(std::ostream& out, Control control) {
    return out << controlName(control).toStdString();
}
}  // namespace tf
