#include "ui/control.h"

#include <algorithm>

#include "platform/trap.h"
#include "ui/form.h"

namespace ccaddin {

namespace {

// Assigns and reports whether the value changed.
template <typename T, typename V>
bool Assign(T& field, V&& value) {
  if (field == value) return false;
  field = std::forward<V>(value);
  return true;
}

}  // namespace

Control::Control(Form& form, ControlKind kind, std::string name, int32_t index, Control* container,
                 const Twips& where)
    : form_(form),
      kind_(kind),
      name_(std::move(name)),
      index_(index),
      container_(container),
      where_(where) {}

std::string Control::FullName() const {
  return index_ < 0 ? name_ : name_ + "(" + std::to_string(index_) + ")";
}

void Control::Announce(Property property) {
  form_.Announce(*this, property);
}

void Control::SetVisible(bool visible) {
  if (Assign(visible_, visible)) Announce(Property::Visible);
}

void Control::SetEnabled(bool enabled) {
  if (Assign(enabled_, enabled)) Announce(Property::Enabled);
}

bool Control::Shown() const {
  for (const Control* c = this; c != nullptr; c = c->container_) {
    if (!c->visible_) return false;
  }
  return true;
}

bool Control::Usable() const {
  for (const Control* c = this; c != nullptr; c = c->container_) {
    if (!c->enabled_) return false;
  }
  return Shown();
}

bool Control::CanFocus() const {
  return (kind_ == ControlKind::TextBox || kind_ == ControlKind::Button) && Usable();
}

bool Control::HasFocus() const {
  return form_.Focused() == this;
}

void Control::SetCaption(std::string caption) {
  if (Assign(caption_, std::move(caption))) Announce(Property::Caption);
}

void Control::SetText(std::string text) {
  if (text == text_) return;
  text_ = std::move(text);
  sel_start_ = 0;
  sel_length_ = 0;
  Announce(Property::Text);
  form_.RaiseEvent(*this, handlers_.change, "_Change");
}

void Control::Edit(std::string text, int32_t caret) {
  const bool changed = text != text_;
  text_ = std::move(text);
  sel_start_ = caret;
  sel_length_ = 0;
  Announce(changed ? Property::Text : Property::Selection);
  if (changed) form_.RaiseEvent(*this, handlers_.change, "_Change");
}

void Control::SetSelStart(int32_t start) {
  start = std::clamp<int32_t>(start, 0, static_cast<int32_t>(text_.size()));
  if (start == sel_start_ && sel_length_ == 0) return;
  sel_start_ = start;
  sel_length_ = 0;
  Announce(Property::Selection);
}

void Control::SetSelLength(int32_t length) {
  length = std::clamp<int32_t>(length, 0, static_cast<int32_t>(text_.size()) - sel_start_);
  if (Assign(sel_length_, length)) Announce(Property::Selection);
}

void Control::SetPasswordChar(char mask) {
  if (Assign(password_char_, mask)) Announce(Property::PasswordChar);
}

void Control::SetMaxLength(int32_t length) {
  if (Assign(max_length_, std::max<int32_t>(length, 0))) Announce(Property::MaxLength);
}

void Control::SetBackColor(BackColour colour) {
  if (Assign(back_colour_, colour)) Announce(Property::BackColour);
}

void Control::Move(const Twips& where) {
  if (Assign(where_, where)) Announce(Property::Geometry);
}

void Control::SetLeft(int32_t left) {
  Move({left, where_.top, where_.width, where_.height});
}

void Control::SetTop(int32_t top) {
  Move({where_.left, top, where_.width, where_.height});
}

void Control::SetFont(const Font& font) {
  if (Assign(font_, font)) Announce(Property::Font);
}

void Control::SetInterval(int32_t ms) {
  if (Assign(interval_, std::max<int32_t>(ms, 0))) Announce(Property::Interval);
}

void Control::SetPicture(std::string path) {
  if (Assign(picture_, std::move(path))) Announce(Property::Picture);
}

Control& ControlArray::operator[](int32_t index) const {
  if (index < 0 || index >= Count()) {
    throw Failure("Control array element does not exist: " + name_ + "(" + std::to_string(index) +
                  ")");
  }
  return *items_[static_cast<size_t>(index)];
}

}  // namespace ccaddin
