#include "till_command.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

#include <gtest/gtest.h>

#include "payment/credit_card_common.h"
#include "platform/env.h"
#include "platform/virtual_env.h"
#include "qlclient/sim/sim_card.h"
#include "qlclient/sim/simulator.h"
#include "support/leak_scan.h"
#include "support/temp_dir.h"

namespace ccaddin {
namespace {

namespace fs = std::filesystem;

TEST(TillAmount, ReadsPoundsAndPenceAndRefusesTheRest) {
  EXPECT_EQ(ParseAmount("12.50"), 1250);
  EXPECT_EQ(ParseAmount("12.5"), 1250);
  EXPECT_EQ(ParseAmount("12"), 1200);
  EXPECT_EQ(ParseAmount("0.07"), 7);
  EXPECT_EQ(ParseAmount("21474836.47"), 2147483647);
  for (const char* bad :
       {"", ".", "12.", ".50", "-1", "+1", "1.234", "1,50", "12a", "21474836.48", "999999999"}) {
    EXPECT_EQ(ParseAmount(bad), std::nullopt) << bad;
  }
}

// Runs the command in-process in a fresh folder, on virtual time, and puts the registry
// setting back afterwards.
class TillCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sim::ResetSimulator();
    if (const char* env = std::getenv("CCADDIN_REGISTRY")) previous_ = env;
    // An installed store must not be picked up by the tests that expect a demo site.
    ::setenv("CCADDIN_REGISTRY", (work_.path() / "no-such.db").c_str(), 1);
  }
  void TearDown() override {
    if (previous_) {
      ::setenv("CCADDIN_REGISTRY", previous_->c_str(), 1);
    } else {
      ::unsetenv("CCADDIN_REGISTRY");
    }
  }
  int Run(std::vector<std::string> args) {
    out_.str("");
    err_.str("");
    return RunTillCommand(args, out_, err_);
  }
  std::string site() const { return (work_.path() / "site").string(); }

  ScopedSharedState state_;
  VirtualEnv env_;
  ScopedEnv scoped_env_{&env_};
  testing::TempDir work_;
  std::optional<std::string> previous_;
  std::ostringstream out_, err_;
};

TEST_F(TillCommandTest, SaleOnAFreshSiteIsAuthorisedWithBothReceiptsAndNoCardNumberOnDisk) {
  ASSERT_EQ(
      Run({"sale", "12.50", "--card", "visa-chip-pin", "--cashback", "5.00", "--dir", site()}),
      kTillExitOk)
      << err_.str();
  const std::string out = out_.str();
  EXPECT_NE(out.find("Demo site: " + site()), std::string::npos) << out;
  EXPECT_NE(out.find("Outcome: AUTHORISED"), std::string::npos);
  EXPECT_NE(out.find("--- MERCHANT RECEIPT ---"), std::string::npos);
  EXPECT_NE(out.find("--- CUSTOMER RECEIPT ---"), std::string::npos);
  EXPECT_NE(out.find("£17.50"), std::string::npos) << "receipts are printed as UTF-8";
  EXPECT_NE(out.find("strPanLast4Digits       0010"), std::string::npos);
  EXPECT_EQ(out.find("4761739001010010"), std::string::npos);
  EXPECT_EQ(testing::CardNumbersInFiles(site()), std::vector<std::string>{});
  EXPECT_TRUE(fs::exists(fs::path(site()) / "registry.db"));
  EXPECT_TRUE(fs::exists(fs::path(site()) / "config" / "qlclient.json"));
}

TEST_F(TillCommandTest, SiteIsReusedAndItsEditsKept) {
  ASSERT_EQ(Run({"setup", "--dir", site()}), kTillExitOk) << err_.str();
  std::ofstream(fs::path(site()) / "config" / "qlclient.json")
      << R"({"terminal":{"terminalId":"EDIT0001"}})";
  // A declined card completes the transaction but is not authorised.
  EXPECT_EQ(Run({"sale", "20.00", "--card", "mc-declined", "--dir", site()}), kTillExitDeclined);
  EXPECT_NE(out_.str().find("Outcome: DECLINED"), std::string::npos) << out_.str();
  EXPECT_NE(out_.str().find("strTerminalId           EDIT0001"), std::string::npos);
  EXPECT_EQ(Run({"sale", "20.00", "--card", "visa_chip_pin", "--dir", site()}), kTillExitOk);
  EXPECT_NE(out_.str().find("Transaction reference: 0000000002_"), std::string::npos);
}

TEST_F(TillCommandTest, SetupPrintsOnlyTheExportLineForAShell) {
  ASSERT_EQ(Run({"setup", "--dir", site(), "--print-env"}), kTillExitOk);
  EXPECT_EQ(out_.str(), "export CCADDIN_REGISTRY='" + site() + "/registry.db'\n");
}

