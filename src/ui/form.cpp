#include "ui/form.h"

#include <algorithm>

#include "platform/trap.h"
#include "ui/form_call_scope.h"

namespace ccaddin {

Form::Form(std::string name, std::string caption, const Twips& where)
    : name_(std::move(name)), caption_(std::move(caption)), where_(where) {}

Form::~Form() = default;

void Form::SetCaption(std::string caption) {
  if (caption == caption_) return;
  caption_ = std::move(caption);
  AnnounceForm(FormProperty::Caption);
}

void Form::Move(const Twips& where) {
  if (where == where_) return;
  where_ = where;
  AnnounceForm(FormProperty::Geometry);
}

void Form::SetTopMost(bool top_most) {
  if (top_most == top_most_) return;
  top_most_ = top_most;
  AnnounceForm(FormProperty::TopMost);
}

// ---- Design ----

Control& Form::Add(ControlKind kind, std::string name, int32_t index, Control* container,
                   const Twips& where) {
  Control& c = controls_.emplace_back(*this, kind, std::move(name), index, container, where);
  c.tab_index_ = static_cast<int32_t>(controls_.size()) - 1;
  return c;
}

Control& Form::AddFrame(std::string name, const Twips& where, std::string caption,
                        Control* container) {
  Control& c = Add(ControlKind::Frame, std::move(name), -1, container, where);
  c.caption_ = std::move(caption);
  return c;
}

Control& Form::AddLabel(std::string name, const Twips& where, std::string caption,
                        Control* container) {
  Control& c = Add(ControlKind::Label, std::move(name), -1, container, where);
  c.caption_ = std::move(caption);
  return c;
}

Control& Form::AddTextBox(std::string name, const Twips& where, std::string label,
                          Control* container) {
  Control& c = Add(ControlKind::TextBox, std::move(name), -1, container, where);
  c.label_ = std::move(label);
  c.back_colour_ = BackColour::Window;
  return c;
}

Control& Form::AddButton(std::string name, const Twips& where, std::string caption,
                         Control* container) {
  Control& c = Add(ControlKind::Button, std::move(name), -1, container, where);
  c.caption_ = std::move(caption);
  return c;
}

Control& Form::AddTimer(std::string name, int32_t interval_ms, bool enabled) {
  Control& c = Add(ControlKind::Timer, std::move(name), -1, nullptr, {});
  c.interval_ = interval_ms;
  c.enabled_ = enabled;
  c.visible_ = false;
  return c;
}

Control& Form::AddPicture(std::string name, const Twips& where, Control* container) {
  return Add(ControlKind::Picture, std::move(name), -1, container, where);
}

Control& Form::AddBrowser(std::string name, const Twips& where, Control* container) {
  return Add(ControlKind::Browser, std::move(name), -1, container, where);
}

ControlArray& Form::AddButtonArray(std::string name, const std::vector<std::string>& captions,
                                   const std::function<Twips(int32_t)>& where, Control* container) {
  ControlArray& array = arrays_.emplace_back(name);
  for (size_t i = 0; i < captions.size(); ++i) {
    const auto index = static_cast<int32_t>(i);
    Control& c = Add(ControlKind::Button, name, index, container, where(index));
    c.caption_ = captions[i];
    array.items_.push_back(&c);
  }
  return array;
}

void Form::SetDefaultButton(Control& button) {
  for (Control& c : controls_) {
    const bool is_default = &c == &button;
    if (c.default_ != is_default) {
      c.default_ = is_default;
      Announce(c, Property::Default);
    }
  }
}

void Form::SetCancelButton(Control& button) {
  for (Control& c : controls_) {
    const bool is_cancel = &c == &button;
    if (c.cancel_ != is_cancel) {
      c.cancel_ = is_cancel;
      Announce(c, Property::Cancel);
    }
  }
}

void Form::DeclareSafeWayOut(std::initializer_list<Control*> buttons) {
  safe_way_out_.assign(buttons.begin(), buttons.end());
}

// ---- Lookup and focus ----

Control* Form::Find(std::string_view name, int32_t index) {
  for (Control& c : controls_) {
    if (c.index_ == index && c.name_ == name) return &c;
  }
  return nullptr;
}

const Control* Form::Find(std::string_view name, int32_t index) const {
  return const_cast<Form*>(this)->Find(name, index);
}

Control& Form::operator()(std::string_view name, int32_t index) {
  if (Control* c = Find(name, index)) return *c;
  throw Failure(name_ + " has no control " + std::string(name) +
                (index < 0 ? "" : "(" + std::to_string(index) + ")"));
}

bool Form::SetFocus(Control& control) {
  if (&control.Owner() != this || !control.CanFocus()) return false;
  MoveFocus(&control);
  return true;
}

void Form::MoveFocus(Control* to) {
  if (to == focused_) return;
  Control* from = std::exchange(focused_, to);
  AnnounceForm(FormProperty::Focus);
  if (from != nullptr) RaiseEvent(*from, from->handlers_.lost_focus, "_LostFocus");
  if (to != nullptr && focused_ == to) RaiseEvent(*to, to->handlers_.got_focus, "_GotFocus");
}

void Form::FocusNext(bool backwards) {
  std::vector<Control*> order;
  for (Control& c : controls_) {
    if (c.CanFocus() && (c.tab_stop_ || &c == focused_)) order.push_back(&c);
  }
  if (order.empty()) return MoveFocus(nullptr);
  std::stable_sort(order.begin(), order.end(), [](const Control* a, const Control* b) {
    return a->tab_index_ < b->tab_index_;
  });
  auto at = std::find(order.begin(), order.end(), focused_);
  const auto n = static_cast<ptrdiff_t>(order.size());
  ptrdiff_t i = at == order.end() ? (backwards ? 0 : -1) : at - order.begin();
  i = ((backwards ? i - 1 : i + 1) % n + n) % n;
  MoveFocus(order[static_cast<size_t>(i)]);
}

// A control that was hidden or disabled gives the focus on, as it would on screen.
void Form::KeepFocusUsable() {
  if (focused_ != nullptr && !focused_->CanFocus()) FocusNext();
}

// ---- Life ----

FormLoop& Form::Loop() const {
  return loop_ != nullptr ? *loop_ : CurrentFormLoop();
}

void Form::Load(FormLoop& loop) {
  loop_ = &loop;
  stage_ = Stage::Loaded;
  AnnounceForm(FormProperty::Stage);
  Raise("Form_Load", [&] { Form_Load(); });
}

void Form::Show() {
  if (stage_ != Stage::Loaded) return;
  stage_ = Stage::Shown;
  AnnounceForm(FormProperty::Stage);
  if (focused_ == nullptr) FocusNext();
}

bool Form::Unload() {
  if (stage_ == Stage::Unloaded) return true;
  // Closing again from inside Form_Unload is the same close, not a second one.
  if (unloading_) return false;
  int16_t cancel = 0;
  unloading_ = true;
  Raise("Form_Unload", [&] { Form_Unload(cancel); });
  unloading_ = false;
  if (cancel != 0) return false;
  stage_ = Stage::Unloaded;
  AnnounceForm(FormProperty::Stage);
  return true;
}

void Form::Abandon() {
  if (stage_ == Stage::Unloaded) return;
  stage_ = Stage::Unloaded;
  AnnounceForm(FormProperty::Stage);
}

bool Form::ShowModal(Form& child) {
  std::string error;
  if (Loop().ShowModal(child, error)) return true;
  error_message_ = name_ + ".ShowModal() Failed - " + error;
  return false;
}

// ---- Operator input ----

void Form::Click(Control& control) {
  if (stage_ != Stage::Shown || &control.Owner() != this || !control.Usable()) return;
  if (control.CanFocus()) MoveFocus(&control);
  // The focus change may have run handlers that took the control away.
  if (stage_ == Stage::Shown && control.Usable()) {
    RaiseEvent(control, control.handlers_.click, "_Click");
  }
}

void Form::PressKey(int16_t key) {
  if (stage_ != Stage::Shown) return;
  Control* target = focused_;
  const bool on_button = target != nullptr && target->kind_ == ControlKind::Button;
  auto click_first = [&](bool Control::*role) {
    for (Control& c : controls_) {
      if (c.*role && c.Usable()) {
        Click(c);
        return true;
      }
    }
    return false;
  };
  switch (key) {
    case kKeyTab:
      return FocusNext();
    case kKeyEnter:
      if (on_button) return Click(*target);
      if (click_first(&Control::default_)) return;
      break;
    case kKeyEscape:
      if (click_first(&Control::cancel_)) return;
      break;
    case kKeySpace:
      if (on_button) return Click(*target);
      break;
    default:
      break;
  }
  if (target == nullptr || target->kind_ != ControlKind::TextBox) return;
  int16_t key_ascii = key;
  if (target->handlers_.key_press) {
    Raise(target->name_ + "_KeyPress", [&] { target->handlers_.key_press(key_ascii); });
  }
  if (key_ascii == kKeyTab) return FocusNext();
  if (key_ascii != 0 && stage_ == Stage::Shown) EditText(*target, key_ascii);
}

void Form::EditText(Control& box, int16_t key) {
  std::string text = box.text_;
  auto start = static_cast<size_t>(std::clamp<int32_t>(box.sel_start_, 0, int32_t(text.size())));
  auto length = std::min(static_cast<size_t>(std::max(box.sel_length_, 0)), text.size() - start);
  if (key == kKeyBackspace || key == kKeyDelete) {
    if (length == 0 && key == kKeyBackspace && start > 0) --start, length = 1;
    if (length == 0 && key == kKeyDelete && start < text.size()) length = 1;
    text.erase(start, length);
  } else if (key >= kKeySpace && key <= 0xFF) {
    const bool full =
        box.max_length_ > 0 && static_cast<int32_t>(text.size() - length) >= box.max_length_;
    if (full) return;
    text.replace(start, length, 1, static_cast<char>(key));
    ++start;
  } else {
    return;  // a one-line box has no use for Enter or other control codes
  }
  box.Edit(std::move(text), static_cast<int32_t>(start));
}

void Form::SetSelection(Control& box, int32_t start, int32_t length) {
  if (&box.Owner() != this) return;
  box.SetSelStart(start);
  box.SetSelLength(length);
}

void Form::TimerFired(Control& timer) {
  if (stage_ != Stage::Loaded && stage_ != Stage::Shown) return;
  if (timer.kind_ != ControlKind::Timer || !timer.enabled_ || timer.interval_ <= 0) return;
  RaiseEvent(timer, timer.handlers_.timer, "_Timer");
}

// ---- Announcements and handlers ----

void Form::AddObserver(FormObserver* observer) {
  observers_.push_back(observer);
}

void Form::RemoveObserver(FormObserver* observer) {
  std::erase(observers_, observer);
}

void Form::Announce(const Control& control, Property property) {
  if (control.kind_ != ControlKind::Timer) ++visible_changes_;
  // An observer may remove itself while told (a view closing with its window).
  const std::vector<FormObserver*> observers = observers_;
  for (FormObserver* o : observers) o->ControlChanged(control, property);
  if (property == Property::Visible || property == Property::Enabled) KeepFocusUsable();
}

void Form::Refresh() {
  const std::vector<FormObserver*> observers = observers_;
  for (FormObserver* o : observers) o->FormChanged(FormProperty::Refresh);
}

void Form::AnnounceForm(FormProperty property) {
  ++visible_changes_;
  const std::vector<FormObserver*> observers = observers_;
  for (FormObserver* o : observers) o->FormChanged(property);
}

template <class Body>
void Form::Raise(std::string_view handler, Body&& body) noexcept {
  std::string prefix;
  try {
    prefix = name_ + "." + std::string(handler) + "() Failed - ";
  } catch (...) {
    return;
  }
  const bool ran = Trap(error_message_, prefix, false, [&] {
    std::forward<Body>(body)();
    return true;
  });
  // The window carries on; the call's journal keeps the failure for the support desk.
  if (!ran && CurrentFormJournal() != nullptr) CurrentFormJournal()->LogError(error_message_);
}

void Form::RaiseEvent(Control& control, const std::function<void()>& handler, const char* event) {
  if (handler) Raise(control.name_ + event, handler);
}

}  // namespace ccaddin
