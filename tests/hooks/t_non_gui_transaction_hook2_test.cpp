#include "hooks/t_non_gui_transaction_hook2.h"

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "payment/credit_card_common.h"
#include "platform/env.h"
#include "platform/virtual_env.h"
#include "qlclient/sim/sim_inspect.h"
#include "qlclient/sim/simulator.h"
#include "support/leak_scan.h"
#include "support/temp_dir.h"
#include "support/test_registry.h"

namespace ccaddin {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;
using testing::TestRegistry;

std::string ReadAll(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// A till's session against the simulator: settings in a throw-away registry, the
// configuration and receipt folders in a fresh folder, time virtual.
class HookTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sim::ResetSimulator();
    fs::create_directories(receipts());
    registry_.Set("ConfigFileLocation", work_.folder());
    registry_.Set("ConfigFileName", "qlclient.json");
    registry_.Set("ReceiptFileLocation", receipts().string());
    registry_.Set("BaseCurrency", "826");
    registry_.Set("BaseCurrencyExponent", "2");
    registry_.Set("SaveReceipts", "0");
    registry_.Set("CashbackEnabled", "0");
    Configure("{}");
    till_.strMerchantName = "HOOK TEST SHOP";
    till_.strAddressLine1 = "1 HIGH ST";
    till_.strStoreNumber = "12";
    till_.strTillNumber = "3";
    till_.strReceiptNumber = "R1";
  }

  void Configure(const std::string& json) { work_.Write("qlclient.json", json); }
  fs::path receipts() const { return work_.path() / "receipts"; }
  std::string Journal() const { return work_.Read(TAddinLog::kJournalFileName); }

  // Start, enquire and authorise; the authorisation's result.
  int32_t Authorise(int32_t amount, int32_t cashback = 0, int32_t type = TAM_TT_SALE) {
    EXPECT_EQ(hook_.StartTransaction(), 0) << hook_.strErrorMessage();
    const int32_t enquired = Enquire(amount, type);
    if (enquired != RETURNCODE_SUCCESS && enquired != RETURNCODE_CASHBACKALLOWED) return -1;
    return hook_.AuthoriseTransaction(type, amount, cashback, till_, info_);
  }

  // After every test no file under the work folder (journal, receipts, saved
  // transactions, the simulator's store) may hold a card number.
  void TearDown() override {
    hook_.EndTransaction();
    sim::ResetSimulator();
    EXPECT_EQ(testing::CardNumbersInFiles(work_.path().string()), std::vector<std::string>{});
  }

  int32_t Enquire(int32_t amount, int32_t type = TAM_TT_SALE) {
    return hook_.CardEnquiry(type, DATAENTRY_CHIPORTAP, amount, till_);
  }

  ScopedSharedState state_;
  VirtualEnv env_;
  ScopedEnv scoped_env_{&env_};
  TestRegistry registry_;
  TempDir work_;
  TTillInformation till_;
  TTransactionInfo info_;
  TNonGuiTransactionHook2 hook_;
};

