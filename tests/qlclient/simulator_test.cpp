// The simulator as a till meets it: each tests/data/simulator/<case>.json holds
// scenarios, a configuration file and the steps a till takes through the library's
// objects, each step with what it must answer. A scenario with an "each" table runs once
// per row, the row's values standing in for "$name" (a value the row leaves out is not
// checked). After every run no file the simulator wrote may hold a card number.
#include "qlclient/sim/simulator.h"

#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <memory>
#include <sstream>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "platform/virtual_env.h"
#include "qlclient/sim/sim_inspect.h"
#include "qlclient/sim/sim_store.h"
#include "support/case_files.h"
#include "support/golden_text.h"
#include "support/leak_scan.h"
#include "support/processes.h"
#include "support/temp_dir.h"

namespace ccaddin::sim {
namespace {

using nlohmann::json;
using testing::TempDir;

const char* const kConfig = "qlclient.json";

// `value` with every "$name" replaced from `row`; discarded when the row lacks it.
json Substitute(const json& value, const json& row) {
  if (value.is_string()) {
    const std::string text = value.get<std::string>();
    if (text.size() < 2 || text[0] != '$') return value;
    return row.contains(text.substr(1)) ? row[text.substr(1)] : json(json::value_t::discarded);
  }
  if (!value.is_structured()) return value;
  json out = value.is_object() ? json::object() : json::array();
  for (auto it = value.begin(); it != value.end(); ++it) {
    json v = Substitute(*it, row);
    if (v.is_discarded()) continue;
    if (value.is_object()) {
      out[it.key()] = std::move(v);
    } else {
      out.push_back(std::move(v));
    }
  }
  return out;
}

// Each expected value against what the step gave: objects by the keys they name, "seen"
// as a subsequence, a key ending "Has" as a substring of its field.
void Compare(const std::string& where, const json& expected, const json& got,
             std::vector<std::string>& failures) {
  for (auto it = expected.begin(); it != expected.end(); ++it) {
    std::string key = it.key();
    const bool has = key.size() > 3 && key.ends_with("Has");
    if (has) key.resize(key.size() - 3);
    const json actual = got.contains(key) ? got[key] : json();
    const std::string at = where + "." + it.key();
    if (has) {
      if (!actual.is_string() ||
          actual.get<std::string>().find(it->get<std::string>()) == std::string::npos)
        failures.push_back(at + ": " + actual.dump() + " does not contain " + it->dump());
    } else if (key == "seen") {
      size_t next = 0;
      for (const json& text : *it) {
        while (next < actual.size() && actual[next] != text) ++next;
        if (next++ >= actual.size())
          failures.push_back(at + ": " + text.dump() + " not seen in order in " + actual.dump());
      }
    } else if (it->is_object() && actual.is_object()) {
      Compare(at, *it, actual, failures);
    } else if (it->is_array() && actual.is_array() && it->size() == actual.size() && !it->empty() &&
               it->front().is_object()) {
      for (size_t i = 0; i < it->size(); ++i)
        Compare(at + "[" + std::to_string(i) + "]", (*it)[i], actual[i], failures);
    } else if (*it != actual) {
      failures.push_back(at + ": expected " + it->dump() + ", got " + actual.dump());
    }
  }
}

// The transaction's fields by their contract names; the card numbers as they are, not as
// the store would mask them.
json View(const QlTransaction& trans) {
  json view = json::parse(ReceiptRecordToText(trans));
  view["lTransRefNo"] = trans.lTransRefNo;
  view["strPan"] = trans.strPan;
  view["strReferralPan"] = trans.strReferralPan;
  return view;
}

// Records each new terminal text every 50 ms of virtual time while the step runs, as
// the window's status timer does.
struct Watch {
  std::vector<std::string> seen;
  bool active = true;
};

void WatchStatus(VirtualEnv& env, QlSession& session, const std::shared_ptr<Watch>& watch) {
  if (!watch->active) return;
  if (watch->seen.empty() || watch->seen.back() != session.GetStatusText())
    watch->seen.push_back(session.GetStatusText());
  env.RunAfter(50, [&env, &session, watch] { WatchStatus(env, session, watch); });
}

template <typename Request>
void Errors(const Request& request, json& got) {
  got["error"] = request.strErrorText;
  got["errorCode"] = request.lErrorCode;
}

// The objects a till holds through one scenario, on a virtual clock.
class Till {
 public:
  explicit Till(const json& config) : scoped_(&env_) {
    ResetSimulator();
    dir_.Write(kConfig, config.dump());
    written_.push_back(kConfig);
  }

