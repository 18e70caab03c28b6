#pragma once

#include <QDate>
#include <QDateTime>
#include <QString>

namespace tf {

// Dates are day counts from 1899-12-30; the fraction is the time of day.
using OleDate = double;

OleDate toOleDate(const QDate& date);
OleDate toOleDate(const QDateTime& dateTime);
OleDate dateSerial(int year, int month, int day);
QDate toQDate(OleDate date);
QDateTime toQDateTime(OleDate date);

// January 1, 4501: what a mail store holds for an empty date.
inline constexpr OleDate kNoDate = 949998.0;
// True when the date part is the empty-date value, whatever the time of day.
bool isNoDate(OleDate date);
// The date part alone. The time is a positive fraction on either side of the epoch, so this
// truncates toward zero.
OleDate datePart(OleDate date);

// "yyyy-mm-dd", the form in which dates also sort correctly as text.
QString formatDate(OleDate date);

}  // namespace tf
