// An operator script: what a scripted operator does at the component's windows, step by
// step, each step waiting until its condition holds and its control can be used. The
// same script drives the headless loop (tests, unattended runs, a till vendor's CI) and
// the Qt view. Text, one step a line:
//
//   # a comment
//   when fraConfirm is visible: click cmdConfirmAuth
//   type 4761739001010010 into txtKeySwipe
//   press Enter
//   wait 2 s
//   expect frmKeypad.txtEntry text is "0.05"
//   close the window
//
// or JSON: a list of such lines, or {"steps": [...]} whose items are lines or objects
// {"when": "<condition>", "do": "<action>"} / {"expect": "<condition>"}. A script is
// checked whole before it runs: an unknown control, key or word is an error naming the
// line. Plain values; parsing never blocks.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ccaddin {

class Form;

// A form ("frmKeypad"), a control ("cmdNumeric(3)"), or a control of one form
// ("frmKeypad.cmdCancel").
struct ScriptTarget {
  std::string form;     // empty: any open window (actions: the window in front)
  std::string control;  // empty: the form itself
  int32_t index = -1;
  [[nodiscard]] std::string Text() const;
};

struct ScriptCondition {
  enum class Test : uint8_t {
    Visible,
    Hidden,
    Enabled,
    Disabled,
    Focused,
    Open,
    Closed,
    Is,
    Contains
  };
  ScriptTarget target;
  Test test = Test::Visible;
  bool of_caption = false;  // Is/Contains: the caption, else the text
  std::string value;        // Windows-1252
};

struct ScriptStep {
  enum class Action : uint8_t { Expect, Click, Type, Press, Wait, Close, Picture };
  int32_t line = 0;
  std::string source;  // the step as written, for reports
  std::vector<ScriptCondition> when;
  Action action = Action::Expect;
  ScriptTarget target;  // Click, Type (empty: the focused box), Picture (empty: the window)
  std::string text;     // Type: Windows-1252 characters; Picture: the file name
  int16_t key = 0;      // Press
  int64_t wait_ms = 0;  // Wait
};

class OperatorScript {
 public:
  // `forms` are the windows the script may meet (their controls are what names are
  // checked against); `name` heads error texts ("sale.script:3: ..."). nullopt, with
  // the reason in `error`, when the script is malformed or names what no form has.
  [[nodiscard]] static std::optional<OperatorScript> Parse(std::string_view content,
                                                           const std::string& name,
                                                           const std::vector<const Form*>& forms,
                                                           std::string& error);
  // Reads and parses a file (JSON when it starts with "[" or "{").
  [[nodiscard]] static std::optional<OperatorScript> Load(const std::string& path,
                                                          const std::vector<const Form*>& forms,
                                                          std::string& error);

  [[nodiscard]] const std::string& Name() const { return name_; }
  [[nodiscard]] const std::vector<ScriptStep>& Steps() const { return steps_; }

 private:
  std::string name_;
  std::vector<ScriptStep> steps_;
};

}  // namespace ccaddin
