#pragma once

// The encoding date of a MuseData header: month/day/year as the encoders in
// America typed it, read into and written from MusicXML's ISO yyyy-mm-dd.

namespace musedata {

constexpr bool IsLeapYear(int year) noexcept {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// Whether year, month and day name a day of the calendar (year 1 or later).
constexpr bool IsCalendarDate(int year, int month, int day) noexcept {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (year < 1 || month < 1 || month > 12 || day < 1) return false;
  return day <= (month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1]);
}

}  // namespace musedata
