#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "payment/credit_card_common.h"
#include "payment/tender.h"
#include "qlclient/sim/sim_store.h"
#include "support/ql_sim_session.h"

namespace ccaddin {
namespace {

using sim::StoreState;
using testing::FaultConfig;
using testing::QlSimSession;

// A split payment on the simulator: parts authorised through the request layer by the
// window's session, then settled by the ledger at the end over a session of its own.
class ConfirmTendersTest : public ::testing::Test {
 protected:
  void Start(const std::string& config_json = "{}") {
    sim_ = std::make_unique<QlSimSession>(config_json);
    tender_ = TTender();
    ASSERT_EQ(sim_->Open(request_), 0) << request_.strErrorMessage();
    CreditCardCommon& s = Shared();
    s.strConfigFileLocation = sim_->dir.folder();
    s.strConfigFileName = sim_->config_name;
    s.strQuaylinkMerchantId = "M1";
    s.strQuaylinkClientId = "C1";
    s.strQuaylinkPassword = "P1";
  }
  // Authorises part `index` of `amount` and records it in the ledger as the window does.
  int32_t Pay(int32_t index, int32_t amount, int32_t state = TTender::kStateAuthorised) {
    int32_t result = -1;
    EXPECT_EQ(sim_->StartAndEnquire(request_, amount), 0) << request_.strErrorMessage();
    auto processor = CurrentQlFactory().CreateTransactionProcessor();
    QlTransaction trans = QlSimSession::Sale(amount);
    request_.ProcessTransaction(*processor, trans, result);
    EXPECT_EQ(result, 0) << request_.strErrorMessage();
    tender_.InitialiseTender(index, amount, 0, 0);
    tender_.UpdateTransRefNo(index, trans.lTransRefNo);
    tender_.UpdateAuthCode(index, trans.strAuthCode);
    tender_.UpdateState(index, state);
    return trans.lTransRefNo;
  }
  StoreState StateOf(int32_t ref) {
    sim::SimStore store(sim_->dir.file("qlsim-server.sqlite"));
    const auto stored = store.Find(ref);
    EXPECT_TRUE(stored.has_value()) << ref;
    return stored ? stored->state : StoreState::kDeclined;
  }

  ScopedSharedState scoped_;
  std::unique_ptr<QlSimSession> sim_;
  TProcessQlRequest request_;
  TTender tender_;
};

TEST_F(ConfirmTendersTest, ConfirmsOrVoidsEveryAuthorisedPartAndOnlyThose) {
  for (const bool cancel : {false, true}) {
    SCOPED_TRACE(cancel ? "cancel" : "confirm");
    Start();
    const int32_t first = Pay(0, 600);
    const int32_t second = Pay(1, 400, TTender::kStateDeclined);
    const int32_t third = Pay(2, 300);
    tender_.ConfirmTenders(cancel);
    const StoreState done = cancel ? StoreState::kCancelled : StoreState::kConfirmed;
    EXPECT_EQ(StateOf(first), done);
    EXPECT_EQ(StateOf(second), StoreState::kPending);
    EXPECT_EQ(StateOf(third), done);
    EXPECT_EQ(tender_.GetState(0), TTender::kStateAuthorised);  // the ledger keeps its states
    EXPECT_EQ(tender_.GetState(1), TTender::kStateDeclined);
    EXPECT_TRUE(tender_.strErrorMessage().empty()) << tender_.strErrorMessage();
  }
}

TEST_F(ConfirmTendersTest, NothingAuthorisedOrOperatingModeOneSendsNothing) {
  // Any connection attempt would raise this error into strErrorMessage.
  Start(R"({"faults":[{"operation":"Session.Connect","call":2,"raise":true,
            "errorText":"CONNECTED"}]})");
  const int32_t declined = Pay(0, 600, TTender::kStateDeclined);
  tender_.ConfirmTenders(false);
  EXPECT_TRUE(tender_.strErrorMessage().empty()) << tender_.strErrorMessage();

  const int32_t authorised = Pay(1, 400);
  Shared().lOperatingMode = 1;
  tender_.ConfirmTenders(false);
  EXPECT_TRUE(tender_.strErrorMessage().empty()) << tender_.strErrorMessage();
  EXPECT_EQ(StateOf(declined), StoreState::kPending);
  EXPECT_EQ(StateOf(authorised), StoreState::kPending);

  Shared().lOperatingMode = 0;  // the control: now it does connect
  tender_.ConfirmTenders(false);
  EXPECT_EQ(tender_.strErrorMessage(), "TTender.ConfirmTenders() Failed - CONNECTED");
}

// Call 1 of each operation is the window's own; the ledger's connect and login come after.
TEST_F(ConfirmTendersTest, ConnectAndLoginAreRetriedOnce) {
  struct Case {
    std::string config;
    StoreState state;
    const char* error;
  };
  const Case cases[] = {
      {FaultConfig("Session.Connect", 1, 0, R"(,"call":2,"count":2)"), StoreState::kPending,
       "TTender.ConfirmTenders() Failed - Connect failed - INJECTED 0"},
      {FaultConfig("Session.Connect", 1, 0, R"(,"call":2,"count":1)"), StoreState::kConfirmed, ""},
      {FaultConfig("Login.Login", 3, 0, R"(,"call":2,"count":1)"), StoreState::kConfirmed, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.config);
    Start(c.config);
    const int32_t ref = Pay(0, 600);
    tender_.ConfirmTenders(false);
    EXPECT_EQ(StateOf(ref), c.state);
    EXPECT_EQ(tender_.GetState(0), TTender::kStateAuthorised);
    EXPECT_EQ(tender_.strErrorMessage(), c.error);
  }
}

}  // namespace
}  // namespace ccaddin
