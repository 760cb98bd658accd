// TTmsCall: the terminal-management call. UpdateTmsScript rewrites the site constants of
// the installation's script "tmscall.vbs" in the configuration folder; DoTmsCall starts
// that script detached and forgets it. Blocks only on reading and writing the script
// and on the process start itself, never on the script's run.
#pragma once

#include <string>

namespace ccaddin {

class TTmsCall {
 public:
  // Replaces every line that defines one of the script's site constants (recognised in
  // any letter case) by its canonical form for these settings, keeps every other line
  // in order, and writes the file back with "\n" line ends. A script that is missing or
  // unreadable is left alone. The new content replaces the old in one step (written
  // beside it, then renamed over it with the same permissions), so a full disk never
  // leaves a half-written script.
  void UpdateTmsScript(const std::string& strMerchantId, const std::string& strClientID,
                       const std::string& strScriptLocation, const std::string& strCurrency,
                       const std::string& strAcquirer, const std::string& strFuelType,
                       bool bSwipeOnTill, const std::string& strComPort,
                       const std::string& strChipAndPinDevice);

  // Starts strScriptLocation + "tmscall.vbs" through the Env, detached and hidden. The
  // outcome changes nothing for the caller; a start that fails leaves its text here.
  void DoTmsCall(const std::string& strScriptLocation);

  // The last failure of either operation, for the caller's log; nothing acts on it.
  [[nodiscard]] const std::string& strErrorMessage() const { return error_message_; }

  static constexpr const char* kScriptName = "tmscall.vbs";

 private:
  std::string error_message_;
};

}  // namespace ccaddin