TEST_F(TillCommandTest, FailuresAndBadCommandLines) {
  EXPECT_EQ(Run({"sale", "12.50", "--card", "no-such-card", "--dir", site()}), kTillExitUsage);
  EXPECT_NE(err_.str().find("Unknown test card"), std::string::npos) << err_.str();
  EXPECT_EQ(Run({"sale", "12.50", "--card", "mc-declined", "--cashback", "1.00", "--type", "refund",
                 "--dir", site()}),
            kTillExitUsage);
  EXPECT_EQ(Run({"sale", "lots", "--dir", site()}), kTillExitUsage);
  EXPECT_EQ(Run({"sale", "--dir", site()}), kTillExitUsage);
  EXPECT_EQ(Run({"refund"}), kTillExitUsage);
  EXPECT_EQ(Run({}), kTillExitUsage);
  EXPECT_EQ(Run({"sale", "1.00", "--type", "void", "--dir", site()}), kTillExitUsage);
  EXPECT_EQ(Run({"sale", "1.00", "--timeout", "1.5", "--dir", site()}), kTillExitUsage);
  // A site folder that is a file is refused, not overwritten.
  std::ofstream(work_.path() / "file") << "x";
  EXPECT_EQ(Run({"sale", "1.00", "--dir", (work_.path() / "file").string()}), kTillExitFailed);
  EXPECT_NE(err_.str().find("is not a folder"), std::string::npos);
}

TEST_F(TillCommandTest, EveryTestCardReachesAnOutcomeReadTheWayItIsRead) {
  for (const sim::SimCard& card : sim::BuiltInCards()) {
    const int rc = Run({"sale", "12.50", "--card", card.name, "--dir", site()});
    if (card.not_accepted) {
      EXPECT_EQ(rc, kTillExitFailed) << card.name;
      EXPECT_NE(err_.str().find("CARDENQUIRY FAILED"), std::string::npos) << err_.str();
      continue;
    }
    ASSERT_TRUE(rc == kTillExitOk || rc == kTillExitDeclined) << card.name << ": " << err_.str();
    // A card read from its stripe is a swiped card, whatever its chip could have done.
    const bool swiped = card.entry == sim::CardEntry::kSwipe || card.needs_fallback;
    const int entry = swiped                                 ? TRANSINFO_DE_SWIPED
                      : card.entry == sim::CardEntry::kKeyed ? TRANSINFO_DE_KEYED
                      : card.entry == sim::CardEntry::kTap   ? TRANSINFO_DE_TAPPED
                                                             : TRANSINFO_DE_CHIP;
    const std::string out = out_.str();
    EXPECT_NE(out.find("lDataEntryMethod        " + std::to_string(entry)), std::string::npos)
        << card.name << "\n"
        << out;
    EXPECT_NE(out.find("strPanFirst6Digits      " + card.pan.substr(0, 6)), std::string::npos)
        << card.name;
    if (swiped) {
      EXPECT_EQ(out.find("TC:"), std::string::npos) << card.name << ": chip data";
    }
  }
  EXPECT_EQ(testing::CardNumbersInFiles(site()), std::vector<std::string>{});
}

TEST_F(TillCommandTest, CardWaitEndsAtTheTimeoutOrAtCtrlC) {
  ASSERT_EQ(Run({"setup", "--dir", site()}), kTillExitOk);
  // A card that never arrives at the reader.
  std::ofstream(fs::path(site()) / "config" / "qlclient.json") << R"({"readerStates":[1]})";
  EXPECT_EQ(Run({"sale", "5.00", "--timeout", "30", "--dir", site()}), kTillExitFailed);
  EXPECT_NE(err_.str().find("no card within 30 seconds: ABORTED BY OPERATOR"), std::string::npos)
      << err_.str();

  env_.RunAfter(2000, [] { std::raise(SIGINT); });
  EXPECT_EQ(Run({"sale", "5.00", "--dir", site()}), kTillExitFailed);
  EXPECT_NE(err_.str().find("ABORTED BY OPERATOR"), std::string::npos) << err_.str();
  // Ctrl-C at the authorisation: the server's answer is cancelled, not left holding money.
  std::ofstream(fs::path(site()) / "config" / "qlclient.json") << R"({"delayMs":100})";
  env_.RunAfter(750, [] { std::raise(SIGINT); });
  EXPECT_EQ(Run({"sale", "5.00", "--dir", site()}), kTillExitFailed);
  EXPECT_NE(err_.str().find("the authorisation was cancelled"), std::string::npos) << err_.str();
}

}  // namespace
}  // namespace ccaddin
