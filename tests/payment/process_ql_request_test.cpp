#include "payment/process_ql_request.h"

#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include "platform/virtual_env.h"
#include "qlclient/sim/sim_inspect.h"
#include "qlclient/sim/sim_store.h"
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

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
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

TEST(ProcessQlRequestConnect, BadConfigurationFilesFailWithAClearText) {
  struct Case {
    std::string content;
    std::string expected;
  };
  const Case cases[] = {
      {"{ not json", "is not valid JSON"},
      {R"({"card":"no_such_card"})", "unknown card \"no_such_card\""},
      {R"({"faults":[{"operation":"Nothing.Here"}]})", "unknown fault operation \"Nothing.Here\""},
      {R"({"online":"yes"})", "online must be true or false"},
      {R"({"cards":[{"name":"x","pan":"1234"}]})", "card \"x\" has no valid card number"},
      {"[1,2]", "must hold one JSON object"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.content);
    QlSimSession s(c.content);
    TProcessQlRequest r;
    EXPECT_EQ(Connect(s, r), 2);
    EXPECT_NE(r.strErrorMessage().find(c.expected), std::string::npos) << r.strErrorMessage();
    EXPECT_NE(r.strErrorMessage().find("qlclient.json"), std::string::npos);
  }

  QlSimSession s;
  TProcessQlRequest r;
  int32_t result = -1;
  r.Connect(*s.session, *s.parms, s.dir.folder(), "absent.json", result);
  EXPECT_EQ(result, 2);
  EXPECT_NE(r.strErrorMessage().find("cannot be opened"), std::string::npos);

  QlSimSession bad(R"({"store":"notadb.sqlite"})");
  const std::string junk = "this is a text file, not a database, and must stay as it is\n";
  bad.dir.Write("notadb.sqlite", junk);
  EXPECT_EQ(Connect(bad, r), 2);
  EXPECT_NE(r.strErrorMessage().find("is not usable"), std::string::npos) << r.strErrorMessage();
  EXPECT_EQ(bad.dir.Read("notadb.sqlite"), junk);
}

// ---------------------------------------------------------------- login, logout

