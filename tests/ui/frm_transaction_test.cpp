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

// The fields a case may check of the transaction the till sent for authorisation, of the
// session state the window leaves, and of the record the till is given.
json SentFields(const QlTransaction& t) {
  return {{"lTransactionTypeCode", t.lTransactionTypeCode},
          {"strAmount", t.strAmount},
          {"strCashbackAmount", t.strCashbackAmount},
          {"lEntryMethodCode", t.lEntryMethodCode},
          {"lCustomerPresence", t.lCustomerPresence},
          {"strExpiryDate", t.strExpiryDate},
          {"strStartDate", t.strStartDate},
          {"strIssueNumber", t.strIssueNumber},
          {"strCv2", t.strCv2},
          {"lCv2Present", t.lCv2Present},
          {"strAddressDigits", t.strAddressDigits},
          {"strPostcode", t.strPostcode},
          {"strReferenceText", t.strReferenceText},
          {"strRegNo", t.strRegNo},
          {"lMileage", t.lMileage},
          {"strProductRestriction", t.strProductRestriction},
          {"strSupplierId", t.strSupplierId},
          {"strProductInfo", t.strProductInfo}};
}

json SessionFields(CreditCardCommon& shared) {
  TTransactionInfo info;
  if (shared.oCurrentTransaction) shared.FillTransactionInfo(info, 0);
  return {
      {"bMileagePrompted", shared.bMileagePrompted}, {"bRegPrompted", shared.bRegPrompted},
      {"bSuppIdPrompted", shared.bSuppIdPrompted},   {"lFuelCardBalance", shared.lFuelCardBalance},
      {"strFuelProducts", info.strFuelProducts},     {"lCashbackAmount", info.lCashbackAmount},
      {"lCustomerMileage", info.lCustomerMileage},   {"strCustomerRegNo", info.strCustomerRegNo}};
}

void ExpectFields(const json& actual, const json& expected, const char* what) {
  for (const auto& [name, value] : expected.items()) {
    ASSERT_TRUE(actual.contains(name)) << what << " has no field " << name;
    EXPECT_EQ(actual.at(name), value) << what << " " << name;
  }
}

class TransactionCase : public ::testing::TestWithParam<std::string> {};

TEST_P(TransactionCase, RunsHeadless) {
  const std::string path = testing::TestDataPath(std::string(kCases) + "/" + GetParam() + ".json");
  const std::string content = ReadFile(path);
  const json doc = json::parse(content);
  const json& outcome = doc.at("outcome");

  VirtualEnv env;
  ScopedEnv scoped_env(&env);
  ScopedSharedState scoped_state;
  sim::ResetSimulator();
  testing::TempDir site;
  testing::TestRegistry registry;
  registry.Set("ConfigFileLocation", site.folder());
  registry.Set("ConfigFileName", "qlclient.json");
  registry.Set("ReceiptFileLocation", site.folder() + "receipts/");
  registry.Set("BaseCurrency", "826");
  registry.Set("BaseCurrencyExponent", "2");
  const json settings = doc.value("settings", json::object());
  for (const auto& [name, value] : settings.items()) registry.Set(name, value.get<std::string>());
  site.Write("qlclient.json", doc.value("simulator", json::object()).dump());

  CreditCardCommon& shared = Shared();
  (void)shared.LoadConfiguration();
  const json sale = doc.value("sale", json::object());
  shared.lTransactionType = sale.value("type", 0);
  shared.strReferenceText = sale.value("reference", "");
  shared.bFuelBalanceMode = sale.value("mode", "sale") == "fuelBalance";
  if (sale.contains("products")) {
    shared.oProductInfo = std::make_unique<TProductInfo>();
    for (const json& p : sale.at("products"))
      shared.oProductInfo->AddProductInfo(p.at(0), p.at(1), p.at(2), p.at(3));
  }
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

  // What the server recorded of the last transaction, if any.
  std::string server = "none";
  const fs::path store = site.path() / "qlsim-server.sqlite";
  if (fs::exists(store)) {
    sim::SimStore records(store.string());
    if (auto last = records.Find(-1)) server = sim::StoreStateName(last->state);
  }
  EXPECT_EQ(server, outcome.value("server", "none"));
  // A balance enquiry completes without a sale to confirm.
  if (shared.bTransactionComplete && !shared.bFuelBalanceMode) {
    EXPECT_EQ(server, "confirmed") << "complete but not confirmed at the server";
  }
  if (outcome.contains("sent")) {
    const auto sent = sim::LastTransactionSent();
    ASSERT_TRUE(sent) << "nothing was sent for authorisation";
    ExpectFields(SentFields(*sent), outcome.at("sent"), "sent");
  }
  ExpectFields(SessionFields(shared), outcome.value("session", json::object()), "session");
  EXPECT_EQ(sim::CurrentTerminalStatus(), "CLOSED") << "the server session outlived the window";
  EXPECT_EQ(testing::CardNumbersInFiles(site.path().string()), std::vector<std::string>{});
}

INSTANTIATE_TEST_SUITE_P(Cases, TransactionCase, ::testing::ValuesIn(testing::CaseNames(kCases)),
                         [](const auto& info) { return info.param; });

}  // namespace
}  // namespace ccaddin
