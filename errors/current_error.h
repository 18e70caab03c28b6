#pragma once

#include <QString>

#include "common/failure.h"

namespace tf {

// The run time's single error record (the classic Err object): what the last caught failure was.
struct CurrentError {
    int number = 0;
    QString description;
    QString source;

    void set(const Failure& failure) {
        number = failure.number();
        description = failure.description();
        source = failure.source();
    }
    void clear() { *this = CurrentError{}; }
    bool isSet() const { return number != 0; }
};

}  // namespace tf
