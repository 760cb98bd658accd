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

namespace ccaddin {

inline constexpr int kTillExitOk = 0;        // authorised (or the site is ready)
inline constexpr int kTillExitUsage = 1;     // bad command line
inline constexpr int kTillExitFailed = 2;    // the transaction could not be completed
inline constexpr int kTillExitDeclined = 3;  // completed, not authorised by the issuer

// The folder a demo site goes to when the command line names none.
inline constexpr const char* kDefaultDemoFolder = "ccaddin-demo";

// "12.50", "12.5", "12" -> minor units; nullopt for anything else (signs, three decimals,
// more than a Long holds).
[[nodiscard]] std::optional<int32_t> ParseAmount(const std::string& text);

// Makes (or completes) a demo site in `folder`: registry.db with the settings a till needs,
// config/qlclient.json for the simulator, receipts/. What exists already is kept, so a
// merchant's edits survive. Returns the registry database's path; throws on failure.
std::string PrepareDemoSite(const std::string& folder, std::ostream& out);

// Runs one command line (`args` without the program name); results to `out`, a one-line
// reason to `err`. Returns the process exit code above.
int RunTillCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace ccaddin
