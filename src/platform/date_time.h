// A local calendar date and time of day, to the millisecond: what the component means
// by "now", file times and dates in settings. Plain value; conversions to a serial
// count of milliseconds make date arithmetic (whole days, adding seconds) exact.
#pragma once

#include <cstdint>
#include <string>

namespace ccaddin {

struct DateTime {
  int year = 1899;
  int month = 12;
  int day = 30;
  int hour = 0;
  int minute = 0;
  int second = 0;
  int millisecond = 0;

  // Milliseconds since 1970-01-01 00:00:00 of the same (local, zone-less) calendar.
  [[nodiscard]] int64_t ToSerialMs() const;
  [[nodiscard]] static DateTime FromSerialMs(int64_t ms);

  // Whole calendar days from this date to `later`'s date; times of day are ignored.
  [[nodiscard]] int32_t DaysUntil(const DateTime& later) const;
  [[nodiscard]] DateTime PlusMilliseconds(int64_t ms) const;

  // "YYYYMMDD" and "HHMMSS", the forms used in settings and file names.
  [[nodiscard]] std::string Yyyymmdd() const;
  [[nodiscard]] std::string Hhmmss() const;

  // False for dates that do not exist (month 13, 30 February, hour 24 ...).
  [[nodiscard]] bool IsValid() const;

  friend bool operator==(const DateTime&, const DateTime&) = default;
};

// Builds a DateTime; the arguments are checked only by IsValid().
[[nodiscard]] DateTime MakeDateTime(int year, int month, int day, int hour = 0, int minute = 0,
                                    int second = 0, int millisecond = 0);

}  // namespace ccaddin
