#include "ui/qt/qt_form_loop.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QThread>
#include <QTimer>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "platform/env.h"
#include "platform/text_encoding.h"
#include "ui/form.h"
#include "ui/headless/script_in_force.h"
#include "ui/qt/qt_form_view.h"
#include "ui/script_runner.h"

namespace ccaddin {

namespace {

bool ProcessHasDisplay() {
  return std::getenv("DISPLAY") != nullptr || std::getenv("WAYLAND_DISPLAY") != nullptr ||
         std::getenv("QT_QPA_PLATFORM") != nullptr;
}

// Windows would be drawn where nobody sees them: on the offscreen platform, whether the
// till chose it or the add-in does for a process without a display.
bool DrawnOffscreen() {
  if (QCoreApplication::instance() != nullptr)
    return QGuiApplication::platformName() == "offscreen";
  const char* platform = std::getenv("QT_QPA_PLATFORM");
  if (platform != nullptr) return std::string_view(platform).starts_with("offscreen");
  return !ProcessHasDisplay();
}

// The till's QApplication, or one the add-in starts on this thread and keeps for the
// process (a till that is not a Qt program). nullptr, with the reason, when windows
// cannot be shown from this thread.
QApplication* Application(std::string& error) {
  if (QCoreApplication::instance() == nullptr) {
    static int argc = 1;
    static char program[] = "ccaddin";
    static char platform_option[] = "-platform";
    static char offscreen[] = "offscreen";
    static char* argv[] = {program, platform_option, offscreen, nullptr};
    if (!ProcessHasDisplay()) argc = 3;
    new QApplication(argc, argv);  // never deleted: Qt lives as long as the process
  }
  auto* app = qobject_cast<QApplication*>(QCoreApplication::instance());
  if (app == nullptr) {
    error = "the till's Qt application cannot show widgets (it is not a QApplication)";
  } else if (app->thread() != QThread::currentThread()) {
    error = "windows must be shown on the till's GUI thread";
    app = nullptr;
  }
  return app;
}

// Env::DoEvents while a window shows: Qt's events run, so the window repaints, its timers
// tick and a disabled Cancel stays disabled while a request waits. Sleeping keeps them
// running too. Everything else is the Env underneath.
class EventPump final : public Env {
 public:
  explicit EventPump(Env* inner) : inner_(inner) {}
  DateTime Now() override { return inner_->Now(); }
  void DoEvents() override { QCoreApplication::processEvents(QEventLoop::AllEvents); }
  void Sleep(int32_t ms) override {
    if (inner_ != Env::Default()) return inner_->Sleep(ms);
    if (ms <= 0) return;
    QEventLoop wait;
    QTimer::singleShot(ms, Qt::PreciseTimer, &wait, &QEventLoop::quit);
    wait.exec();
  }
  bool FileCreationTime(int folder_fd, const char* name, DateTime* created,
                        std::string* error) override {
    return inner_->FileCreationTime(folder_fd, name, created, error);
  }
  std::string DecimalSeparator() override { return inner_->DecimalSeparator(); }
  bool StartDetached(const std::string& program, std::string* error) override {
    return inner_->StartDetached(program, error);
  }

 private:
  Env* inner_;
};

void SendMouseClick(QWidget* w, QPoint at) {
  const QPointF local(at);
  const QPointF global(w->mapToGlobal(at));
  QMouseEvent press(QEvent::MouseButtonPress, local, global, Qt::LeftButton, Qt::LeftButton,
                    Qt::NoModifier);
  QApplication::sendEvent(w, &press);
  QMouseEvent release(QEvent::MouseButtonRelease, local, global, Qt::LeftButton, Qt::NoButton,
                      Qt::NoModifier);
  QApplication::sendEvent(w, &release);
}

void SendKey(QWidget* target, int16_t key) {
  int qt_key = Qt::Key_unknown;
  QString text;
  switch (key) {
    case kKeyEnter:
      qt_key = Qt::Key_Return;
      break;
    case kKeyTab:
      qt_key = Qt::Key_Tab;
      break;
    case kKeyEscape:
      qt_key = Qt::Key_Escape;
      break;
    case kKeyBackspace:
      qt_key = Qt::Key_Backspace;
      break;
    case kKeyDelete:
      qt_key = Qt::Key_Delete;
      break;
    default: {
      const QChar ch(char16_t(Windows1252ToCodePoint(static_cast<uint8_t>(key))));
      text = QString(ch);
      if (ch.toUpper().unicode() < 0x80) qt_key = ch.toUpper().unicode();
    }
  }
  QKeyEvent press(QEvent::KeyPress, qt_key, Qt::NoModifier, text);
  QApplication::sendEvent(target, &press);
  QKeyEvent release(QEvent::KeyRelease, qt_key, Qt::NoModifier, text);
  QApplication::sendEvent(target, &release);
}

}  // namespace

struct QtFormLoop::Impl : ScriptOperator {
  QtLoopOptions options;
  std::unique_ptr<ScriptRunner> runner;
  std::vector<Form*> open;
  std::vector<QtFormView*> views;

  QtFormView* ViewOf(const Form& form) const {
    for (QtFormView* v : views) {
      if (&v->Model() == &form) return v;
    }
    return nullptr;
  }

