#include "qlclient/sim/simulator.h"

#include <fstream>
#include <iterator>
#include <set>

#include <gtest/gtest.h>

#include "platform/virtual_env.h"
#include "qlclient/sim/sim_card.h"
#include "qlclient/sim/sim_config.h"
#include "qlclient/sim/sim_store.h"
#include "support/temp_dir.h"

namespace ccaddin::sim {
namespace {

using ccaddin::testing::TempDir;

// A connected, logged-in terminal straight through the library objects.
struct Terminal {
  explicit Terminal(const std::string& json) {
    ResetSimulator();
    dir.Write("ql.json", json);
    parms->SetConfigFile(dir.folder(), "ql.json");
    connect_result = session->Connect(*parms, false, 0);
    login_result = login->Login("M", "C", "P", 1);
  }
  std::vector<int32_t> Poll(int n) {
    auto status = SimulatorFactory().CreateCardReaderStatus();
    std::vector<int32_t> states;
    for (int i = 0; i < n; ++i) {
      EXPECT_EQ(status->Poll(), 0);
      states.push_back(status->lReaderState);
    }
    return states;
  }
  int32_t Start(int32_t amount) {
    auto start = SimulatorFactory().CreateTransactionStart();
    return start->Start("826", amount, 0, 0, 1, "S", "A", "EN", false, true, true, true);
  }
  TempDir dir;
  std::unique_ptr<QlSession> session = SimulatorFactory().CreateSession();
  std::unique_ptr<QlParameters> parms = SimulatorFactory().CreateParameters();
  std::unique_ptr<QlLogin> login = SimulatorFactory().CreateLogin();
  int32_t connect_result = -1;
  int32_t login_result = -1;
};

TEST(SimCards, CatalogueUsesValidDistinctTestNumbers) {
  std::set<std::string> names, pans;
  for (const auto& card : BuiltInCards()) {
    EXPECT_TRUE(LuhnValid(card.pan)) << card.name;
    EXPECT_TRUE(names.insert(card.name).second) << card.name;
    EXPECT_TRUE(pans.insert(card.pan).second) << card.name;
  }
  EXPECT_GE(BuiltInCards().size(), 16u);
  EXPECT_EQ(MaskPan("4761739001010010"), "************0010");
  EXPECT_EQ(MaskPan("123"), "***");
  EXPECT_FALSE(LuhnValid("4761739001010011"));
  EXPECT_FALSE(LuhnValid("47617390010100a0"));
}

TEST(SimReader, SequencesFollowTheCardTheFileAndThePanel) {
  struct Case {
    const char* card;
    std::vector<int32_t> expected;
  };
  for (const auto& c :
       {Case{"visa_chip_pin", {1, 2, 3, 3}}, Case{"visa_contactless", {1, 13, 13, 13}},
        Case{"visa_swipe", {1, 12, 12, 12}}, Case{"discover_not_accepted", {1, 2, 11, 11}},
        Case{"mc_must_swipe", {1, 10, 10, 10}}, Case{"amex_keyed", {1, 1, 1, 1}}}) {
    Terminal t(std::string(R"({"card":")") + c.card + "\"}");
    ASSERT_EQ(t.Start(100), 0);
    EXPECT_EQ(t.Poll(4), c.expected) << c.card;
  }
  Terminal t(R"({"readerStates":[1,1,0]})");
  EXPECT_EQ(t.Poll(4), (std::vector<int32_t>{1, 1, 0, 0}));
  EXPECT_EQ(CurrentTerminalStatus(), "READER UNAVAILABLE");

  std::string error;
  EXPECT_FALSE(PresentCard("no_such_card", &error));
  EXPECT_EQ(error, "Unknown test card \"no_such_card\"");
  ASSERT_TRUE(PresentCard("visa_contactless", &error));
  SetReaderStates({});
  EXPECT_EQ(t.Poll(2), (std::vector<int32_t>{1, 1}))
      << "the file's states still win over the card's";
  SetReaderStates({1, 13});
  EXPECT_EQ(t.Poll(3), (std::vector<int32_t>{1, 13, 13}));
  EXPECT_EQ(CurrentTerminalStatus(), "CARD TAPPED");
}

TEST(SimReader, PollFaultReportsTheReaderUnavailable) {
  Terminal t(R"({"faults":[{"operation":"CardReaderStatus.Poll","call":2,"result":1}]})");
  auto status = SimulatorFactory().CreateCardReaderStatus();
  EXPECT_EQ(status->Poll(), 0);
  EXPECT_EQ(status->Poll(), 1);
  EXPECT_EQ(status->Poll(), 0) << "one call only";
}

TEST(SimFaults, CallAndCountSelectWhichCallsFail) {
  Terminal t(
      R"({"faults":[{"operation":"TransactionStart.Start","call":2,"count":2,"result":1,"errorCode":30003}]})");
  EXPECT_EQ(t.Start(1), 0);
  EXPECT_EQ(t.Start(1), 1);
  EXPECT_EQ(t.Start(1), 1);
  EXPECT_EQ(t.Start(1), 0);
  Terminal forever(R"({"faults":[{"operation":"TransactionStart.Start","count":0,"result":1}]})");
  for (int i = 0; i < 5; ++i) EXPECT_EQ(forever.Start(1), 1);
}

TEST(SimSession, StatusTextsFollowTheTransaction) {
  Terminal t(R"({})");
  ASSERT_EQ(t.connect_result, 0);
  ASSERT_EQ(t.login_result, 1);
  ASSERT_EQ(t.Start(100), 0);
  EXPECT_EQ(t.session->GetStatusText(), "INSERT, TAP OR SWIPE");
  t.Poll(2);
  EXPECT_EQ(t.session->GetStatusText(), "CARD INSERTED");
  t.session->Disconnect();
  EXPECT_EQ(t.session->GetStatusText(), "CLOSED");
}

TEST(SimSession, ConfiguredDelayWaitsThroughTheEventPump) {
  VirtualEnv env;
  ScopedEnv scoped(&env);
  Terminal t(R"({"delayMs":120})");
  ASSERT_EQ(t.connect_result, 0);
  EXPECT_GE(env.slept_ms(), 240) << "connecting shows two texts";
  EXPECT_GT(env.do_events_calls(), 0);
  Terminal quick(R"({})");
  const int64_t before = env.slept_ms();
  ASSERT_EQ(quick.connect_result, 0);
  EXPECT_EQ(env.slept_ms(), before) << "no delay unless configured";
}

TEST(SimSession, RequestsOutOfOrderFailCleanly) {
  ResetSimulator();
  auto enquiry = SimulatorFactory().CreateCardEnquiry();
  EXPECT_EQ(enquiry->Enquire(0, "", "", 2, 1), 1);
  EXPECT_EQ(enquiry->lErrorCode, 30001);
  Terminal t(R"({})");
  ASSERT_EQ(t.login->Logout(), 0);
  EXPECT_EQ(enquiry->Enquire(0, "", "", 2, 1), 1);
  EXPECT_EQ(enquiry->strErrorText, "NOT LOGGED IN");
  auto dcc = SimulatorFactory().CreateDccEnquiry();
  ASSERT_EQ(t.login->Login("M", "C", "P", 1), 1);
  EXPECT_EQ(dcc->Enquire(), 1);
  EXPECT_EQ(dcc->strErrorText, "NO CARD - CARD ENQUIRY REQUIRED");
}

TEST(SimConfig, OwnCardsExtendTheCatalogue) {
  TempDir dir;
  const auto path = dir.Write("ql.json", R"({"card":"my_card","store":"/tmp/abs.sqlite",
    "cards":[{"name":"my_card","basedOn":"mc_declined","pan":"4761739001010010","outcome":"referred",
              "entryPrompts":[1,0,0,1],"fuelPrompts":{"3":1}}]})");
  const SimConfig c = LoadSimConfig(path);
  const SimCard* card = c.FindCard("my_card");
  ASSERT_NE(card, nullptr);
  EXPECT_EQ(card->scheme, "MASTERCARD");
  EXPECT_EQ(card->outcome, CardOutcome::kReferred);
  EXPECT_EQ(card->entry_prompts[3], 1);
  EXPECT_EQ(card->fuel_prompts[3], 1);
  EXPECT_EQ(c.store_path, "/tmp/abs.sqlite");
  EXPECT_EQ(LoadSimConfig(dir.Write("d.json", "{}")).store_path, dir.file("qlsim-server.sqlite"));
  EXPECT_THROW(LoadSimConfig(dir.Write("e.json", R"({"cards":[{"name":"x","basedOn":"nope"}]})")),
               std::exception);
  // Every number is checked before it is used: the file is refused, naming the key.
  const std::pair<const char*, const char*> bad[] = {
      {R"({"delayMs":-1})", "delayMs must be a whole number from 0 to 60000"},
      {R"({"delayMs":1e42})", "delayMs must"},
      {R"({"delayMs":99999999999})", "delayMs must"},
      {R"({"delayMs":"5"})", "delayMs must"},
      {R"({"readerStates":[1,2.5]})", "readerStates[1] must"},
      {R"({"reverseAfterMinutes":20000})", "reverseAfterMinutes must"},
      {R"({"cards":[{"name":"x","basedOn":"visa_chip_pin","cvm":18446744073709551615}]})",
       "cards[0].cvm must"},
      {R"({"cards":[{"name":"x","basedOn":"visa_chip_pin","fuelPrompts":{"3":-1}}]})",
       "cards[0].fuelPrompts.3 must"},
      {R"({"faults":[{"operation":"Login.Login","call":0}]})", "faults[0].call must"},
      {R"({"terminal":{"contactless":"yes"}})", "terminal.contactless must be true or false"},
  };
  for (const auto& [json, error] : bad) {
    try {
      (void)LoadSimConfig(dir.Write("f.json", json));
      ADD_FAILURE() << "accepted " << json;
    } catch (const std::exception& e) {
      EXPECT_NE(std::string(e.what()).find(error), std::string::npos) << e.what();
    }
  }
}

TEST(SimStore, KeepsNoCardNumberTrackCv2OrToken) {
  TempDir dir;
  {
    SimStore store(dir.file("s.sqlite"));
    QlTransaction t;
    t.strPan = "4761739001010010";
    t.strTrack = ";4761739001010010=28121011234567890?";
    t.strCv2 = "737";
    t.strToken = "TKN9F3A0C2D7E4B1186";
    t.strReferralPan = "4761739001010010";
    t.strCurrencyText = "\xA3";
    t.strAmount = "100";
    const int32_t ref = store.Add(t, false);
    EXPECT_EQ(ref, 1);
    const auto back = store.Find(-1);
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(back->trans.strPan, "************0010");
    EXPECT_EQ(back->trans.strCurrencyText, "\xA3") << "single-byte text survives the round trip";
    EXPECT_TRUE(back->trans.strTrack.empty());
    EXPECT_TRUE(back->trans.strCv2.empty());
    EXPECT_TRUE(back->trans.strToken.empty());
    EXPECT_EQ(store.Add(t, true), 2);
    EXPECT_EQ(store.UploadOffline(), 1);
    EXPECT_EQ(store.CloseBatch(), 1);
    EXPECT_EQ(store.OpenBatch(), 2);
    ASSERT_EQ(store.Batches().size(), 2u);
    EXPECT_EQ(store.Batches()[0].count, 2);
    EXPECT_FALSE(store.Find(3).has_value());
  }
  std::ifstream in(dir.file("s.sqlite"), std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  ASSERT_FALSE(bytes.empty());
  EXPECT_EQ(bytes.find("4761739001010010"), std::string::npos);
  EXPECT_EQ(bytes.find("\"strCv2\":"), std::string::npos);
  EXPECT_EQ(bytes.find("\"strTrack\":"), std::string::npos);
  EXPECT_EQ(bytes.find("TKN9F3A0C2D7E4B1186"), std::string::npos);
  EXPECT_NE(bytes.find("\"strPan\":\"************0010\""), std::string::npos)
      << "the record is where we look";
}

}  // namespace
}  // namespace ccaddin::sim
