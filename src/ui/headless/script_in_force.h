// CCADDIN_OPERATOR_SCRIPT: a till's own automated tests set it to a script file, and then
// every window the component shows in that process runs headless under that script, with
// no display. The script is read when a window first needs it, and read again when the
// variable names another file or the file changes; its steps carry on from window to
// window and call to call. A file that others than its owner may write, or that cannot be
// read or parsed, is refused: every window then takes its safe way out, and says why.
#pragma once

#include <string>

namespace ccaddin {

class FormLoop;

inline constexpr const char* kOperatorScriptVariable = "CCADDIN_OPERATOR_SCRIPT";

// The process's headless loop under the script; nullptr while the variable is unset.
[[nodiscard]] FormLoop* ScriptedLoop();

// A headless loop with no operator at all, for a process without a display toolkit:
// every window takes its safe way out.
[[nodiscard]] FormLoop& UnattendedLoop();

// The journal line a hook call writes while the variable is set (the script in force,
// or why it is refused); "" while it is unset.
[[nodiscard]] std::string ScriptInForceNotice();

}  // namespace ccaddin
