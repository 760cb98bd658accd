#include "platform/addin_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/virtual_env.h"
#include "support/golden_text.h"
#include "support/temp_dir.h"

namespace ccaddin {
namespace {

using ::testing::ElementsAre;
using ::testing::MatchesRegex;

constexpr const char* kPrefix = "15 Jan 2026: 10:30:00 : ";

class AddinLogTest : public ::testing::Test {
 protected:
  AddinLogTest() { journal_.StartLog(dir_.folder(), true); }

  // The journal's lines without their date-and-time prefix (checked here once).
  std::vector<std::string> Lines() {
    std::vector<std::string> lines;
    const std::string content = dir_.Read("tamberincreditcard.log");
    size_t start = 0;
    while (start < content.size()) {
      const size_t end = content.find("\r\n", start);
      EXPECT_NE(end, std::string::npos) << "unterminated line";
      if (end == std::string::npos) break;
      const std::string line = content.substr(start, end - start);
      EXPECT_EQ(line.rfind(kPrefix, 0), 0u) << line;
      lines.push_back(line.substr(std::string(kPrefix).size()));
      start = end + 2;
    }
    return lines;
  }

  VirtualEnv env_;
  ScopedEnv scoped_{&env_};
  testing::TempDir dir_;
  TAddinLog journal_;
};

TEST_F(AddinLogTest, GreetingAndFarewellFrameTheCall) {
  TAddinLog call;
  call.LogError("before start");  // nowhere to write yet
  call.StartLog(dir_.path().string(), false);
  call.LogError("inside");
  call.EndLog(false);
  call.LogError("after end");
  call.StartLog(dir_.folder(), true);
  call.EndLog(true);
  EXPECT_THAT(Lines(), ElementsAre(MatchesRegex("\\*\\*\\* Tamberin CreditCard Add-in called by "
                                                "client\\.\\.\\. \\(v[0-9]+\\.[0-9]+\\.[0-9]+\\)"),
                                   "ERROR  : inside", "*** Leaving Tamberin CreditCard Add-in..."));
}

TTransactionInfo AuthorisedChipSale() {
  TTransactionInfo info;
  info.lResponseCode = TRANSINFO_RC_AUTHORISED;
  info.lCashbackAmount = 1000;
  info.lCustomerVerification = TRANSINFO_CV_PIN;
  info.lDataEntryMethod = TRANSINFO_DE_CHIP;
  info.lTransactionRefNo = 4711;
  info.strAuthorisationCode = "123456";
  info.strCurrencyCode = "826";
  info.strEmvAppicationId = "A0000000031010";
  info.strEmvAppicationLabel = "VISA DEBIT";
  info.strMerchantNo = "12345678";
  info.strPanFirst6Digits = "476173";
  info.strPanLast4Digits = "0119";
  info.strSchemeName = "VISA";
  info.strTerminalId = "22160001";
  info.lCardClass = TRANSINFO_CC_FUEL;
  info.bFuelBunkerCard = true;
  info.lCustomerMileage = 81234;
  info.strCustomerRegNo = "AB12 CDE";
  info.strFuelProducts = "512 QTY 1 500 EXCLUDED";
  info.strToken = "9f1c2e77-secret-token";
  info.strCustomerReceipt = "  CUSTOMER COPY\r\nSALE\nTHANK\rYOU\r\n";
  return info;
}

// Every kind of line the journal takes, in one journal as the help desk reads it: a
// start's inputs (one refused), the smaller operations, fuel balance outcomes (never the
// whole card number), a whole outcome (the token never in clear, the receipt's line ends
// shown), a new record's defaults, and each response, verification and entry code's text.
TEST_F(AddinLogTest, EveryKindOfLineAgainstTheGoldenJournal) {
  journal_.LogStartTransaction(true, 0, 150, 2000, true, 2, true, "001 UNLEADED 20.00L 2450");
  journal_.LogStartTransaction(false, 1, 0, 0, false, 0, false);
  // Codes by the numbers a till passes, so that what each published number means is
  // pinned here.
  for (int type = 0; type <= 3; ++type) journal_.LogConfirm(type, "R" + std::to_string(type), "A");
  journal_.LogKeyPress("frmTransaction", "cmdKeyPad", 13, 4);
  for (int task = 0; task <= 2; ++task) journal_.LogRunTask(task);
  journal_.LogVoidTransaction(123456);
  journal_.LogDuplicateReceipt(-1);
  journal_.LogReport(1, true);
  journal_.LogReport(0, true);
  journal_.LogReport(0, false);
  journal_.LogFuelBalanceStart();
  journal_.LogFuelBalanceEnd("7077001234567890123", "FUELCARD", 0, 5000);
  journal_.LogFuelBalanceEnd("123456789", "X", 6, 0);
  journal_.LogFuelBalanceEnd("1234567890", "X", 2, -3);
  for (int code : {1, 3, 4, 5}) journal_.LogFuelBalanceEnd("", "S", code, 1);
  journal_.LogEndTransaction(AuthorisedChipSale());
  journal_.LogEndTransaction(TTransactionInfo{});  // a new record: every default
  const int codes[][3] = {{2, 2, 1}, {3, 3, 2}, {4, 4, 4}, {99, -1, 5}};
  for (const auto& [response, verification, entry] : codes) {
    TTransactionInfo info;
    info.lResponseCode = static_cast<TRANSINFO_RESPONSECODE>(response);
    info.lCustomerVerification = static_cast<TRANSINFO_CUSTOMERVERIFICATION>(verification);
    info.lDataEntryMethod = static_cast<TRANSINFO_DATAENTRYMETHOD>(entry);
    journal_.LogEndTransaction(info);
  }
  const std::string journal = dir_.Read("tamberincreditcard.log");
  EXPECT_TRUE(testing::MatchesGolden(journal, "journal/every_line.txt"));
  EXPECT_EQ(Lines().size(), testing::SplitLines(journal).size());  // each in CR LF
}

TEST_F(AddinLogTest, UnwritableFolderNeverDisturbsTheCall) {
  TAddinLog call;
  call.StartLog(dir_.folder() + "missing", false);
  call.LogStartTransaction(true, 100, 0, 0, false, 0, false, "x");
  call.LogEndTransaction(AuthorisedChipSale());
  call.LogError("still fine");
  call.EndLog(false);
  TAddinLog unconfigured;
  unconfigured.StartLog("", false);
  unconfigured.EndLog(false);
  EXPECT_FALSE(std::filesystem::exists(dir_.path() / "missing"));
  EXPECT_FALSE(std::filesystem::exists("/tamberincreditcard.log"));
}

TEST_F(AddinLogTest, JournalArchivesPastOneMebibyte) {
  journal_.LogError(std::string(1'048'600, 'x'));
  journal_.LogError("fresh");
  EXPECT_THAT(Lines(), ElementsAre("ERROR  : fresh"));
  EXPECT_TRUE(
      std::filesystem::exists(dir_.path() / "old" / "20260115_103000_tamberincreditcard.log"));
}

}  // namespace
}  // namespace ccaddin
