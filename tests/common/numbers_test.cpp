#include "common/numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "common/failure.h"

namespace tf {
namespace {

using I16 = std::int16_t;
using I32 = std::int32_t;

// Succeeds when call() throws the runtime's overflow failure and nothing else.
template <typename Call>
::testing::AssertionResult throwsOverflow(Call&& call) {
    try {
        const auto result = call();
        return ::testing::AssertionFailure() << "no failure, got " << result;
    } catch (const Failure& failure) {
        if (failure.number() != err::kOverflow || failure.description() != "Overflow") {
            return ::testing::AssertionFailure()
                   << "failure " << failure.number() << " " << failure.what();
        }
        return ::testing::AssertionSuccess();
    }
}

TEST(RoundHalfEven, TiesGoToTheEvenNeighbour) {
    const struct {
        double in;
        double out;
    } cases[] = {
        {6543.5, 6544}, {6542.5, 6542}, {-2.5, -2}, {-3.5, -4}, {0.5, 0},   {1.5, 2},
        {2.5, 2},       {-0.5, 0},      {2.4, 2},   {2.6, 3},   {-2.6, -3}, {7, 7},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(roundHalfEven(c.in), c.out) << c.in;
    }
}

TEST(ToInt16, RoundsThenChecksTheRange) {
    EXPECT_EQ(toInt16(32767), 32767);
    EXPECT_EQ(toInt16(32766.5), 32766);
    EXPECT_EQ(toInt16(-32768), -32768);
    EXPECT_EQ(toInt16(-32768.5), -32768);
    EXPECT_EQ(toInt16(6543.5), 6544);
    EXPECT_TRUE(throwsOverflow([] { return toInt16(32767.5); }));
    EXPECT_TRUE(throwsOverflow([] { return toInt16(32768); }));
    EXPECT_TRUE(throwsOverflow([] { return toInt16(-32768.6); }));
    EXPECT_TRUE(throwsOverflow([] { return toInt16(-32769); }));
    EXPECT_TRUE(throwsOverflow([] { return toInt16(std::nan("")); }));
}

TEST(ToInt32, RoundsThenChecksTheRange) {
    EXPECT_EQ(toInt32(2147483647.0), 2147483647);
    EXPECT_EQ(toInt32(2147483646.5), 2147483646);
    EXPECT_EQ(toInt32(-2147483648.0), std::numeric_limits<I32>::min());
    EXPECT_EQ(toInt32(-2147483648.5), std::numeric_limits<I32>::min());
    EXPECT_EQ(toInt32(32767.5), 32768);
    EXPECT_TRUE(throwsOverflow([] { return toInt32(2147483647.5); }));
    EXPECT_TRUE(throwsOverflow([] { return toInt32(-2147483648.6); }));
    EXPECT_TRUE(throwsOverflow([] { return toInt32(std::numeric_limits<double>::infinity()); }));
    EXPECT_TRUE(throwsOverflow([] { return toInt32(std::nan("")); }));
}

TEST(CheckedArithmetic16, OverflowsExactlyPastTheLimits) {
    EXPECT_EQ(checkedAdd(I16{32766}, I16{1}), 32767);
    EXPECT_EQ(checkedAdd(I16{-32767}, I16{-1}), -32768);
    EXPECT_EQ(checkedSub(I16{-32767}, I16{1}), -32768);
    EXPECT_EQ(checkedSub(I16{32766}, I16{-1}), 32767);
    EXPECT_EQ(checkedMul(I16{181}, I16{181}), 32761);
    EXPECT_EQ(checkedMul(I16{-128}, I16{256}), -32768);
    EXPECT_EQ(checkedMul(I16{-32768}, I16{1}), -32768);

    EXPECT_TRUE(throwsOverflow([] { return checkedAdd(I16{32767}, I16{1}); }));
    EXPECT_TRUE(throwsOverflow([] { return checkedAdd(I16{-32768}, I16{-1}); }));
    EXPECT_TRUE(throwsOverflow([] { return checkedSub(I16{-32768}, I16{1}); }));
    EXPECT_TRUE(throwsOverflow([] { return checkedSub(I16{0}, I16{-32768}); }));
    EXPECT_TRUE(throwsOverflow([] { return checkedMul(I16{128}, I16{256}); }));
    EXPECT_TRUE(throwsOverflow([] { return checkedMul(I16{182}, I16{181}); }));
    EXPECT_TRUE(throwsOverflow([] { return checkedMul(I16{-32768}, I16{-1}); }));
}

TEST(CheckedArithmetic32, OverflowsExactlyPastTheLimits) {
    constexpr I32 kMax = std::numeric_limits<I32>::max();
    constexpr I32 kMin = std::numeric_limits<I32>::min();
    EXPECT_EQ(checkedAdd(I32{kMax - 1}, I32{1}), kMax);
    EXPECT_EQ(checkedAdd(I32{kMin + 1}, I32{-1}), kMin);
    EXPECT_EQ(checkedSub(I32{kMin + 1}, I32{1}), kMin);
    EXPECT_EQ(checkedSub(I32{kMax - 1}, I32{-1}), kMax);
    EXPECT_EQ(checkedMul(I32{46340}, I32{46340}), 2147395600);
    EXPECT_EQ(checkedMul(I32{-65536}, I32{32768}), kMin);
    // Sums that only a 16-bit result would overflow.
    EXPECT_EQ(checkedAdd(I32{32767}, I32{1}), 32768);

    EXPECT_TRUE(throwsOverflow([] { return checkedAdd(I32{kMax}, I32{1}); }));
    EXPECT_TRUE(throwsOverflow([] { return checkedAdd(I32{kMin}, I32{-1}); }));
    EXPECT_TRUE(throwsOverflow([] { return checkedSub(I32{kMin}, I32{1}); }));
    EXPECT_TRUE(throwsOverflow([] { return checkedSub(I32{0}, I32{kMin}); }));
    EXPECT_TRUE(throwsOverflow([] { return checkedMul(I32{46341}, I32{46341}); }));
    EXPECT_TRUE(throwsOverflow([] { return checkedMul(I32{65536}, I32{32768}); }));
    EXPECT_TRUE(throwsOverflow([] { return checkedMul(I32{kMin}, I32{-1}); }));
}

}  // namespace
}  // namespace tf
