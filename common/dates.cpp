#include "common/dates.h"

#include <cmath>

namespace tf {

namespace {
const QDate kEpoch(1899, 12, 30);
constexpr double kMillisPerDay = 86'400'000.0;
}  // namespace

OleDate toOleDate(const QDate& date) {
    return static_cast<double>(kEpoch.daysTo(date));
}

OleDate toOleDate(const QDateTime& dateTime) {
    const double days = toOleDate(dateTime.date());
    const double fraction = dateTime.time().msecsSinceStartOfDay() / kMillisPerDay;
    // Before the epoch the classic format keeps the time as a positive fraction after a negative
    // day count (-1.25 is 1899-12-29 06:00).
    return days >= 0 ? days + fraction : days - fraction;
}

OleDate dateSerial(int year, int month, int day) {
    return toOleDate(QDate(year, month, day));
}

OleDate datePart(OleDate date) {
    return std::trunc(date);
}

QDate toQDate(OleDate date) {
    return kEpoch.addDays(static_cast<qint64>(datePart(date)));
}

QDateTime toQDateTime(OleDate date) {
    const double fraction = std::fabs(date - datePart(date));
    const long long msecs = std::llround(fraction * kMillisPerDay);
    const QDate day = toQDate(date);
    // The fraction is the wall-clock time. Build it directly: adding milliseconds to midnight
    // would be off by the shift on a day when the clocks change.
    if (msecs >= static_cast<long long>(kMillisPerDay)) {
        return QDateTime(day.addDays(1), QTime(0, 0));
    }
    return QDateTime(day, QTime::fromMSecsSinceStartOfDay(static_cast<int>(msecs)));
}

bool isNoDate(OleDate date) {
    return datePart(date) == kNoDate;
}

QString formatDate(OleDate date) {
    return toQDate(date).toString(QStringLiteral("yyyy-MM-dd"));
}

}  // namespace tf
