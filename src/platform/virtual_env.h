// An Env whose clock only moves when told to: Sleep and DoEvents advance virtual time
// instantly, and actions scheduled at a virtual time run when the clock passes it.
// Used by tests, the headless window driver and unattended runs, so that 50/200/300 ms
// timers and daily rules run the same way every time, in microseconds.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/env.h"

namespace ccaddin {

class VirtualEnv : public Env {
 public:
  explicit VirtualEnv(DateTime start = MakeDateTime(2026, 1, 15, 10, 30, 0));

  DateTime Now() override { return now_; }
  // Runs due actions, then advances the clock by the DoEvents step (0 by default).
  void DoEvents() override;
  // Advances the clock by `ms`, running every action that falls due on the way.
  void Sleep(int32_t ms) override;
  bool FileCreationTime(int folder_fd, const char* name, DateTime* created,
                        std::string* error) override;
  std::string DecimalSeparator() override { return decimal_separator_; }
  // Records the program instead of starting it; fails with `start_error` when set.
  bool StartDetached(const std::string& program, std::string* error) override;

  void SetNow(const DateTime& now) { now_ = now; }
  void Advance(int64_t ms);
  void SetDoEventsStep(int32_t ms) { do_events_step_ms_ = ms; }
  void SetDecimalSeparator(std::string separator) { decimal_separator_ = std::move(separator); }

  // Pretends `path` was created at `created`, a time in UTC (file systems do not let
  // a test set a birth time). Unlisted files fall back to the real file system.
  void SetFileCreationTime(const std::string& path, const DateTime& created);

  // Runs `action` once, the first time the clock reaches now + `delay_ms` (or at the
  // next DoEvents when the delay is 0). Actions may schedule further actions.
  void RunAfter(int64_t delay_ms, std::function<void()> action);

  // Every program StartDetached was asked to start, in order, failed starts included.
  [[nodiscard]] const std::vector<std::string>& started() const { return started_; }
  void SetStartError(std::string start_error) { start_error_ = std::move(start_error); }

  [[nodiscard]] int64_t do_events_calls() const { return do_events_calls_; }
  [[nodiscard]] int64_t slept_ms() const { return slept_ms_; }

 private:
  void RunDue();

  DateTime now_;
  int32_t do_events_step_ms_ = 0;
  std::string decimal_separator_ = ".";
  std::map<std::string, DateTime> creation_times_;
  std::multimap<int64_t, std::function<void()>> actions_;
  std::vector<std::string> started_;
  std::string start_error_;
  int64_t do_events_calls_ = 0;
  int64_t slept_ms_ = 0;
};

}  // namespace ccaddin
