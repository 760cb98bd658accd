#include "platform/virtual_env.h"

#include <algorithm>
#include <utility>

namespace ccaddin {

VirtualEnv::VirtualEnv(DateTime start) : now_(start) {}

void VirtualEnv::DoEvents() {
  ++do_events_calls_;
  RunDue();
  if (do_events_step_ms_ > 0) Advance(do_events_step_ms_);
}

void VirtualEnv::Sleep(int32_t ms) {
  if (ms <= 0) return;
  slept_ms_ += ms;
  Advance(ms);
}

void VirtualEnv::Advance(int64_t ms) {
  const int64_t target = now_.ToSerialMs() + ms;
  // Step through due actions in time order so each sees the clock at its own time.
  while (!actions_.empty() && actions_.begin()->first <= target) {
    auto it = actions_.begin();
    now_ = DateTime::FromSerialMs(std::max(it->first, now_.ToSerialMs()));
    auto action = std::move(it->second);
    actions_.erase(it);
    action();
  }
  if (target > now_.ToSerialMs()) now_ = DateTime::FromSerialMs(target);
}

void VirtualEnv::RunDue() {
  Advance(0);
}

bool VirtualEnv::FileCreationTime(const std::string& path, DateTime* created, std::string* error) {
  auto it = creation_times_.find(path);
  if (it == creation_times_.end()) return Env::FileCreationTime(path, created, error);
  *created = it->second;
  return true;
}

void VirtualEnv::SetFileCreationTime(const std::string& path, const DateTime& created) {
  creation_times_[path] = created;
}

bool VirtualEnv::StartDetached(const std::string& program, std::string* error) {
  started_.push_back(program);
  if (start_error_.empty()) return true;
  if (error) *error = start_error_;
  return false;
}

void VirtualEnv::RunAfter(int64_t delay_ms, std::function<void()> action) {
  actions_.emplace(now_.ToSerialMs() + std::max<int64_t>(delay_ms, 0), std::move(action));
}

}  // namespace ccaddin
