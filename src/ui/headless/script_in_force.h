// CCADDIN_OPERATOR_SCRIPT: a till's own automated tests set it to a script file, and then
// every window the component shows in that process runs headless under that script, with
// no display. The script is read when a window first needs it, and read again when the
// variable names another file or the file changes; its steps carry on from window to
// window and call to call. A file that others than its owner may write, or that cannot be
// read or parsed, is refused: every window then takes its safe way out, and says why.
// A picture step names a PNG file, taken beside the script when the name is relative.
#pragma once

#include <functional>
#include <string>

namespace ccaddin {

class Control;
class Form;
class FormLoop;

inline constexpr const char* kOperatorScriptVariable = "CCADDIN_OPERATOR_SCRIPT";

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