  [[nodiscard]] const TempDir& dir() const { return dir_; }
  [[nodiscard]] const std::vector<std::string>& written() const { return written_; }

  void Run(const json& step, std::vector<std::string>& failures) {
    const auto watch = std::make_shared<Watch>();
    if (step.value("watch", false)) WatchStatus(env_, *session_, watch);
    const int64_t slept = env_.slept_ms();
    json got;
    try {
      Do(step.at("do").get<std::string>(), step, got);
    } catch (const std::exception& e) {
      got["raised"] = e.what();
    }
    watch->active = false;
    got["seen"] = watch->seen;
    got["slept"] = env_.slept_ms() - slept;
    got["status"] = session_->GetStatusText();
    const json expected = step.value("expect", json::object());
    const json files = expected.value("files", json::object());
    for (auto it = files.begin(); it != files.end(); ++it)
      got["files"][it.key()] = dir_.Read(it.key());
    Compare(step.dump(), expected, got, failures);
  }

 private:
  void Do(const std::string& op, const json& s, json& got) {
    QlFactory& f = SimulatorFactory();
    if (op == "write") {
      dir_.Write(s.value("file", kConfig),
                 s.contains("text") ? s["text"].get<std::string>() : s["config"].dump());
      written_.push_back(s.value("file", kConfig));
    } else if (op == "connect") {
      parms_->SetConfigFile(dir_.folder(), s.value("file", kConfig));
      got["answer"] = session_->Connect(*parms_, false, 0);
      got["error"] = session_->strErrorText;
    } else if (op == "disconnect") {
      got["answer"] = session_->Disconnect();
    } else if (op == "login") {
      got["answer"] = login_->Login(s.value("merchant", "M"), s.value("client", "C"),
                                    s.value("password", "P"), 1);
      got["error"] = login_->strErrorText;
    } else if (op == "logout") {
      got["answer"] = login_->Logout();
      got["error"] = login_->strErrorText;
    } else if (op == "start") {
      auto start = f.CreateTransactionStart();
      got["answer"] = start->Start("826", s.value("amount", 100), s.value("cashback", 0), 0,
                                   s.value("type", 1), "SHOP", "1 HIGH ST", "EN", false,
                                   s.value("swipe", true), true, s.value("tap", true));
      got["contactless"] = start->bContactlessCapable;
      Errors(*start, got);
    } else if (op == "poll") {
      auto status = f.CreateCardReaderStatus();
      for (int i = 0; i < s.value("times", 1); ++i) {
        got["answers"].push_back(status->Poll());
        got["answer"] = got["answers"].back();
        got["states"].push_back(status->lReaderState);
      }
    } else if (op == "reset reader") {
      got["answer"] = f.CreateCardReader()->Reset();
    } else if (op == "enquire") {
      got["answer"] =
          enquiry_->Enquire(0, s.value("pan", ""), s.value("track", ""), s.value("entry", 2), 1);
      Errors(*enquiry_, got);
      json& card = got["card"];
      card = {{"lCardDataType", enquiry_->lCardDataType},
              {"strPan", enquiry_->strPan},
              {"strTrack", enquiry_->strTrack},
              {"strSchemeName", enquiry_->strSchemeName},
              {"lCardType", enquiry_->lCardType},
              {"bBunkerCard", enquiry_->bBunkerCard},
              {"cashback", enquiry_->IsCashbackAllowed(1)},
              {"cv2Length", enquiry_->GetCv2Length()}};
      for (int i = 0; i < 7; ++i) card["entryPrompts"].push_back(enquiry_->GetEntryPrompt(i));
      for (int i = 0; i < 14; ++i) {
        card["fuelPrompts"].push_back(enquiry_->GetFuelPrompt(i));
        card["fuelPromptTypes"].push_back(enquiry_->GetFuelPromptType(i));
      }
    } else if (op == "dcc") {
      auto dcc = f.CreateDccEnquiry();
      got["answer"] = dcc->Enquire();
      Errors(*dcc, got);
      got["offer"] = {{"bOfferAvailable", dcc->bOfferAvailable},
                      {"strForeignAmount", dcc->strForeignAmount},
                      {"strForeignCurrencyCode", dcc->strForeignCurrencyCode},
                      {"strExchangeRate", dcc->strExchangeRate}};
    } else if (op == "process") {
      if (!s.value("again", false)) {
        trans_ = QlTransaction{};
        trans_.strAmount = s.contains("amount") && s["amount"].is_string()
                               ? s["amount"].get<std::string>()
                               : std::to_string(s.value("amount", 100));
        trans_.strCashbackAmount = s.value("cashback", "");
        trans_.lTransactionTypeCode = s.value("type", 1);
        trans_.lConversionState = s.value("conversion", 0);
        trans_.strPan = s.value("pan", "");
        trans_.strCurrencyCode = "826";
      }
      got["answer"] = processor_->Process(trans_);
      Errors(*processor_, got);
      got["trans"] = View(trans_);
    } else if (op == "refuse updates") {
      // The server's disk fails as an authorisation's code is written, after its record.
      sqlite3* db = nullptr;
      sqlite3_open(dir_.file("qlsim-server.sqlite").c_str(), &db);
      sqlite3_exec(db,
                   "CREATE TRIGGER refuse BEFORE UPDATE ON transactions WHEN "
                   "json_extract(new.record, '$.strAuthCode') <> '' BEGIN "
                   "SELECT RAISE(ABORT, 'disk I/O error'); END",
                   nullptr, nullptr, nullptr);
      sqlite3_close(db);
    } else if (op == "bypass") {
      got["answer"] = processor_->AnswerPinBypass(s.value("answer", 0), trans_);
      Errors(*processor_, got);
      got["trans"] = View(trans_);
    } else if (op == "confirm") {
      auto confirm = f.CreateConfirm();
      QlTransaction result;
      got["answer"] = confirm->Confirm("C", s.value("ref", trans_.lTransRefNo), s.value("code", 0),
                                       s.value("auth", ""), true, result, 0);
      Errors(*confirm, got);
      got["trans"] = View(result);
    } else if (op == "receipt") {
      auto receipt = f.CreateReceiptInfo();
      got["answer"] = receipt->Request("", s.value("ref", trans_.lTransRefNo), trans_);
      Errors(*receipt, got);
      got["trans"] = View(trans_);
    } else if (op == "close batch") {
      auto batch = f.CreateCloseBatch();
      batch->lRequestType = s.value("type", 2);
      got["answer"] = batch->Request();
      Errors(*batch, got);
      got["batch"] = batch->lBatchNo;
    } else if (op == "report") {
      auto report = f.CreateReport();
      got["answer"] =
          report->Request(true, dir_.folder() + s.value("location", ""), s.value("option", ""));
      Errors(*report, got);
      const std::string name = std::filesystem::path(report->strDataFile).filename().string();
      got["dataFile"] = name;
      got["lines"] = testing::SplitLines(dir_.Read(name));
      got["totals"] = {report->lCount, report->lSaleTotal, report->lCashbackTotal,
                       report->lRefundTotal};
    } else if (op == "balance") {
      auto balance = f.CreateFuelBalance();
      got["answer"] = balance->Enquire(s.value("details", ""), "");
      Errors(*balance, got);
      got["balance"] = {{"lResponseCode", balance->lResponseCode},
                        {"lBalance", balance->lBalance},
                        {"lBunkerBalance", balance->lBunkerBalance},
                        {"strPan", balance->strPan}};
    } else if (op == "products") {
      auto products = f.CreateFuelProductEnquiry();
      products->lEnquiryMode = s.value("mode", 0);
      products->strProductInfo = s.value("info", "");
      got["answer"] = products->Request();
      Errors(*products, got);
    } else if (op == "present") {
      std::string error;
      got["answer"] = PresentCard(s.at("card"), &error);
      got["error"] = error;
    } else if (op == "reader states") {
      SetReaderStates(s.at("states").get<std::vector<int32_t>>());
    } else if (op == "reset") {
      ResetSimulator();
    } else if (op == "store") {
      for (const auto& row : SimStore(dir_.file(s.value("file", "qlsim-server.sqlite"))).List(0))
        got["rows"].push_back({{"ref", row.ref},
                               {"state", StoreStateName(row.state)},
                               {"offline", row.offline},
                               {"uploaded", row.uploaded}});
    } else if (op == "inspect") {
      std::ostringstream out, err;
      got["answer"] = InspectStore({dir_.file(kConfig)}, out, err);
      got["out"] = out.str();
    } else if (op == "child") {
      // Another till process sharing the server's store.
      got["answer"] = testing::RunInChild([&] {
        std::vector<std::string> child_failures;
        for (const json& step : s.at("steps")) Run(step, child_failures);
        for (const auto& failure : child_failures) std::cerr << failure << "\n";
        return child_failures.empty() ? 0 : 1;
      });
    } else {
      throw std::runtime_error("unknown step " + op);
    }
  }

