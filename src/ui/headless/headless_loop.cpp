#include "ui/headless/headless_loop.h"

#include <algorithm>
#include <optional>

namespace ccaddin {

HeadlessLoop::HeadlessLoop(ScriptRunner runner, HeadlessOptions options)
    : runner_(std::move(runner)), options_(std::move(options)), operator_(options_.picture) {}

HeadlessLoop::~HeadlessLoop() = default;

int64_t HeadlessLoop::Now() const {
  return clock_->Now().ToSerialMs();
}

void HeadlessLoop::AdvanceTo(int64_t ms) {
  if (ms > Now()) clock_->Advance(ms - Now());
}

bool HeadlessLoop::ShowModal(Form& form, std::string& error) {
  if (form.CurrentStage() != Form::Stage::Designed) {
    error = form.Name() + " has been shown before";
    return false;
  }
  std::optional<ScopedEnv> own_env;
  if (open_.empty()) {
    clock_ = options_.clock != nullptr ? options_.clock : dynamic_cast<VirtualEnv*>(CurrentEnv());
    if (clock_ == nullptr) {
      // Unattended in a real process: virtual time starts at the real time, and never
      // runs backwards between windows.
      const DateTime now = CurrentEnv()->Now();
      if (!own_clock_) own_clock_ = std::make_unique<VirtualEnv>(now);
      if (own_clock_->Now().ToSerialMs() < now.ToSerialMs()) own_clock_->SetNow(now);
      clock_ = own_clock_.get();
      own_env.emplace(clock_);
    }
  }
  open_.push_back(&form);
  form.AddObserver(this);
  for (const Control& c : form.Controls()) {
    if (c.Kind() == ControlKind::Timer) Schedule(const_cast<Control&>(c), Now());
  }
  form.Load(*this);
  if (form.CurrentStage() != Form::Stage::Unloaded) {
    form.Show();
    Run(form);
  }
  form.RemoveObserver(this);
  std::erase_if(timers_, [&](const auto& t) { return &t.first->Owner() == &form; });
  open_.pop_back();
  return true;
}

void HeadlessLoop::ControlChanged(const Control& control, Property property) {
  if (control.Kind() != ControlKind::Timer) {
    ++changes_;
  } else if (property == Property::Enabled || property == Property::Interval) {
    Schedule(const_cast<Control&>(control), Now());
  }
}

void HeadlessLoop::FormChanged(FormProperty property) {
  if (property != FormProperty::Refresh) ++changes_;
}

void HeadlessLoop::Schedule(Control& timer, int64_t from) {
  if (!timer.Enabled() || timer.Interval() <= 0) {
    timers_.erase(&timer);
    return;
  }
  timers_[&timer] = Due{from + timer.Interval(), next_order_++};
}

void HeadlessLoop::FireDue() {
  for (;;) {
    auto first = std::min_element(timers_.begin(), timers_.end(), [](const auto& a, const auto& b) {
      return a.second.at != b.second.at ? a.second.at < b.second.at
                                        : a.second.order < b.second.order;
    });
    if (first == timers_.end() || first->second.at > Now()) return;
    Control* timer = first->first;
    const Due fired = first->second;
    // The next tick counts from this one, and a handler that was slow (a request that
    // waited) is followed by one tick at once rather than by a burst of missed ones.
    Schedule(*timer, std::max(fired.at, Now() - timer->Interval()));
    timer->Owner().TimerFired(*timer);
  }
}

void HeadlessLoop::Run(Form& form) {
  int64_t quiet_since = Now();
  int64_t step_at = Now();
  uint64_t seen = changes_;
  bool way_out_taken = false;
  while (form.CurrentStage() != Form::Stage::Unloaded) {
    if (runner_.Poll(open_, operator_, Now())) {
      quiet_since = step_at = Now();
      seen = changes_;
      continue;
    }
    if (changes_ != seen) {
      seen = changes_;
      quiet_since = Now();
    }
    std::optional<int64_t> next = runner_.WakeAt();
    // An operator who is waiting on purpose has not stalled.
    const int64_t deadline =
        std::max(std::min(quiet_since + options_.stall_ms, step_at + options_.busy_limit_ms),
                 runner_.WakeAt().value_or(0));
    for (const auto& [timer, due] : timers_) {
      if (!next || due.at < *next) next = due.at;
    }
    if (next && *next <= deadline) {
      AdvanceTo(*next);
      FireDue();
      continue;
    }
    const bool busy = deadline < quiet_since + options_.stall_ms;
    AdvanceTo(deadline);
    if (way_out_taken) {
      runner_.GiveUp(form);
    } else {
      runner_.Stalled(
          open_, operator_,
          busy ? "the window ran on its own timers for " +
                     std::to_string(options_.busy_limit_ms / 1000) + " s"
               : "nothing happened for " + std::to_string(options_.stall_ms / 1000) + " s");
      way_out_taken = true;
    }
    quiet_since = step_at = Now();
    seen = changes_;
  }
}

}  // namespace ccaddin
