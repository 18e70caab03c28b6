#pragma once

#include <QString>
#include <functional>

#include "common/failure.h"

namespace tf::testing {

// The description of the Failure that call throws; empty when it throws none.
inline QString failureOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const Failure& failure) {
        return failure.description();
    }
    return {};
}

}  // namespace tf::testing
