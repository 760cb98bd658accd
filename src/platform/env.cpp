#include "platform/env.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>

#include <cerrno>
#include <chrono>
#include <clocale>
#include <cstring>

namespace ccaddin {

namespace {

class RealEnv final : public Env {
 public:
  DateTime Now() override {
    timespec ts{};
    clock_gettime(CLOCK_REALTIME, &ts);
    return LocalDateTimeFromUnix(ts.tv_sec, ts.tv_nsec);
  }

  // The component has no message loop of its own: the Qt view installs an Env whose
  // DoEvents processes Qt events. Without one there is nothing to let run, and a
  // sched_yield per call measurably slowed record parsing for no benefit.
  void DoEvents() override {}

  void Sleep(int32_t ms) override {
    if (ms <= 0) return;
    timespec ts{ms / 1000, static_cast<long>(ms % 1000) * 1'000'000L};
    while (nanosleep(&ts, &ts) == -1 && errno == EINTR) {
    }
  }
};

Env*& CurrentSlot() {
  static Env* current = nullptr;
  return current;
}

}  // namespace

DateTime LocalDateTimeFromUnix(int64_t seconds, int64_t nanoseconds) {
  const time_t t = static_cast<time_t>(seconds);
  tm local{};
  localtime_r(&t, &local);
  return MakeDateTime(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                      local.tm_min, local.tm_sec, static_cast<int>(nanoseconds / 1'000'000));
}

// Without the time-zone lock of gmtime_r: a purge converts one time per file.
DateTime UtcDateTimeFromUnix(int64_t seconds, int64_t nanoseconds) {
  using namespace std::chrono;
  const sys_seconds time{std::chrono::seconds(seconds)};
  const sys_days day = floor<days>(time);
  const year_month_day date{day};
  const hh_mm_ss clock{time - day};
  return MakeDateTime(
      static_cast<int>(date.year()), static_cast<int>(unsigned{date.month()}),
      static_cast<int>(unsigned{date.day()}), static_cast<int>(clock.hours().count()),
      static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()),
      static_cast<int>(nanoseconds / 1'000'000));
}

bool Env::FileCreationTime(int folder_fd, const char* name, DateTime* created, std::string* error) {
  struct statx sx {};
  if (statx(folder_fd, name, 0, STATX_BTIME | STATX_MTIME, &sx) != 0) {
    if (error) *error = std::strerror(errno);
    return false;
  }
  // Not every file system records a birth time (ext4 and tmpfs do; some network and
  // older file systems do not); the last modification time is the nearest stand-in.
  const statx_timestamp& ts = (sx.stx_mask & STATX_BTIME) ? sx.stx_btime : sx.stx_mtime;
  *created = UtcDateTimeFromUnix(ts.tv_sec, ts.tv_nsec);
  return true;
}

std::string Env::DecimalSeparator() {
  const lconv* lc = std::localeconv();
  if (lc == nullptr || lc->decimal_point == nullptr || lc->decimal_point[0] == '\0') return {};
  return lc->decimal_point;
}

Env* Env::Default() {
  static RealEnv* env = new RealEnv;  // never deleted: callers may use it during exit
  return env;
}

Env* CurrentEnv() {
  Env* env = CurrentSlot();
  return env != nullptr ? env : Env::Default();
}

ScopedEnv::ScopedEnv(Env* env) : previous_(CurrentSlot()) {
  CurrentSlot() = env;
}

ScopedEnv::~ScopedEnv() {
  CurrentSlot() = previous_;
}

}  // namespace ccaddin
