// ccaddin-till: runs one card transaction through the programmatic interface against the
// built-in simulator and prints the outcome record and both receipts; makes a demo site
// (registry database, simulator configuration, receipt folder) when none is installed.
// Runs to completion on the calling thread; blocks on the card wait and the disk.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "demo_site.h"

namespace ccaddin {

inline constexpr int kTillExitOk = 0;        // authorised (or the site is ready)
inline constexpr int kTillExitUsage = 1;     // bad command line
inline constexpr int kTillExitFailed = 2;    // the transaction could not be completed
inline constexpr int kTillExitDeclined = 3;  // completed, not authorised by the issuer

// Runs one command line (`args` without the program name); results to `out`, a one-line
// reason to `err`. Returns the process exit code above.
int RunTillCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace ccaddin
