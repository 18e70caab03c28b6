#include "common/dates.h"

#include <gtest/gtest.h>

#include <QDate>
#include <QDateTime>
#include <QTime>
#include <cstdlib>
#include <ctime>

namespace tf {
namespace {

TEST(OleDate, CountsDaysFromTheEpoch) {
    EXPECT_EQ(dateSerial(1899, 12, 30), 0.0);
    EXPECT_EQ(dateSerial(1899, 12, 31), 1.0);
    EXPECT_EQ(dateSerial(1900, 1, 1), 2.0);
    EXPECT_EQ(dateSerial(1899, 12, 29), -1.0);
    EXPECT_EQ(dateSerial(1800, 1, 1), -36522.0);
    EXPECT_EQ(dateSerial(2000, 1, 1), 36526.0);
    EXPECT_EQ(dateSerial(4501, 1, 1), kNoDate);
    EXPECT_EQ(kNoDate, 949998.0);
    EXPECT_EQ(toQDate(0), QDate(1899, 12, 30));
    EXPECT_EQ(toQDate(kNoDate), QDate(4501, 1, 1));
}

TEST(OleDate, NoDateIgnoresTheTimeOfDay) {
    EXPECT_TRUE(isNoDate(kNoDate));
    EXPECT_TRUE(isNoDate(kNoDate + 0.5));
    EXPECT_TRUE(isNoDate(kNoDate + 0.999));
    EXPECT_FALSE(isNoDate(kNoDate - 0.5));
    EXPECT_FALSE(isNoDate(kNoDate + 1));
    EXPECT_FALSE(isNoDate(0));
}

TEST(OleDate, FormatsAsYearMonthDay) {
    const struct {
        OleDate in;
        const char* out;
    } cases[] = {
        {0, "1899-12-30"},
        {2, "1900-01-01"},
        {2.99, "1900-01-01"},
        {36526.75, "2000-01-01"},
        {1.5, "1899-12-31"},
        {-1, "1899-12-29"},
        {-1.25, "1899-12-29"},
        {-0.5, "1899-12-30"},
        {-2.75, "1899-12-28"},
        {-36522, "1800-01-01"},
        {-36522.5, "1800-01-01"},
        {kNoDate, "4501-01-01"},
        {dateSerial(2024, 2, 29) + 0.25, "2024-02-29"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(formatDate(c.in), QLatin1String(c.out)) << c.in;
    }
}

TEST(OleDate, TimeIsAPositiveFractionOnEitherSideOfTheEpoch) {
    const struct {
        QDateTime local;
        OleDate serial;
    } cases[] = {
        {QDateTime(QDate(1899, 12, 30), QTime(0, 0)), 0},
        {QDateTime(QDate(1899, 12, 30), QTime(12, 0)), 0.5},
        {QDateTime(QDate(1900, 1, 1), QTime(6, 0)), 2.25},
        {QDateTime(QDate(1899, 12, 29), QTime(6, 0)), -1.25},
        {QDateTime(QDate(1899, 12, 28), QTime(18, 0)), -2.75},
        {QDateTime(QDate(2000, 1, 1), QTime(18, 0)), 36526.75},
    };
    for (const auto& c : cases) {
        EXPECT_DOUBLE_EQ(toOleDate(c.local), c.serial) << c.local.toString().toStdString();
        EXPECT_EQ(toQDateTime(c.serial), c.local) << c.serial;
    }
}

TEST(OleDate, RoundTripsToTheMillisecond) {
    const QDateTime samples[] = {
        QDateTime(QDate(2024, 3, 15), QTime(18, 30, 15, 250)),
        QDateTime(QDate(1999, 12, 31), QTime(23, 59, 59, 999)),
        QDateTime(QDate(1850, 6, 1), QTime(0, 0, 0, 1)),
        QDateTime(QDate(1899, 12, 29), QTime(23, 59, 59)),
        QDateTime(QDate(4500, 12, 31), QTime(12, 0)),
    };
    for (const QDateTime& t : samples) {
        const OleDate serial = toOleDate(t);
        EXPECT_EQ(toQDate(serial), t.date()) << serial;
        EXPECT_EQ(toQDateTime(serial), t) << serial;
        EXPECT_EQ(toOleDate(toQDateTime(serial)), serial);
    }
}

// Switches the process's local time zone for the life of the object.
class LocalZone {
  public:
    explicit LocalZone(const char* zone)
        : saved_(qgetenv("TZ")), had_(qEnvironmentVariableIsSet("TZ")) {
        qputenv("TZ", zone);
        tzset();
    }
    ~LocalZone() {
        if (had_) {
            qputenv("TZ", saved_);
        } else {
            qunsetenv("TZ");
        }
        tzset();
    }
    LocalZone(const LocalZone&) = delete;
    LocalZone& operator=(const LocalZone&) = delete;

  private:
    QByteArray saved_;
    bool had_;
};

TEST(OleDate, WallClockTimeSurvivesDaylightSavingDays) {
    const LocalZone berlin("Europe/Berlin");
    // Clocks go forward at 02:00 on 2024-03-31 and back at 03:00 on 2024-10-27.
    const QDateTime samples[] = {
        QDateTime(QDate(2024, 3, 31), QTime(12, 0)),
        QDateTime(QDate(2024, 3, 31), QTime(1, 30)),
        QDateTime(QDate(2024, 10, 27), QTime(18, 0)),
    };
    for (const QDateTime& t : samples) {
        ASSERT_TRUE(t.isValid());
        const OleDate serial = toOleDate(t);
        EXPECT_DOUBLE_EQ(serial - dateSerial(t.date().year(), t.date().month(), t.date().day()),
                         t.time().msecsSinceStartOfDay() / 86'400'000.0);
        const QDateTime back = toQDateTime(serial);
        EXPECT_EQ(back.date(), t.date()) << serial;
        EXPECT_EQ(back.time().toString(u"HH:mm:ss.zzz"), t.time().toString(u"HH:mm:ss.zzz"))
            << serial;
    }
}

}  // namespace
}  // namespace tf