TEST_F(HookTest, ChipSaleIsAuthorisedSavedUnderItsReferenceAndConfirmed) {
  const int64_t before = env_.Now().ToSerialMs();
  ASSERT_EQ(Authorise(1250), RETURNCODE_SUCCESS) << hook_.strErrorMessage();
  // The default card goes through reader states 1, 2, 3: one pause before it is inserted.
  EXPECT_EQ(env_.Now().ToSerialMs() - before, TNonGuiTransactionHook2::kReaderPollMs);

  const std::string reference = hook_.strTransactionReference();
  EXPECT_EQ(reference, "0000000001_20260115_1030");
  EXPECT_TRUE(fs::exists(receipts() / (reference + ".rcpt")));
  EXPECT_FALSE(fs::exists(receipts() / (reference + ".rcpt.tmp")));
  EXPECT_NE(hook_.strMerchantReceipt().find("HOOK TEST SHOP"), std::string::npos);
  EXPECT_EQ(info_.lTransactionRefNo, 1);
  EXPECT_EQ(info_.strPanLast4Digits, "0010");

  // The till confirms a day later: the receipts keep the authorisation's date.
  env_.SetNow(MakeDateTime(2026, 1, 16, 9, 0, 0));
  TTransactionInfo confirmed;
  ASSERT_TRUE(
      hook_.ConfirmTransaction(CONFIRMTYPE_AUTHORISED, reference, "123456", till_, confirmed))
      << hook_.strErrorMessage();
  EXPECT_NE(confirmed.strCustomerReceipt.find("15/01/26"), std::string::npos)
      << confirmed.strCustomerReceipt;
  EXPECT_NE(confirmed.strCustomerReceipt.find("10:30"), std::string::npos);
  EXPECT_EQ(confirmed.strAuthorisationCode, "123456");
  EXPECT_FALSE(hook_.strMerchantReceipt().empty());
  hook_.EndTransaction();

  const std::string journal = Journal();
  EXPECT_NE(journal.find("123456"), std::string::npos) << journal;
  // Receipts are not saved here: the composed copies are gone, the transaction stays.
  for (const auto& entry : fs::directory_iterator(receipts())) {
    EXPECT_EQ(entry.path().filename().string().rfind("0000000001_", 0), 0u) << entry.path();
  }
}

// The kind reaches the receipts, and each is confirmed (or cancelled) by its reference.
TEST_F(HookTest, RefundPreAuthorisationAndFinalAuthorisationAreConfirmed) {
  for (const auto& [type, line] :
       {std::pair{TAM_TT_REFUND, "REFUND"}, std::pair{TAM_TT_PREAUTH, "PRE AUTH"},
        std::pair{TAM_TT_FINALAUTH, "FINAL SALE"}}) {
    SCOPED_TRACE(line);
    ASSERT_EQ(Authorise(3000, 0, type), RETURNCODE_SUCCESS) << hook_.strErrorMessage();
    TTransactionInfo confirmed;
    ASSERT_TRUE(hook_.ConfirmTransaction(CONFIRMTYPE_AUTHORISED, hook_.strTransactionReference(),
                                         "", till_, confirmed))
        << hook_.strErrorMessage();
    EXPECT_NE(confirmed.strCustomerReceipt.find("\r\n" + std::string(line) + "\r\n"),
              std::string::npos)
        << confirmed.strCustomerReceipt;
    EXPECT_NE(confirmed.strCustomerReceipt.find("30.00"), std::string::npos);
  }
  ASSERT_EQ(Authorise(1500), RETURNCODE_SUCCESS);
  TTransactionInfo cancelled;
  ASSERT_TRUE(hook_.ConfirmTransaction(CONFIRMTYPE_CANCELLED, hook_.strTransactionReference(), "",
                                       till_, cancelled));
  EXPECT_NE(cancelled.strCustomerReceipt.find("SALE (CANCELLED)"), std::string::npos);
}

TEST_F(HookTest, SaleTypeCodeFollowsCashbackAndCashbackIsOffered) {
  registry_.Set("CashbackEnabled", "1");
  ASSERT_EQ(hook_.StartTransaction(), 0);
  EXPECT_EQ(hook_.CardEnquiry(TAM_TT_SALE, DATAENTRY_CHIPORTAP, 2000, till_),
            RETURNCODE_CASHBACKALLOWED);
  ASSERT_EQ(hook_.AuthoriseTransaction(TAM_TT_SALE, 2000, 500, till_, info_), RETURNCODE_SUCCESS)
      << hook_.strErrorMessage();
  ASSERT_EQ(hook_.CardEnquiry(TAM_TT_SALE, DATAENTRY_CHIPORTAP, 2000, till_),
            RETURNCODE_CASHBACKALLOWED);
  ASSERT_EQ(hook_.AuthoriseTransaction(TAM_TT_SALE, 2000, 0, till_, info_), RETURNCODE_SUCCESS);
  std::ostringstream out, err;
  ASSERT_EQ(sim::InspectStore({work_.file("qlsim-server.sqlite"), "transactions"}, out, err), 0)
      << err.str();
  // The server's kinds: the first sale was sent with cashback (type 2), the second without.
  const std::string listing = out.str();
  const size_t with_cashback = listing.find("SALE+CASH");
  ASSERT_NE(with_cashback, std::string::npos) << listing;
  EXPECT_EQ(listing.find("SALE+CASH", with_cashback + 1), std::string::npos) << listing;

  registry_.Set("CashbackEnabled", "0");
  ASSERT_EQ(hook_.StartTransaction(), 0);
  EXPECT_EQ(hook_.CardEnquiry(TAM_TT_SALE, DATAENTRY_CHIPORTAP, 2000, till_), RETURNCODE_SUCCESS);
}

