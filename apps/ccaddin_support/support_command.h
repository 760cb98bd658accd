// ccaddin-support: shows integrators and the help desk, on standard output, the report
// text GenerateReport would write for a server data file and the receipt copies TReceipt
// composes for a transaction, and the authorisations the payment server holds pending. It
// reads the files it is given and the settings store and writes no file, except that it
// cancels pending authorisations at the server when told to (journalled). Runs on the
// calling thread; may wait on the store's busy timeout and the payment server.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "ccaddin/records.h"

namespace ccaddin {

inline constexpr int kSupportExitOk = 0;
inline constexpr int kSupportExitUsage = 1;
inline constexpr int kSupportExitFailed = 2;

// Runs one command line (`args` without the program name), writing the text to `out`
// and a one-line message to `err` on failure. Returns the process exit code.
int RunSupportCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// Reads the till information from JSON text (UTF-8): an object whose members are named
// as TTillInformation's (strMerchantName ...), or an object holding one such object as
// "till". Unknown members are refused, so that a misspelt name cannot go unnoticed.
// Throws std::runtime_error with a readable message.
[[nodiscard]] TTillInformation ReadTillInformation(const std::string& json_text);

}  // namespace ccaddin
