#include "platform/addin_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/virtual_env.h"
#include "support/temp_dir.h"

namespace ccaddin {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;

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

TEST_F(AddinLogTest, StartTransactionWritesEveryInputInOrder) {
  journal_.LogStartTransaction(true, 0, 150, 2000, true, 2, true, "001 UNLEADED 20.00L 2450");
  journal_.LogStartTransaction(false, 1, 0, 0, false, 0, false);
  EXPECT_THAT(Lines(), ElementsAreArray({
                           "INPUT  : Non GUI Transaction",
                           "INPUT  : Split tendering               =TRUE",
                           "INPUT  : Tender index                  =2",
                           "INPUT  : Transaction type              =SALE",
                           "INPUT  : Sale/Refund amount            =0 (in lowest denomination)",
                           "INPUT  : Gratuity amount               =150 (in lowest denomination)",
                           "INPUT  : Cashback amount               =2000 (in lowest denomination)",
                           "INPUT  : Products                      =001 UNLEADED 20.00L 2450",
                           "ERROR  : Transaction value must be greater than 0 (zero) - aborting "
                           "transaction",
                           "INPUT  : Transaction type              =REFUND",
                           "INPUT  : Sale/Refund amount            =1 (in lowest denomination)",
                           "INPUT  : Gratuity amount               =0 (in lowest denomination)",
                           "INPUT  : Cashback amount               =0 (in lowest denomination)",
                       }));
}

TEST_F(AddinLogTest, FreeLinesOfTheSmallerOperations) {
  // A till's free text may hold a card number by mistake: 13 digits or more are masked.
  journal_.LogConfirm(CONFIRMTYPE_AUTHORISED, "R1", "4761739001010010");
  journal_.LogConfirm(CONFIRMTYPE_DECLINED, "123456789012", "");
  journal_.LogConfirm(CONFIRMTYPE_CANCELLED, "R3", "");
  journal_.LogConfirm(7, "R4", "");
  journal_.LogKeyPress("frmTransaction", "cmdKeyPad", 13, 4);
  journal_.LogRunTask(TASK_UPLOADOFFLINETRANSACTIONS);
  journal_.LogRunTask(TASK_DOTIMSCALL);
  journal_.LogRunTask(TASK_CLOSEBATCH);
  journal_.LogVoidTransaction(123456);
  journal_.LogDuplicateReceipt(-1);
  journal_.LogReport(REPORTHOOK_RT_XREPORT, true);
  journal_.LogReport(REPORTHOOK_RT_ZREPORT, true);
  journal_.LogReport(REPORTHOOK_RT_ZREPORT, false);
  journal_.LogFuelBalanceStart();
  EXPECT_THAT(Lines(),
              ElementsAreArray({
                  "CONFIRM TRANSACTION : Type=AUTHORISED, TransactionReference=R1, "
                  "AuthCode=************0010",
                  "CONFIRM TRANSACTION : Type=DECLINED, TransactionReference=123456789012, "
                  "AuthCode=",
                  "CONFIRM TRANSACTION : Type=CANCELLED, TransactionReference=R3, AuthCode=",
                  "CONFIRM TRANSACTION : Type=CANCELLED, TransactionReference=R4, AuthCode=",
                  "FORM=frmTransaction, CONTROL=cmdKeyPad, KEYASCII=13, BUTTONINDEX=4",
                  "Run task [UPLOAD OFFLINE TRANSACTIONS]",
                  "Run task [TMS CALL]",
                  "Run task [CLOSE BATCH]",
                  "Void transaction [123456]",
                  "Duplicate receipt [-1]",
                  "Generate report [X-REPORT]",
                  "Generate report [Z-REPORT], Closebatch=True",
                  "Generate report [Z-REPORT], Closebatch=False",
                  "Starting Fuel Balance Enquiry",
              }));
}

TEST_F(AddinLogTest, FuelBalanceNeverWritesTheWholeCardNumber) {
  journal_.LogFuelBalanceEnd("7077001234567890123", "FUELCARD", FUELBALANCE_RC_AUTHORISED, 5000);
  journal_.LogFuelBalanceEnd("123456789", "X", FUELBALANCE_RC_CARDNOTFOUND, 0);
  journal_.LogFuelBalanceEnd("1234567890", "X", FUELBALANCE_RC_CARDEXPIRED, -3);
  for (int code : {1, 3, 4, 5}) journal_.LogFuelBalanceEnd("", "S", code, 1);
  EXPECT_THAT(
      Lines(),
      ElementsAre("First 6 Digits=707700 Last 4 Digits=0123, Card Scheme=FUELCARD, "
                  "Card Balance=5000, ResponseCode=AUTHORISED",
                  "Card Scheme=X, Card Balance=0, ResponseCode=CARD NOT FOUND",
                  "First 6 Digits=123456 Last 4 Digits=7890, Card Scheme=X, Card Balance=-3, "
                  "ResponseCode=CARD EXPIRED",
                  "Card Scheme=S, Card Balance=1, ResponseCode=CARD NOT SUPPORTED",
                  "Card Scheme=S, Card Balance=1, ResponseCode=INVALID CURRENCY",
                  "Card Scheme=S, Card Balance=1, ResponseCode=INSUFFICIENT FUNDS",
                  "Card Scheme=S, Card Balance=1, ResponseCode=CARD DECLINED"));
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

TEST_F(AddinLogTest, EndTransactionWritesTheWholeOutcome) {
  journal_.LogEndTransaction(AuthorisedChipSale());
  // The application identifier holds a run of 13 digits: masked like a card number.
  EXPECT_THAT(Lines(), ElementsAreArray({
                           "OUTPUT : Response                      =Authorised",
                           "OUTPUT : Cash back amount              =1000 (in lowest denomination)",
                           "OUTPUT : Customer verification         =Pin verified",
                           "OUTPUT : Data entry method             =Chip",
                           "OUTPUT : Transaction Reference         =4711",
                           "OUTPUT : Authorisation code            =123456",
                           "OUTPUT : Currency code                 =826",
                           "OUTPUT : Emv application id            =A*********1010",
                           "OUTPUT : Emv application label         =VISA DEBIT",
                           "OUTPUT : Merchant number               =12345678",
                           "OUTPUT : Pan first 6 digits            =476173",
                           "OUTPUT : Pan last 4 digits             =0119",
                           "OUTPUT : Scheme name                   =VISA",
                           "OUTPUT : Terminal id                   =22160001",
                           "OUTPUT : Card Class                    =FUEL",
                           "OUTPUT : Fuel Bunker Card              =TRUE",
                           "OUTPUT : Fuel Print Bunker Tottal      =FALSE",
                           "OUTPUT : Not Allowed Fuel Products     =512 QTY 1 500 EXCLUDED",
                           "OUTPUT : Customer Mileage              =81234",
                           "OUTPUT : Customer Registraion          =AB12 CDE",
                           "OUTPUT : Token                         =TOKEN RETURNED TO CLIENT",
                           "OUTPUT : Customer Receipt              =  CUSTOMER COPY<CR><LF>SALE<LF>"
                           "THANK<CR>YOU<CR><LF>",
                       }));
  EXPECT_THAT(dir_.Read("tamberincreditcard.log"), Not(HasSubstr("secret")));
}

TEST_F(AddinLogTest, EndTransactionCodeTexts) {
  struct Case {
    int32_t response;
    int32_t verification;
    int32_t entry;
    std::vector<std::string> coded;  // the Response line and any coded lines after it
  };
  const Case cases[] = {
      {0,
       0,
       0,
       {"Response=Aborted by operator", "Customer verification=None", "Data entry method=None"}},
      {2,
       2,
       1,
       {"Response=Declined", "Customer verification=Signature", "Data entry method=Keyed"}},
      {3,
       3,
       2,
       {"Response=Cancelled (at accept/reject stage by the user)",
        "Customer verification=pin and signature", "Data entry method=Swiped"}},
      {4, 4, TRANSINFO_DE_TAPPED, {"Response=Referred"}},
      {99, -1, 5, {"Response=Aborted by operator"}},
  };
  for (const Case& c : cases) {
    std::filesystem::remove(dir_.file("tamberincreditcard.log"));
    TTransactionInfo info;
    info.lResponseCode = static_cast<TRANSINFO_RESPONSECODE>(c.response);
    info.lCustomerVerification = static_cast<TRANSINFO_CUSTOMERVERIFICATION>(c.verification);
    info.lDataEntryMethod = static_cast<TRANSINFO_DATAENTRYMETHOD>(c.entry);
    journal_.LogEndTransaction(info);
    std::vector<std::string> coded;
    for (const std::string& line : Lines()) {
      std::string label = line.substr(9, 30);
      label.erase(label.find_last_not_of(' ') + 1);
      if (label == "Response" || label == "Customer verification" || label == "Data entry method") {
        coded.push_back(label + line.substr(39));
      }
    }
    EXPECT_EQ(coded, c.coded) << "response " << c.response;
    EXPECT_THAT(Lines(), Contains("OUTPUT : Card Class                    =CREDIT/DEBIT"));
  }
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
