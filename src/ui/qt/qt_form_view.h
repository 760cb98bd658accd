// QtFormView: one top-level window of widgets built from a form's model and kept equal
// to it. It reads the model when built, then follows every announced change; clicks, keys
// and focus changes go back to the form, never straight into a widget: a text box's text
// changes only through the form's key handling, so filters and Change handlers always
// run. The view observes the form for its own lifetime and owns its widgets and timers.
#pragma once

#include <QWidget>
#include <functional>
#include <unordered_map>

#include "ui/form.h"

class QTimer;

namespace ccaddin {

class QtFormView final : public QWidget, public FormObserver {
 public:
  // With `run_timers` the form's timers run as QTimers (a window on screen); without,
  // the view only draws (pictures).
  QtFormView(Form& form, bool run_timers);
  ~QtFormView() override;

  [[nodiscard]] Form& Model() const { return form_; }
  [[nodiscard]] QWidget* WidgetOf(const Control& control) const;
  // Called once the form has unloaded.
  void OnUnloaded(std::function<void()> done) { on_unloaded_ = std::move(done); }

  // Twips to the screen's logical pixels (15 twips a pixel at 96 dots an inch).
  [[nodiscard]] static double PixelsPerTwip();
  // The screen's working area in twips.
  [[nodiscard]] static ScreenTwips Screen();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  void ControlChanged(const Control& control, Property property) override;
  void FormChanged(FormProperty property) override;

  QWidget* Make(Control& control, QWidget* parent);
  void Apply(const Control& control, Property property);
  void ApplyForm(FormProperty property);
  [[nodiscard]] Control* ControlOf(QObject* object) const;
  bool KeyPressed(Control* control, class QKeyEvent* event);
  void Type(const QString& text);
  void CaretMoved(Control& box);

  Form& form_;
  bool run_timers_;
  std::unordered_map<const Control*, QWidget*> widgets_;
  std::unordered_map<const QObject*, Control*> controls_;
  std::unordered_map<const Control*, QTimer*> timers_;
  std::function<void()> on_unloaded_;
  int mirroring_ = 0;  // > 0 while the view copies the model into a widget
};

}  // namespace ccaddin