TEST_F(HookTest, SwipeEnquiryStartsNothingOnTheDeviceAndPollsNothing) {
  Configure(R"({"card":"visa_swipe"})");
  ASSERT_EQ(hook_.StartTransaction(), 0);
  const int64_t before = env_.Now().ToSerialMs();
  EXPECT_EQ(hook_.CardEnquiry(TAM_TT_SALE, DATAENTRY_SWIPE, 1000, till_), RETURNCODE_SUCCESS)
      << hook_.strErrorMessage();
  EXPECT_EQ(env_.Now().ToSerialMs(), before);
}

TEST_F(HookTest, CardWaitEndsOnTheReaderState) {
  struct Case {
    const char* states;
    int32_t result;
    const char* message;
  };
  const Case cases[] = {
      {"[1,11]", RETURNCODE_FAILED, "CARD NOT ACCEPTED"},
      {"[1,12]", RETURNCODE_FAILED, "CARD NOT ACCEPTED"},
      {"[1,10]", RETURNCODE_MAGSTRIPEFALLBACK, ""},
      {"[0]", RETURNCODE_FAILED, "CARDREADER UNAVAILABLE"},
      {"[1,1,13]", RETURNCODE_SUCCESS, ""},
  };
  for (const Case& c : cases) {
    Configure(std::string(R"({"readerStates":)") + c.states + "}");
    ASSERT_EQ(hook_.StartTransaction(), 0);
    EXPECT_EQ(hook_.CardEnquiry(TAM_TT_SALE, DATAENTRY_CHIPORTAP, 1000, till_), c.result)
        << c.states;
    EXPECT_EQ(hook_.strErrorMessage(), c.message) << c.states;
  }
  const std::string journal = Journal();
  EXPECT_NE(journal.find("CARD NOT ACCEPTED"), std::string::npos);
  EXPECT_NE(journal.find("Fallback to magstripe"), std::string::npos);
}

TEST_F(HookTest, AbortDuringTheCardWaitResetsTheReaderAndStops) {
  Configure(R"({"readerStates":[1]})");
  ASSERT_EQ(hook_.StartTransaction(), 0);
  env_.RunAfter(1000, [&] { hook_.AbortTransaction(); });
  const int64_t before = env_.Now().ToSerialMs();
  EXPECT_EQ(hook_.CardEnquiry(TAM_TT_SALE, DATAENTRY_CHIPORTAP, 1000, till_), RETURNCODE_FAILED);
  EXPECT_EQ(hook_.strErrorMessage(), "ABORTED BY OPERATOR");
  // Stopped at the first poll after the abort, not before it and not much later.
  const int64_t waited = env_.Now().ToSerialMs() - before;
  EXPECT_GE(waited, 1000);
  EXPECT_LE(waited, 1000 + TNonGuiTransactionHook2::kReaderPollMs);
  EXPECT_EQ(sim::CurrentTerminalStatus(), "INSERT CARD");
  EXPECT_NE(Journal().find("Transaction aborted by operator"), std::string::npos);

  // The next enquiry starts with the flag cleared.
  Configure("{}");
  ASSERT_EQ(hook_.StartTransaction(), 0);
  EXPECT_EQ(hook_.CardEnquiry(TAM_TT_SALE, DATAENTRY_CHIPORTAP, 1000, till_), RETURNCODE_SUCCESS);
}

