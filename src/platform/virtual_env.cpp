#include "platform/virtual_env.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
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

namespace {

// One spelling for each file, however the test or the scan named it.
std::string CanonicalPath(const std::filesystem::path& path) {
  std::error_code ec;
  const std::filesystem::path canonical = std::filesystem::weakly_canonical(path, ec);
  return ec ? path.string() : canonical.string();
}

}  // namespace

bool VirtualEnv::FileCreationTime(int folder_fd, const char* name, DateTime* created,
                                  std::string* error) {
  if (!creation_times_.empty()) {
    // The scan holds the folder open; its path is what the process's descriptor names.
    std::error_code ec;
    const std::filesystem::path folder =
        std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(folder_fd), ec);
    const auto it = ec ? creation_times_.end() : creation_times_.find(CanonicalPath(folder / name));
    if (it != creation_times_.end()) {
      *created = it->second;
      return true;
    }
  }
  return Env::FileCreationTime(folder_fd, name, created, error);
}

void VirtualEnv::SetFileCreationTime(const std::string& path, const DateTime& created) {
  creation_times_[CanonicalPath(path)] = created;
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
