#include "support_command.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <nlohmann/json.hpp>

#include "platform/cc_addin_registry.h"
#include "platform/registry_store.h"
#include "platform/text_encoding.h"
#include "receipts/generate_report.h"

namespace ccaddin {
namespace {

constexpr const char* kUsage =
    "usage: ccaddin-support [--db PATH] COMMAND [OPTIONS] FILE\n"
    "\n"
    "Shows on standard output what the add-in would print; writes no file.\n"
    "\n"
    "  report [--x] [--fuel FUEL_DATA_FILE] [--till TILL_JSON] [--exponent N] [--raw] DATA_FILE\n"
    "      the report text GenerateReport writes for the server's report data file\n"
    "      (a Z report unless --x), with the fuel card summary of FUEL_DATA_FILE\n"
    "\n"
    "Amounts have the decimals of the setting BaseCurrencyExponent in the registry\n"
    "database PATH (default: $CCADDIN_REGISTRY, else /var/lib/ccaddin/registry.db) unless\n"
    "--exponent says otherwise. Text is shown as UTF-8; --raw writes the Windows-1252\n"
    "bytes as the add-in stores them. Exit status: 0 success, 1 usage error, 2 failed.\n";

struct UsageError {
  std::string message;
};
struct Failed {
  std::string message;
};

// Options that take a value, and flags, by command.
struct CommandSpec {
  std::vector<std::string> valued;
  std::vector<std::string> flags;
};

const std::map<std::string, CommandSpec>& Commands() {
  static const std::map<std::string, CommandSpec> commands = {
      {"report", {{"--fuel", "--till", "--exponent"}, {"--x", "--raw"}}},
  };
  return commands;
}

struct CommandLine {
  bool help = false;
  std::string db;
  std::string command;
  std::map<std::string, std::string> options;  // flags map to ""
  std::vector<std::string> operands;

  [[nodiscard]] bool Has(const std::string& name) const { return options.count(name) != 0; }
  [[nodiscard]] std::string Get(const std::string& name) const {
    const auto it = options.find(name);
    return it == options.end() ? std::string() : it->second;
  }
};

bool Contains(const std::vector<std::string>& list, const std::string& item) {
  for (const std::string& x : list) {
    if (x == item) return true;
  }
  return false;
}

CommandLine Parse(const std::vector<std::string>& args) {
  CommandLine cl;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--help" || a == "-h") {
      cl.help = true;
      return cl;
    }
    if (cl.command.empty()) {
      if (a == "--db") {
        if (i + 1 == args.size()) throw UsageError{"--db needs a path"};
        cl.db = args[++i];
      } else if (Commands().count(a) != 0) {
        cl.command = a;
      } else {
        throw UsageError{"unknown command \"" + a + "\""};
      }
      continue;
    }
    const CommandSpec& spec = Commands().at(cl.command);
    if (a.size() > 1 && a[0] == '-') {
      if (Contains(spec.flags, a)) {
        cl.options[a] = "";
      } else if (Contains(spec.valued, a)) {
        if (i + 1 == args.size()) throw UsageError{a + " needs a value"};
        cl.options[a] = args[++i];
      } else {
        throw UsageError{"unknown option \"" + a + "\" for " + cl.command};
      }
    } else {
      cl.operands.push_back(a);
    }
  }
  if (cl.command.empty()) throw UsageError{"no command given"};
  if (cl.operands.size() != 1) throw UsageError{cl.command + " takes exactly one file"};
  return cl;
}

std::string ReadWholeFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw Failed{"cannot read " + path};
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

int32_t ParseExponent(const std::string& text) {
  char* end = nullptr;
  const long value = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || value < 0 || value > 9) {
    throw UsageError{"--exponent takes a whole number from 0 to 9"};
  }
  return static_cast<int32_t>(value);
}

// Sets CCADDIN_REGISTRY for the guard's lifetime (when `path` is not empty), so that
// an in-process caller's environment is as it was afterwards.
class ScopedPathVariable {
 public:
  explicit ScopedPathVariable(const std::string& path) : active_(!path.empty()) {
    if (!active_) return;
    if (const char* old = std::getenv(RegistryStore::kPathVariable)) previous_ = old, had_ = true;
    setenv(RegistryStore::kPathVariable, path.c_str(), 1);
  }
  ~ScopedPathVariable() {
    if (!active_) return;
    if (had_) {
      setenv(RegistryStore::kPathVariable, previous_.c_str(), 1);
    } else {
      unsetenv(RegistryStore::kPathVariable);
    }
  }
  ScopedPathVariable(const ScopedPathVariable&) = delete;
  ScopedPathVariable& operator=(const ScopedPathVariable&) = delete;

 private:
  bool active_;
  bool had_ = false;
  std::string previous_;
};

