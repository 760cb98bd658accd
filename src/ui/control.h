// One named control of a form (frame, label, text box, button, timer, picture, HTML
// view) and the properties an operator sees. The form owns its controls; a control
// announces every real change of a property through its form, once, so that a view can
// mirror it. Setting a property never blocks; a text box's Change handler runs inside
// SetText, as the till's forms expect.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace ccaddin {

class Form;

enum class ControlKind : uint8_t { Frame, Label, TextBox, Button, Timer, Picture, Browser };

// The back colours a text box takes: the system's window colour for an open field and
// its button-face colour for a field that takes no input (SetFieldEnabled).
enum class BackColour : uint8_t { Default, Window, ButtonFace };

enum class Alignment : uint8_t { Left, Centre, Right };

// Every property a view mirrors.
enum class Property : uint8_t {
  Visible,
  Enabled,
  Caption,
  Text,
  Selection,
  PasswordChar,
  MaxLength,
  BackColour,
  Geometry,
  Font,
  Interval,
  Picture,
  Default,
  Cancel,
};

// Position and size in twips (1,440 to the inch), relative to the control's frame or,
// for a control outside any frame, to the form's client area.
struct Twips {
  int32_t left = 0;
  int32_t top = 0;
  int32_t width = 0;
  int32_t height = 0;
  bool operator==(const Twips&) const = default;
};

struct Font {
  int32_t points = 0;  // 0: the form's own size
  bool bold = false;
  Alignment align = Alignment::Left;
  bool operator==(const Font&) const = default;
};

// Keys as the forms' key handlers receive them (KeyAscii): characters are their
// Windows-1252 codes.
inline constexpr int16_t kKeyBackspace = 8;
inline constexpr int16_t kKeyTab = 9;
inline constexpr int16_t kKeyEnter = 13;
inline constexpr int16_t kKeyEscape = 27;
inline constexpr int16_t kKeySpace = 32;
// The Delete key reaches the key handlers as code 127, so that a field's filter decides
// about it as about any other key (the filters swallow 127).
inline constexpr int16_t kKeyDelete = 127;

class Control {
 public:
  Control(Form& form, ControlKind kind, std::string name, int32_t index, Control* container,
          const Twips& where);
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;

  [[nodiscard]] Form& Owner() const { return form_; }
  [[nodiscard]] ControlKind Kind() const { return kind_; }
  [[nodiscard]] const std::string& Name() const { return name_; }
  // The element's index in a control array, -1 for a control of its own.
  [[nodiscard]] int32_t Index() const { return index_; }
  // "cmdNumeric(3)" for an array element, else the name.
  [[nodiscard]] std::string FullName() const;
  [[nodiscard]] Control* Container() const { return container_; }

  [[nodiscard]] bool Visible() const { return visible_; }
  void SetVisible(bool visible);
  [[nodiscard]] bool Enabled() const { return enabled_; }
  void SetEnabled(bool enabled);
  // Visible, or enabled, itself and in every frame around it: what the operator sees
  // and can use.
  [[nodiscard]] bool Shown() const;
  [[nodiscard]] bool Usable() const;
  // Text boxes and buttons take the focus.
  [[nodiscard]] bool CanFocus() const;
  [[nodiscard]] bool HasFocus() const;

  [[nodiscard]] const std::string& Caption() const { return caption_; }
  void SetCaption(std::string caption);
  // A text box's text (an HTML view's document). Setting a different text puts the caret
  // at the start and runs the box's Change handler.
  [[nodiscard]] const std::string& Text() const { return text_; }
  void SetText(std::string text);
  [[nodiscard]] int32_t SelStart() const { return sel_start_; }
  [[nodiscard]] int32_t SelLength() const { return sel_length_; }
  void SetSelStart(int32_t start);
  void SetSelLength(int32_t length);
  // 0 shows the text; any other character masks each character typed.
  [[nodiscard]] char PasswordChar() const { return password_char_; }
  void SetPasswordChar(char mask);
  // Longest text the operator can type; 0: no limit. Text set by code is not cut.
  [[nodiscard]] int32_t MaxLength() const { return max_length_; }
  void SetMaxLength(int32_t length);
  [[nodiscard]] BackColour BackColor() const { return back_colour_; }
  void SetBackColor(BackColour colour);

  [[nodiscard]] const Twips& Geometry() const { return where_; }
  void Move(const Twips& where);
  void SetLeft(int32_t left);
  void SetTop(int32_t top);
  [[nodiscard]] const Font& TextFont() const { return font_; }
  void SetFont(const Font& font);

  // Timers fire every Interval milliseconds while enabled; 0 never. Changing either
  // starts the count again.
  [[nodiscard]] int32_t Interval() const { return interval_; }
  void SetInterval(int32_t ms);
  // A picture's image file; empty shows the caption in a box.
  [[nodiscard]] const std::string& Picture() const { return picture_; }
  void SetPicture(std::string path);

  [[nodiscard]] int32_t TabIndex() const { return tab_index_; }
  [[nodiscard]] bool TabStop() const { return tab_stop_; }
  void SetTabStop(bool stop) { tab_stop_ = stop; }
  [[nodiscard]] bool IsDefault() const { return default_; }
  [[nodiscard]] bool IsCancel() const { return cancel_; }
  // What a screen reader calls a control without a caption (a text box): its label.
  [[nodiscard]] const std::string& Label() const { return label_; }
  void SetLabel(std::string label) { label_ = std::move(label); }

 private:
  friend class Form;
  struct Handlers {
    std::function<void()> click, change, got_focus, lost_focus, timer;
    std::function<void(int16_t&)> key_press;
  };

  void Announce(Property property);
  // A text change from the operator's key: text, caret and Change handler.
  void Edit(std::string text, int32_t caret);

  Form& form_;
  ControlKind kind_;
  std::string name_;
  int32_t index_;
  Control* container_;
  bool visible_ = true;
  bool enabled_ = true;
  std::string caption_;
  std::string text_;
  int32_t sel_start_ = 0;
  int32_t sel_length_ = 0;
  char password_char_ = 0;
  int32_t max_length_ = 0;
  BackColour back_colour_ = BackColour::Default;
  Twips where_;
  Font font_;
  int32_t interval_ = 0;
  std::string picture_;
  int32_t tab_index_ = 0;
  bool tab_stop_ = true;
  bool default_ = false;
  bool cancel_ = false;
  std::string label_;
  Handlers handlers_;
};

// The elements of a control array by index (cmdNumeric(0) to cmdNumeric(9)).
class ControlArray {
 public:
  explicit ControlArray(std::string name) : name_(std::move(name)) {}
  [[nodiscard]] const std::string& Name() const { return name_; }
  [[nodiscard]] Control& operator[](int32_t index) const;
  [[nodiscard]] int32_t Count() const { return static_cast<int32_t>(items_.size()); }

 private:
  friend class Form;
  std::string name_;
  std::vector<Control*> items_;  // by index
};

}  // namespace ccaddin
