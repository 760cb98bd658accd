#include "receipts/generate_report.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "payment/credit_card_common.h"
#include "platform/virtual_env.h"
#include "receipts/pos_printer.h"
#include "recording_pos_printer.h"
#include "support/case_files.h"
#include "support/golden_text.h"
#include "support/ql_sim_session.h"
#include "support/temp_dir.h"
#include "support_command.h"

namespace ccaddin {
namespace {

using testing::MatchesGolden;
using testing::RecordingPrinter;
using testing::SplitLines;
using testing::TempDir;

constexpr const char* kHeading = "REFERENCE,DATE,KIND,AMOUNT,CASHBACK,CARD GROUP\r\n";
constexpr const char* kDataFile = "TMP_20260115_173042.txt";
constexpr const char* kFuelFile = "TMP_FUEL_20260115_173042.txt";

TTillInformation Till() {
  return ReadTillInformation(testing::ReadCase("reports", "till").dump());
}

class GenerateReportTest : public ::testing::Test {
 protected:
  // Writes a data file of the server's form: heading, then the records as given.
  void Data(const std::string& name, const std::string& records) {
    dir_.Write(name, std::string(kHeading) + records);
  }

  int32_t Write(const std::string& fuel = "", bool x_report = false, int32_t exponent = 2) {
    return report_.WriteReportFile(Till(), dir_.folder(), kDataFile, fuel, x_report, exponent,
                                   false);
  }