  VirtualEnv env_;
  ScopedEnv scoped_;
  TempDir dir_;
  std::vector<std::string> written_;
  std::unique_ptr<QlSession> session_ = SimulatorFactory().CreateSession();
  std::unique_ptr<QlParameters> parms_ = SimulatorFactory().CreateParameters();
  std::unique_ptr<QlLogin> login_ = SimulatorFactory().CreateLogin();
  std::unique_ptr<QlCardEnquiry> enquiry_ = SimulatorFactory().CreateCardEnquiry();
  std::unique_ptr<QlTransactionProcessor> processor_ =
      SimulatorFactory().CreateTransactionProcessor();
  QlTransaction trans_;
};

class SimulatorScenario : public ::testing::TestWithParam<std::string> {};

TEST_P(SimulatorScenario, AnswersEveryStepAsExpected) {
  for (const json& scenario : testing::ReadCase("simulator", GetParam())) {
    for (const json& row : scenario.value("each", json::array({json::object()}))) {
      SCOPED_TRACE(scenario.value("name", "") + " " + row.dump());
      Till till(Substitute(scenario.value("config", json::object()), row));
      std::vector<std::string> failures;
      // Most scenarios start connected and logged in.
      json steps = scenario.value("open", true)
                       ? json::array({{{"do", "connect"}, {"expect", {{"answer", 0}}}},
                                      {{"do", "login"}, {"expect", {{"answer", 1}}}}})
                       : json::array();
      for (const json& step : Substitute(scenario.at("steps"), row)) steps.push_back(step);
      for (const json& step : steps) till.Run(step, failures);
      for (const auto& failure : failures) ADD_FAILURE() << failure;
      ResetSimulator();  // closes the store, so its file is whole
      for (const auto& leak :
           testing::CardNumbersInFiles(till.dir().path().string(), till.written()))
        ADD_FAILURE() << "card number in clear: " << leak;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, SimulatorScenario,
                         ::testing::ValuesIn(testing::CaseNames("simulator")));

}  // namespace
}  // namespace ccaddin::sim
