// The component's one seam to the operating system's clock, message loop and the few
// system facts that tests must control: every "now", every wait and every "yield to
// the message loop" goes through the current Env. Env::Default() belongs to the
// component and is never deleted; a test installs its own with ScopedEnv.
#pragma once

#include <cstdint>
#include <string>

#include "platform/date_time.h"

namespace ccaddin {

class Env {
 public:
  virtual ~Env() = default;

  // The current local date and time.
  virtual DateTime Now() = 0;

  // Lets the till's message loop run once (pending clicks, timers, repaints) and
  // returns. Polling loops call it between polls so that the till stays responsive.
  virtual void DoEvents() = 0;

  // Blocks the calling thread for `ms` milliseconds (0 or less returns at once).
  virtual void Sleep(int32_t ms) = 0;

  // When the file `name` of the open folder `folder_fd` was created, in UTC as the file
  // system keeps it (not converted to local time): the birth time where the file
  // system records one, otherwise the last modification time. False (with a
  // description in `error`) when the file cannot be examined. The folder is passed
  // open so that a scan of many thousand files looks no path up twice.
  virtual bool FileCreationTime(int folder_fd, const char* name, DateTime* created,
                                std::string* error);

  // The decimal separator of the user's locale for amounts ("." or ","), from the
  // process locale. Empty when it cannot be read.
  virtual std::string DecimalSeparator();

  // Starts `program` (an executable file, run without arguments) detached: in a session
  // of its own, standard streams on /dev/null, none of our other descriptors, and not a
  // child of this process, so nothing waits for it and it leaves no zombie. Returns once
  // the program is running; False (with a description in `error`) when it could not be
  // started, e.g. missing, not executable, or without an interpreter line.
  virtual bool StartDetached(const std::string& program, std::string* error);

  // The process-wide real implementation.
  static Env* Default();
};

// The Env that the component uses now: Default() unless a ScopedEnv is active.
Env* CurrentEnv();

// Installs `env` as the current Env for its lifetime and restores the previous one.
class ScopedEnv {
 public:
  explicit ScopedEnv(Env* env);
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  Env* previous_;
};

// Converts seconds and nanoseconds since the Unix epoch to local date and time, or to
// the date and time in UTC.
[[nodiscard]] DateTime LocalDateTimeFromUnix(int64_t seconds, int64_t nanoseconds);
[[nodiscard]] DateTime UtcDateTimeFromUnix(int64_t seconds, int64_t nanoseconds);

}  // namespace ccaddin
