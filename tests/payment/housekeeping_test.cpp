#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "payment/credit_card_common.h"
#include "platform/virtual_env.h"
#include "support/temp_dir.h"
#include "support/test_registry.h"

namespace ccaddin {
namespace {

using testing::TestRegistry;

class HousekeepingTest : public ::testing::Test {
 protected:
  HousekeepingTest() : env_(MakeDateTime(2026, 11, 23, 9, 15, 0)), scoped_env_(&env_) {
    registry_.Set("ConfigFileLocation", "/opt/ccaddin/config");
  }
  // Loads as a hook does at the start of each call, then runs the end-of-call rule.
  void TillCall() {
    Shared().LoadConfiguration();
    Shared().DailyTmsCall();
  }
  TestRegistry registry_;
  VirtualEnv env_;
  ScopedEnv scoped_env_;
  ScopedSharedState scoped_state_;
};

TEST_F(HousekeepingTest, TerminalManagementRunsOnceADayOnTheClock) {
  registry_.Set("DailyTmsCall", "1");
  TillCall();
  ASSERT_EQ(env_.started().size(), 1u);
  EXPECT_EQ(env_.started()[0], "/opt/ccaddin/config/tmscall.vbs");
  EXPECT_EQ(registry_.Text("LastTmsCallDate"), "20261123091500");

  env_.Advance(14 * 3600 * 1000LL);  // 23:15 the same day
  TillCall();
  EXPECT_EQ(env_.started().size(), 1u);

  env_.Advance(1 * 3600 * 1000LL);  // 00:15 the next day
  TillCall();
  EXPECT_EQ(env_.started().size(), 2u);
  EXPECT_EQ(registry_.Text("LastTmsCallDate"), "20261124001500");
}

TEST_F(HousekeepingTest, TerminalManagementFollowsTheSettingsAndSurvivesBadDates) {
  registry_.Set("DailyTmsCall", "0");
  TillCall();
  EXPECT_TRUE(env_.started().empty());
  EXPECT_FALSE(registry_.Text("LastTmsCallDate").has_value());

  registry_.Set("DailyTmsCall", "1");
  registry_.Set("LastTmsCallDate", "20261124000000");  // a clock set back: not due
  TillCall();
  EXPECT_TRUE(env_.started().empty());

  registry_.Set("LastTmsCallDate", "garbage");  // unreadable: due
  TillCall();
  EXPECT_EQ(env_.started().size(), 1u);

  // A script that cannot start still counts the day, and says why.
  registry_.Set("LastTmsCallDate", "20261122235959");
  env_.SetStartError("No such file or directory");
  TillCall();
  EXPECT_EQ(env_.started().size(), 2u);
  EXPECT_EQ(registry_.Text("LastTmsCallDate"), "20261123091500");
  EXPECT_EQ(Shared().strErrorMessage(),
            "CreditCardCommon.DailyTmsCall() Failed - TTmsCall.DoTmsCall() Failed - No such file "
            "or directory");
}

TEST_F(HousekeepingTest, ZReportDateAndReceiptPurgeGoThroughTheSettingsStore) {
  Shared().LoadConfiguration();
  Shared().SaveZReportDateNow();
  EXPECT_EQ(registry_.Text("LastZReportDate"), "20261123091500");

  testing::TempDir receipts;
  const std::string old_receipt = receipts.Write("old.rcpt", "x");
  env_.SetFileCreationTime(old_receipt, MakeDateTime(2026, 11, 1, 8, 0, 0));
  registry_.Set("ReceiptFileLocation", receipts.folder());
  registry_.Set("DeleteReceiptDays", "7");
  registry_.Set("LastReceiptDeleteDate", "20261120");

  registry_.Set("SaveReceipts", "0");
  Shared().LoadConfiguration();
  Shared().HousekeepReceipts();
  EXPECT_TRUE(std::filesystem::exists(old_receipt));

  registry_.Set("SaveReceipts", "1");
  Shared().LoadConfiguration();
  Shared().HousekeepReceipts();
  EXPECT_FALSE(std::filesystem::exists(old_receipt));
  EXPECT_EQ(registry_.Text("LastReceiptDeleteDate"), "20261123");

  // No receipt folder: no purge at all (it must never scan the root of the file system),
  // so the day is not recorded either.
  registry_.Set("ReceiptFileLocation", "");
  registry_.Set("LastReceiptDeleteDate", "20261120");
  Shared().LoadConfiguration();
  Shared().HousekeepReceipts();
  EXPECT_EQ(registry_.Text("LastReceiptDeleteDate"), "20261120");
}

}  // namespace
}  // namespace ccaddin