TEST_F(HookTest, EnquiryNeededRepeatsTheEnquiryAndSendsAgainOrFailsWithTheRepeat) {
  // Amount 10009: the server asks for a fresh enquiry before it authorises.
  ASSERT_EQ(Authorise(10009), RETURNCODE_SUCCESS) << hook_.strErrorMessage();
  EXPECT_EQ(info_.lTransactionRefNo, 1);
  EXPECT_EQ(hook_.strTransactionReference().size(), 24u);

  Configure(R"({"faults":[{"operation":"CardEnquiry.Enquire","call":2,"result":1}]})");
  EXPECT_EQ(Authorise(10009), RETURNCODE_FAILED);
  EXPECT_EQ(hook_.strErrorMessage(), "AUTHORISATION FAILED");
  EXPECT_TRUE(hook_.strTransactionReference().empty());
}

TEST_F(HookTest, AuthorisationOutcomesOtherThanApproval) {
  EXPECT_EQ(Authorise(10004), RETURNCODE_MAGSTRIPEFALLBACK);
  EXPECT_EQ(Authorise(30001), RETURNCODE_FAILED);
  EXPECT_EQ(hook_.strErrorMessage(), "AUTHORISATION FAILED");
  EXPECT_EQ(fs::directory_iterator(receipts()), fs::directory_iterator());
  const std::string journal = Journal();
  EXPECT_NE(journal.find("Fallback to magstripe"), std::string::npos);
  EXPECT_NE(journal.find("AUTHORISATION FAILED"), std::string::npos);
}

// Each request that loses the server connection fails the step with its own text, and
// the journal says so once a session has started.
TEST_F(HookTest, EachRequestLosingTheConnectionFailsWithItsText) {
  // Only an integrated terminal's till hears of a refused confirmation at once.
  registry_.Set("SemiIntegrated", "1");
  struct Case {
    const char* operation;
    int32_t answer;
    const char* step;
    const char* message;
  };
  const Case cases[] = {
      {"Session.Connect", 1, "start", "SERVER CONNECTION FAILED"},
      {"Login.Login", 3, "start", "LOGIN FAILED"},
      {"TransactionStart.Start", 1, "enquire", "AUTHORISATION FAILED"},
      {"CardReaderStatus.Poll", 1, "enquire", "CARDREADER UNAVAILABLE"},
      {"CardEnquiry.Enquire", 1, "enquire", "CARDENQUIRY FAILED"},
      {"Processor.Process", 1, "authorise", "AUTHORISATION FAILED"},
      {"Confirm.Confirm", 1, "confirm", "CONFIRMATION FAILED"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.operation);
    const std::string step = c.step;
    Configure("{}");
    std::string reference;
    if (step == "confirm") {
      ASSERT_EQ(Authorise(1000), RETURNCODE_SUCCESS);
      reference = hook_.strTransactionReference();
    }
    Configure(std::string(R"({"faults":[{"operation":")") + c.operation +
              R"(","count":0,"errorCode":30003,"result":)" + std::to_string(c.answer) + "}]}");
    if (step == "start") {
      EXPECT_EQ(hook_.StartTransaction(), 1);
    } else {
      ASSERT_EQ(hook_.StartTransaction(), 0);
      if (step == "enquire") {
        EXPECT_EQ(Enquire(1000), RETURNCODE_FAILED);
      } else if (step == "authorise") {
        ASSERT_EQ(Enquire(1000), RETURNCODE_SUCCESS);
        EXPECT_EQ(hook_.AuthoriseTransaction(TAM_TT_SALE, 1000, 0, till_, info_),
                  RETURNCODE_FAILED);
        EXPECT_EQ(hook_.strTransactionReference(), "");
      } else {
        TTransactionInfo confirmed;
        EXPECT_FALSE(
            hook_.ConfirmTransaction(CONFIRMTYPE_CANCELLED, reference, "", till_, confirmed));
        EXPECT_TRUE(confirmed.strCustomerReceipt.empty());
      }
      EXPECT_NE(Journal().find(c.message), std::string::npos);
    }
    EXPECT_EQ(hook_.strErrorMessage(), c.message);
    hook_.EndTransaction();
  }
}