  // The scripted operator acts through the widgets, with the events a person's mouse
  // and keyboard would send.
  void Click(Control& control) override {
    if (QWidget* w = ViewOf(control.Owner())->WidgetOf(control))
      SendMouseClick(w, w->rect().center());
  }
  void Type(Control& box, const std::string& text) override {
    QWidget* w = ViewOf(box.Owner())->WidgetOf(box);
    // Into the box after its text, as the headless operator types.
    SendMouseClick(w, QPoint(w->width() - 2, w->height() / 2));
    for (const char ch : text) SendKey(w, static_cast<int16_t>(static_cast<uint8_t>(ch)));
  }
  void Press(Form& form, int16_t key) override {
    QtFormView* view = ViewOf(form);
    QWidget* target = view->focusWidget() != nullptr ? view->focusWidget() : view;
    if (form.Focused() != nullptr) target = view->WidgetOf(*form.Focused());
    SendKey(target, key);
  }
  void Close(Form& form) override { ViewOf(form)->close(); }
  void Picture(Form& form, const Control* part, const std::string& file_name) override {
    if (options.picture_folder.empty()) return;
    QtFormView* view = ViewOf(form);
    QWidget* w = part != nullptr ? view->WidgetOf(*part) : view;
    if (w != nullptr)
      w->grab().save(QString::fromStdString(options.picture_folder + "/" + file_name));
  }

  uint64_t Changes() const {
    uint64_t changes = 0;
    for (const Form* f : open) changes += f->VisibleChanges();
    return changes;
  }

  // Steps the script on a short real-time tick while `form` is the window in front.
  std::unique_ptr<QTimer> Drive(Form& form) {
    auto tick = std::make_unique<QTimer>();
    auto clock = std::make_shared<QElapsedTimer>();
    clock->start();
    struct Pace {
      int64_t quiet_since = 0;
      uint64_t seen = 0;
      bool way_out_taken = false;
    };
    auto pace = std::make_shared<Pace>();
    pace->seen = Changes();
    QObject::connect(tick.get(), &QTimer::timeout, [this, &form, clock, pace] {
      if (open.empty() || open.back() != &form) return;
      const int64_t now = clock->elapsed();
      if (runner->Poll(open, *this, now) || Changes() != pace->seen) {
        pace->quiet_since = now;
        pace->seen = Changes();
        return;
      }
      if (runner->WakeAt() || now - pace->quiet_since < options.stall_ms) return;
      if (pace->way_out_taken) return runner->GiveUp(form);
      pace->way_out_taken = true;
      pace->quiet_since = now;
      runner->Stalled(open, *this,
                      "nothing happened for " + std::to_string(options.stall_ms / 1000) + " s");
    });
    tick->start(5);
    return tick;
  }
};

QtFormLoop::QtFormLoop(QtLoopOptions options) : impl_(std::make_unique<Impl>()) {
  if (options.script) {
    impl_->runner = std::make_unique<ScriptRunner>(std::move(*options.script), options.journal);
    options.script.reset();
  }
  impl_->options = std::move(options);
}

QtFormLoop::~QtFormLoop() = default;

const ScriptRunner* QtFormLoop::Runner() const {
  return impl_->runner.get();
}

ScreenTwips QtFormLoop::AvailableScreen() {
  std::string error;
  return Application(error) != nullptr ? QtFormView::Screen() : ScreenTwips{};
}

bool QtFormLoop::ShowModal(Form& form, std::string& error) {
  if (form.CurrentStage() != Form::Stage::Designed) {
    error = form.Name() + " has been shown before";
    return false;
  }
  // Nobody can see, let alone operate, a window drawn offscreen (a till running as a
  // service, with no display): it would wait for ever, so it takes its safe way out
  // instead. A script's windows have their operator, and are drawn.
  if (!impl_->runner && DrawnOffscreen()) return UnattendedLoop().ShowModal(form, error);
  if (Application(error) == nullptr) return false;
  Impl& impl = *impl_;
  std::unique_ptr<EventPump> pump;
  std::unique_ptr<ScopedEnv> pumping;
  if (impl.open.empty()) {
    pump = std::make_unique<EventPump>(CurrentEnv());
    pumping = std::make_unique<ScopedEnv>(pump.get());
  }
  impl.open.push_back(&form);
  form.Load(*this);
  if (form.CurrentStage() != Form::Stage::Unloaded) {
    QtFormView view(form, /*run_timers=*/true);
    impl.views.push_back(&view);
    QEventLoop modal;
    view.OnUnloaded([&modal] { modal.quit(); });
    view.setWindowModality(Qt::ApplicationModal);
    view.show();
    if (QGuiApplication::platformName() != "offscreen") view.raise();  // it has no stacking
    view.activateWindow();
    form.Show();
    const std::unique_ptr<QTimer> driver = impl.runner ? impl.Drive(form) : nullptr;
    if (form.CurrentStage() != Form::Stage::Unloaded) modal.exec();
    impl.views.pop_back();
  }
  impl.open.pop_back();
  return true;
}

void InstallQtFormLoop() {
  InstallDisplayLoop([] { return std::make_unique<QtFormLoop>(); });
  InstallScriptPictures(RenderFormPicture);
  InstallScriptedDisplayLoop([](OperatorScript script, ScriptRunner::Journal journal) {
    QtLoopOptions options;
    options.script = std::move(script);
    options.journal = std::move(journal);
    return std::make_unique<QtFormLoop>(std::move(options));
  });
}

bool RenderFormPicture(Form& form, const Control* part, const std::string& png_path,
                       std::string& error) {
  if (Application(error) == nullptr) return false;
  QtFormView view(form, /*run_timers=*/false);
  view.setAttribute(Qt::WA_DontShowOnScreen);
  view.show();
  QWidget* w = part != nullptr ? view.WidgetOf(*part) : &view;
  if (w == nullptr || !w->grab().save(QString::fromStdString(png_path), "PNG")) {
    error = png_path + " could not be written";
    return false;
  }
  return true;
}

}  // namespace ccaddin
