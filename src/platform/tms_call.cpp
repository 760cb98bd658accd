#include "platform/tms_call.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/env.h"
#include "platform/file_system.h"
#include "platform/text_rules.h"
#include "platform/trap.h"

namespace ccaddin {

namespace {

constexpr char kQuote = '"';

std::string Quoted(const std::string& value) {
  return kQuote + value + kQuote;
}

struct SiteCodes {
  std::string offline;
  std::string application;
  std::string fuel;
};

SiteCodes WorkOutCodes(const std::string& currency, const std::string& acquirer,
                       const std::string& fuel_type, bool swipe_on_till,
                       const std::string& device) {
  const bool euro = currency == "EUR";
  SiteCodes codes;
  codes.offline = euro ? "UIGE" : "UUGE";

  if (device != "VeriFone SC5000") {
    codes.application = euro ? "PI" : "PU";
    static const std::pair<const char*, const char*> kAcquirers[] = {
        {"AIB", "A"},        {"Elavon", "E"}, {"Barclays", "B"},
        {"Streamline", "S"}, {"Lloyds", "L"}, {"HSBC", "H"}};
    for (const auto& [name, letter] : kAcquirers) {
      if (acquirer == name) codes.application += letter;
    }
    codes.application += swipe_on_till ? "T" : "P";
  }

  if (!fuel_type.empty()) {
    static const std::pair<const char*, const char*> kBrands[] = {
        {"Maxol", "MAXF"},  {"Topaz", "TPZF"},  {"DCI", "DCIF"},
        {"Texaco", "TEXF"}, {"Morgan", "MGNF"}, {"Top", "TOPF"}};
    for (const auto& [name, code] : kBrands) {
      if (fuel_type == name) codes.fuel = code;
    }
    codes.fuel += euro ? "IFE" : "UFE";
  }
  return codes;
}

// The two constants whose value keeps the first three characters already in the script
// (a prefix the terminal-management service issues per estate) and gets the site's
// code after them. `name` is the text the line was recognised by, in upper case.
std::string KeepThreeCharacters(const std::string& line, const std::string& name,
                                const std::string& code) {
  const std::string trimmed(TrimSpaces(line));
  const size_t pos = UpperCase(trimmed).find(name);
  // The two characters after the name are normally the "=" and the opening quote.
  const size_t kept_at = pos + name.size() + 2;
  if (pos == std::string::npos || trimmed.size() < kept_at + 3) return line;
  return name + "=" + Quoted(trimmed.substr(kept_at, 3) + code);
}

class ScriptRewriter {
 public:
  ScriptRewriter(std::string folder, std::string merchant_id, std::string client_id,
                 std::string com_port, SiteCodes codes)
      : folder_(std::move(folder)),
        merchant_id_(std::move(merchant_id)),
        client_id_(std::move(client_id)),
        com_port_(std::move(com_port)),
        codes_(std::move(codes)) {}

  // The first constant the line contains decides; other lines come back unchanged.
  [[nodiscard]] std::string Rewrite(const std::string& line) const {
    const std::string upper = UpperCase(line);
    const auto has = [&](const char* name) { return upper.find(name) != std::string::npos; };
    const std::string& l = folder_;
    if (has("CONST ZONTALKEXE")) return "Const ZONTALKEXE=" + Quoted(l + "zontalkclient.exe");
    if (has("CONST ZONTALCOPYEXE")) {
      return "Const ZONTALCOPYEXE=" + Quoted(l + "zontalkcopyfiles.exe");
    }
    if (has("CONST CONFIGFILEDIR")) return "Const CONFIGFILEDIR=" + Quoted(l);
    if (has("CONST COPYFILE_FROMDIR")) return "Const COPYFILE_FROMDIR=" + Quoted(l + "work/");
    if (has("CONST COPYFILE_TODIR")) return "Const COPYFILE_TODIR=" + Quoted(l);
    if (has("CONST COPYFILE_LOGFILE")) {
      return "Const COPYFILE_LOGFILE=" + Quoted(l + "zoncopyfile.log");
    }
    if (has("CONST QLMERCHANTID")) return "Const QLMERCHANTID=" + Quoted(merchant_id_);
    if (has("CONST QLCLIENTID")) return "Const QLCLIENTID=" + Quoted(client_id_);
    if (has("CONST APPLICATION_DOWNLOADVX810")) {
      return KeepThreeCharacters(line, "CONST APPLICATION_DOWNLOADVX810", codes_.application);
    }
    if (has("CONST APPLICATION_FUELFILES")) {
      return "Const APPLICATION_FUELFILES=" + Quoted(codes_.fuel);
    }
    if (has("CONST APPLICATION_OFFLINEFILE")) {
      return KeepThreeCharacters(line, "CONST APPLICATION_OFFLINEFILE", codes_.offline);
    }
    if (has("CONST COMPORT")) {
      // "COM12" gives 12: the number after the three letters, unquoted.
      return com_port_.size() >= 4 ? "Const COMPORT=" + com_port_.substr(3) : line;
    }
    return line;
  }

