#include "errors/error_trap.h"

namespace tf {

Failure asFailure(const std::exception& e) {
    if (dynamic_cast<const std::bad_alloc*>(&e) != nullptr) {
        return Failure(err::kOutOfMemory, QStringLiteral("Out of memory"));
    }
    return Failure(err::kInternal, QString::fromLocal8Bit(e.what()));
}

}  // namespace tf
