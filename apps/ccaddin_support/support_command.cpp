#include "support_command.h"

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <nlohmann/json.hpp>

#include "payment/credit_card_common.h"
#include "payment/product_info.h"
#include "platform/env.h"
#include "platform/registry_store.h"
#include "platform/text_encoding.h"
#include "qlclient/ql_transaction.h"
#include "receipts/generate_report.h"
#include "receipts/receipt.h"

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
    "  receipt [--copy merchant|customer|both] [--duplicate] [--date YYYYMMDD]\n"
    "          [--time HHMM] [--exponent N] [--raw] TRANSACTION_JSON\n"
    "      the receipt copies TReceipt composes for the transaction and till information\n"
    "      in TRANSACTION_JSON (merchant, then customer; a line of \"=\" between them),\n"
    "      dated now unless --date and --time say otherwise\n"
    "\n"
    "Settings are read from the registry\n"
    "database PATH (default: $CCADDIN_REGISTRY, else /var/lib/ccaddin/registry.db) as the\n"
    "add-in reads them; amounts have BaseCurrencyExponent decimals unless --exponent says\n"
    "otherwise. Text is shown as UTF-8; --raw writes the Windows-1252\n"
    "bytes as the add-in stores them. Exit status: 0 success, 1 usage error, 2 failed.\n";

struct UsageError {
  std::string message;
};
struct Failed {
  std::string message;
};

// Options that take a value, and flags, by command.
struct CommandOptions {
  std::vector<std::string> valued;
  std::vector<std::string> flags;
};