  VirtualEnv env_;
  ScopedEnv scoped_{&env_};
  TempDir dir_;
  TGenerateReport report_;
};

TEST_F(GenerateReportTest, HeadingOnlyGivesNoTransactionsReport) {
  Data(kDataFile, "");
  ASSERT_EQ(Write("", true), 0) << report_.strErrorMessage();
  EXPECT_TRUE(MatchesGolden(report_.strReport(), "reports/x_report_empty.txt"));
}

TEST_F(GenerateReportTest, GroupsInOrderOfFirstAppearanceWithCashbackOnlyWhereTaken) {
  std::filesystem::copy_file(testing::TestDataPath("reports/z_report_groups_data.txt"),
                             dir_.file(kDataFile));
  ASSERT_EQ(Write(), 0) << report_.strErrorMessage();
  EXPECT_TRUE(MatchesGolden(report_.strReport(), "reports/z_report_groups.txt"));
}

TEST_F(GenerateReportTest, FuelSummaryFollowsTheCardReport) {
  Data(kDataFile,
       "1,20260115,A,6000,0,Visa\r\n"
       "2,20260115,A,8250,0,Fuel Card\r\n");
  Data(kFuelFile,
       "2,20260115,A,8250,0,Fuel Card\r\n"
       "7,20260115,F,1250,0,Fuel Card\r\n");
  ASSERT_EQ(Write(kFuelFile, true), 0) << report_.strErrorMessage();
  EXPECT_TRUE(MatchesGolden(report_.strReport(), "reports/x_report_fuel_summary.txt"));
}

TEST_F(GenerateReportTest, ReportFileIsRptAndTheDataNameFromItsFifthCharacterUnlessMemoryOnly) {
  Data(kDataFile, "1,20260115,A,100,0,Visa\r\n");
  ASSERT_EQ(report_.WriteReportFile(Till(), dir_.folder(), kDataFile, "", false, 2, true), 0);
  EXPECT_NE(report_.strReport().find("CREDIT CARD Z-REPORT"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(dir_.file("RPT_20260115_173042.txt")));

  ASSERT_EQ(Write(), 0) << report_.strErrorMessage();
  EXPECT_EQ(report_.strReportFileName(), dir_.file("RPT_20260115_173042.txt"));
  // The file holds the same lines as the composed text.
  EXPECT_EQ(SplitLines(dir_.Read("RPT_20260115_173042.txt")), SplitLines(report_.strReport()));
}

// A 40-column line with `left` at the start and `right` at the end.
std::string Row(const std::string& left, const std::string& right) {
  return left + std::string(40 - left.size() - right.size(), ' ') + right;
}

TEST_F(GenerateReportTest, AmountsFollowTheExponentAndTheLocaleSeparator) {
  Data(kDataFile, "1,20260115,A,123456,0,Visa\r\n2,20260115,F,200000,0,Visa\r\n");
  const struct {
    int32_t exponent;
    const char* separator;
    const char* sale;
    const char* zero;
    const char* net;
  } cases[] = {
      {0, ".", "123456", "0", "-76544"},
      {1, ".", "12345.6", "0.0", "-7654.4"},
      {2, ",", "1234,56", "0.00", "-765,44"},
      {3, ".", "123.456", "0.000", "-76.544"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.exponent);
    env_.SetDecimalSeparator(c.separator);
    ASSERT_EQ(Write("", false, c.exponent), 0) << report_.strErrorMessage();
    const std::vector<std::string> lines = SplitLines(report_.strReport());
    const auto has = [&](const std::string& line) {
      return std::find(lines.begin(), lines.end(), line) != lines.end();
    };
    EXPECT_TRUE(has(Row("SALE", c.sale)));
    EXPECT_TRUE(has(Row("TOTAL CASHBACK", c.zero)));
    EXPECT_TRUE(has(Row("TOTAL", c.net)));
    EXPECT_FALSE(has(Row("CASHBACK", c.zero)));
  }
}

TEST_F(GenerateReportTest, GroupNamesMatchExactlyAndPrintInUpperCase) {
  // "visa" and "Visa" are different groups to the server; both print upper-cased. An
  // unknown kind counts without adding to any total.
  Data(kDataFile,
       "1,20260115,A,100,0,Visa\r\n"
       "2,20260115,A,200,0,visa\r\n"
       "3,20260115,X,999,999,Visa\r\n"
       "4,20260115,A,300,0,Carte \xe9l\xe9gante\r\n");
  std::vector<TReportTotals> totals;
  ASSERT_EQ(report_.PopulateTotalStructure(dir_.file(kDataFile), totals), 0);
  ASSERT_EQ(totals.size(), 3u);
  EXPECT_EQ(totals[0].strGroupName, "Visa");
  EXPECT_EQ(totals[0].lCount, 2);
  EXPECT_EQ(totals[0].lSaleTotal, 100);
  EXPECT_EQ(totals[0].lCashbackTotal, 0);
  EXPECT_EQ(totals[1].strGroupName, "visa");
  EXPECT_EQ(totals[2].lSaleTotal, 300);
  ASSERT_EQ(Write(), 0);
  EXPECT_NE(report_.strReport().find("CARTE \xc9L\xc9GANTE"), std::string::npos);
  EXPECT_NE(report_.strReport().find("VISA                             COUNT=1"),
            std::string::npos);
}

TEST_F(GenerateReportTest, BlankLinesAndQuotedFieldsAreRead) {
  Data(kDataFile,
       "\r\n"
       "1,20260115,A,100,0,Visa\r\n"
       "   \r\n"
       "2,20260115,B, 250 ,\"50\",\"Debit, UK\"\r\n"
       "\r\n");
  std::vector<TReportTotals> totals;
  ASSERT_EQ(report_.PopulateTotalStructure(dir_.file(kDataFile), totals), 0)
      << report_.strErrorMessage();
  ASSERT_EQ(totals.size(), 2u);
  EXPECT_EQ(totals[1].strGroupName, "Debit, UK");
  EXPECT_EQ(totals[1].lSaleTotal, 250);
  EXPECT_EQ(totals[1].lCashbackTotal, 50);
}

TEST_F(GenerateReportTest, BadDataFailsWithTheTextAndWritesNothing) {
  const std::string kTooManyFields = "1,20260115,A,abc,0,Visa" + std::string(32762, ',') + "\r\n";
  const struct {
    const char* records;
    const char* message;
  } cases[] = {
      {"1,20260115,A,100,0,Visa\r\n2,20260115,A,100,0\r\n",
       "Invalid number of fields in report record"},
      {"1,20260115,A,abc,0,Visa\r\n",
       "TGenerateReport.PopulateTotalStructure() Failed - Invalid amount \"abc\" on line 2 of the "
       "report data file"},
      {"1,20260115,A,12.50,0,Visa\r\n",
       "TGenerateReport.PopulateTotalStructure() Failed - Invalid amount \"12.50\" on line 2 of "
       "the report data file"},
      {"1,20260115,F,+-5,0,Visa\r\n",
       "TGenerateReport.PopulateTotalStructure() Failed - Invalid amount \"+-5\" on line 2 of the "
       "report data file"},
      {"1,20260115,A,123456789012345678901234567890,0,Visa\r\n",
       "TGenerateReport.PopulateTotalStructure() Failed - Invalid amount "
       "\"12345678901234567890...\" "
       "on line 2 of the report data file"},
      {"1,20260115,B,100,,Visa\r\n",
       "TGenerateReport.PopulateTotalStructure() Failed - Invalid amount \"\" on line 2 of the "
       "report data file"},
      {"1,20260115,F,99999999999,0,Visa\r\n",
       "TGenerateReport.PopulateTotalStructure() Failed - Invalid amount \"99999999999\" on line 2 "
       "of the report data file"},
      {"1,20260115,A,2000000000,0,Visa\r\n2,20260115,A,2000000000,0,Visa\r\n",
       "TGenerateReport.PopulateTotalStructure() Failed - Overflow"},
      // Each group fits, the grand total does not.
      {"1,20260115,A,2000000000,0,Visa\r\n2,20260115,A,2000000000,0,Amex\r\n",
       "TGenerateReport.GenerateReport() Failed - Overflow"},
      // More fields than a 16-bit count holds, even with a bad amount before them.
      {kTooManyFields.c_str(),
       "TGenerateReport.PopulateTotalStructure() Failed - CSVRecord::BreakOutPacket() - Overflow"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.records);
    Data(kDataFile, c.records);
    EXPECT_EQ(Write(), 1);
    EXPECT_EQ(report_.strErrorMessage(), c.message);
    EXPECT_EQ(report_.strReport(), "");
    EXPECT_FALSE(std::filesystem::exists(dir_.file("RPT_20260115_173042.txt")));
  }
}

TEST_F(GenerateReportTest, MissingFilesAndUnwritableFolderGiveTheirTexts) {
  EXPECT_EQ(Write(), 1);
  EXPECT_EQ(report_.strErrorMessage(), "Failed opening report file " + dir_.file(kDataFile));

  Data(kDataFile, "1,20260115,A,100,0,Visa\r\n");
  EXPECT_EQ(Write(kFuelFile), 1);
  EXPECT_EQ(report_.strErrorMessage(), "Failed opening report file " + dir_.file(kFuelFile));
  EXPECT_FALSE(std::filesystem::exists(dir_.file("RPT_20260115_173042.txt")));

  // The report folder holds a folder of the report file's name: it cannot be created.
  std::filesystem::create_directory(dir_.file("RPT_20260115_173042.txt"));
  EXPECT_EQ(Write(), 1);
  EXPECT_EQ(report_.strErrorMessage(),
            "Failed opeing report file " + dir_.file("RPT_20260115_173042.txt"));
}

TEST_F(GenerateReportTest, NamesWithoutTheServerPatternStillGiveAReport) {
  dir_.Write("t.txt", kHeading);
  ASSERT_EQ(report_.WriteReportFile(Till(), dir_.folder(), "t.txt", "", false, 2, false), 0);
  // Whatever stands at the date's places is printed; here only the "t" of ".txt".
  EXPECT_EQ(SplitLines(report_.strReport())[4], "--t :                             TILL 3");
  EXPECT_EQ(report_.strReportFileName(), dir_.file("RPT_t"));
}

TEST_F(GenerateReportTest, LineEndsAndStrayBytesReadAsLinesAlwaysHave) {
  using std::string_literals::operator""s;
  // Only the CR right before an LF belongs to the line end; NUL bytes are data; the
  // last line needs no line end, and a CR there is data too.
  const struct {
    std::string data;
    std::vector<std::pair<std::string, int32_t>> groups;  // name, count
  } cases[] = {
      {"", {}},
      {"heading without line end", {}},
      {"H\n1,2,A,100,0,Vi\0sa\r\n\r\n\n2,2,A,5,0,Visa\r\r\n3,2,A,7,0,Visa\r"s,
       {{"Vi\0sa"s, 1}, {"Visa\r", 2}}},
      {"H\r\n1,2,A,100,0,Visa", {{"Visa", 1}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.data));
    dir_.Write(kDataFile, c.data);
    std::vector<TReportTotals> totals;
    ASSERT_EQ(report_.PopulateTotalStructure(dir_.file(kDataFile), totals), 0)
        << report_.strErrorMessage();
    std::vector<std::pair<std::string, int32_t>> groups;
    for (const auto& t : totals) groups.emplace_back(t.strGroupName, t.lCount);
    EXPECT_EQ(groups, c.groups);
  }
}

TEST_F(GenerateReportTest, LargeFileAddsUpEveryRecordWhereverItsLinesFall) {
  // The file is read in blocks: shifting every line by one more byte puts each point of
  // a line, the middle of a CR LF included, at the end of a block in one of the runs.
  // One record is longer than any block.
  std::string records;
  const char* groups[] = {"Visa", "Mastercard", "Maestro", "Amex"};
  for (int i = 0; i < 20000; ++i) {
    records += std::to_string(i) + ",20260115," +
               (i % 10 == 0  ? "F"
                : i % 3 == 0 ? "B"
                             : "A") +
               ",1000,150," + groups[i % 4] + "\r\n";
    if (i == 7000) records += "x,20260115,A,1000,150," + std::string(300000, 'G') + "\r\n";
  }
  for (size_t shift = 0; shift < 40; ++shift) {
    SCOPED_TRACE(shift);
    dir_.Write(kDataFile, std::string(shift, 'H') + "\r\n" + records);
    std::vector<TReportTotals> totals;
    ASSERT_EQ(report_.PopulateTotalStructure(dir_.file(kDataFile), totals), 0)
        << report_.strErrorMessage();
    ASSERT_EQ(totals.size(), 5u);
    EXPECT_EQ(totals[4].strGroupName, std::string(300000, 'G'));
    int64_t count = 0, sale = 0, cashback = 0, refund = 0;
    for (const auto& t : totals) {
      count += t.lCount;
      sale += t.lSaleTotal;
      cashback += t.lCashbackTotal;
      refund += t.lRefundTotal;
    }
    // 2000 refunds; of the other 18000, those divisible by 3 (6000) took cashback.
    EXPECT_EQ(count, 20001);
    EXPECT_EQ(refund, 2000 * 1000);
    EXPECT_EQ(sale, 18001 * 1000);
    EXPECT_EQ(cashback, 6000 * 150);
  }
}

class GenerateReportPrintTest : public GenerateReportTest {
 protected:
  GenerateReportPrintTest() {
    CreditCardCommon& config = Shared();
    config.lPrinterType = 1;
    config.strOposPrinterDeviceName = "ReceiptPrinter";
    config.lBaseCurrencyExponent = 2;
    config.bAppendLineFeed = true;
    config.lLineFeedsBeforePaperCut = 2;
    Data(kDataFile, "1,20260115,A,4200,0,Visa\r\n");
  }

  ScopedSharedState shared_;
  RecordingPrinter printer_;
};

TEST_F(GenerateReportPrintTest, ReportIsWrittenThenPrintedOnTheWindowsControlAndCut) {
  ASSERT_EQ(report_.GenerateReport(&printer_, Till(), dir_.folder(), kDataFile, "", true), 0)
      << report_.strErrorMessage();
  EXPECT_EQ(printer_.calls, (std::vector<std::string>{"Open ReceiptPrinter", "ClaimDevice 5000",
                                                      "DeviceEnabled true", "PrintNormal 2",
                                                      "CutPaper 100", "ReleaseDevice", "Close"}));
  // The file as written, each line ended as the settings say, and the feeds before the cut.
  EXPECT_EQ(printer_.printed, report_.strReport() + "\r\n\r\n");
  EXPECT_NE(printer_.printed.find("VISA                             COUNT=1\r\n"),
            std::string::npos);
  EXPECT_TRUE(std::filesystem::exists(dir_.file("RPT_20260115_173042.txt")));
}

TEST_F(GenerateReportPrintTest, AmountsHaveTheConfiguredDecimals) {
  Shared().lBaseCurrencyExponent = 3;
  Shared().bAppendLineFeed = false;
  ASSERT_EQ(report_.GenerateReport(&printer_, Till(), dir_.folder(), kDataFile, "", false), 0);
  EXPECT_NE(printer_.printed.find(Row("SALE", "4.200") + "\r" + Row("REFUND", "-0.000") + "\r"),
            std::string::npos)
      << printer_.printed;
}

TEST_F(GenerateReportPrintTest, PrinterFailureFailsTheReportAndKeepsItsFile) {
  printer_.fail_on = "PrintNormal";
  EXPECT_EQ(report_.GenerateReport(&printer_, Till(), dir_.folder(), kDataFile, "", false), 1);
  EXPECT_EQ(report_.strErrorMessage(),
            "TGenerateReport.PrintReport() Failed - PrintNormal 2: paper out");
  // The device is handed back all the same.
  EXPECT_EQ(printer_.calls.back(), "Close");
  EXPECT_TRUE(std::filesystem::exists(dir_.file("RPT_20260115_173042.txt")));

  EXPECT_EQ(report_.PrintReport(&printer_, dir_.file("RPT_none.txt")), 1);
  EXPECT_EQ(report_.strErrorMessage(),
            "TGenerateReport.PrintReport() Failed - Failed opening receipt file [" +
                dir_.file("RPT_none.txt") + "]");
}

TEST_F(GenerateReportPrintTest, NothingIsPrintedWhenTheReportCannotBeMade) {
  Data(kDataFile, "1,20260115,A\r\n");
  EXPECT_EQ(report_.GenerateReport(&printer_, Till(), dir_.folder(), kDataFile, "", false), 1);
  EXPECT_EQ(report_.strErrorMessage(), "Invalid number of fields in report record");
  EXPECT_TRUE(printer_.calls.empty());
}

// The data file as the payment server leaves it, read back by the report.
TEST(GenerateReportFromServer, ReportOfTheSimulatorsOpenBatch) {
  VirtualEnv env(MakeDateTime(2026, 1, 15, 17, 30, 42));
  ScopedEnv scoped(&env);
  testing::QlSimSession s;
  TProcessQlRequest r({false, true, 0});
  ASSERT_EQ(s.Open(r), 0);
  for (const auto& [amount, type] : {std::pair{1000, 1}, std::pair{2000, 6}, std::pair{10005, 1}}) {
    int32_t result = s.StartAndEnquire(r, amount, type);
    ASSERT_EQ(result, 0);
    QlTransaction t = testing::QlSimSession::Sale(amount, type);
    r.ProcessTransaction(*CurrentQlFactory().CreateTransactionProcessor(), t, result);
    ASSERT_EQ(result, 0);
  }
  int32_t result = -1;
  r.ProcessReportRequest(*CurrentQlFactory().CreateReport(), s.dir.folder(), kDataFile, result);
  ASSERT_EQ(result, 0) << r.strErrorMessage();

  TGenerateReport report;
  ASSERT_EQ(report.WriteReportFile(Till(), s.dir.folder(), kDataFile, "", true, 2, false), 0)
      << report.strErrorMessage();
  const std::vector<std::string> lines = SplitLines(s.dir.Read("RPT_20260115_173042.txt"));
  // The declined sale (100.05) is not in the batch.
  const std::vector<std::string> expected = {Row("VISA", "COUNT=2"), std::string(40, '-'),
                                             Row("SALE", "10.00"),   Row("REFUND", "-20.00"),
                                             std::string(40, '-'),   Row("TOTAL", "-10.00")};
  EXPECT_NE(std::search(lines.begin(), lines.end(), expected.begin(), expected.end()), lines.end())
      << s.dir.Read("RPT_20260115_173042.txt");
}

}  // namespace
}  // namespace ccaddin
