// A whole card sale through the transaction window, headless, against the built-in
// simulator with no added latency: connect and log in, start on the terminal, the card
// wait (the chip card is read at the reader's second poll, on the virtual clock), the card
// enquiry, the authorisation, the merchant copy, the operator's Accept, the confirmation,
// the customer copy, log out. The operator is a script; receipts print to /dev/null
// through the POS printer driver. The site (registry, simulator store, journal) lives in
// a fresh folder under /tmp. Reported as the median CPU time of repeated runs.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "payment/credit_card_common.h"
#include "platform/virtual_env.h"
#include "reg_admin.h"
#include "ui/form_call_scope.h"
#include "ui/form_catalogue.h"
#include "ui/headless/headless_loop.h"
#include "ui/transaction/frm_transaction.h"

namespace {

constexpr const char* kScript = R"(
when fraConfirm is visible: click cmdConfirmAuth
)";

bool SetUpSite(const std::string& folder) {
  std::ofstream(folder + "/qlclient.json") << "{}";
  std::ofstream(folder + "/printers.json") << R"({"Bench": {"device": "/dev/null"}})";
  ::setenv("CCADDIN_PRINTERS", (folder + "/printers.json").c_str(), 1);
  const std::string db = folder + "/registry.db";
  ::setenv("CCADDIN_REGISTRY", db.c_str(), 1);
  std::ostringstream out, err;
  const std::vector<std::vector<std::string>> values = {{"ConfigFileLocation", folder + "/"},
                                                        {"ConfigFileName", "qlclient.json"},
                                                        {"ReceiptFileLocation", folder + "/r/"},
                                                        {"BaseCurrency", "826"},
                                                        {"BaseCurrencyExponent", "2"},
                                                        {"PrinterType", "1"},
                                                        {"OPOSPrinterDeviceName", "Bench"},
                                                        {"CardReaderStatusEnabled", "1"},
                                                        {"CardEnquiryEnabled", "1"}};
  if (ccaddin::RunRegAdmin({"--db", db, "init"}, out, err) != 0) return false;
  for (const auto& v : values) {
    if (ccaddin::RunRegAdmin({"--db", db, "set", v[0], v[1]}, out, err) != 0) return false;
  }
  return true;
}

void BM_WindowSale(benchmark::State& state) {
  char pattern[] = "/tmp/ccaddin-window-bench-XXXXXX";
  if (::mkdtemp(pattern) == nullptr || !SetUpSite(pattern)) {
    state.SkipWithError("cannot make the site under /tmp");
    return;
  }
  const std::string folder = pattern;
  ccaddin::VirtualEnv env;
  ccaddin::ScopedEnv scoped_env(&env);
  const ccaddin::FormCatalogue forms;
  for (auto _ : state) {
    ccaddin::CreditCardCommon& shared = ccaddin::Shared();
    (void)shared.LoadConfiguration();
    shared.oTender = std::make_unique<ccaddin::TTender>();
    (void)shared.oTender->InitialiseTender(0, 1250, 0, 0);
    shared.oTillInfo.strMerchantName = "BENCH SHOP";
    ccaddin::TAddinLog journal;
    journal.StartLog(shared.strConfigFileLocation, false);
    ccaddin::FormCallScope call(&journal);
    std::string error;
    auto script = ccaddin::OperatorScript::Parse(kScript, "bench", forms.Forms(), error);
    ccaddin::HeadlessLoop loop(ccaddin::ScriptRunner(std::move(*script), {}));
    ccaddin::frmTransaction window;
    const bool shown = loop.ShowModal(window, error);
    journal.EndLog(false);
    if (!shown || !shared.bTransactionComplete) {
      state.SkipWithError(("the sale did not complete: " + error + window.strErrorMessage() +
                           loop.Runner().Failure())
                              .c_str());
      break;
    }
  }
  std::filesystem::remove_all(folder);
}

BENCHMARK(BM_WindowSale)->Unit(benchmark::kMicrosecond)->Repetitions(9)->ReportAggregatesOnly(true);

}  // namespace
