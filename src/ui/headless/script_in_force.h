// CCADDIN_OPERATOR_SCRIPT: a till's own automated tests set it to a script file, and then
// every window the component shows in that process runs headless under that script, with
// no display. The script is read when a window first needs it, and read again when the
// variable names another file or the file changes; its steps carry on from window to
// window and call to call. A file that others than its owner may write, or that cannot be
// read or parsed, is refused: every window then takes its safe way out, and says why.
// A picture step of a headless run names a PNG file, taken beside the script when the
// name is relative.
//
// CCADDIN_OPERATOR_DISPLAY=1 beside it: the script's operator acts on the windows the
// display toolkit draws (offscreen when the process has no display), with real mouse and
// key events and in real time, instead of on headless windows on a virtual clock; for a
// till vendor who wants its CI to go through the widgets a cashier uses. It is read with
// the script. A refused script still runs headless: its windows take their safe way out.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "ui/operator_script.h"

namespace ccaddin {

class Control;
class Form;
class FormLoop;

inline constexpr const char* kOperatorScriptVariable = "CCADDIN_OPERATOR_SCRIPT";
inline constexpr const char* kOperatorDisplayVariable = "CCADDIN_OPERATOR_DISPLAY";

// A loop of the display toolkit whose windows `script` operates, reporting to `journal`.
using ScriptedDisplayFactory = std::function<std::unique_ptr<FormLoop>(
    OperatorScript script, std::function<void(const std::string& line)> journal)>;
// libccaddin.so installs the Qt one; without one the script always runs headless.
void InstallScriptedDisplayLoop(ScriptedDisplayFactory factory);

// The process's headless loop under the script; nullptr while the variable is unset.
[[nodiscard]] FormLoop* ScriptedLoop();

// A headless loop with no operator at all, for a process without a display toolkit:
// every window takes its safe way out.
[[nodiscard]] FormLoop& UnattendedLoop();

// Draws a form (or one control of it) into a PNG file; false with the reason when it
// cannot. libccaddin.so installs the Qt drawing; without one, picture steps are journalled
// as not drawn and the run goes on.
using ScriptPictureDrawer = std::function<bool(Form& form, const Control* part,
                                               const std::string& png, std::string& error)>;
void InstallScriptPictures(ScriptPictureDrawer drawer);

// The journal line a hook call writes while the variable is set (the script in force,
// or why it is refused); "" while it is unset.
[[nodiscard]] std::string ScriptInForceNotice();

}  // namespace ccaddin
