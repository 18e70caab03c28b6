#include "common/text.h"

#include <gtest/gtest.h>

#include <QLocale>

namespace tf {
namespace {

TEST(Str, WholeNumbersGetABlankForTheSign) {
    EXPECT_EQ(Str(5LL), " 5");
    EXPECT_EQ(Str(-5LL), "-5");
    EXPECT_EQ(Str(0LL), " 0");
    EXPECT_EQ(Str(16383LL), " 16383");
    EXPECT_EQ(Str(-2147483648LL), "-2147483648");
}

TEST(Str, FractionsDropTheLeadingZero) {
    const struct {
        double in;
        const char* out;
    } cases[] = {
        {5.0, " 5"},      {-5.0, "-5"},          {0.0, " 0"},           {0.5, " .5"},
        {-0.25, "-.25"},  {2.5, " 2.5"},         {-12.75, "-12.75"},    {1e16, " 1E+16"},
        {1e-5, " 1E-05"}, {-1.5e20, "-1.5E+20"}, {45366.5, " 45366.5"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Str(c.in), QLatin1String(c.out)) << c.in;
    }
}

TEST(Val, ReadsTheLongestLeadingNumber) {
    const struct {
        const char* in;
        double out;
    } cases[] = {
        {"12abc", 12},      {"1 000", 1000}, {"abc", 0},      {"", 0},
        {"  -5", -5},       {"- 5", -5},     {"+7", 7},       {"--5", 0},
        {"1\t2\r\n3", 123}, {".5", 0.5},     {"-.25", -0.25}, {"3.14.15", 3.14},
        {"1,5", 1},         {"12-3", 12},    {".", 0},        {"1.5e3", 1500},
        {"1.5E+2x", 150},   {"2D2", 200},    {"2d-1", 0.2},   {"1e", 1},
        {"1e+", 1},         {"7E 2", 700},   {"&H1F", 31},    {"&h1f", 31},
        {" & H 1 F", 31},   {"&O17", 15},    {"&o17", 15},    {"&O19", 1},
        {"&HZZ", 0},        {"&", 0},
    };
    for (const auto& c : cases) {
        EXPECT_DOUBLE_EQ(Val(QString::fromLatin1(c.in)), c.out) << c.in;
    }
}

TEST(ParseLocaleNumber, AcceptsWholeNumbersOfTheCLocale) {
    const QLocale c = QLocale::c();
    EXPECT_EQ(parseLocaleNumber("1200", c), 1200.0);
    EXPECT_EQ(parseLocaleNumber("007", c), 7.0);
    EXPECT_EQ(parseLocaleNumber("  12.5  ", c), 12.5);
    EXPECT_EQ(parseLocaleNumber("-3", c), -3.0);
    EXPECT_EQ(parseLocaleNumber("6543.5", c), 6543.5);
    EXPECT_EQ(parseLocaleNumber("1,200.5", c), 1200.5);
    EXPECT_FALSE(parseLocaleNumber("", c).has_value());
    EXPECT_FALSE(parseLocaleNumber("   ", c).has_value());
    EXPECT_FALSE(parseLocaleNumber("12abc", c).has_value());
    EXPECT_FALSE(parseLocaleNumber("abc", c).has_value());
    EXPECT_FALSE(parseLocaleNumber("/home/me", c).has_value());

    EXPECT_TRUE(isNumeric("1200", c));
    EXPECT_TRUE(isNumeric(" 007 ", c));
    EXPECT_FALSE(isNumeric("C:\\Tools", c));
    EXPECT_FALSE(isNumeric("", c));
}

TEST(ParseLocaleNumber, FollowsTheGivenLocalesSeparators) {
    const QLocale german(QLocale::German, QLocale::Germany);
    EXPECT_EQ(parseLocaleNumber("1.200,5", german), 1200.5);
    EXPECT_EQ(parseLocaleNumber("1,5", german), 1.5);
    EXPECT_EQ(parseLocaleNumber("1200", german), 1200.0);
    EXPECT_FALSE(parseLocaleNumber("1.5", german).has_value());
    EXPECT_FALSE(parseLocaleNumber("12abc", german).has_value());
    EXPECT_TRUE(isNumeric("1.200,5", german));
    EXPECT_FALSE(isNumeric("1.200,5", QLocale::c()));
}

TEST(Trim, RemovesSpacesOnly) {
    EXPECT_EQ(Trim("  a b  "), "a b");
    EXPECT_EQ(Trim("   "), "");
    EXPECT_EQ(Trim(""), "");
    EXPECT_EQ(Trim("\t a \t"), "\t a \t");
    EXPECT_EQ(Trim(" \ta\t "), "\ta\t");
    EXPECT_EQ(Trim("\r\nx\r\n"), "\r\nx\r\n");
    EXPECT_EQ(LTrim("  a  "), "a  ");
    EXPECT_EQ(RTrim("  a  "), "  a");
    EXPECT_EQ(LTrim("\ta"), "\ta");
    EXPECT_EQ(RTrim("a\t"), "a\t");
}

TEST(UCase, UpperCasesBeyondAscii) {
    EXPECT_EQ(UCase("Deleted Items 42"), "DELETED ITEMS 42");
    EXPECT_EQ(UCase(QString::fromUtf8("àéîõü ñ Öffnen")), QString::fromUtf8("ÀÉÎÕÜ Ñ ÖFFNEN"));
    EXPECT_EQ(UCase(QString::fromUtf8("кошка")), QString::fromUtf8("КОШКА"));
    EXPECT_EQ(UCase(""), "");
}

}  // namespace
}  // namespace tf
