// Form: a window's controller. It owns named controls and their properties, runs the
// window's event handlers under the system's names (cmdOK_Click, txtEntry_KeyPress,
// tmrStart_Timer, Form_Load, Form_Unload), and announces every real change to its
// observers (a Qt view, the headless driver). A loop (loop.h) loads, shows and unloads
// it; operator input arrives through Click, PressKey and the focus calls. A handler that
// throws is stopped at its boundary: the form stays usable and the text goes to
// strErrorMessage. Single-threaded: everything runs on the till's thread.
#pragma once

#include <cstdint>
#include <deque>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ui/control.h"
#include "ui/loop.h"

namespace ccaddin {

// Form-level properties a view mirrors.
enum class FormProperty : uint8_t { Caption, Geometry, TopMost, Focus, Stage, Refresh };

class FormObserver {
 public:
  virtual ~FormObserver() = default;
  virtual void ControlChanged(const Control& control, Property property) = 0;
  virtual void FormChanged(FormProperty property) = 0;
};

class Form {
 public:
  // Designed: built, never shown. Loaded: Form_Load ran. Shown: on screen, taking input.
  // Unloaded: closed for good (a form object is shown once).
  enum class Stage : uint8_t { Designed, Loaded, Shown, Unloaded };

  // `where` is the window's position on the screen and the size of its client area.
  Form(std::string name, std::string caption, const Twips& where);
  virtual ~Form();
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;

  [[nodiscard]] const std::string& Name() const { return name_; }
  [[nodiscard]] const std::string& Caption() const { return caption_; }
  void SetCaption(std::string caption);
  [[nodiscard]] const Twips& Geometry() const { return where_; }
  void Move(const Twips& where);
  // The client area, in which the controls sit (the window manager adds its frame).
  [[nodiscard]] int32_t ScaleWidth() const { return where_.width; }
  [[nodiscard]] int32_t ScaleHeight() const { return where_.height; }
  // Above every other window, the till's own included (TWindwsForm.SetTopMostWindow).
  [[nodiscard]] bool TopMost() const { return top_most_; }
  void SetTopMost(bool top_most);
  [[nodiscard]] Stage CurrentStage() const { return stage_; }
  // Paints the window now, in the middle of a handler that has not yet let the loop run
  // (a frame shown just before a request that waits). Changes nothing in the model.
  void Refresh();

  // ---- Controls, in design order (which is also the tab order unless changed). ----
  [[nodiscard]] const std::deque<Control>& Controls() const { return controls_; }
  [[nodiscard]] std::deque<Control>& Controls() { return controls_; }
  [[nodiscard]] Control* Find(std::string_view name, int32_t index = -1);
  [[nodiscard]] const Control* Find(std::string_view name, int32_t index = -1) const;
  // The control, or a Failure ("frmKeypad has no control cmdX") that the handler
  // boundary turns into strErrorMessage.
  [[nodiscard]] Control& operator()(std::string_view name, int32_t index = -1);
  [[nodiscard]] Control* Focused() const { return focused_; }
  // False when the control cannot take the focus (hidden, disabled, or neither a text
  // box nor a button); the focus then stays where it was.
  bool SetFocus(Control& control);
  // The Tab key: the next (or previous) control in tab order that can take the focus.
  void FocusNext(bool backwards = false);

  // ---- Driven by a loop. ----
  // Runs Form_Load; the form may unload itself there.
  void Load(FormLoop& loop);
  // On screen: the first control in tab order that can take the focus gets it.
  void Show();
  // Runs Form_Unload(Cancel); unless it refuses, the form is unloaded and the loop that
  // shows it returns. Handlers call it to close their own window ("Unload Me"); closing
  // the window from outside does the same. True when the form is unloaded.
  bool Unload();
  // The loop gives up on a window that refuses every way out (the operator script ran
  // out and even the safe way out was refused): unloaded without Form_Unload.
  void Abandon();
  // The loop showing this form (CurrentFormLoop() before it is loaded).
  [[nodiscard]] FormLoop& Loop() const;
  // The screen's working area in twips, from the loop.
  [[nodiscard]] ScreenTwips Screen() const { return Loop().AvailableScreen(); }
  // Shows `child` modally from a handler of this form, on this form's loop. False (the
  // reason in strErrorMessage) when it could not be shown.
  bool ShowModal(Form& child);

  // ---- Operator input, from a view or the headless operator. Ignored unless shown. ----
  // A click: a button first takes the focus, then its Click handler runs. Nothing
  // happens on a control the operator cannot use.
  void Click(Control& control);
  // A key on the focused control. Tab moves the focus; Enter clicks a focused button or
  // else the default button; Escape the cancel button; Space a focused button. Other
  // keys go to the focused text box's KeyPress handler, which may swallow the key (0)
  // or replace it (a Tab moves the focus on), and then edit the text: backspace and delete (127)
  // remove, other characters replace the selection unless the text is at its maximum length.
  void PressKey(int16_t key);
  // The operator moved the caret or selected text in a view.
  void SetSelection(Control& box, int32_t start, int32_t length);
  // A timer's interval elapsed (the loop keeps the time).
  void TimerFired(Control& timer);