// The exponent the add-in would use: --exponent, else the settings as the add-in loads
// them (a missing database gives the settings' defaults, as it does for the add-in).
int32_t CurrencyExponent(const CommandLine& cl) {
  if (cl.Has("--exponent")) return ParseExponent(cl.Get("--exponent"));
  TCcAddinRegistry settings;
  settings.ReadRegistry();
  return settings.lBaseCurrencyExponent;
}

void Print(const std::string& text, const CommandLine& cl, std::ostream& out) {
  // The add-in's files end lines in LF; its composed texts in CR LF.
  std::string lines;
  lines.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    lines += text[i];
  }
  out << (cl.Has("--raw") ? lines : Windows1252ToUtf8(lines));
}

int Report(const CommandLine& cl, std::ostream& out) {
  const std::filesystem::path data(cl.operands[0]);
  const std::string folder = data.has_parent_path() ? data.parent_path().string() + "/" : "./";
  std::string fuel;
  if (cl.Has("--fuel")) {
    const std::filesystem::path fuel_path(cl.Get("--fuel"));
    // GenerateReport takes both data files as names in one folder.
    fuel = fuel_path.parent_path() == data.parent_path()
               ? fuel_path.filename().string()
               : std::filesystem::absolute(fuel_path).lexically_normal()
                     .lexically_relative(std::filesystem::absolute(folder).lexically_normal())
                     .string();
    if (fuel.empty()) fuel = fuel_path.string();
  }
  TTillInformation till;
  if (cl.Has("--till")) {
    try {
      till = ReadTillInformation(ReadWholeFile(cl.Get("--till")));
    } catch (const std::runtime_error& e) {
      throw Failed{cl.Get("--till") + ": " + e.what()};
    }
  }
  const int32_t exponent = CurrencyExponent(cl);
  TGenerateReport report;
  if (report.WriteReportFile(till, folder, data.filename().string(), fuel, cl.Has("--x"), exponent,
                             true) != 0) {
    throw Failed{Windows1252ToUtf8(report.strErrorMessage())};
  }
  Print(report.strReport(), cl, out);
  return kSupportExitOk;
}

// JSON text members become Windows-1252 as the component holds them; a character the
// code page lacks is refused rather than printed as "?".
std::string TextMember(const nlohmann::json& value, const std::string& name) {
  if (!value.is_string()) throw std::runtime_error(name + " must be a string");
  bool lossless = true;
  std::string text = Utf8ToWindows1252(value.get<std::string>(), &lossless);
  if (!lossless) throw std::runtime_error(name + " has a character outside Windows-1252");
  return text;
}

nlohmann::json ParseJson(const std::string& json_text) {
  try {
    return nlohmann::json::parse(json_text);
  } catch (const nlohmann::json::parse_error& e) {
    throw std::runtime_error(std::string("is not valid JSON (") + e.what() + ")");
  }
}

}  // namespace

TTillInformation ReadTillInformation(const std::string& json_text) {
  nlohmann::json root = ParseJson(json_text);
  if (root.is_object() && root.contains("till")) root = root["till"];
  if (!root.is_object()) throw std::runtime_error("the till information must be a JSON object");
  static const std::pair<const char*, std::string TTillInformation::*> members[] = {
      {"strMerchantName", &TTillInformation::strMerchantName},
      {"strAddressLine1", &TTillInformation::strAddressLine1},
      {"strAddressLine2", &TTillInformation::strAddressLine2},
      {"strAddressLine3", &TTillInformation::strAddressLine3},
      {"strSitePhoneNumber", &TTillInformation::strSitePhoneNumber},
      {"strTillNumber", &TTillInformation::strTillNumber},
      {"strStoreNumber", &TTillInformation::strStoreNumber},
      {"strReceiptNumber", &TTillInformation::strReceiptNumber},
  };
  TTillInformation till;
  for (const auto& [name, value] : root.items()) {
    bool known = false;
    for (const auto& [member_name, member] : members) {
      if (name == member_name) {
        till.*member = TextMember(value, name);
        known = true;
      }
    }
    if (!known) throw std::runtime_error("unknown till information member \"" + name + "\"");
  }
  return till;
}

int RunSupportCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  try {
    const CommandLine cl = Parse(args);
    if (cl.help) {
      out << kUsage;
      return kSupportExitOk;
    }
    const ScopedPathVariable scoped_path(cl.db);
    return Report(cl, out);
  } catch (const UsageError& e) {
    err << "ccaddin-support: " << e.message << " (see: ccaddin-support --help)\n";
    return kSupportExitUsage;
  } catch (const Failed& e) {
    err << "ccaddin-support: " << e.message << '\n';
    return kSupportExitFailed;
  } catch (const std::exception& e) {
    err << "ccaddin-support: " << e.what() << '\n';
    return kSupportExitFailed;
  }
}

}  // namespace ccaddin
