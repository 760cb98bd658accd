#include "payment/process_ql_request.h"

#include <functional>
#include <map>

#include <gtest/gtest.h>

#include "support/ql_sim_session.h"

namespace ccaddin {
namespace {

using testing::FaultConfig;
using testing::QlSimSession;

int32_t Connect(QlSimSession& s, TProcessQlRequest& r) {
  int32_t result = -1;
  r.Connect(*s.session, *s.parms, s.dir.folder(), s.config_name, result);
  return result;
}

// Authorises a sale of `amount` as the window does after the enquiry.
struct Processing {
  std::unique_ptr<QlTransactionProcessor> processor;
  QlTransaction trans;
  int32_t result = -1;
};

Processing Processed(TProcessQlRequest& r, int32_t amount, int32_t type = 1) {
  Processing out{CurrentQlFactory().CreateTransactionProcessor(), QlSimSession::Sale(amount, type)};
  r.ProcessTransaction(*out.processor, out.trans, out.result);
  return out;
}

// Every request the layer makes of the library, keyed by the simulator's fault name, with
// the operation name its failure text carries.
struct Op {
  const char* name;
  std::function<int32_t(QlSimSession&, TProcessQlRequest&)> run;
};

const std::map<std::string, Op>& Ops() {
  static const std::map<std::string, Op> ops = [] {
    auto f = [] { return &CurrentQlFactory(); };
    std::map<std::string, Op> m;
    m["Login.Login"] = {"ProcessLogin", [](QlSimSession& s, TProcessQlRequest& r) {
                          int32_t x = -1;
                          r.ProcessLogin(*s.login, "M", "C", "P", x);
                          return x;
                        }};
    m["Login.Logout"] = {"ProcessLogout", [](QlSimSession& s, TProcessQlRequest& r) {
                           int32_t x = -1;
                           r.ProcessLogout(*s.login, x);
                           return x;
                         }};
    m["CardEnquiry.Enquire"] = {"ProcessCardEqnuiry", [f](QlSimSession&, TProcessQlRequest& r) {
                                  auto o = f()->CreateCardEnquiry();
                                  int32_t x = -1;
                                  r.ProcessCardEnquiry(*o, 0, "", "", 2, x);
                                  return x;
                                }};
    m["TransactionStart.Start"] = {
        "ProcessStartTransaction", [f](QlSimSession&, TProcessQlRequest& r) {
          auto o = f()->CreateTransactionStart();
          int32_t x = -1;
          r.ProcessStartTransaction(*o, "826", 100, 0, 0, 1, "S", "A", "EN", "D", false, true, true,
                                    true, x);
          return x;
        }};
    m["DccEnquiry.Enquire"] = {"ProcessDccEnquiry", [f](QlSimSession&, TProcessQlRequest& r) {
                                 auto o = f()->CreateDccEnquiry();
                                 int32_t x = -1;
                                 r.ProcessDccEnquiry(*o, x);
                                 return x;
                               }};
    m["Processor.Process"] = {"ProcessTransaction", [f](QlSimSession&, TProcessQlRequest& r) {
                                auto o = f()->CreateTransactionProcessor();
                                auto t = QlSimSession::Sale(500);
                                int32_t x = -1;
                                r.ProcessTransaction(*o, t, x);
                                return x;
                              }};
    m["Processor.AnswerPinBypass"] = {"ProcessPinBypass", [f](QlSimSession&, TProcessQlRequest& r) {
                                        auto o = f()->CreateTransactionProcessor();
                                        QlTransaction t;
                                        int32_t x = -1;
                                        r.ProcessPinBypass(*o, t, true, x);
                                        return x;
                                      }};
    m["Confirm.Confirm"] = {"ProcessConfirm", [f](QlSimSession&, TProcessQlRequest& r) {
                              auto o = f()->CreateConfirm();
                              QlTransaction t;
                              int32_t x = -1;
                              r.ProcessConfirm(*o, t, "C", 1, "", 0, x);
                              return x;
                            }};
    m["FuelBalance.Enquire"] = {"ProcessFuelBalanceEnquiry",
                                [f](QlSimSession&, TProcessQlRequest& r) {
                                  auto o = f()->CreateFuelBalance();
                                  int32_t x = -1;
                                  r.ProcessFuelBalanceEnquiry(*o, "826", "", x);
                                  return x;
                                }};
    m["ReceiptInfo.Request"] = {"ProcessReceiptInfo", [f](QlSimSession&, TProcessQlRequest& r) {
                                  auto o = f()->CreateReceiptInfo();
                                  QlTransaction t;
                                  int32_t x = -1;
                                  r.ProcessReceiptInfo(*o, t, "", -1, x);
                                  return x;
                                }};
    m["CloseBatch.Request"] = {"ProcessCloseBatchRequest",
                               [f](QlSimSession&, TProcessQlRequest& r) {
                                 auto o = f()->CreateCloseBatch();
                                 int32_t x = -1;
                                 r.ProcessCloseBatchRequest(*o, x);
                                 return x;
                               }};
    m["Report.Request"] = {"ProcessReportRequest", [f](QlSimSession& s, TProcessQlRequest& r) {
                             auto o = f()->CreateReport();
                             int32_t x = -1;
                             r.ProcessReportRequest(*o, s.dir.folder(), "TMP_20260115_103000.txt",
                                                    x);
                             return x;
                           }};
    m["FuelProductEnquiry.Request"] = {"ProcessFuelProductEnquiry",
                                       [f](QlSimSession&, TProcessQlRequest& r) {
                                         auto o = f()->CreateFuelProductEnquiry();
                                         int32_t x = -1;
                                         r.ProcessFuelProductEnquiry(*o, "", "CARD", 1, "", x);
                                         return x;
                                       }};
    return m;
  }();
  return ops;
}

// Runs one operation on a logged-in session whose library answers `answer` with `code`.
int32_t RunWithFault(const std::string& fault, int32_t answer, int32_t code, TProcessQlRequest& r) {
  QlSimSession s(FaultConfig(fault, answer, code));
  EXPECT_EQ(s.Open(r), 0);
  return Ops().at(fault).run(s, r);
}

// ---------------------------------------------------------------- Connect

TEST(ProcessQlRequestConnect, LibraryAnswersMapToResultsAndOnlineState) {
  QlSimSession online;
  TProcessQlRequest r({true, true, 0});
  EXPECT_EQ(Connect(online, r), 0);
  EXPECT_TRUE(r.bConnectedOnline());
  EXPECT_TRUE(online.parms->bExternalSwipe);

  struct Case {
    std::string config;
    int32_t expected;
    const char* text;
  };
  const Case cases[] = {
      {R"({"online":false})", 0, ""},
      {FaultConfig("Session.Connect", 1, 0), 0, ""},  // one failure: retried, offline
      {FaultConfig("Session.Connect", 1, 0, R"(,"count":2)"), 2, "INJECTED 0"},
      {FaultConfig("Session.Connect", 3, 0), 3, nullptr},
      {FaultConfig("Session.Connect", 7, 0), 4, nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.config);
    QlSimSession s(c.config);
    TProcessQlRequest req;
    EXPECT_EQ(Connect(s, req), c.expected);
    if (c.expected == 0) {
      EXPECT_FALSE(req.bConnectedOnline());
    }
    if (c.text) {
      EXPECT_EQ(req.strErrorMessage(), c.text);
    }
  }
}

// ---------------------------------------------------------------- result mapping

// Every library answer of every request, injected, and the layer's result for it.
TEST(ProcessQlRequestResults, EveryLibraryAnswerMapsToItsLayerResult) {
  struct Case {
    const char* fault;
    int32_t answer;
    int32_t expected;
  };
  const Case cases[] = {
      {"Login.Login", 0, 2},
      {"Login.Login", 2, 5},
      {"Login.Login", 3, 5},
      {"Login.Login", 4, 5},
      {"Login.Login", 5, 5},
      {"Login.Logout", 0, 0},
      {"Login.Logout", 1, 2},
      {"CardEnquiry.Enquire", 0, 0},
      {"CardEnquiry.Enquire", 1, 1},
      {"CardEnquiry.Enquire", 2, 6},
      {"CardEnquiry.Enquire", 3, 0},
      {"CardEnquiry.Enquire", 4, 7},
      {"CardEnquiry.Enquire", 9, 0},
      {"TransactionStart.Start", 0, 0},
      {"TransactionStart.Start", 5, 1},
      {"DccEnquiry.Enquire", 0, 0},
      {"DccEnquiry.Enquire", 3, 1},
      {"Processor.Process", 0, 0},
      {"Processor.Process", 1, 1},
      {"Processor.Process", 2, 6},
      {"Processor.Process", 3, 8},
      {"Processor.Process", 4, 7},
      {"Processor.Process", 5, 9},
      {"Processor.Process", 6, 0},
      {"Processor.AnswerPinBypass", 0, 0},
      {"Processor.AnswerPinBypass", 1, 1},
      {"Processor.AnswerPinBypass", 2, 4},
      {"Processor.AnswerPinBypass", 3, 4},
      {"FuelBalance.Enquire", 0, 0},
      {"FuelBalance.Enquire", 1, 4},
      {"FuelBalance.Enquire", 2, 4},
      {"ReceiptInfo.Request", 0, 0},
      {"ReceiptInfo.Request", 1, 1},
      {"ReceiptInfo.Request", 2, 0},
      {"CloseBatch.Request", 0, 0},
      {"CloseBatch.Request", 1, 1},
      {"CloseBatch.Request", 3, 0},
      {"Report.Request", 0, 0},
      {"Report.Request", 1, 1},
      {"Report.Request", 2, 0},
      {"FuelProductEnquiry.Request", 0, 0},
      {"FuelProductEnquiry.Request", 1, 1},
      {"FuelProductEnquiry.Request", 2, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.fault) + " answering " + std::to_string(c.answer));
    if (std::string(c.fault) == "Login.Login") {
      // The session's own login would meet the fault: connect only.
      QlSimSession s(FaultConfig(c.fault, c.answer, 0));
      TProcessQlRequest r;
      ASSERT_EQ(Connect(s, r), 0);
      EXPECT_EQ(Ops().at(c.fault).run(s, r), c.expected);
      EXPECT_EQ(r.strErrorMessage(), c.expected == 2 ? "INJECTED 0" : "");
      continue;
    }
    TProcessQlRequest r({false, false, 0});
    EXPECT_EQ(RunWithFault(c.fault, c.answer, 4711, r), c.expected);
  }
}

// A lost connection (2) is told from other failures (1) by the library's error code; 10200
// counts only for authorisation and the PIN bypass answer. A failed balance enquiry is 4.
TEST(ProcessQlRequestLostConnection, ErrorCodesMapToTwoOrOnePerOperation) {
  const std::pair<const char*, bool> ops[] = {
      {"CardEnquiry.Enquire", false}, {"TransactionStart.Start", false},
      {"DccEnquiry.Enquire", false},  {"Processor.Process", true},
      {"ReceiptInfo.Request", false}, {"CloseBatch.Request", false},
      {"Report.Request", false},      {"FuelProductEnquiry.Request", false},
  };
  for (const auto& [fault, wide] : ops) {
    for (int32_t code : {30001, 30003, 30006, 30056, 10200, 12345}) {
      SCOPED_TRACE(std::string(fault) + " " + std::to_string(code));
      TProcessQlRequest r;
      const bool lost = code != 12345 && (code != 10200 || wide);
      EXPECT_EQ(RunWithFault(fault, 1, code, r), lost ? 2 : 1);
      EXPECT_EQ(r.strErrorMessage(), "INJECTED " + std::to_string(code));
    }
  }
  TProcessQlRequest r;
  EXPECT_EQ(RunWithFault("FuelBalance.Enquire", 1, 30001, r), 4);
  EXPECT_EQ(r.strErrorMessage(), "INJECTED 30001");

  for (int32_t code : {10200, 30056, 999}) {
    SCOPED_TRACE(code);
    QlSimSession s(R"({"card":"visa_pin_bypass",)" +
                   FaultConfig("Processor.AnswerPinBypass", 1, code).substr(1));
    TProcessQlRequest req({false, false, 0});
    ASSERT_EQ(s.Open(req), 0);
    ASSERT_EQ(s.StartAndEnquire(req, 500), 0);
    auto [p, t, result] = Processed(req, 500);
    ASSERT_EQ(result, 8);
    req.ProcessPinBypass(*p, t, true, result);
    EXPECT_EQ(result, code == 999 ? 1 : 2);
  }
}

TEST(ProcessQlRequestTrap, LibraryErrorsBecomeFourWithTheOperationName) {
  for (const auto& [fault, op] : Ops()) {
    SCOPED_TRACE(fault);
    QlSimSession s(R"({"faults":[{"operation":")" + fault +
                   R"(","raise":true,"errorText":"Automation error"}]})");
    TProcessQlRequest r;
    ASSERT_EQ(Connect(s, r), 0);
    int32_t result = -1;
    if (fault != "Login.Login") r.ProcessLogin(*s.login, "M", "C", "P", result);
    EXPECT_EQ(op.run(s, r), 4);
    EXPECT_EQ(r.strErrorMessage(),
              std::string("TProcessQlRequest.") + op.name + "() Failed - Automation error");
  }
  QlSimSession s(
      R"({"faults":[{"operation":"Session.Connect","raise":true,"errorText":"Class not registered"}]})");
  TProcessQlRequest r;
  EXPECT_EQ(Connect(s, r), 4);
  EXPECT_EQ(r.strErrorMessage(), "TProcessQlRequest.Connect() Failed - Class not registered");
}