  void AddObserver(FormObserver* observer);
  void RemoveObserver(FormObserver* observer);
  // How many changes an operator could see have been announced so far (timers left
  // out): a loop's measure of progress.
  [[nodiscard]] uint64_t VisibleChanges() const { return visible_changes_; }

  // The buttons a driver presses, first usable one first, when the operator script ends
  // before the window closes; without one usable, the window is closed.
  [[nodiscard]] const std::vector<Control*>& SafeWayOut() const { return safe_way_out_; }

  // "frmKeypad.cmdOK_Click() Failed - <why>" after a handler failed; a later success
  // does not clear it.
  [[nodiscard]] const std::string& strErrorMessage() const { return error_message_; }

  // The whole model as text, one control a line in design order, indented by frame:
  // what tests compare and what a stalled operator script reports (shown_only: only
  // what the operator can see).
  [[nodiscard]] std::string Describe(bool shown_only = false) const;

 protected:
  virtual void Form_Load() {}
  virtual void Form_Unload(int16_t& Cancel) { (void)Cancel; }

  // ---- Design: controls are added in tab order. ----
  Control& AddFrame(std::string name, const Twips& where, std::string caption = {},
                    Control* container = nullptr);
  Control& AddLabel(std::string name, const Twips& where, std::string caption,
                    Control* container = nullptr);
  Control& AddTextBox(std::string name, const Twips& where, std::string label,
                      Control* container = nullptr);
  Control& AddButton(std::string name, const Twips& where, std::string caption,
                     Control* container = nullptr);
  // Timers are designed with no interval and enabled unless said otherwise.
  Control& AddTimer(std::string name, int32_t interval_ms = 0, bool enabled = true);
  Control& AddPicture(std::string name, const Twips& where, Control* container = nullptr);
  Control& AddBrowser(std::string name, const Twips& where, Control* container = nullptr);
  // Elements 0 to captions.size() - 1, element i at where(i).
  ControlArray& AddButtonArray(std::string name, const std::vector<std::string>& captions,
                               const std::function<Twips(int32_t)>& where,
                               Control* container = nullptr);
  void SetDefaultButton(Control& button);
  void SetCancelButton(Control& button);
  void DeclareSafeWayOut(std::initializer_list<Control*> buttons);

  // ---- Handlers by the system's names. ----
  template <class F>
  void OnClick(Control& c, void (F::*h)()) {
    c.handlers_.click = [this, h] { (static_cast<F*>(this)->*h)(); };
  }
  template <class F>
  void OnClick(ControlArray& a, void (F::*h)(int16_t Index)) {
    for (Control* c : a.items_) {
      const auto index = static_cast<int16_t>(c->Index());
      c->handlers_.click = [this, h, index] { (static_cast<F*>(this)->*h)(index); };
    }
  }
  template <class F>
  void OnKeyPress(Control& c, void (F::*h)(int16_t& KeyAscii)) {
    c.handlers_.key_press = [this, h](int16_t& key) { (static_cast<F*>(this)->*h)(key); };
  }
  template <class F>
  void OnChange(Control& c, void (F::*h)()) {
    c.handlers_.change = [this, h] { (static_cast<F*>(this)->*h)(); };
  }
  template <class F>
  void OnGotFocus(Control& c, void (F::*h)()) {
    c.handlers_.got_focus = [this, h] { (static_cast<F*>(this)->*h)(); };
  }
  template <class F>
  void OnLostFocus(Control& c, void (F::*h)()) {
    c.handlers_.lost_focus = [this, h] { (static_cast<F*>(this)->*h)(); };
  }
  template <class F>
  void OnTimer(Control& c, void (F::*h)()) {
    c.handlers_.timer = [this, h] { (static_cast<F*>(this)->*h)(); };
  }

 private:
  friend class Control;

  Control& Add(ControlKind kind, std::string name, int32_t index, Control* container,
               const Twips& where);
  void Announce(const Control& control, Property property);
  void AnnounceForm(FormProperty property);
  // Runs one handler; a failure becomes "<form>.<handler>() Failed - <why>".
  template <class Body>
  void Raise(std::string_view handler, Body&& body) noexcept;
  void RaiseEvent(Control& control, const std::function<void()>& handler, const char* event);
  void MoveFocus(Control* to);
  void KeepFocusUsable();
  void EditText(Control& box, int16_t key);

  std::string name_;
  std::string caption_;
  Twips where_;
  bool top_most_ = false;
  Stage stage_ = Stage::Designed;
  bool unloading_ = false;
  FormLoop* loop_ = nullptr;
  std::deque<Control> controls_;  // stable addresses
  std::deque<ControlArray> arrays_;
  Control* focused_ = nullptr;
  std::vector<Control*> safe_way_out_;
  std::vector<FormObserver*> observers_;
  uint64_t visible_changes_ = 0;
  std::string error_message_;
};

}  // namespace ccaddin