 private:
  std::string folder_;
  std::string merchant_id_;
  std::string client_id_;
  std::string com_port_;
  SiteCodes codes_;
};

// Writes `lines` beside `script` and renames the result over it, keeping the script's
// permissions (it must stay executable). A symbolic link is followed, so an installation
// that links the script from elsewhere keeps its link. False with the text in `error`.
bool ReplaceScript(const std::string& script, const std::vector<std::string>& lines,
                   std::string& error) {
  namespace fs = std::filesystem;
  std::error_code ec;
  const fs::path target = fs::canonical(script, ec);
  if (ec) {
    error = "TTmsCall.UpdateTmsScript() Failed - " + ec.message();
    return false;
  }
  const fs::path temp = target.parent_path() / ("." + target.filename().string() + ".new");

  FileSystem files;
  int32_t handle = 0;
  files.OpenFile(temp.string(), 1, handle);
  bool written = handle != 0;
  for (size_t i = 0; written && i < lines.size(); ++i) {
    written = files.WriteData(handle, lines[i], true) == 0;
  }
  files.CloseFile(handle);
  if (!written) {
    error = files.strErrorMessage();
  } else {
    const fs::perms mode = fs::status(target, ec).permissions();
    if (!ec) fs::permissions(temp, mode, ec);
    if (!ec) fs::rename(temp, target, ec);
    if (ec) error = "TTmsCall.UpdateTmsScript() Failed - " + ec.message();
  }
  if (!written || ec) {
    fs::remove(temp, ec);
    return false;
  }
  return true;
}

}  // namespace

void TTmsCall::UpdateTmsScript(const std::string& strMerchantId, const std::string& strClientID,
                               const std::string& strScriptLocation, const std::string& strCurrency,
                               const std::string& strAcquirer, const std::string& strFuelType,
                               bool bSwipeOnTill, const std::string& strComPort,
                               const std::string& strChipAndPinDevice) {
  TrapVoid(error_message_, "TTmsCall.UpdateTmsScript() Failed - ", [&] {
    const std::string folder = FolderWithSeparator(strScriptLocation);
    const std::string script = folder + kScriptName;

    FileSystem files;
    int32_t handle = 0;
    files.OpenFile(script, 0, handle);
    if (handle == 0) {
      error_message_ = files.strErrorMessage();
      return;
    }
    const ScriptRewriter rewriter(
        folder, strMerchantId, strClientID, strComPort,
        WorkOutCodes(strCurrency, strAcquirer, strFuelType, bSwipeOnTill, strChipAndPinDevice));
    std::vector<std::string> lines;
    while (!files.Eof(handle)) {
      std::string line;
      if (files.ReadData(handle, line, true, 0) != 0) {
        // Writing back only what was read so far would cut the script short.
        error_message_ = files.strErrorMessage();
        files.CloseFile(handle);
        return;
      }
      // A last line without its line feed still carries a Windows carriage return.
      if (!line.empty() && line.back() == '\r') line.pop_back();
      lines.push_back(rewriter.Rewrite(line));
    }
    files.CloseFile(handle);
    ReplaceScript(script, lines, error_message_);
  });
}

void TTmsCall::DoTmsCall(const std::string& strScriptLocation) {
  TrapVoid(error_message_, "TTmsCall.DoTmsCall() Failed - ", [&] {
    std::string error;
    if (!CurrentEnv()->StartDetached(FolderWithSeparator(strScriptLocation) + kScriptName,
                                     &error)) {
      error_message_ = "TTmsCall.DoTmsCall() Failed - " + error;
    }
  });
}

}  // namespace ccaddin