TEST(ProcessQlRequestLogin, CredentialsOrderAndLogout) {
  QlSimSession s(R"({"login":{"merchantId":"M1","clientId":"C1","password":"P1"}})");
  TProcessQlRequest r;
  int32_t result = -1;
  r.ProcessLogin(*s.login, "M1", "C1", "P1", result);
  EXPECT_EQ(result, 2);
  EXPECT_EQ(r.strErrorMessage(), "NOT CONNECTED TO THE PAYMENT SERVER");
  ASSERT_EQ(Connect(s, r), 0);
  r.ProcessLogin(*s.login, "M1", "C1", "wrong", result);
  EXPECT_EQ(result, 5);
  r.ProcessLogin(*s.login, "M1", "C1", "P1", result);
  EXPECT_EQ(result, 0);
  r.ProcessLogout(*s.login, result);
  EXPECT_EQ(result, 0);
  r.ProcessLogout(*s.login, result);
  EXPECT_EQ(result, 2);
  EXPECT_EQ(r.strErrorMessage(), "NOT LOGGED IN");
  r.Disconnect(*s.session, result);
  EXPECT_EQ(result, 0);
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

// ---------------------------------------------------------------- card enquiry and start

TEST(ProcessQlRequestCardEnquiry, ResultsByCard) {
  struct Case {
    const char* card;
    int32_t result;
    int32_t data_type;
  };
  for (const auto& c : {Case{"visa_chip_pin", 0, 2}, Case{"visa_contactless", 0, 3},
                        Case{"visa_swipe", 0, 1}, Case{"mc_fallback", 6, 0},
                        Case{"mc_must_swipe", 6, 0}, Case{"discover_not_accepted", 1, 0}}) {
    SCOPED_TRACE(c.card);
    QlSimSession s(std::string(R"({"card":")") + c.card + "\"}");
    TProcessQlRequest r;
    ASSERT_EQ(s.Open(r), 0);
    EXPECT_EQ(s.StartAndEnquire(r, 1000), c.result);
    if (c.result == 0) {
      EXPECT_EQ(s.enquiry->lCardDataType, c.data_type);
    }
    if (c.result == 1) {
      EXPECT_EQ(r.strErrorMessage(), "CARD NOT ACCEPTED");
    }
  }
}

TEST(ProcessQlRequestCardEnquiry, TillKeyedCardResetsTheReaderAndChecksTheNumber) {
  QlSimSession s(R"({"readerStates":[1,1,2,3]})");
  TProcessQlRequest r;
  ASSERT_EQ(s.Open(r), 0);
  ASSERT_EQ(s.StartAndEnquire(r, 100), 0);
  auto status = CurrentQlFactory().CreateCardReaderStatus();
  ASSERT_EQ(status->Poll(), 0);
  ASSERT_EQ(status->Poll(), 0);
  ASSERT_EQ(status->Poll(), 0);
  EXPECT_EQ(status->lReaderState, 2);
  auto enq = CurrentQlFactory().CreateCardEnquiry();
  int32_t result = -1;
  r.ProcessCardEnquiry(*enq, 0, "374245455400126", "", 0, result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(enq->lCardDataType, 0);
  EXPECT_EQ(enq->strPan, "374245455400126");
  EXPECT_EQ(enq->GetEntryPrompt(3), 1);
  EXPECT_EQ(enq->GetCv2Length(), 4);
  ASSERT_EQ(status->Poll(), 0);
  EXPECT_EQ(status->lReaderState, 1) << "the reset starts the reader's sequence again";

  r.ProcessCardEnquiry(*enq, 0, "4761739001010011", "", 0, result);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(r.strErrorMessage(), "INVALID CARD NUMBER");
  r.ProcessCardEnquiry(*enq, 0, "", ";4111111111111111=2812101?", 1, result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(enq->lCardDataType, 1);
  r.ProcessCardEnquiry(*enq, 0, "", "garbage", 1, result);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(r.strErrorMessage(), "INVALID TRACK DATA");
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

TEST(ProcessQlRequestStart, InvalidRequestsAndContactlessCapability) {
  QlSimSession s(R"({"terminal":{"contactless":false}})");
  TProcessQlRequest r;
  ASSERT_EQ(s.Open(r), 0);
  auto start = CurrentQlFactory().CreateTransactionStart();
  int32_t result = -1;
  r.ProcessStartTransaction(*start, "826", -5, 0, 0, 1, "S", "A", "EN", "D", false, true, true,
                            true, result);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(r.strErrorMessage(), "INVALID TRANSACTION DATA");
  r.ProcessStartTransaction(*start, "826", 5, 0, 0, 1, "S", "A", "EN", "D", false, true, true, true,
                            result);
  EXPECT_EQ(result, 0);
  EXPECT_FALSE(start->bContactlessCapable);
  EXPECT_EQ(s.session->GetStatusText(), "INSERT OR SWIPE CARD");
}

// ---------------------------------------------------------------- authorisation

struct AuthCase {
  const char* card;
  int32_t amount;
  int32_t result;
  int32_t status;  // -1: not checked
};

TEST(ProcessQlRequestTransaction, OutcomesByCardAndMagicAmount) {
  const AuthCase cases[] = {
      {"visa_chip_pin", 1234, 0, 1},   {"visa_referred", 1234, 0, 2},
      {"mc_declined", 1234, 0, 3},     {"visa_chip_pin", 10002, 0, 2},
      {"visa_chip_pin", 10005, 0, 3},  {"visa_chip_pin", 10004, 6, -1},
      {"visa_chip_pin", 10006, 7, -1}, {"visa_chip_pin", 10009, 9, -1},
      {"visa_chip_pin", 10200, 2, -1}, {"visa_chip_pin", 30001, 2, -1},
      {"visa_chip_pin", 30003, 2, -1}, {"visa_chip_pin", 30006, 2, -1},
      {"visa_chip_pin", 30056, 2, -1}, {"visa_chip_pin", 10051, 1, -1},
      {"visa_chip_pin", 10003, 0, 3},
  };
  for (const auto& c : cases) {
    QlSimSession s(std::string(R"({"card":")") + c.card + "\"}");
    TProcessQlRequest r;
    ASSERT_EQ(s.Open(r), 0);
    ASSERT_EQ(s.StartAndEnquire(r, c.amount), 0);
    auto [p, t, result] = Processed(r, c.amount);
    EXPECT_EQ(result, c.result) << c.card << " " << c.amount;
    if (c.status >= 0) {
      EXPECT_EQ(t.lStatus, c.status) << c.card << " " << c.amount;
      EXPECT_GT(t.lTransRefNo, 0);
      EXPECT_TRUE(sim::LuhnValid(t.strPan)) << "the card number comes back whole: " << t.strPan;
    }
  }
}

TEST(ProcessQlRequestTransaction, AuthorisedChipSaleCarriesReceiptData) {
  QlSimSession s;
  TProcessQlRequest r;
  ASSERT_EQ(s.Open(r), 0);
  ASSERT_EQ(s.StartAndEnquire(r, 2500), 0);
  auto [p, t, result] = Processed(r, 2500);
  ASSERT_EQ(result, 0) << r.strErrorMessage();
  EXPECT_EQ(t.lEntryMethodCode, 2);
  EXPECT_EQ(t.lCvmCode, 1);
  EXPECT_EQ(t.strAuthCode.size(), 6u);
  EXPECT_EQ(t.strSchemeName, "VISA");
  EXPECT_EQ(t.strEmvValues[QL_EMV_APPID], "A0000000031010");
  EXPECT_EQ(t.strCurrencyText, "\xA3");
  EXPECT_EQ(t.lAuthSource, 2);
  EXPECT_EQ(t.strTerminalId, "22160001");
}

TEST(ProcessQlRequestTransaction, AnEnquiryIsAskedForBeforeAuthorising) {
  QlSimSession s;
  TProcessQlRequest r;
  ASSERT_EQ(s.Open(r), 0);
  auto [p, t, result] = Processed(r, 10009);
  EXPECT_EQ(result, 9) << "no enquiry yet";
  ASSERT_EQ(s.StartAndEnquire(r, 10009), 0);
  r.ProcessTransaction(*p, t, result);
  ASSERT_EQ(result, 9) << "the amount that asks for a fresh enquiry";
  r.ProcessCardEnquiry(*s.enquiry, 0, "", "", 2, result);
  ASSERT_EQ(result, 0);
  r.ProcessTransaction(*p, t, result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(t.lStatus, 1);
  t.strAmount = "12x";
  ASSERT_EQ(s.StartAndEnquire(r, 500), 0);
  r.ProcessTransaction(*p, t, result);
  EXPECT_EQ(result, 4);
  EXPECT_EQ(r.strErrorMessage(),
            "TProcessQlRequest.ProcessTransaction() Failed - Amount is not a number: 12x");
}

TEST(ProcessQlRequestTransaction, PinBypassAutoDeclinedOrAskedAndAnswered) {
  {
    QlSimSession s(R"({"card":"visa_pin_bypass"})");
    TProcessQlRequest r({false, true, 0});
    ASSERT_EQ(s.Open(r), 0);
    ASSERT_EQ(s.StartAndEnquire(r, 800), 0);
    auto [p, t, result] = Processed(r, 800);
    EXPECT_EQ(result, 0) << "never 8 with automatic decline";
    EXPECT_EQ(t.lStatus, 3);
    EXPECT_EQ(t.strResponseText, "PIN REQUIRED - DECLINED");
  }
  QlSimSession s(R"({"card":"visa_pin_bypass"})");
  TProcessQlRequest r({false, false, 0});
  ASSERT_EQ(s.Open(r), 0);
  ASSERT_EQ(s.StartAndEnquire(r, 800), 0);
  auto [p, t, result] = Processed(r, 800);
  ASSERT_EQ(result, 8);
  EXPECT_EQ(s.session->GetStatusText(), "PIN BYPASS?");
  r.ProcessPinBypass(*p, t, true, result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(t.lStatus, 1);
  EXPECT_EQ(t.lCvmCode, 3) << "a bypassed PIN falls back to a signature";
  r.ProcessPinBypass(*p, t, true, result);
  EXPECT_EQ(result, 1) << "no bypass is pending any more";
  EXPECT_EQ(r.strErrorMessage(), "NO PIN BYPASS REQUEST PENDING");
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

TEST(ProcessQlRequestTransaction, AcceptedCurrencyConversionConvertsTheAmount) {
  QlSimSession s(R"({"card":"visa_dcc_usd"})");
  TProcessQlRequest r;
  ASSERT_EQ(s.Open(r), 0);
  ASSERT_EQ(s.StartAndEnquire(r, 10000), 0);
  auto dcc = CurrentQlFactory().CreateDccEnquiry();
  int32_t result = -1;
  r.ProcessDccEnquiry(*dcc, result);
  ASSERT_EQ(result, 0);
  ASSERT_TRUE(dcc->bOfferAvailable);
  EXPECT_EQ(dcc->strForeignAmount, "12745");
  EXPECT_EQ(dcc->strForeignCurrencyCode, "USD");
  auto p = CurrentQlFactory().CreateTransactionProcessor();
  auto t = QlSimSession::Sale(10000);
  t.lConversionState = 2;
  r.ProcessTransaction(*p, t, result);
  ASSERT_EQ(result, 0);
  EXPECT_EQ(t.strAmount, "12745");
  EXPECT_EQ(t.strBaseAmount, "10000");
  EXPECT_EQ(t.strBaseCurrencyText, "\xA3");
  EXPECT_EQ(t.strExchangeRate, "1.2745");
  EXPECT_FALSE(t.strConversionStatement.empty());

  QlSimSession plain;
  ASSERT_EQ(plain.Open(r), 0);
  ASSERT_EQ(plain.StartAndEnquire(r, 10000), 0);
  r.ProcessDccEnquiry(*dcc, result);
  EXPECT_EQ(result, 0);
  EXPECT_FALSE(dcc->bOfferAvailable);
}

// ---------------------------------------------------------------- confirm, receipts, batches

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

TEST(ProcessQlRequestConfirm, ReferralConfirmedWithVoiceCodeThenVoided) {
  QlSimSession s(R"({"card":"visa_referred"})");
  TProcessQlRequest r({false, true, 1});
  ASSERT_EQ(s.Open(r), 0);
  QlTransaction t;
  const int32_t ref = Authorise(s, r, 4200, t);
  ASSERT_GT(ref, 0);
  EXPECT_EQ(t.lStatus, 2);
  EXPECT_EQ(t.strReferralPhoneNo, "0800 123 4567");
  EXPECT_EQ(t.strReferralPan, "4000056655665556");
  auto confirm = CurrentQlFactory().CreateConfirm();
  int32_t result = -1;
  r.ProcessConfirm(*confirm, t, "C1", ref, "", 0, result);
  EXPECT_EQ(result, 4) << "a referral needs the voice code";
  r.ProcessConfirm(*confirm, t, "C1", ref, "654321", 0, result);
  EXPECT_EQ(result, 0);
  r.ProcessConfirm(*confirm, t, "C1", ref, "654321", 0, result);
  EXPECT_EQ(result, 4);
  EXPECT_EQ(r.strErrorMessage(), "TRANSACTION ALREADY CONFIRMED");

  auto receipt = CurrentQlFactory().CreateReceiptInfo();
  QlTransaction copy;
  r.ProcessReceiptInfo(*receipt, copy, "", ref, result);
  ASSERT_EQ(result, 0);
  EXPECT_EQ(copy.lStatus, 1);
  EXPECT_EQ(copy.strAuthCode, "654321");
  EXPECT_EQ(copy.lAuthSource, 3);

  r.ProcessConfirm(*confirm, copy, "C1", ref, "", 2, result);
  EXPECT_EQ(result, 0);
  r.ProcessReceiptInfo(*receipt, copy, "", -1, result);
  EXPECT_TRUE(copy.bCancelled);
  r.ProcessConfirm(*confirm, copy, "C1", ref, "", 2, result);
  EXPECT_EQ(result, 4);
  EXPECT_EQ(r.strErrorMessage(), "TRANSACTION ALREADY CANCELLED");
}

TEST(ProcessQlRequestReceipt, UnknownReferenceAndEmptyStore) {
  QlSimSession s;
  TProcessQlRequest r;
  ASSERT_EQ(s.Open(r), 0);
  auto receipt = CurrentQlFactory().CreateReceiptInfo();
  QlTransaction t;
  int32_t result = -1;
  r.ProcessReceiptInfo(*receipt, t, "", -1, result);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(r.strErrorMessage(), "NO TRANSACTIONS ON FILE");
  r.ProcessReceiptInfo(*receipt, t, "", 42, result);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(r.strErrorMessage(), "TRANSACTION 42 NOT FOUND");
}

TEST(ProcessQlRequestReport, DataFileListsTheOpenBatchThenTheBatchCloses) {
  VirtualEnv env(MakeDateTime(2026, 1, 15, 10, 30, 0));
  ScopedEnv scoped(&env);
  QlSimSession s;
  TProcessQlRequest r({false, true, 0});
  ASSERT_EQ(s.Open(r), 0);
  QlTransaction t;
  ASSERT_GT(Authorise(s, r, 1000, t), 0);
  ASSERT_GT(Authorise(s, r, 2000, t, 6), 0);
  ASSERT_GT(Authorise(s, r, 10005, t), 0);  // declined: not on the report
  auto report = CurrentQlFactory().CreateReport();
  int32_t result = -1;
  r.ProcessReportRequest(*report, s.dir.folder(), "TMP_20260115_103000.txt", result);
  ASSERT_EQ(result, 0);
  const auto lines = Lines(s.dir.Read("TMP_20260115_103000.txt"));
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[1].substr(lines[1].find(',', lines[1].find(',') + 1)), ",A,1000,0,VISA");
  EXPECT_EQ(lines[2].substr(lines[2].find(',', lines[2].find(',') + 1)), ",F,2000,0,VISA");
  EXPECT_EQ(report->lSaleTotal, 1000);
  EXPECT_EQ(report->lRefundTotal, 2000);

  auto batch = CurrentQlFactory().CreateCloseBatch();
  r.ProcessCloseBatchRequest(*batch, result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(batch->lRequestType, 2);
  EXPECT_EQ(batch->lBatchNo, 1);
  r.ProcessReportRequest(*report, s.dir.folder(), "TMP_20260115_110000.txt", result);
  EXPECT_EQ(Lines(s.dir.Read("TMP_20260115_110000.txt")).size(), 1u) << "the new batch is empty";
  r.ProcessReportRequest(*report, s.dir.file("TMP_20260115_120000.txt"), "20260114", result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(report->strDataFile, s.dir.file("TMP_20260115_120000.txt"));
  r.ProcessReportRequest(*report, s.dir.folder(), "", result);
  EXPECT_EQ(report->strDataFile, s.dir.file("TMP_20260115_103000.txt"))
      << "named by the (virtual) clock";
  r.ProcessReportRequest(*report, s.dir.folder() + "no/such/folder", "TMP_X.txt", result);
  EXPECT_EQ(result, 1);
  EXPECT_NE(r.strErrorMessage().find("CANNOT WRITE REPORT FILE"), std::string::npos);
}

// ---------------------------------------------------------------- fuel

TEST(ProcessQlRequestFuel, BalanceAndProductChecks) {
  QlSimSession s(R"({"card":"fuel_bunker"})");
  TProcessQlRequest r;
  ASSERT_EQ(s.Open(r), 0);
  auto balance = CurrentQlFactory().CreateFuelBalance();
  int32_t result = -1;
  r.ProcessFuelBalanceEnquiry(*balance, "826", "", result);
  ASSERT_EQ(result, 0);
  EXPECT_EQ(balance->lResponseCode, 0);
  EXPECT_EQ(balance->lBalance, 150000);
  EXPECT_EQ(balance->lBunkerBalance, 40000);

  ASSERT_EQ(s.StartAndEnquire(r, 5000), 0);
  EXPECT_EQ(s.enquiry->lCardType, 1);
  EXPECT_EQ(s.enquiry->GetFuelPrompt(13), 1);
  EXPECT_EQ(s.enquiry->GetFuelPromptType(13), 4);
  auto products = CurrentQlFactory().CreateFuelProductEnquiry();
  const std::string diesel =
      "002\x1C"
      "5000\x1C"
      "2500\x1C"
      "0\x1E";
  const std::string petrol =
      "001\x1C"
      "1000\x1C"
      "500\x1C"
      "0\x1E";
  r.ProcessFuelProductEnquiry(*products, diesel, "CARD", 0, "EXTRA", result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(products->lEnquiryMode, 0);
  EXPECT_EQ(products->strExtraInfo, "EXTRA");
  r.ProcessFuelProductEnquiry(*products, diesel + petrol, "CARD", 2, "EXTRA", result);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(products->lEnquiryMode, 2);
  EXPECT_EQ(products->strExtraInfo, "");
  EXPECT_EQ(products->strCardInfo, "CARD");
  EXPECT_EQ(r.strErrorMessage(), "PRODUCT 001 NOT ALLOWED FOR THIS CARD");

  QlSimSession payment;  // a payment card has no balance
  ASSERT_EQ(payment.Open(r), 0);
  r.ProcessFuelBalanceEnquiry(*balance, "826", "", result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(balance->lResponseCode, 1);
}

// ---------------------------------------------------------------- offline and across processes

TEST(ProcessQlRequestOffline, OfflineSalesAreUploadedAtTheNextOnlineConnect) {
  QlSimSession s(R"({"online":false})");
  TProcessQlRequest r;
  ASSERT_EQ(s.Open(r), 0);
  ASSERT_FALSE(r.bConnectedOnline());
  QlTransaction t;
  ASSERT_GT(Authorise(s, r, 1500, t), 0);
  EXPECT_EQ(t.lProcessingState, 2);
  EXPECT_EQ(t.lAuthSource, 1);
  {
    sim::SimStore store(s.dir.file("qlsim-server.sqlite"));
    const auto rows = store.List(0);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_TRUE(rows[0].offline);
    EXPECT_FALSE(rows[0].uploaded);
  }
  // A changed file is read again at connect, without a simulator reset.
  s.dir.Write(s.config_name, R"({"online":true,"terminal":{"terminalId":"T2"}})");
  ASSERT_EQ(s.Open(r), 0);
  EXPECT_TRUE(r.bConnectedOnline());
  EXPECT_TRUE(sim::SimStore(s.dir.file("qlsim-server.sqlite")).List(0)[0].uploaded);
  auto receipt = CurrentQlFactory().CreateReceiptInfo();
  QlTransaction copy;
  int32_t result = -1;
  r.ProcessReceiptInfo(*receipt, copy, "", -1, result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(copy.lProcessingState, 2);
}

// Runs `body` in a child process; true when it exited 0.
bool InChildProcess(const std::function<int()>& body) {
  const pid_t pid = fork();
  if (pid == 0) {
    int code = 1;
    try {
      code = body();
    } catch (...) {
    }
    _exit(code);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(ProcessQlRequestAcrossProcesses, AuthorisedInOneConfirmedReprintedVoidedInAnother) {
  QlSimSession s;
  const std::string ref_file = s.dir.file("ref.txt");
  ASSERT_TRUE(InChildProcess([&] {
    TProcessQlRequest r;
    if (s.Open(r) != 0) return 2;
    QlTransaction t;
    const int32_t ref = Authorise(s, r, 3100, t);
    if (ref <= 0) return 3;
    std::ofstream(ref_file) << ref;
    return 0;
  }));
  const int32_t ref = std::stoi(s.dir.Read("ref.txt"));
  sim::ResetSimulator();  // nothing of the child's session is known here

  TProcessQlRequest r({false, true, 1});
  ASSERT_EQ(s.Open(r), 0);
  auto confirm = CurrentQlFactory().CreateConfirm();
  QlTransaction t;
  int32_t result = -1;
  r.ProcessConfirm(*confirm, t, "C1", ref, "", 0, result);
  EXPECT_EQ(result, 0) << r.strErrorMessage();

  auto receipt = CurrentQlFactory().CreateReceiptInfo();
  QlTransaction reprint;
  r.ProcessReceiptInfo(*receipt, reprint, "", -1, result);
  ASSERT_EQ(result, 0);
  EXPECT_EQ(reprint.lTransRefNo, ref);
  EXPECT_EQ(reprint.strAmount, "3100");
  EXPECT_EQ(reprint.strPan, "************0010");
  EXPECT_TRUE(reprint.strToken.empty());

  ASSERT_TRUE(InChildProcess([&] {
    sim::ResetSimulator();
    TProcessQlRequest child({false, true, 1});
    if (s.Open(child) != 0) return 2;
    auto c = CurrentQlFactory().CreateConfirm();
    QlTransaction x;
    int32_t res = -1;
    child.ProcessConfirm(*c, x, "C1", ref, "", 2, res);
    return res == 0 ? 0 : 4;
  }));
  r.ProcessReceiptInfo(*receipt, reprint, "", ref, result);
  EXPECT_TRUE(reprint.bCancelled);
}

// The README's worked example, without the demo delay.
TEST(ProcessQlRequestReadme, WorkedExampleRunsAsDocumented) {
  QlSimSession s(R"({
      "store": "demo-server.sqlite",
      "terminal": {"terminalId": "DEMO0001", "referralPhone": "0800 555 0100"},
      "login": {"merchantId": "M100", "clientId": "TILL1", "password": "secret"},
      "card": "visa_referred",
      "faults": [{"operation": "CloseBatch.Request", "result": 1, "errorCode": 30001,
                  "errorText": "CONNECTION TO SERVER LOST"}]
    })");
  TProcessQlRequest r({false, true, 0});
  int32_t result = -1;
  r.Connect(*s.session, *s.parms, s.dir.folder(), s.config_name, result);
  ASSERT_EQ(result, 0);
  r.ProcessLogin(*s.login, "M100", "TILL1", "secret", result);
  ASSERT_EQ(result, 0);
  ASSERT_EQ(s.StartAndEnquire(r, 4200), 0);
  auto p = CurrentQlFactory().CreateTransactionProcessor();
  auto t = QlSimSession::Sale(4200);
  r.ProcessTransaction(*p, t, result);
  ASSERT_EQ(result, 0);
  EXPECT_EQ(t.lStatus, 2);
  EXPECT_EQ(t.strReferralPhoneNo, "0800 555 0100");
  EXPECT_EQ(t.strTerminalId, "DEMO0001");
  auto confirm = CurrentQlFactory().CreateConfirm();
  r.ProcessConfirm(*confirm, t, "TILL1", t.lTransRefNo, "123456", 0, result);
  ASSERT_EQ(result, 0);
  auto batch = CurrentQlFactory().CreateCloseBatch();
  r.ProcessCloseBatchRequest(*batch, result);
  EXPECT_EQ(result, 2);
  EXPECT_EQ(r.strErrorMessage(), "CONNECTION TO SERVER LOST");
  r.ProcessCloseBatchRequest(*batch, result);
  EXPECT_EQ(result, 0);

  std::ostringstream out, err;
  ASSERT_EQ(sim::InspectStore({s.dir.file(s.config_name)}, out, err), 0);
  EXPECT_NE(out.str().find("4200  VISA        ************5556    AUTHORISED confirmed"),
            std::string::npos)
      << out.str();
}

// With a demo delay the terminal's texts can be watched while a request runs, as the
// window's status timer does.
TEST(ProcessQlRequestStatus, TerminalTextsChangeDuringAnAuthorisation) {
  VirtualEnv env;
  ScopedEnv scoped(&env);
  QlSimSession s(R"({"delayMs":100})");
  TProcessQlRequest r;
  ASSERT_EQ(s.Open(r), 0);
  ASSERT_EQ(s.StartAndEnquire(r, 900), 0);
  std::vector<std::string> seen;
  std::function<void()> watch = [&] {
    const std::string text = s.session->GetStatusText();
    if (seen.empty() || seen.back() != text) seen.push_back(text);
    env.RunAfter(50, watch);
  };
  env.RunAfter(0, watch);
  auto [p, t, result] = Processed(r, 900);
  ASSERT_EQ(result, 0);
  const std::vector<std::string> expected = {"ENTER PIN", "PROCESSING", "APPROVED", "REMOVE CARD"};
  auto it = seen.begin();
  for (const auto& text : expected) {
    it = std::find(it, seen.end(), text);
    EXPECT_NE(it, seen.end()) << "missing or out of order: " << text;
  }
  EXPECT_EQ(s.session->GetStatusText(), "WELCOME");
}

TEST(ProcessQlRequestReport, CashbackSalesAndTheFuelSummary) {
  QlSimSession s(R"({"card":"fuel_card"})");
  TProcessQlRequest r;
  ASSERT_EQ(s.Open(r), 0);
  QlTransaction t;
  ASSERT_GT(Authorise(s, r, 4000, t), 0);
  std::string error;
  ASSERT_TRUE(sim::PresentCard("visa_chip_pin", &error)) << error;
  ASSERT_EQ(s.StartAndEnquire(r, 1000, 2), 0);
  auto p = CurrentQlFactory().CreateTransactionProcessor();
  t = QlSimSession::Sale(1000, 2);
  t.strCashbackAmount = "500";
  int32_t result = -1;
  r.ProcessTransaction(*p, t, result);
  ASSERT_EQ(result, 0);

  auto report = CurrentQlFactory().CreateReport();
  r.ProcessReportRequest(*report, s.dir.folder(), "TMP_20260115_103000.txt", result);
  ASSERT_EQ(result, 0);
  auto lines = Lines(s.dir.Read("TMP_20260115_103000.txt"));
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_NE(lines[1].find(",A,4000,0,FUELCARD"), std::string::npos) << lines[1];
  EXPECT_NE(lines[2].find(",B,1000,500,VISA"), std::string::npos) << lines[2];
  EXPECT_EQ(report->lCashbackTotal, 500);

  r.ProcessReportRequest(*report, s.dir.folder(), "TMP_FUEL_20260115_103000.txt", result);
  ASSERT_EQ(result, 0);
  lines = Lines(s.dir.Read("TMP_FUEL_20260115_103000.txt"));
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_NE(lines[1].find("FUELCARD"), std::string::npos);
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
