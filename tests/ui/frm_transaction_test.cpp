// The transaction window, headless against the simulator. Each case file
// (tests/data/ui/transaction/<name>.json) is a till site and a sale: the settings (registry
// value names), the simulator's configuration, the tender, the operator script (whose
// "expect" steps check the window on the way) and the outcome: the states the window went
// through, what the till is told, the ledger and what the server recorded. Every case also
// holds the window to what no path may break: a sale reported complete was confirmed at
// the server, the server session is closed when the window is, and no file of the site
// holds a card number.
#include "ui/transaction/frm_transaction.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "payment/credit_card_common.h"
#include "platform/virtual_env.h"
#include "qlclient/sim/sim_store.h"
#include "qlclient/sim/simulator.h"
#include "support/case_files.h"
#include "support/leak_scan.h"
#include "support/temp_dir.h"
#include "support/test_registry.h"
#include "ui/form_call_scope.h"
#include "ui/form_catalogue.h"
#include "ui/headless/headless_loop.h"

namespace ccaddin {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr const char* kCases = "ui/transaction";

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class TransactionCase : public ::testing::TestWithParam<std::string> {};

TEST_P(TransactionCase, RunsHeadless) {
  const std::string path = testing::TestDataPath(std::string(kCases) + "/" + GetParam() + ".json");
  const std::string content = ReadFile(path);
  const json doc = json::parse(content);
  const json& outcome = doc.at("outcome");

  VirtualEnv env;
  ScopedEnv scoped_env(&env);
  // The receipt printer is a file outside the site: the merchant's paper may show the card
  // number, the site's files may not.
  testing::TempDir paper;
  paper.Write("printer", "");
  const std::string printers =
      paper.Write("printers.json", json{{"Paper", {{"device", paper.file("printer")}}}}.dump());
  ASSERT_EQ(setenv("CCADDIN_PRINTERS", printers.c_str(), 1), 0);
  ScopedSharedState scoped_state;
  sim::ResetSimulator();
  testing::TempDir site;
  testing::TestRegistry registry;
  registry.Set("ConfigFileLocation", site.folder());
  registry.Set("ConfigFileName", "qlclient.json");
  registry.Set("ReceiptFileLocation", site.folder() + "receipts/");
  registry.Set("BaseCurrency", "826");
  registry.Set("BaseCurrencyExponent", "2");
  registry.Set("PrinterType", "1");
  registry.Set("OPOSPrinterDeviceName", "Paper");
  // Every copy printed is kept for the till, so the case can say which were printed when.
  registry.Set("MerchantReceiptsAvailableToClients", "1");
  const json settings = doc.value("settings", json::object());
  for (const auto& [name, value] : settings.items()) registry.Set(name, value.get<std::string>());
  site.Write("qlclient.json", doc.value("simulator", json::object()).dump());

  CreditCardCommon& shared = Shared();
  (void)shared.LoadConfiguration();
  const json sale = doc.value("sale", json::object());
  shared.lTransactionType = sale.value("type", 0);
  shared.strReferenceText = sale.value("reference", "");
  shared.oTender = std::make_unique<TTender>();
  (void)shared.oTender->InitialiseTender(0, sale.value("amount", 1250), sale.value("gratuity", 0),
                                         sale.value("cash", 0));
  shared.oTillInfo.strMerchantName = "HARBOUR ROAD STORES";
  shared.oTillInfo.strAddressLine1 = "12 Harbour Road";
  shared.oTillInfo.strStoreNumber = "12";
  shared.oTillInfo.strTillNumber = "3";
  shared.oTillInfo.strReceiptNumber = "981";

  TAddinLog journal;
  journal.StartLog(shared.strConfigFileLocation, false);
  FormCallScope call(&journal);
  std::string error;
  const FormCatalogue forms;
  auto script = OperatorScript::Parse(content, path, forms.Forms(), error);
  ASSERT_TRUE(script) << error;
  HeadlessLoop loop(ScriptRunner(
      std::move(*script), [&](const std::string& line) { journal.LogOperatorScript(line); }));
  ScopedFormLoop scoped_loop(&loop);
  frmTransaction window;
  ASSERT_TRUE(loop.ShowModal(window, error)) << error;
  journal.EndLog(false);

  EXPECT_FALSE(loop.Runner().Failed()) << loop.Runner().Failure();
  EXPECT_TRUE(loop.Runner().Finished());
  EXPECT_EQ(window.strErrorMessage(), outcome.value("error", ""));
  EXPECT_EQ(json(window.StateTrail()), outcome.at("states"));
  EXPECT_EQ(window.CurrentStage(), Form::Stage::Unloaded);
  EXPECT_EQ(shared.bTransactionComplete, outcome.value("complete", false));
  EXPECT_EQ(shared.bSplitTenderActive, outcome.value("split", false));
  EXPECT_EQ(shared.oTender->GetState(0), outcome.value("ledger", TTender::kStatePending));
  std::vector<int32_t> receipts;
  for (const ClientReceipt& receipt : shared.oClientReceipts) receipts.push_back(receipt.lType);
  EXPECT_EQ(json(receipts), outcome.value("receipts", json::array()));

  // What the server recorded of the last transaction, if any.
  std::string server = "none";
  const fs::path store = site.path() / "qlsim-server.sqlite";
  if (fs::exists(store)) {
    sim::SimStore records(store.string());
    if (auto last = records.Find(-1)) server = sim::StoreStateName(last->state);
  }
  EXPECT_EQ(server, outcome.value("server", "none"));
  // Only a confirmation the server refused (which the window does not hear of in
  // operating mode 0) may leave a completed sale unconfirmed.
  const std::string faults = doc.value("simulator", json::object()).value("faults", json()).dump();
  if (shared.bTransactionComplete && faults.find("Confirm.Confirm") == std::string::npos) {
    EXPECT_EQ(server, "confirmed") << "complete but not confirmed at the server";
  }
  EXPECT_EQ(sim::CurrentTerminalStatus(), "CLOSED") << "the server session outlived the window";
  EXPECT_EQ(testing::CardNumbersInFiles(site.path().string()), std::vector<std::string>{});
}

INSTANTIATE_TEST_SUITE_P(Cases, TransactionCase, ::testing::ValuesIn(testing::CaseNames(kCases)),
                         [](const auto& info) { return info.param; });

}  // namespace
}  // namespace ccaddin