const std::map<std::string, CommandOptions>& Commands() {
  static const std::map<std::string, CommandOptions> commands = {
      {"report", {{"--fuel", "--till", "--exponent"}, {"--x", "--raw"}}},
      {"receipt", {{"--copy", "--date", "--time", "--exponent"}, {"--duplicate", "--raw"}}},
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
    const CommandOptions& allowed = Commands().at(cl.command);
    if (a.size() > 1 && a[0] == '-') {
      if (Contains(allowed.flags, a)) {
        cl.options[a] = "";
      } else if (Contains(allowed.valued, a)) {
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

// The exponent the add-in would use: --exponent, else the loaded configuration's.
int32_t CurrencyExponent(const CommandLine& cl) {
  if (cl.Has("--exponent")) return ParseExponent(cl.Get("--exponent"));
  return Shared().lBaseCurrencyExponent;
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
               : std::filesystem::absolute(fuel_path)
                     .lexically_normal()
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

template <typename T>
using Member = T QlTransaction::*;

// Every field of the payment-client contract's transaction, by its member name.
const std::map<std::string, Member<std::string>>& TextFields() {
  static const std::map<std::string, Member<std::string>> fields = {
#define CCADDIN_FIELD(name) {#name, &QlTransaction::name}
      CCADDIN_FIELD(strPan),
      CCADDIN_FIELD(strTrack),
      CCADDIN_FIELD(strExpiryDate),
      CCADDIN_FIELD(strStartDate),
      CCADDIN_FIELD(strIssueNumber),
      CCADDIN_FIELD(strCv2),
      CCADDIN_FIELD(strAddressDigits),
      CCADDIN_FIELD(strPostcode),
      CCADDIN_FIELD(strReferenceText),
      CCADDIN_FIELD(strAmount),
      CCADDIN_FIELD(strCashbackAmount),
      CCADDIN_FIELD(strGratuityAmount),
      CCADDIN_FIELD(strCurrencyCode),
      CCADDIN_FIELD(strReference),
      CCADDIN_FIELD(strRegNo),
      CCADDIN_FIELD(strProductRestriction),
      CCADDIN_FIELD(strSupplierId),
      CCADDIN_FIELD(strAuthCode),
      CCADDIN_FIELD(strResponseText),
      CCADDIN_FIELD(strCv2AvsResult),
      CCADDIN_FIELD(strAvailableSpend),
      CCADDIN_FIELD(strToken),
      CCADDIN_FIELD(strBatchNo),
      CCADDIN_FIELD(strTransDate),
      CCADDIN_FIELD(strTransTime),
      CCADDIN_FIELD(strTerminalId),
      CCADDIN_FIELD(strMerchantNo),
      CCADDIN_FIELD(strSchemeName),
      CCADDIN_FIELD(strAid),
      CCADDIN_FIELD(strAppLabel),
      CCADDIN_FIELD(strAppPreferredName),
      CCADDIN_FIELD(strCryptogram),
      CCADDIN_FIELD(strPanSeqNo),
      CCADDIN_FIELD(strCurrencyText),
      CCADDIN_FIELD(strBaseCurrencyText),
      CCADDIN_FIELD(strBaseAmount),
      CCADDIN_FIELD(strExchangeRate),
      CCADDIN_FIELD(strConversionStatement),
      CCADDIN_FIELD(strReferralPhoneNo),
      CCADDIN_FIELD(strReferralMerchantId),
      CCADDIN_FIELD(strReferralPan),
      CCADDIN_FIELD(strReferralExpiryDate),
      CCADDIN_FIELD(strReferralStartDate),
      CCADDIN_FIELD(strReferralIssueNo),
  };
  return fields;
}

const std::map<std::string, Member<int32_t>>& NumberFields() {
  static const std::map<std::string, Member<int32_t>> fields = {
      CCADDIN_FIELD(lEntryMethodCode),  CCADDIN_FIELD(lMode),
      CCADDIN_FIELD(lCv2Present),       CCADDIN_FIELD(lTransactionTypeCode),
      CCADDIN_FIELD(lCurrencyExponent), CCADDIN_FIELD(lCustomerPresence),
      CCADDIN_FIELD(lMileage),          CCADDIN_FIELD(lStatus),
      CCADDIN_FIELD(lTransRefNo),       CCADDIN_FIELD(lProcessingState),
      CCADDIN_FIELD(lAuthSource),       CCADDIN_FIELD(lCvmCode),
      CCADDIN_FIELD(lCardType),         CCADDIN_FIELD(lTransCurrencyExponent),
      CCADDIN_FIELD(lConversionState),
  };
  return fields;
}

const std::map<std::string, Member<bool>>& SwitchFields() {
  static const std::map<std::string, Member<bool>> fields = {
      CCADDIN_FIELD(bCancelled),           CCADDIN_FIELD(bMerchPrintExpiry),
      CCADDIN_FIELD(bMerchPrintStartDate), CCADDIN_FIELD(bMerchPrintIssueNo),
      CCADDIN_FIELD(bCustPrintExpiry),     CCADDIN_FIELD(bCustPrintStartDate),
      CCADDIN_FIELD(bCustPrintIssueNo),    CCADDIN_FIELD(bMerchPrintCvm),
      CCADDIN_FIELD(bCustPrintCvm),        CCADDIN_FIELD(bMerchPrintAuthSource),
      CCADDIN_FIELD(bCustPrintAuthSource),
#undef CCADDIN_FIELD
  };
  return fields;
}

int32_t NumberMember(const nlohmann::json& value, const std::string& name) {
  if (!value.is_number_integer() || value.get<int64_t>() < INT32_MIN ||
      value.get<int64_t>() > INT32_MAX) {
    throw std::runtime_error(name + " must be a whole number of 32 bits");
  }
  return static_cast<int32_t>(value.get<int64_t>());
}

bool SwitchMember(const nlohmann::json& value, const std::string& name) {
  if (!value.is_boolean()) throw std::runtime_error(name + " must be true or false");
  return value.get<bool>();
}

QlTransaction ReadTransactionObject(const nlohmann::json& object) {
  if (!object.is_object()) throw std::runtime_error("\"transaction\" must be a JSON object");
  QlTransaction trans;
  for (const auto& [name, value] : object.items()) {
    if (const auto t = TextFields().find(name); t != TextFields().end()) {
      trans.*(t->second) = TextMember(value, name);
    } else if (const auto n = NumberFields().find(name); n != NumberFields().end()) {
      trans.*(n->second) = NumberMember(value, name);
    } else if (const auto b = SwitchFields().find(name); b != SwitchFields().end()) {
      trans.*(b->second) = SwitchMember(value, name);
    } else if (name == "strEmvValues") {
      if (!value.is_array() || value.size() > trans.strEmvValues.size()) {
        throw std::runtime_error("strEmvValues must be an array of at most " +
                                 std::to_string(trans.strEmvValues.size()) + " strings");
      }
      for (size_t i = 0; i < value.size(); ++i) {
        trans.strEmvValues[i] = TextMember(value[i], "strEmvValues[" + std::to_string(i) + "]");
      }
    } else {
      throw std::runtime_error("unknown transaction field \"" + name + "\"");
    }
  }
  return trans;
}

// The fields the transaction window sets while capturing a fuel card's details.
void ReadSession(const nlohmann::json& object, CreditCardCommon& shared) {
  if (!object.is_object()) throw std::runtime_error("\"session\" must be a JSON object");
  static const std::pair<const char*, bool SessionState::*> flags[] = {
      {"bMileagePrompted", &SessionState::bMileagePrompted},
      {"bRegPrompted", &SessionState::bRegPrompted},
      {"bSuppIdPrompted", &SessionState::bSuppIdPrompted},
  };
  for (const auto& [name, value] : object.items()) {
    bool known = false;
    for (const auto& [flag_name, flag] : flags) {
      if (name == flag_name) {
        shared.*flag = SwitchMember(value, name);
        known = true;
      }
    }
    if (!known) throw std::runtime_error("unknown session member \"" + name + "\"");
  }
}

// The till's fuel products of the sale, and the card's allowed products that name them.
void ReadFuel(const nlohmann::json& object, CreditCardCommon& shared) {
  if (!object.is_object()) throw std::runtime_error("\"fuel\" must be a JSON object");
  auto products = std::make_unique<TProductInfo>();
  std::string allowed;
  for (const auto& [name, value] : object.items()) {
    if (name == "strAllowedProducts") {
      allowed = TextMember(value, name);
    } else if (name == "strCurrencyCode") {
      products->strCurrencyCode = TextMember(value, name);
    } else if (name == "bBunkerCard") {
      products->bBunkerCard = SwitchMember(value, name);
    } else if (name == "bPrintBunkerTotal") {
      products->bPrintBunkerTotal = SwitchMember(value, name);
    } else if (name == "products") {
      if (!value.is_array()) throw std::runtime_error("products must be an array");
      for (const nlohmann::json& p : value) {
        if (!p.is_object()) throw std::runtime_error("each product must be a JSON object");
        std::string code, amount, litres;
        int32_t quantity = 0;
        for (const auto& [field, v] : p.items()) {
          if (field == "strProductCode")
            code = TextMember(v, field);
          else if (field == "strAmount")
            amount = TextMember(v, field);
          else if (field == "strLitres")
            litres = TextMember(v, field);
          else if (field == "lQuantity")
            quantity = NumberMember(v, field);
          else
            throw std::runtime_error("unknown product member \"" + field + "\"");
        }
        products->AddProductInfo(code, amount, litres, quantity);
      }
    } else {
      throw std::runtime_error("unknown fuel member \"" + name + "\"");
    }
  }
  // As the window prepares the sale: the products must be valid, and the card's list
  // names them (and excludes the others where the settings allow it).
  if (products->ValidateProductInfo() != 0) throw std::runtime_error(products->strErrorMessage());
  if (!allowed.empty() &&
      products->AreTillProductsAllowed(allowed, shared.bAllowProductExclusion) != 0) {
    throw std::runtime_error("the card does not allow these products");
  }
  if (!products->BuildReceiptLines()) throw std::runtime_error(products->strErrorMessage());
  shared.oProductInfo = std::move(products);
}

}  // namespace

ReceiptRequest ReadReceiptRequest(const std::string& json_text, CreditCardCommon& shared) {
  const nlohmann::json root = ParseJson(json_text);
  if (!root.is_object() || !root.contains("transaction")) {
    throw std::runtime_error("must be a JSON object with a \"transaction\" member");
  }
  ReceiptRequest request;
  for (const auto& [name, value] : root.items()) {
    if (name == "transaction") {
      request.trans = ReadTransactionObject(value);
    } else if (name == "till") {
      request.till = ReadTillInformation(value.dump());
    } else if (name == "session") {
      ReadSession(value, shared);
    } else if (name == "fuel") {
      ReadFuel(value, shared);
    } else {
      throw std::runtime_error("unknown member \"" + name +
                               "\" (expected transaction, till, "
                               "session, fuel)");
    }
  }
  return request;
}

namespace {

int ParseNumber(const std::string& text, size_t digits, const std::string& option) {
  if (text.size() != digits || text.find_first_not_of("0123456789") != std::string::npos) {
    throw UsageError{option + " takes " + std::to_string(digits) + " digits"};
  }
  return std::stoi(text);
}

int Receipt(const CommandLine& cl, std::ostream& out) {
  const std::string copy = cl.Has("--copy") ? cl.Get("--copy") : "both";
  if (copy != "merchant" && copy != "customer" && copy != "both") {
    throw UsageError{"--copy takes merchant, customer or both"};
  }
  const DateTime now = CurrentEnv()->Now();
  DateTime date = now;
  if (cl.Has("--date")) {
    const int yyyymmdd = ParseNumber(cl.Get("--date"), 8, "--date");
    date = MakeDateTime(yyyymmdd / 10000, yyyymmdd / 100 % 100, yyyymmdd % 100);
    if (!date.IsValid()) throw UsageError{"--date " + cl.Get("--date") + " is not a date"};
  }
  std::string time = now.Hhmmss().substr(0, 4);
  if (cl.Has("--time")) {
    const int hhmm = ParseNumber(cl.Get("--time"), 4, "--time");
    if (hhmm / 100 > 23 || hhmm % 100 > 59)
      throw UsageError{"--time " + cl.Get("--time") + " is not a time"};
    time = cl.Get("--time");
  }
  const int32_t exponent = CurrencyExponent(cl);

  CreditCardCommon& shared = Shared();
  ReceiptRequest request;
  try {
    request = ReadReceiptRequest(ReadWholeFile(cl.operands[0]), shared);
  } catch (const std::runtime_error& e) {
    throw Failed{cl.operands[0] + ": " + e.what()};
  }

  std::string text;
  for (const bool merchant : {true, false}) {
    if (copy == (merchant ? "customer" : "merchant")) continue;
    TReceipt receipt;
    receipt.dtDate = date;
    receipt.strTime = time;
    receipt.lCurrencyExponent = exponent;
    if (receipt.WriteReceiptFile(request.trans, request.till, "", merchant, cl.Has("--duplicate"),
                                 "", true) != 0) {
      throw Failed{Windows1252ToUtf8(receipt.strErrorMessage())};
    }
    if (!text.empty()) text += std::string(TReceipt::kWidth, '=') + "\r\n";
    text += receipt.strReceipt();
  }
  Print(text, cl, out);
  return kSupportExitOk;
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
    const ScopedRegistryPath scoped_path(cl.db);
    // The settings as the add-in loads them at the start of a till call, in a state of
    // this command's own.
    const ScopedSharedState state;
    Shared().LoadConfiguration();
    return cl.command == "report" ? Report(cl, out) : Receipt(cl, out);
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