// Records what the layer hands to the library.
class RecordingStart : public QlTransactionStart {
 public:
  int32_t Start(const std::string&, int32_t, int32_t, int32_t, int32_t, const std::string& name,
                const std::string& address, const std::string&, bool, bool, bool, bool) override {
    sent_name = name;
    sent_address = address;
    return 0;
  }
  std::string sent_name, sent_address;
};

TEST(ProcessQlRequestStart, BlankAddressSendsTheMerchantNameTwice) {
  TProcessQlRequest r;
  RecordingStart start;
  int32_t result = -1;
  r.ProcessStartTransaction(start, "826", 100, 0, 0, 1, "CORNER SHOP", "   ", "EN", "PED", false,
                            true, true, true, result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(start.sent_address, "CORNER SHOP");
  r.ProcessStartTransaction(start, "826", 100, 0, 0, 1, "CORNER SHOP", "1 HIGH ST", "EN", "PED",
                            false, true, true, true, result);
  EXPECT_EQ(start.sent_address, "1 HIGH ST");
}

// ---------------------------------------------------------------- authorisation

TEST(ProcessQlRequestTransaction, AutomaticDeclineRefusesTheBypassAtOnce) {
  QlSimSession s(R"({"card":"visa_pin_bypass"})");
  TProcessQlRequest r({false, true, 0});
  ASSERT_EQ(s.Open(r), 0);
  ASSERT_EQ(s.StartAndEnquire(r, 800), 0);
  auto [p, t, result] = Processed(r, 800);
  EXPECT_EQ(result, 0) << "never 8 with automatic decline";
  EXPECT_EQ(t.lStatus, 3);
  EXPECT_EQ(t.strResponseText, "PIN REQUIRED - DECLINED");
}

TEST(ProcessQlRequestTransaction, OperatingModesThreeAndFourFetchReceiptData) {
  struct Case {
    int32_t mode;
    int32_t amount;
    bool fetches;
  };
  for (const auto& c :
       {Case{0, 500, false}, Case{3, 500, true}, Case{4, 500, false}, Case{4, 10010, true}}) {
    // A failing receipt request shows whether the layer asked for the receipt data.
    QlSimSession s(FaultConfig("ReceiptInfo.Request", 1, 30006));
    TProcessQlRequest r({false, true, c.mode});
    ASSERT_EQ(s.Open(r), 0);
    ASSERT_EQ(s.StartAndEnquire(r, c.amount), 0);
    auto [p, t, result] = Processed(r, c.amount);
    EXPECT_EQ(result, c.fetches ? 2 : 0) << c.mode << " " << c.amount;
  }
  QlSimSession s(R"({"terminalReadsCard":true})");
  TProcessQlRequest r({false, true, 3});
  ASSERT_EQ(s.Open(r), 0);
  auto start = CurrentQlFactory().CreateTransactionStart();
  int32_t result = -1;
  r.ProcessStartTransaction(*start, "826", 700, 0, 0, 1, "S", "A", "EN", "D", false, true, true,
                            true, result);
  auto p = CurrentQlFactory().CreateTransactionProcessor();
  auto t = QlSimSession::Sale(700);
  r.ProcessTransaction(*p, t, result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(t.lStatus, 1);
  EXPECT_EQ(t.strAmount, "700") << "the fetched receipt data replaces the transaction";
}

// ---------------------------------------------------------------- confirm

int32_t Authorise(QlSimSession& s, TProcessQlRequest& r, int32_t amount, QlTransaction& t,
                  int32_t type = 1) {
  int32_t result = s.StartAndEnquire(r, amount, type);
  if (result != 0) return -result;
  auto p = CurrentQlFactory().CreateTransactionProcessor();
  t = QlSimSession::Sale(amount, type);
  r.ProcessTransaction(*p, t, result);
  return result == 0 ? t.lTransRefNo : -result;
}

TEST(ProcessQlRequestConfirm, FailuresCountOnlyOutsideOperatingModeZero) {
  QlSimSession s;
  TProcessQlRequest r({false, true, 0});
  ASSERT_EQ(s.Open(r), 0);
  auto confirm = CurrentQlFactory().CreateConfirm();
  QlTransaction t;
  int32_t result = -1;
  r.ProcessConfirm(*confirm, t, "C1", 999, "", 0, result);
  EXPECT_EQ(result, 0) << "mode 0 ignores a failed confirmation";
  EXPECT_EQ(r.strErrorMessage(), "");
  r.SetSettings({false, true, 1});
  r.ProcessConfirm(*confirm, t, "C1", 999, "", 0, result);
  EXPECT_EQ(result, 4);
  EXPECT_EQ(r.strErrorMessage(), "TRANSACTION 999 NOT FOUND");

  QlSimSession f(FaultConfig("Confirm.Confirm", 1, 30001));
  TProcessQlRequest r2({false, true, 2});
  ASSERT_EQ(f.Open(r2), 0);
  const int32_t ref = Authorise(f, r2, 900, t);
  ASSERT_GT(ref, 0);
  r2.ProcessConfirm(*confirm, t, "C1", ref, "", 0, result);
  EXPECT_EQ(result, 4);
  EXPECT_EQ(r2.strErrorMessage(), "INJECTED 30001");
}

// ---------------------------------------------------------------- fuel products

TEST(ProcessQlRequestFuel, EnquiryModeChoosesWhatIsSent) {
  struct Case {
    int32_t mode;
    const char* product;
    const char* card;
    const char* extra;
    int32_t sent_mode;
  };
  for (const auto& c : {Case{0, "P", "", "X", 0}, Case{1, "", "C", "", 1}, Case{2, "P", "C", "", 2},
                        Case{7, "P", "C", "", 2}}) {
    SCOPED_TRACE(c.mode);
    TProcessQlRequest r;
    auto products = CurrentQlFactory().CreateFuelProductEnquiry();
    products->strExtraInfo = "stale";
    int32_t result = -1;
    r.ProcessFuelProductEnquiry(*products, "P", "C", c.mode, "X", result);
    EXPECT_EQ(products->strProductInfo, c.product);
    EXPECT_EQ(products->strCardInfo, c.card);
    EXPECT_EQ(products->strExtraInfo, c.extra);
    EXPECT_EQ(products->lEnquiryMode, c.sent_mode);
  }
}

// A vendor adapter replaces the simulator: the layer's own objects come from it too.
class CountingFactory : public QlFactory {
 public:
  QlFactory& sim = sim::SimulatorFactory();
  int readers = 0;
  int receipts = 0;
  std::unique_ptr<QlSession> CreateSession() override { return sim.CreateSession(); }
  std::unique_ptr<QlParameters> CreateParameters() override { return sim.CreateParameters(); }
  std::unique_ptr<QlLogin> CreateLogin() override { return sim.CreateLogin(); }
  std::unique_ptr<QlCardReader> CreateCardReader() override {
    ++readers;
    return sim.CreateCardReader();
  }
  std::unique_ptr<QlCardReaderStatus> CreateCardReaderStatus() override {
    return sim.CreateCardReaderStatus();
  }
  std::unique_ptr<QlCardEnquiry> CreateCardEnquiry() override { return sim.CreateCardEnquiry(); }
  std::unique_ptr<QlTransactionStart> CreateTransactionStart() override {
    return sim.CreateTransactionStart();
  }
  std::unique_ptr<QlDccEnquiry> CreateDccEnquiry() override { return sim.CreateDccEnquiry(); }
  std::unique_ptr<QlTransactionProcessor> CreateTransactionProcessor() override {
    return sim.CreateTransactionProcessor();
  }
  std::unique_ptr<QlConfirm> CreateConfirm() override { return sim.CreateConfirm(); }
  std::unique_ptr<QlFuelBalance> CreateFuelBalance() override { return sim.CreateFuelBalance(); }
  std::unique_ptr<QlReceiptInfo> CreateReceiptInfo() override {
    ++receipts;
    return sim.CreateReceiptInfo();
  }
  std::unique_ptr<QlCloseBatch> CreateCloseBatch() override { return sim.CreateCloseBatch(); }
  std::unique_ptr<QlReport> CreateReport() override { return sim.CreateReport(); }
  std::unique_ptr<QlFuelProductEnquiry> CreateFuelProductEnquiry() override {
    return sim.CreateFuelProductEnquiry();
  }
};

TEST(ProcessQlRequestFactory, InstalledFactoryProvidesTheLayersOwnObjects) {
  CountingFactory factory;
  SetQlFactory(&factory);
  struct Restore {
    ~Restore() { SetQlFactory(nullptr); }
  } restore;
  QlSimSession s;
  TProcessQlRequest r({false, true, 3});
  ASSERT_EQ(s.Open(r), 0);
  auto enq = CurrentQlFactory().CreateCardEnquiry();
  int32_t result = -1;
  r.ProcessCardEnquiry(*enq, 0, "", "", 2, result);
  EXPECT_EQ(factory.readers, 0) << "the terminal read the card: no reset";
  r.ProcessCardEnquiry(*enq, 0, "4761739001010010", "", 0, result);
  EXPECT_EQ(factory.readers, 1);
  r.ProcessCardEnquiry(*enq, 0, "4761739001010010", "", 1, result);
  EXPECT_EQ(factory.readers, 1) << "a number with the swipe entry is not the till's own read";
  r.ProcessCardEnquiry(*enq, 0, "", ";4761739001010010=2812?", 1, result);
  EXPECT_EQ(factory.readers, 2);
  auto p = CurrentQlFactory().CreateTransactionProcessor();
  auto t = QlSimSession::Sale(100);
  r.ProcessTransaction(*p, t, result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(factory.receipts, 1);
  SetQlFactory(nullptr);
  EXPECT_EQ(&CurrentQlFactory(), &sim::SimulatorFactory());
}

}  // namespace
}  // namespace ccaddin
