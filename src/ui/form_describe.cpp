// Form::Describe: the model as text for tests and for the report of a stalled operator
// script, which goes to the journal, so a text is never written in clear where the
// window masks it or where it looks like a card number.
#include <string>

#include "platform/logging.h"
#include "ui/form.h"
#include "ui/html_text.h"

namespace ccaddin {

namespace {

const char* KindName(ControlKind kind) {
  switch (kind) {
    case ControlKind::Frame:
      return "frame";
    case ControlKind::Label:
      return "label";
    case ControlKind::TextBox:
      return "textbox";
    case ControlKind::Button:
      return "button";
    case ControlKind::Timer:
      return "timer";
    case ControlKind::Picture:
      return "picture";
    case ControlKind::Browser:
      return "browser";
  }
  return "?";
}

std::string Quoted(std::string text) {
  MaskLongDigitRuns(text);
  return "\"" + text + "\"";
}

std::string Where(const Twips& w) {
  return " @" + std::to_string(w.left) + "," + std::to_string(w.top) + " " +
         std::to_string(w.width) + "x" + std::to_string(w.height);
}

int Depth(const Control& c) {
  int depth = 0;
  for (const Control* f = c.Container(); f != nullptr; f = f->Container()) ++depth;
  return depth;
}

std::string Line(const Control& c) {
  std::string line(static_cast<size_t>(2 + 2 * Depth(c)), ' ');
  line += c.FullName() + " " + KindName(c.Kind());
  if (c.Kind() == ControlKind::Timer) {
    line += " " + std::to_string(c.Interval()) + " ms";
    if (!c.Enabled()) line += " disabled";
    return line;
  }
  if (!c.Caption().empty()) line += " " + Quoted(c.Caption());
  if (c.Kind() == ControlKind::Browser) {
    // The document as the operator reads it, not its markup; a long one is cut short.
    constexpr size_t kShown = 200;
    std::string shown = ShownText(c);
    if (shown.size() > kShown) shown = shown.substr(0, kShown) + "...";
    line += " text " + Quoted(shown);
  } else if (c.Kind() == ControlKind::TextBox || !c.Text().empty()) {
    line += " text ";
    line += c.PasswordChar() != 0 ? Quoted(std::string(c.Text().size(), c.PasswordChar()))
                                  : Quoted(c.Text());
  }
  if (!c.Visible()) line += " hidden";
  if (!c.Enabled()) line += " disabled";
  if (c.HasFocus()) line += " focus";
  if (c.IsDefault()) line += " default";
  if (c.IsCancel()) line += " cancel";
  if (c.PasswordChar() != 0) line += std::string(" mask ") + c.PasswordChar();
  if (c.MaxLength() > 0) line += " max " + std::to_string(c.MaxLength());
  if (c.BackColor() == BackColour::ButtonFace) line += " buttonface";
  if (!c.Picture().empty()) line += " picture " + Quoted(c.Picture());
  return line + Where(c.Geometry());
}

}  // namespace

std::string Form::Describe(bool shown_only) const {
  static const char* const kStages[] = {"designed", "loaded", "shown", "unloaded"};
  std::string text = name_ + " " + Quoted(caption_) + " " + kStages[static_cast<int>(stage_)];
  if (top_most_) text += " top-most";
  text += Where(where_) + "\n";
  for (const Control& c : controls_) {
    if (shown_only && (!c.Shown() || c.Kind() == ControlKind::Timer)) continue;
    text += Line(c) + "\n";
  }
  return text;
}

}  // namespace ccaddin
