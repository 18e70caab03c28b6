#pragma once

#include <QString>
#include <QStringList>
#include <ostream>

// Lets GoogleTest print Qt's strings as text in its failure messages.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QStringList& list, std::ostream* out) {
    *out << '[' << list.join(QStringLiteral(" | ")).toStdString() << ']';
}
