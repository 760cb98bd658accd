// ccaddin-support: shows integrators and the help desk, on standard output, the report
// text GenerateReport would write for a server data file and the receipt copies TReceipt
// composes for a transaction. It reads the files it is given and the settings store and
// writes no file. Runs on the calling thread; may wait on the store's busy timeout.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "ccaddin/records.h"
#include "qlclient/ql_transaction.h"

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

// A transaction to preview, as the receipt command reads it: "transaction" (members
// named as QlTransaction's), and optionally "till" (as below), "session" (the details
// the window asked for) and "fuel" (the sale's fuel products and the card's list), the
// last two stored in `shared` as the window stores them. Unknown members are refused.
// Throws std::runtime_error with a readable message.
struct ReceiptRequest {
  QlTransaction trans;
  TTillInformation till;
};
class CreditCardCommon;
[[nodiscard]] ReceiptRequest ReadReceiptRequest(const std::string& json_text,
                                                CreditCardCommon& shared);

}  // namespace ccaddin
