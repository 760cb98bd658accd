// ccaddin-reg, the installer's and merchant's tool for the settings store: create the
// database, list, get, set and delete values, import and export regedit files, and show
// every setting as the component loads it. Runs to completion on the calling thread;
// may wait on the store's busy timeout while a till is writing.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace ccaddin {

inline constexpr int kExitOk = 0;
inline constexpr int kExitUsage = 1;
inline constexpr int kExitFailed = 2;

// Runs one command line (`args` without the program name), writing results to `out`
// and a one-line message to `err` on failure. Returns the process exit code.
int RunRegAdmin(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace ccaddin