TEST_F(HookTest, SaveThatCannotCompleteLeavesNoFileAndFails) {
  // Something already holds the reference's name: the rename cannot replace it.
  fs::create_directories(receipts() / "0000000001_20260115_1030.rcpt" / "x");
  EXPECT_EQ(Authorise(1250), RETURNCODE_FAILED);
  EXPECT_EQ(hook_.strErrorMessage(), "SAVE TRANSACTION TO FILE FAILED");
  EXPECT_TRUE(hook_.strTransactionReference().empty());
  for (const auto& entry : fs::directory_iterator(receipts())) {
    EXPECT_EQ(entry.path().extension(), ".rcpt") << "left behind: " << entry.path();
  }
  EXPECT_NE(Journal().find("SAVE TRANSACTION TO FILE FAILED [ Failed writing serialised object"),
            std::string::npos);
}

TEST_F(HookTest, ConfirmReadsOnlyTransactionsInsideTheReceiptFolder) {
  ASSERT_EQ(Authorise(1250), RETURNCODE_SUCCESS);
  const std::string saved = ReadAll(receipts() / (hook_.strTransactionReference() + ".rcpt"));
  // A copy of a real transaction beside the receipt folder must stay out of reach.
  work_.Write("outside.rcpt", saved);
  for (const std::string& reference :
       std::vector<std::string>{"../outside", "", "..", "a/b", "/etc/passwd", "a\\b",
                                "0000000099_20260115_1030", std::string("x\0y", 3)}) {
    TTransactionInfo confirmed;
    EXPECT_FALSE(hook_.ConfirmTransaction(CONFIRMTYPE_AUTHORISED, reference, "", till_, confirmed))
        << reference;
    EXPECT_EQ(hook_.strErrorMessage(), "READ TRANSACTION FROM FILE FAILED") << reference;
    EXPECT_TRUE(confirmed.strCustomerReceipt.empty());
  }
  // A receipt copy is not a saved transaction either.
  std::ofstream(receipts() / "notatrans.rcpt") << "HOOK TEST SHOP\n";
  TTransactionInfo confirmed;
  EXPECT_FALSE(hook_.ConfirmTransaction(CONFIRMTYPE_AUTHORISED, "notatrans", "", till_, confirmed));
  // A short reference still confirms, dated today and without a time.
  fs::copy_file(receipts() / (hook_.strTransactionReference() + ".rcpt"),
                receipts() / "short.rcpt");
  env_.SetNow(MakeDateTime(2026, 2, 3, 8, 0, 0));
  ASSERT_TRUE(hook_.ConfirmTransaction(CONFIRMTYPE_DECLINED, "short", "", till_, confirmed))
      << hook_.strErrorMessage();
  EXPECT_NE(confirmed.strCustomerReceipt.find("03/02/26"), std::string::npos)
      << confirmed.strCustomerReceipt;
}

TEST_F(HookTest, CallsOutOfOrderFailWithoutTouchingTheServer) {
  EXPECT_EQ(hook_.CardEnquiry(TAM_TT_SALE, DATAENTRY_CHIPORTAP, 100, till_), RETURNCODE_FAILED);
  EXPECT_NE(hook_.strErrorMessage().find("StartTransaction first"), std::string::npos);
  EXPECT_EQ(hook_.AuthoriseTransaction(TAM_TT_SALE, 100, 0, till_, info_), RETURNCODE_FAILED);
  EXPECT_FALSE(hook_.ConfirmTransaction(CONFIRMTYPE_AUTHORISED, "x", "", till_, info_));

  ASSERT_EQ(hook_.StartTransaction(), 0);
  EXPECT_EQ(hook_.AuthoriseTransaction(TAM_TT_SALE, 100, 0, till_, info_), RETURNCODE_FAILED);
  EXPECT_NE(hook_.strErrorMessage().find("CardEnquiry first"), std::string::npos);
  hook_.EndTransaction();
  EXPECT_FALSE(hook_.ConfirmTransaction(CONFIRMTYPE_AUTHORISED, "x", "", till_, info_));
  EXPECT_EQ(info_.lTransactionRefNo, 0);
}

}  // namespace
}  // namespace ccaddin
