#include "transaction_case.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

#include "qlclient/sim/sim_store.h"
#include "qlclient/sim/simulator.h"
#include "support/case_files.h"
#include "support/leak_scan.h"
#include "ui/form_catalogue.h"

namespace ccaddin::testing {

namespace {

using nlohmann::json;

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The fields a case may check of the transaction the till sent for authorisation, and of
// the session state and the till's record the window leaves.
json SentFields(const QlTransaction& t) {
  return {{"strPan", t.strPan},
          {"lTransactionTypeCode", t.lTransactionTypeCode},
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

// The copies on the printer's paper in the order printed: "merchant confirmed",
// "duplicate customer declined" ...: each copy's outcome line, then its trailer.
json PrintedCopies(const std::string& paper) {
  static const std::regex kOutcome("TRANSACTION ([A-Z]+)");
  json copies = json::array();
  std::string outcome;
  bool duplicate = false;
  std::istringstream lines(paper);
  for (std::string line; std::getline(lines, line);) {
    std::smatch m;
    if (std::regex_search(line, m, kOutcome) && m[1] != "CURRENCY") outcome = m[1];
    duplicate = duplicate || line.find("DUPLICATE RECEIPT") != std::string::npos;
    for (const char* copy : {"MERCHANT", "CUSTOMER"}) {
      if (line.find(std::string(copy) + " COPY") == std::string::npos) continue;
      std::string entry = (duplicate ? "DUPLICATE " : "") + std::string(copy) + " " + outcome;
      std::transform(entry.begin(), entry.end(), entry.begin(), ::tolower);
      copies.push_back(entry);
      duplicate = false;
    }
  }
  return copies;
}

json InfoFields(const TTransactionInfo& info) {
  return {{"lResponseCode", info.lResponseCode},
          {"lTransactionRefNo", info.lTransactionRefNo},
          {"strAuthorisationCode", info.strAuthorisationCode},
          {"lCustomerVerification", info.lCustomerVerification},
          {"strCurrencyCode", info.strCurrencyCode}};
}

// What the server filed: the fields sent, and the outcome it settled.
json StoredFields(const QlTransaction& t) {
  json fields = SentFields(t);
  fields.update({{"lAuthSource", t.lAuthSource},
                 {"strAuthCode", t.strAuthCode},
                 {"strResponseText", t.strResponseText},
                 {"lConversionState", t.lConversionState},
                 {"strCurrencyCode", t.strCurrencyCode},
                 {"strBaseAmount", t.strBaseAmount},
                 {"lCvmCode", t.lCvmCode}});
  return fields;
}

}  // namespace

TransactionCase::TransactionCase(const std::string& name, const json& more_settings,
                                 const std::string& folder)
    : path_(TestDataPath(folder + "/" + name + ".json")),
      content_(ReadFile(path_)),
      doc_(json::parse(content_)) {
  sim::ResetSimulator();
  // The receipt printer is a file outside the site: the merchant's paper may show the card
  // number, the site's files may not.
  paper_.Write("printer", "");
  const std::string printers =
      paper_.Write("printers.json", json{{"Paper", {{"device", paper_.file("printer")}}}}.dump());
  setenv("CCADDIN_PRINTERS", printers.c_str(), 1);

  registry_.emplace();
  registry_->Set("ConfigFileLocation", site_.folder());
  registry_->Set("ConfigFileName", "qlclient.json");
  registry_->Set("ReceiptFileLocation", site_.folder() + "receipts/");
  registry_->Set("BaseCurrency", "826");
  registry_->Set("BaseCurrencyExponent", "2");
  registry_->Set("PrinterType", "1");
  registry_->Set("OPOSPrinterDeviceName", "Paper");
  // Every copy printed is kept for the till, so the case can say which were printed when.
  registry_->Set("MerchantReceiptsAvailableToClients", "1");
  json settings = doc_.value("settings", json::object());
  if (more_settings.is_object()) settings.update(more_settings);
  for (const auto& [setting, value] : settings.items())
    registry_->Set(setting, value.get<std::string>());
  // "@DATA@" in the simulator's configuration is the test data folder, for the files a
  // server's answer names.
  std::string simulator = doc_.value("simulator", json::object()).dump();
  for (size_t at; (at = simulator.find("@DATA@")) != std::string::npos;)
    simulator.replace(at, 6, TestDataPath("").substr(0, TestDataPath("").size() - 1));
  site_.Write("qlclient.json", simulator);

  CreditCardCommon& shared = Shared();
  (void)shared.LoadConfiguration();
  const json sale = doc_.value("sale", json::object());
  shared.lTransactionType = sale.value("type", 0);
  shared.strReferenceText = sale.value("reference", "");
  const std::string mode = sale.value("mode", "sale");
  shared.bReceiptMode = mode == "receipt";
  shared.bVoidMode = mode == "void";
  shared.bReportMode = mode == "report";
  shared.lReportType = sale.value("reportType", 0);
  // A later part of a split tender: the split tender settles the parts together.
  shared.bSplitTenderActive = sale.value("splitActive", false);
  shared.bFuelBalanceMode = mode == "fuelBalance";
  shared.bTokenMode = mode == "token";
  shared.strToken = sale.value("token", "");
  shared.strTokenExpiryDate = sale.value("expiry", "");
  shared.lTransactionMode = sale.value("transactionMode", TAM_TM_CUSTOMERNOTPRESENT);
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

  journal_.StartLog(shared.strConfigFileLocation, false);
  call_.emplace(&journal_);
}

TransactionCase::~TransactionCase() {
  call_.reset();
  journal_.EndLog(true);
  unsetenv("CCADDIN_PRINTERS");
}

OperatorScript TransactionCase::TakeScript() {
  std::string error;
  const FormCatalogue forms;
  auto script = OperatorScript::Parse(content_, path_, forms.Forms(), error);
  if (!script) throw std::runtime_error(error);
  return std::move(*script);
}

void TransactionCase::Run(FormLoop& loop, const ScriptRunner& runner, frmTransaction& window) {
  ScopedFormLoop scoped_loop(&loop);
  std::string error;
  ASSERT_TRUE(loop.ShowModal(window, error)) << error;
  EXPECT_FALSE(runner.Failed()) << runner.Failure();
  EXPECT_TRUE(runner.Finished());
  Check(window);
}

void TransactionCase::Check(const frmTransaction& window) {
  const json& outcome = doc_.at("outcome");
  CreditCardCommon& shared = Shared();
  EXPECT_EQ(window.strErrorMessage(), outcome.value("error", ""));
  EXPECT_EQ(json(window.StateTrail()), outcome.at("states"));
  EXPECT_EQ(window.CurrentStage(), Form::Stage::Unloaded);
  EXPECT_EQ(shared.bTransactionComplete, outcome.value("complete", false));
  EXPECT_EQ(shared.bSplitTenderActive, outcome.value("split", false));
  EXPECT_EQ(shared.oTender->GetState(0), outcome.value("ledger", TTender::kStatePending));
  std::vector<int32_t> receipts;
  for (const ClientReceipt& receipt : shared.oClientReceipts) receipts.push_back(receipt.lType);
  EXPECT_EQ(json(receipts), outcome.value("receipts", json::array()));

  // What the server recorded of the last transaction, if any: where it stands, and what it
  // filed.
  std::string server = "none";
  const std::filesystem::path store = site_.path() / "qlsim-server.sqlite";
  if (std::filesystem::exists(store)) {
    sim::SimStore records(store.string());
    if (auto last = records.Find(-1)) {
      server = sim::StoreStateName(last->state);
      ExpectFields(StoredFields(last->trans), outcome.value("stored", json::object()), "stored");
    }
  }
  EXPECT_EQ(server, outcome.value("server", "none"));
  CheckSettlement(outcome);
  // Only a confirmation the server refused (which the window does not hear of in
  // operating mode 0) may leave a completed sale unconfirmed; a balance enquiry has no sale,
  // and a part of a split tender is confirmed with the others.
  const std::string faults = doc_.value("simulator", json::object()).value("faults", json()).dump();
  if (shared.bTransactionComplete && faults.find("Confirm.Confirm") == std::string::npos &&
      !doc_.value("sale", json::object()).value("splitActive", false) && !shared.bFuelBalanceMode) {
    EXPECT_EQ(server, "confirmed") << "complete but not confirmed at the server";
  }
  if (outcome.contains("sent")) {
    const auto sent = sim::LastTransactionSent();
    ASSERT_TRUE(sent) << "nothing was sent for authorisation";
    ExpectFields(SentFields(*sent), outcome.at("sent"), "sent");
  }
  ExpectFields(SessionFields(shared), outcome.value("session", json::object()), "session");
  EXPECT_EQ(sim::CurrentTerminalStatus(), "CLOSED") << "the server session outlived the window";
  EXPECT_EQ(CardNumbersInFiles(site_.path().string()), std::vector<std::string>{});
  if (shared.strToken.empty()) return;
  for (const auto& file : std::filesystem::recursive_directory_iterator(site_.path())) {
    // The simulator's configuration is the case's own file, which may name the token.
    if (!file.is_regular_file() || file.path().filename() == "qlclient.json") continue;
    EXPECT_EQ(ReadFile(file.path().string()).find(shared.strToken), std::string::npos)
        << file.path() << " holds the card token";
  }
}

}  // namespace ccaddin::testing

namespace ccaddin::testing {

// What the settlement left: the copies on paper and the receipt files, the till's record,
// the server's record of the transaction and what the journal says.
void TransactionCase::CheckSettlement(const json& outcome) {
  const std::string paper = paper_.Read("printer");
  if (outcome.contains("printed")) {
    EXPECT_EQ(PrintedCopies(paper), outcome.at("printed"));
  }
  for (const json& text : outcome.value("paper", json::array())) {
    EXPECT_NE(paper.find(text.get<std::string>()), std::string::npos)
        << "paper lacks " << text << " in:\n"
        << paper;
  }
  if (outcome.contains("files")) {
    std::vector<std::string> kinds;
    for (const auto& f : std::filesystem::directory_iterator(site_.path() / "receipts")) {
      const std::string name = f.path().filename().string();
      kinds.push_back(name.substr(0, name.find_first_of("0123456789")));
    }
    std::sort(kinds.begin(), kinds.end());
    EXPECT_EQ(json(kinds), outcome.at("files"));
  }
  CreditCardCommon& shared = Shared();
  if (outcome.contains("info")) {
    TTransactionInfo info;
    shared.FillTransactionInfo(info, 0);
    ExpectFields(InfoFields(info), outcome.at("info"), "info");
  }
  const std::string journal = site_.Read(TAddinLog::kJournalFileName);
  for (const json& text : outcome.value("journal", json::array())) {
    EXPECT_NE(journal.find(text.get<std::string>()), std::string::npos) << "journal lacks " << text;
  }
}

}  // namespace ccaddin::testing
