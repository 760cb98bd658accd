// The loop seam between form controllers and whatever shows them: modal showing until
// the form unloads, the timers (a loop watches each form's timer controls), the screen's
// working area. The Qt loop (ui/qt) puts windows on a display; the headless loop
// (ui/headless) runs them on the virtual clock under an operator script. A loop never
// owns the forms it shows; ShowModal blocks until the form has unloaded.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace ccaddin {

class Form;

inline constexpr int32_t kTwipsPerInch = 1440;

struct ScreenTwips {
  int32_t width = 0;
  int32_t height = 0;
};

class FormLoop {
 public:
  virtual ~FormLoop() = default;
  // Loads `form` (Form_Load), shows it in front of every other window of the loop and
  // returns once it has unloaded; its timers run meanwhile, and those of the windows
  // behind it. False, with the reason in `error`, when it could not be shown at all
  // (no display toolkit on this thread, a form already shown once): then Form_Load has
  // not run.
  [[nodiscard]] virtual bool ShowModal(Form& form, std::string& error) = 0;
  // The screen's working area (without the desktop's panels).
  [[nodiscard]] virtual ScreenTwips AvailableScreen() = 0;
};

// The loop for windows of the calling thread: a ScopedFormLoop's; else, while
// CCADDIN_OPERATOR_SCRIPT names a script, the process's headless loop under that script;
// else the display loop (the Qt one in libccaddin.so); else a headless loop without an
// operator, in which every window takes its safe way out.
[[nodiscard]] FormLoop& CurrentFormLoop();

// The display toolkit's loop, made on first use. libccaddin.so installs the Qt loop.
void InstallDisplayLoop(std::function<std::unique_ptr<FormLoop>()> factory);

// Makes `loop` the calling thread's loop for its lifetime (tests, the demo till).
class ScopedFormLoop {
 public:
  explicit ScopedFormLoop(FormLoop* loop);
  ~ScopedFormLoop();
  ScopedFormLoop(const ScopedFormLoop&) = delete;
  ScopedFormLoop& operator=(const ScopedFormLoop&) = delete;

 private:
  FormLoop* previous_;
};

}  // namespace ccaddin
