#include "platform/date_time.h"

#include <chrono>
#include <cstdio>

namespace ccaddin {

namespace {
using std::chrono::days;
using std::chrono::milliseconds;
using std::chrono::sys_days;

std::chrono::year_month_day Ymd(const DateTime& t) {
  return std::chrono::year{t.year} / std::chrono::month{static_cast<unsigned>(t.month)} /
         std::chrono::day{static_cast<unsigned>(t.day)};
}
}  // namespace

DateTime MakeDateTime(int year, int month, int day, int hour, int minute, int second,
                      int millisecond) {
  return DateTime{year, month, day, hour, minute, second, millisecond};
}

int64_t DateTime::ToSerialMs() const {
  const int64_t day_number = sys_days{Ymd(*this)}.time_since_epoch().count();
  return ((day_number * 24 + hour) * 60 + minute) * 60'000LL + second * 1000LL + millisecond;
}

DateTime DateTime::FromSerialMs(int64_t ms) {
  int64_t day_number = ms / 86'400'000;
  int64_t rest = ms % 86'400'000;
  if (rest < 0) {
    rest += 86'400'000;
    --day_number;
  }
  const std::chrono::year_month_day ymd{sys_days{days{day_number}}};
  DateTime t;
  t.year = static_cast<int>(ymd.year());
  t.month = static_cast<int>(static_cast<unsigned>(ymd.month()));
  t.day = static_cast<int>(static_cast<unsigned>(ymd.day()));
  t.hour = static_cast<int>(rest / 3'600'000);
  t.minute = static_cast<int>(rest / 60'000 % 60);
  t.second = static_cast<int>(rest / 1000 % 60);
  t.millisecond = static_cast<int>(rest % 1000);
  return t;
}

int32_t DateTime::DaysUntil(const DateTime& later) const {
  return static_cast<int32_t>((sys_days{Ymd(later)} - sys_days{Ymd(*this)}).count());
}

DateTime DateTime::PlusMilliseconds(int64_t ms) const {
  return FromSerialMs(ToSerialMs() + ms);
}

std::string DateTime::Yyyymmdd() const {
  char buf[16];
  std::snprintf(buf, sizeof buf, "%04d%02d%02d", year % 10000, month % 100, day % 100);
  return buf;
}

std::string DateTime::Hhmmss() const {
  char buf[16];
  std::snprintf(buf, sizeof buf, "%02d%02d%02d", hour % 100, minute % 100, second % 100);
  return buf;
}

bool DateTime::IsValid() const {
  return Ymd(*this).ok() && hour >= 0 && hour < 24 && minute >= 0 && minute < 60 && second >= 0 &&
         second < 60 && millisecond >= 0 && millisecond < 1000;
}

}  // namespace ccaddin
