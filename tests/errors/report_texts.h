#pragma once

#include <QString>

#include "errors/error_stack.h"

namespace tf::testing {

// The three error reports, spelt out line by line so that any change of wording, caption width
// or line break shows up.
inline QString referencedReport(const QString& source, const QString& trap, const QString& location,
                                const QString& description, const QString& number) {
    return "An error has occurred.\r\n\r\n"
           "Please note the following Source, Location and Description and notify\r\n" +
           kSupportContact + "\r\n\r\n" + "Source:    \t" + source + "\r\n" + "Trap:      \t\t" +
           trap + "\r\n" + "Location:  \t" + location + "\r\n" + "Descripton:\t" + description +
           "\r\n" + "Number:    \t" + number;
}

inline QString vanishedReport(const QString& source, const QString& trap, const QString& location,
                              const QString& description, const QString& number) {
    return "An error has occurred.\r\n\r\n"
           "A folder or item may have been deleted during processing.\r\n"
           "The folder tree will be refreshed then please try again.\r\n\r\n"
           "Source:    \t" +
           source + "\r\n" + "Trap:      \t\t" + trap + "\r\n" + "Location:  \t" + location +
           "\r\n" + "Descripton:\t" + description + "\r\n" + "Number:    \t" + number;
}

inline QString unreferencedReport(const QString& source, const QString& trap,
                                  const QString& description, const QString& number) {
    return "An un-referenced error has occurred.\r\n\r\n"
           "Please note the following Source and Description and notify\r\n" +
           kSupportContact + "\r\n\r\n" + "Source:    \t" + source + "\r\n" + "Trap:      \t\t" +
           trap + "\r\n" + "Descripton:\t" + description + "\r\n" + "Number:    \t" + number;
}

}  // namespace tf::testing
