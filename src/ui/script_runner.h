// ScriptRunner: takes an operator script's steps, one at a time, against the windows a
// loop has open, and takes a window's safe way out when the script has ended, failed or
// stalled. The loop decides when to ask (the headless loop between virtual-time events,
// the Qt loop on a short real-time tick) and supplies the ScriptOperator that acts, on
// the model directly or through the widgets. Everything the runner decides on its own
// is journalled; nothing blocks.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "ui/operator_script.h"

namespace ccaddin {

class Control;
class Form;

// What a scripted operator does at a window.
class ScriptOperator {
 public:
  virtual ~ScriptOperator() = default;
  virtual void Click(Control& control) = 0;
  // Puts the caret in `box` (clicking into it), then types each character as a key.
  virtual void Type(Control& box, const std::string& text) = 0;
  // A key on whatever has the focus in `form`.
  virtual void Press(Form& form, int16_t key) = 0;
  // The window's close button.
  virtual void Close(Form& form) = 0;
  // A picture of the window (or of one control of it) as it is now, for documentation
  // and review; a loop without a way to draw does nothing.
  virtual void Picture(Form& form, const Control* part, const std::string& file_name) {
    (void)form, (void)part, (void)file_name;
  }
};

// The operator that acts on the model itself: the headless loop's. Pictures go to
// `picture` when given (a drawing of the model, for tests that link a toolkit).
class ModelOperator final : public ScriptOperator {
 public:
  using Drawer = std::function<void(Form& form, const Control* part, const std::string& file)>;
  explicit ModelOperator(Drawer picture = {}) : picture_(std::move(picture)) {}
  void Click(Control& control) override;
  void Type(Control& box, const std::string& text) override;
  void Press(Form& form, int16_t key) override;
  void Close(Form& form) override;
  void Picture(Form& form, const Control* part, const std::string& file_name) override {
    if (picture_) picture_(form, part, file_name);
  }

 private:
  Drawer picture_;
};

class ScriptRunner {
 public:
  using Journal = std::function<void(const std::string& line)>;

  // `journal` receives each line the runner reports (card numbers masked).
  ScriptRunner(OperatorScript script, Journal journal);
  // A runner with no steps that says `reason` whenever it takes a way out: a script that
  // was refused or missing still leaves every window, and says why.
  ScriptRunner(std::string reason, Journal journal);

  // Takes the next step if it can be taken now against `open` (the last is the window in
  // front), `now_ms` on the loop's clock. True when something happened: a step taken,
  // or a wait that ended.
  bool Poll(const std::vector<Form*>& open, ScriptOperator& op, int64_t now_ms);
  // When the current wait step ends; nullopt when not waiting.
  [[nodiscard]] std::optional<int64_t> WakeAt() const;

  // The window in front (the last of `open`) has made no progress (`what` says how):
  // fails a pending step (the report lists the window's visible controls) or notes that
  // the script ran out, then takes the window's safe way out.
  void Stalled(const std::vector<Form*>& open, ScriptOperator& op, const std::string& what);
  // Even the safe way out left the window open: the loop gives it up (journalled).
  void GiveUp(Form& front);

  [[nodiscard]] bool Finished() const { return next_ >= script_.Steps().size(); }
  [[nodiscard]] bool Failed() const { return !failure_.empty(); }
  // The first failure: "<script>:<line>: <why>", with the visible controls.
  [[nodiscard]] const std::string& Failure() const { return failure_; }
  [[nodiscard]] const std::vector<std::string>& Journalled() const { return journalled_; }

 private:
  // Why the current step cannot be taken now; empty when it can.
  std::string Blocked(const std::vector<Form*>& open, const ScriptStep& step) const;
  void Fail(const std::string& why, const Form* front);
  void Note(const std::string& line);

  OperatorScript script_;
  std::string refusal_;
  Journal journal_;
  size_t next_ = 0;
  std::optional<int64_t> wait_until_;
  std::string failure_;
  std::vector<std::string> journalled_;
};

}  // namespace ccaddin
