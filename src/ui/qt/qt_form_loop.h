// The Qt 6 Widgets side of the forms: a loop that puts each form on the display as a
// window of widgets mirroring its model (object names are the control names, accessible
// names their captions), runs its timers as QTimers and its modal showing as a nested
// event loop, and pumps Qt events from Env::DoEvents while a request waits. Windows must
// be shown on the till's GUI thread: the thread of its QApplication, or, when the till
// has none, the thread that shows the first window, where the add-in starts one (on the
// offscreen platform when there is neither DISPLAY nor WAYLAND_DISPLAY) and keeps it for
// the life of the process. No Qt type appears here.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "ui/loop.h"
#include "ui/operator_script.h"

namespace ccaddin {

class Control;
class Form;
class ScriptRunner;

struct QtLoopOptions {
  // An operator script acting through the widgets, as a person would (tests, benchmarks,
  // demonstrations); none: a person operates the windows.
  std::optional<OperatorScript> script;
  std::function<void(const std::string& line)> journal;
  // Real time without progress before a scripted window takes its safe way out.
  int64_t stall_ms = 60'000;
  // Where the script's "picture" steps write; empty: they take none.
  std::string picture_folder;
};

class QtFormLoop final : public FormLoop {
 public:
  explicit QtFormLoop(QtLoopOptions options = {});
  ~QtFormLoop() override;

  [[nodiscard]] bool ShowModal(Form& form, std::string& error) override;
  [[nodiscard]] ScreenTwips AvailableScreen() override;
  // The script's runner; nullptr when a person operates the windows.
  [[nodiscard]] const ScriptRunner* Runner() const;

  struct Impl;

 private:
  std::unique_ptr<Impl> impl_;
};

// Makes the Qt loop the display loop of the process, and Qt the drawer of the pictures of
// CCADDIN_OPERATOR_SCRIPT runs (libccaddin.so does this).
void InstallQtFormLoop();

// Draws `form` as it stands (or only `part` of it) offscreen and writes a PNG file. False,
// with the reason in `error`, when Qt cannot start or the file cannot be written.
[[nodiscard]] bool RenderFormPicture(Form& form, const Control* part, const std::string& png_path,
                                     std::string& error);

}  // namespace ccaddin
