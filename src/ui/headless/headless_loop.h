// HeadlessLoop: shows forms without a display, on the virtual clock. Timers fire in
// virtual-time order; DoEvents (the Env's) moves nothing by itself; an operator script
// acts whenever its next step can be taken, and time jumps straight to the next timer
// or wait. A window that makes no progress (no step taken, no change an operator could
// see) for a virtual minute, or that runs on its own timers for ten virtual minutes
// without an operator step, takes its safe way out, and is given up if that does not
// close it: ShowModal never hangs. The loop does not own the forms it shows.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "platform/virtual_env.h"
#include "ui/form.h"
#include "ui/loop.h"
#include "ui/script_runner.h"

namespace ccaddin {

struct HeadlessOptions {
  // The clock timers and waits run on. nullptr: the current Env when it is a VirtualEnv,
  // else a virtual clock of the loop's own set to the current time and installed as the
  // Env while a window shows.
  VirtualEnv* clock = nullptr;
  int64_t stall_ms = 60'000;
  int64_t busy_limit_ms = 600'000;
  // A fixed virtual screen of 1024 x 768 pixels at 15 twips a pixel.
  ScreenTwips screen{1024 * 15, 768 * 15};
  // Draws the script's pictures (RenderFormPicture, where Qt is linked); none: skipped.
  ModelOperator::Drawer picture;
};

class HeadlessLoop final : public FormLoop, private FormObserver {
 public:
  explicit HeadlessLoop(ScriptRunner runner, HeadlessOptions options = {});
  ~HeadlessLoop() override;

  [[nodiscard]] bool ShowModal(Form& form, std::string& error) override;
  [[nodiscard]] ScreenTwips AvailableScreen() override { return options_.screen; }

  // A window of this loop is open.
  [[nodiscard]] bool Busy() const { return !open_.empty(); }
  [[nodiscard]] const ScriptRunner& Runner() const { return runner_; }
  [[nodiscard]] ScriptRunner& Runner() { return runner_; }

 private:
  struct Due {
    int64_t at = 0;
    uint64_t order = 0;
  };

  void ControlChanged(const Control& control, Property property) override;
  void FormChanged(FormProperty property) override;
  void Run(Form& form);
  void Schedule(Control& timer, int64_t from);
  void FireDue();
  [[nodiscard]] int64_t Now() const;
  void AdvanceTo(int64_t ms);

  ScriptRunner runner_;
  HeadlessOptions options_;
  ModelOperator operator_;
  std::unique_ptr<VirtualEnv> own_clock_;
  VirtualEnv* clock_ = nullptr;
  std::vector<Form*> open_;
  std::map<Control*, Due> timers_;
  uint64_t next_order_ = 0;
  uint64_t changes_ = 0;
};

}  // namespace ccaddin
