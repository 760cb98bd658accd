#include "till_command.h"

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <map>
#include <sstream>

#include "ccaddin/records.h"
#include "hooks/t_non_gui_transaction_hook2.h"
#include "platform/text_encoding.h"
#include "qlclient/sim/simulator.h"
#include "reg_admin.h"

namespace ccaddin {

namespace {

namespace fs = std::filesystem;

constexpr const char* kInstalledRegistry = "/var/lib/ccaddin/registry.db";

constexpr const char* kUsage =
    "usage: ccaddin-till sale AMOUNT [--card NAME] [--cashback AMOUNT]\n"
    "                         [--type sale|refund|preauth|finalauth] [--dir FOLDER]\n"
    "       ccaddin-till setup [--dir FOLDER] [--print-env]\n"
    "\n"
    "sale   runs one card transaction on the built-in payment simulator (AMOUNT as 12.50)\n"
    "       and prints the outcome record and the merchant and customer receipts.\n"
    "       --card names a test card of the simulator (visa-chip-pin, mc-declined,\n"
    "       visa-contactless, mc-fallback ...; see the README's test cards).\n"
    "setup  makes the demo site only; --print-env prints the export line for other tills.\n"
    "\n"
    "Settings come from $CCADDIN_REGISTRY, else "
    "/var/lib/ccaddin/registry.db; when neither\n"
    "exists (or --dir is given) a demo site is made in FOLDER (default ./ccaddin-demo).\n";

struct Options {
  std::string command;
  std::string amount;
  std::string card = "visa_chip_pin";
  std::string cashback;
  std::string type = "sale";
  std::string dir;
  bool print_env = false;
};

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

Options Parse(const std::vector<std::string>& args) {
  if (args.empty()) throw UsageError("no command");
  Options o;
  o.command = args[0];
  if (o.command != "sale" && o.command != "setup") {
    throw UsageError("unknown command \"" + o.command + "\"");
  }
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    const auto value = [&]() -> std::string {
      if (i + 1 >= args.size()) throw UsageError(a + " needs a value");
      return args[++i];
    };
    if (a == "--card") {
      o.card = value();
    } else if (a == "--cashback") {
      o.cashback = value();
    } else if (a == "--type") {
      o.type = value();
    } else if (a == "--dir") {
      o.dir = value();
      if (o.dir.empty()) throw UsageError("--dir needs a folder");
    } else if (a == "--print-env" && o.command == "setup") {
      o.print_env = true;
    } else if (!a.empty() && a[0] == '-') {
      throw UsageError("unknown option " + a);
    } else if (o.command == "sale" && o.amount.empty()) {
      o.amount = a;
    } else {
      throw UsageError("unexpected argument \"" + a + "\"");
    }
  }
  if (o.command == "sale" && o.amount.empty()) throw UsageError("sale needs an AMOUNT");
  // Catalogue names use "_"; "-" reads better on a command line.
  for (char& c : o.card) {
    if (c == '-') c = '_';
  }
  return o;
}

// The registry this run uses: the named demo site, the installed store, or a fresh demo
// site. The component reads it through CCADDIN_REGISTRY.
std::string ChooseRegistry(const Options& o, std::ostream& out) {
  std::string db;
  if (!o.dir.empty()) {
    db = PrepareDemoSite(o.dir, out);
  } else {
    const char* env = std::getenv("CCADDIN_REGISTRY");
    const std::string installed = env != nullptr && *env != '\0' ? env : kInstalledRegistry;
    db = fs::exists(installed) ? installed : PrepareDemoSite(kDefaultDemoFolder, out);
  }
  ::setenv("CCADDIN_REGISTRY", db.c_str(), 1);
  return db;
}

std::string Text(const std::string& windows1252) {
  std::string utf8 = Windows1252ToUtf8(windows1252);
  std::string lines;
  for (size_t i = 0; i < utf8.size(); ++i) {
    if (utf8[i] == '\r') {
      lines += '\n';
      if (i + 1 < utf8.size() && utf8[i + 1] == '\n') ++i;
    } else {
      lines += utf8[i];
    }
  }
  return lines;
}

void PrintRecord(const TTransactionInfo& r, std::ostream& out) {
  const std::vector<std::pair<const char*, std::string>> fields = {
      {"strAuthorisationCode", r.strAuthorisationCode},
      {"lTransactionRefNo", std::to_string(r.lTransactionRefNo)},
      {"lResponseCode", std::to_string(r.lResponseCode)},
      {"strPanFirst6Digits", r.strPanFirst6Digits},
      {"strPanLast4Digits", r.strPanLast4Digits},
      {"strSchemeName", r.strSchemeName},
      {"strEmvAppicationLabel", r.strEmvAppicationLabel},
      {"strEmvAppicationId", r.strEmvAppicationId},
      {"strMerchantNo", r.strMerchantNo},
      {"strTerminalId", r.strTerminalId},
      {"strCurrencyCode", r.strCurrencyCode},
      {"lCustomerVerification", std::to_string(r.lCustomerVerification)},
      {"lCashbackAmount", std::to_string(r.lCashbackAmount)},
      {"lDataEntryMethod", std::to_string(r.lDataEntryMethod)},
      {"lCardClass", std::to_string(r.lCardClass)},
      {"strToken", r.strToken.empty() ? "" : "(returned)"},
  };
  out << "TTransactionInfo\n";
  for (const auto& [name, value] : fields) {
    out << "  " << name << std::string(24 - std::string(name).size(), ' ') << Text(value) << "\n";
  }
}

int RunSale(const Options& o, std::ostream& out, std::ostream& err) {
  const std::optional<int32_t> amount = ParseAmount(o.amount);
  if (!amount || *amount == 0) throw UsageError("AMOUNT must be like 12.50");
  int32_t cashback = 0;
  if (!o.cashback.empty()) {
    const std::optional<int32_t> parsed = ParseAmount(o.cashback);
    if (!parsed) throw UsageError("--cashback must be like 5.00");
    cashback = *parsed;
  }
  static const std::map<std::string, int32_t> kTypes = {{"sale", TAM_TT_SALE},
                                                        {"refund", TAM_TT_REFUND},
                                                        {"preauth", TAM_TT_PREAUTH},
                                                        {"finalauth", TAM_TT_FINALAUTH}};
  const auto type = kTypes.find(o.type);
  if (type == kTypes.end()) throw UsageError("--type must be sale, refund, preauth or finalauth");
  if (cashback > 0 && type->second != TAM_TT_SALE) throw UsageError("cashback needs a sale");

  const std::string db = ChooseRegistry(o, out);
  out << "Settings: " << db << "\n";

  TTillInformation till;
  till.strMerchantName = "CCADDIN DEMO SHOP";
  till.strAddressLine1 = "1 High Street";
  till.strAddressLine2 = "Petersfield";
  till.strAddressLine3 = "GU32 3AA";
  till.strSitePhoneNumber = "01730 000000";
  till.strStoreNumber = "1";
  till.strTillNumber = "1";
  till.strReceiptNumber = "1";
  TTransactionInfo info;

  TNonGuiTransactionHook2 hook;
  const auto fail = [&](const std::string& why) {
    err << "ccaddin-till: " << Text(why) << "\n";
    hook.EndTransaction();
    return kTillExitFailed;
  };
  if (hook.StartTransaction() != 0) return fail(hook.strErrorMessage());
  std::string why;
  if (!sim::PresentCard(o.card, &why)) {
    hook.EndTransaction();
    throw UsageError(why);
  }

  int32_t rc = hook.CardEnquiry(type->second, DATAENTRY_CHIPORTAP, *amount, till);
  if (rc == RETURNCODE_MAGSTRIPEFALLBACK) {
    out << "Chip not read: the card is swiped\n";
    rc = hook.CardEnquiry(type->second, DATAENTRY_SWIPE, *amount, till);
  }
  if (rc != RETURNCODE_SUCCESS && rc != RETURNCODE_CASHBACKALLOWED) {
    return fail(rc == RETURNCODE_MAGSTRIPEFALLBACK ? "the card cannot be read"
                                                   : hook.strErrorMessage());
  }
  if (cashback > 0 && rc != RETURNCODE_CASHBACKALLOWED) {
    return fail("cashback is not available with this card");
  }
  rc = hook.AuthoriseTransaction(type->second, *amount, cashback, till, info);
  if (rc != RETURNCODE_SUCCESS) {
    return fail(rc == RETURNCODE_MAGSTRIPEFALLBACK ? "the card must be swiped (fallback)"
                                                   : hook.strErrorMessage());
  }
  const std::string reference = hook.strTransactionReference();
  const bool approved = info.lResponseCode == TRANSINFO_RC_AUTHORISED;
  // Only an authorised transaction is committed; anything else is recorded as declined,
  // since this command takes no voice authorisation for a referral.
  if (!hook.ConfirmTransaction(approved ? CONFIRMTYPE_AUTHORISED : CONFIRMTYPE_DECLINED, reference,
                               "", till, info)) {
    return fail(hook.strErrorMessage());
  }
  hook.EndTransaction();

  const char* outcome = approved ? "AUTHORISED"
                        : info.lResponseCode == TRANSINFO_RC_REFERRED
                            ? "REFERRED (no voice authorisation taken: declined)"
                            : "DECLINED";
  out << "Outcome: " << outcome << "\n";
  out << "Transaction reference: " << reference << "\n";
  PrintRecord(info, out);
  out << "\n--- MERCHANT RECEIPT ---\n" << Text(hook.strMerchantReceipt());
  out << "\n--- CUSTOMER RECEIPT ---\n" << Text(info.strCustomerReceipt) << "\n";
  return approved ? kTillExitOk : kTillExitDeclined;
}

}  // namespace

int RunTillCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (!args.empty() && (args[0] == "--help" || args[0] == "-h" || args[0] == "help")) {
    out << kUsage;
    return kTillExitOk;
  }
  try {
    const Options o = Parse(args);
    if (o.command == "setup") {
      // With --print-env the output is for a shell's eval: the export line only.
      std::ostringstream quiet;
      const std::string db =
          PrepareDemoSite(o.dir.empty() ? kDefaultDemoFolder : o.dir, o.print_env ? quiet : out);
      if (o.print_env) out << "export CCADDIN_REGISTRY='" << db << "'\n";
      return kTillExitOk;
    }
    return RunSale(o, out, err);
  } catch (const UsageError& e) {
    err << "ccaddin-till: " << e.what() << "\n" << kUsage;
    return kTillExitUsage;
  } catch (const std::exception& e) {
    err << "ccaddin-till: " << e.what() << "\n";
    return kTillExitFailed;
  }
}

}  // namespace ccaddin
