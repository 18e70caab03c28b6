#include "common/numbers.h"

#include <cmath>
#include <limits>

#include "common/failure.h"

namespace tf {

namespace {

[[noreturn]] void overflow() {
    throw Failure(err::kOverflow, QStringLiteral("Overflow"));
}

template <typename Int>
Int narrow(double value) {
    const double rounded = roundHalfEven(value);
    if (std::isnan(rounded) || rounded < static_cast<double>(std::numeric_limits<Int>::min()) ||
        rounded > static_cast<double>(std::numeric_limits<Int>::max())) {
        overflow();
    }
    return static_cast<Int>(rounded);
}

template <typename Int>
Int checked(long long result) {
    if (result < std::numeric_limits<Int>::min() || result > std::numeric_limits<Int>::max()) {
        overflow();
    }
    return static_cast<Int>(result);
}

}  // namespace

double roundHalfEven(double value) {
    // nearbyint honours the default rounding mode, which is round-to-nearest-even.
    return std::nearbyint(value);
}

std::int16_t toInt16(double value) {
    return narrow<std::int16_t>(value);
}
std::int32_t toInt32(double value) {
    return narrow<std::int32_t>(value);
}

std::int16_t checkedAdd(std::int16_t a, std::int16_t b) {
    return checked<std::int16_t>(static_cast<long long>(a) + b);
}
std::int16_t checkedSub(std::int16_t a, std::int16_t b) {
    return checked<std::int16_t>(static_cast<long long>(a) - b);
}
std::int16_t checkedMul(std::int16_t a, std::int16_t b) {
    return checked<std::int16_t>(static_cast<long long>(a) * b);
}
std::int32_t checkedAdd(std::int32_t a, std::int32_t b) {
    return checked<std::int32_t>(static_cast<long long>(a) + b);
}
std::int32_t checkedSub(std::int32_t a, std::int32_t b) {
    return checked<std::int32_t>(static_cast<long long>(a) - b);
}
std::int32_t checkedMul(std::int32_t a, std::int32_t b) {
    return checked<std::int32_t>(static_cast<long long>(a) * b);
}

}  // namespace tf
