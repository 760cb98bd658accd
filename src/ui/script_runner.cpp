#include "ui/script_runner.h"

#include <algorithm>

#include "platform/logging.h"
#include "ui/form.h"
#include "ui/html_text.h"

namespace ccaddin {

namespace {

using Test = ScriptCondition::Test;

bool IsOpen(const Form* f) {
  return f->CurrentStage() == Form::Stage::Loaded || f->CurrentStage() == Form::Stage::Shown;
}

// The open window a target names, front first; nullptr when none.
Form* FormOf(const std::vector<Form*>& open, const ScriptTarget& target) {
  for (auto it = open.rbegin(); it != open.rend(); ++it) {
    if (!IsOpen(*it)) continue;
    if (target.form.empty() ? (*it)->Find(target.control, target.index) != nullptr
                            : (*it)->Name() == target.form) {
      return *it;
    }
  }
  return nullptr;
}

Control* ControlOf(const std::vector<Form*>& open, const ScriptTarget& target) {
  Form* form = FormOf(open, target);
  return form == nullptr || target.control.empty() ? nullptr
                                                   : form->Find(target.control, target.index);
}

bool Seen(const Control* c) {
  return c != nullptr && c->Owner().CurrentStage() == Form::Stage::Shown && c->Shown();
}

bool Holds(const std::vector<Form*>& open, const ScriptCondition& cond) {
  const Control* c = ControlOf(open, cond.target);
  switch (cond.test) {
    case Test::Visible:
      return Seen(c);
    case Test::Hidden:
      return !Seen(c);
    case Test::Enabled:
      return Seen(c) && c->Usable();
    case Test::Disabled:
      return Seen(c) && !c->Usable();
    case Test::Focused:
      return c != nullptr && c->HasFocus();
    case Test::Open:
      return FormOf(open, cond.target) != nullptr;
    case Test::Closed:
      return FormOf(open, cond.target) == nullptr;
    case Test::Is:
    case Test::Contains: {
      if (c == nullptr) return false;
      const std::string value = cond.of_caption ? c->Caption() : ShownText(*c);
      return cond.test == Test::Is ? value == cond.value
                                   : value.find(cond.value) != std::string::npos;
    }
  }
  return false;
}

std::string ConditionText(const ScriptCondition& cond) {
  static const char* const kTests[] = {"visible", "hidden", "enabled", "disabled", "focused",
                                       "open",    "closed", "is",      "contains"};
  std::string text = cond.target.Text() + " ";
  if (cond.test == Test::Is || cond.test == Test::Contains) {
    text += (cond.of_caption ? "caption " : "text ");
  } else {
    text += "is ";
  }
  text += kTests[static_cast<int>(cond.test)];
  if (cond.test == Test::Is || cond.test == Test::Contains) text += " \"" + cond.value + "\"";
  return text;
}

// What the operator sees of a condition's target now.
std::string Actual(const std::vector<Form*>& open, const ScriptCondition& cond) {
  if (cond.test == Test::Open || cond.test == Test::Closed) {
    return FormOf(open, cond.target) != nullptr ? "it is open" : "it is not open";
  }
  const Control* c = ControlOf(open, cond.target);
  if (c == nullptr) return "no open window has it";
  if (cond.test == Test::Is || cond.test == Test::Contains) {
    return "it is \"" + (cond.of_caption ? c->Caption() : ShownText(*c)) + "\"";
  }
  if (!Seen(c)) return "it is hidden";
  return std::string(c->Usable() ? "it is enabled" : "it is disabled") +
         (c->HasFocus() ? " and focused" : "");
}

std::string Flat(std::string text) {
  while (!text.empty() && text.back() == '\n') text.pop_back();
  std::replace(text.begin(), text.end(), '\n', '|');
  return text;
}

}  // namespace

// ---- The operator that acts on the model ----

void ModelOperator::Click(Control& control) {
  control.Owner().Click(control);
}

void ModelOperator::Type(Control& box, const std::string& text) {
  Form& form = box.Owner();
  form.Click(box);
  box.SetSelStart(static_cast<int32_t>(box.Text().size()));
  for (const char ch : text) form.PressKey(static_cast<int16_t>(static_cast<unsigned char>(ch)));
}

void ModelOperator::Press(Form& form, int16_t key) {
  form.PressKey(key);
}

void ModelOperator::Close(Form& form) {
  (void)form.Unload();
}

// ---- The runner ----

ScriptRunner::ScriptRunner(OperatorScript script, Journal journal)
    : script_(std::move(script)), journal_(std::move(journal)) {}

ScriptRunner::ScriptRunner(std::string reason, Journal journal)
    : refusal_(std::move(reason)), journal_(std::move(journal)) {}

void ScriptRunner::Note(const std::string& line) {
  std::string masked = Flat(line);
  MaskLongDigitRuns(masked);
  journalled_.push_back(masked);
  if (journal_) journal_(masked);
}

void ScriptRunner::Fail(const std::string& why, const Form* front) {
  const ScriptStep& step = script_.Steps()[next_];
  failure_ = script_.Name() + ":" + std::to_string(step.line) + ": " + step.source + ": " + why;
  if (front != nullptr) failure_ += "\nvisible now:\n" + front->Describe(true);
  Note("operator script failed: " + failure_);
}

std::string ScriptRunner::Blocked(const std::vector<Form*>& open, const ScriptStep& step) const {
  for (const ScriptCondition& cond : step.when) {
    if (!Holds(open, cond))
      return "waiting for " + ConditionText(cond) + " (" + Actual(open, cond) + ")";
  }
  Form* front = open.back();
  using A = ScriptStep::Action;
  if (step.action == A::Expect || step.action == A::Wait || step.action == A::Picture) return {};
  if (front->CurrentStage() != Form::Stage::Shown) return front->Name() + " is not shown yet";
  if (step.action == A::Press || step.action == A::Close) return {};
  if (step.action == A::Type && step.target.control.empty()) {
    const Control* box = front->Focused();
    return box != nullptr && box->Kind() == ControlKind::TextBox ? "" : "no text box has the focus";
  }
  if (!step.target.form.empty() && step.target.form != front->Name()) {
    return step.target.form + " is not the window in front (" + front->Name() + " is)";
  }
  const Control* c = front->Find(step.target.control, step.target.index);
  if (c == nullptr) return front->Name() + ", the window in front, has no " + step.target.Text();
  if (!c->Shown()) return c->FullName() + " is hidden";
  if (!c->Usable()) return c->FullName() + " is disabled";
  return {};
}

bool ScriptRunner::Poll(const std::vector<Form*>& open, ScriptOperator& op, int64_t now_ms) {
  if (Finished() || Failed() || open.empty()) return false;
  const ScriptStep& step = script_.Steps()[next_];
  using A = ScriptStep::Action;
  if (step.action == A::Expect) {
    for (const ScriptCondition& cond : step.when) {
      if (!Holds(open, cond)) {
        Fail("expected " + ConditionText(cond) + ", but " + Actual(open, cond), open.back());
        return true;
      }
    }
    ++next_;
    return true;
  }
  if (!Blocked(open, step).empty()) return false;
  if (step.action == A::Wait) {
    if (!wait_until_) wait_until_ = now_ms + step.wait_ms;
    if (now_ms < *wait_until_) return false;
    wait_until_.reset();
  }
  // The step is taken before it acts: a handler that lets the loop run (a request that
  // waits) may bring the runner back, and it must go on with the next step.
  ++next_;
  Form& front = *open.back();
  switch (step.action) {
    case A::Click:
      op.Click(*front.Find(step.target.control, step.target.index));
      break;
    case A::Type:
      op.Type(step.target.control.empty() ? *front.Focused()
                                          : *front.Find(step.target.control, step.target.index),
              step.text);
      break;
    case A::Press:
      op.Press(front, step.key);
      break;
    case A::Close:
      op.Close(front);
      break;
    case A::Picture: {
      Form* form = step.target.Text().empty() ? &front : FormOf(open, step.target);
      if (form != nullptr) op.Picture(*form, ControlOf(open, step.target), step.text);
      break;
    }
    case A::Wait:
    case A::Expect:
      break;
  }
  return true;
}

std::optional<int64_t> ScriptRunner::WakeAt() const {
  return wait_until_;
}

void ScriptRunner::Stalled(const std::vector<Form*>& open, ScriptOperator& op,
                           const std::string& what) {
  Form& front = *open.back();
  std::string why;
  if (!refusal_.empty()) {
    why = "no operator script (" + refusal_ + ")";
  } else if (Failed()) {
    why = "the operator script failed";
  } else if (Finished()) {
    why = "the operator script ended with the window open";
  } else {
    Fail(what + ": " + Blocked(open, script_.Steps()[next_]), &front);
    why = "the operator script failed";
  }
  for (Control* c : front.SafeWayOut()) {
    if (front.CurrentStage() == Form::Stage::Shown && c->Usable()) {
      Note(front.Name() + ": " + why + "; safe way out: " + c->FullName() + " \"" + c->Caption() +
           "\"");
      return op.Click(*c);
    }
  }
  Note(front.Name() + ": " + why + "; safe way out: the window closed");
  op.Close(front);
}

void ScriptRunner::GiveUp(Form& front) {
  Note(front.Name() + ": the window refused its safe way out and was given up");
  front.Abandon();
}

}  // namespace ccaddin
