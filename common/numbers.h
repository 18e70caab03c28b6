#pragma once

#include <cstdint>

namespace tf {

// Rounds to the nearest whole number, ties to the even neighbour (banker's rounding):
// 6543.5 -> 6544, 6542.5 -> 6542, -2.5 -> -2.
double roundHalfEven(double value);

// Conversions with the classic runtime's range checks: rounded half to even, and a Failure
// numbered err::kOverflow when the result does not fit.
std::int16_t toInt16(double value);
std::int32_t toInt32(double value);

// Overflow-checked arithmetic. Each throws Failure(err::kOverflow, "Overflow") instead of
// wrapping around.
std::int16_t checkedAdd(std::int16_t a, std::int16_t b);
std::int16_t checkedSub(std::int16_t a, std::int16_t b);
std::int16_t checkedMul(std::int16_t a, std::int16_t b);
std::int32_t checkedAdd(std::int32_t a, std::int32_t b);
std::int32_t checkedSub(std::int32_t a, std::int32_t b);
std::int32_t checkedMul(std::int32_t a, std::int32_t b);

// The classic Boolean: 16 bits, True is -1.
inline constexpr std::int16_t kTrue = -1;
inline constexpr std::int16_t kFalse = 0;

}  // namespace tf
