#include "support_command.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "platform/virtual_env.h"
#include "support/case_files.h"
#include "support/golden_text.h"
#include "support/processes.h"
#include "support/temp_dir.h"
#include "support/test_registry.h"

namespace ccaddin {
namespace {

using testing::MatchesGolden;
using testing::SplitLines;
using testing::TempDir;
using testing::TestRegistry;

constexpr const char* kHeading = "REFERENCE,DATE,KIND,AMOUNT,CASHBACK,CARD GROUP\r\n";
using Result = testing::CommandResult;

Result Support(const std::vector<std::string>& args) {
  return testing::RunInProcess(RunSupportCommand, args);
}

void ExpectFailure(const Result& r, int code, const std::string& part) {
  EXPECT_TRUE(testing::FailedWith(r, code, "ccaddin-support", part));
}

std::vector<std::string> Listing(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    names.push_back(entry.path().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

class SupportReportTest : public ::testing::Test {
 protected:
  SupportReportTest() {
    reg_.Set("BaseCurrencyExponent", "2");
    data_ = dir_.file("TMP_20260115_173042.txt");
    std::filesystem::copy_file(testing::TestDataPath("reports/z_report_groups_data.txt"), data_);
    till_ = dir_.Write("till.json", testing::ReadCase("reports", "till").dump());
  }

  VirtualEnv env_;
  ScopedEnv scoped_{&env_};
  TestRegistry reg_;
  TempDir dir_;
  std::string data_;
  std::string till_;
};

TEST_F(SupportReportTest, PrintsTheReportTextAndWritesNothing) {
  const std::vector<std::string> before = Listing(dir_.path());
  const Result r = Support({"report", "--till", till_, data_});
  ASSERT_EQ(r.code, kSupportExitOk) << r.err;
  EXPECT_EQ(r.err, "");
  // The same golden text as GenerateReport's own test: the command shows what it writes.
  EXPECT_TRUE(MatchesGolden(r.out, "reports/z_report_groups.txt"));
  EXPECT_EQ(r.out.find('\r'), std::string::npos);
  EXPECT_EQ(Listing(dir_.path()), before);
}

TEST_F(SupportReportTest, XReportWithFuelSummaryFromAnotherFolder) {
  dir_.Write(
      "TMP_20260115_173042.txt",
      std::string(kHeading) + "1,20260115,A,6000,0,Visa\r\n2,20260115,A,8250,0,Fuel Card\r\n");
  std::filesystem::create_directory(dir_.file("fuel"));
  dir_.Write(
      "fuel/TMP_FUEL_20260115_173042.txt",
      std::string(kHeading) + "2,20260115,A,8250,0,Fuel Card\r\n7,20260115,F,1250,0,Fuel Card\r\n");
  const Result r =
      Support({"report", "--x", "--fuel", dir_.file("fuel/TMP_FUEL_20260115_173042.txt"), "--till",
               till_, data_});
  ASSERT_EQ(r.code, kSupportExitOk) << r.err;
  EXPECT_TRUE(MatchesGolden(r.out, "reports/x_report_fuel_summary.txt"));
}

TEST_F(SupportReportTest, ExponentComesFromTheSettingsUnlessGiven) {
  reg_.Set("BaseCurrencyExponent", "3");
  Result r = Support({"report", data_});
  ASSERT_EQ(r.code, kSupportExitOk) << r.err;
  EXPECT_NE(r.out.find("TOTAL SALE                         8.804\n"), std::string::npos) << r.out;

  // Another database is now the current one (exponent 0 by default); --db picks ours.
  TestRegistry other_reg(TestRegistry::Start::kWithKey);
  r = Support({"report", data_});
  EXPECT_NE(r.out.find("TOTAL SALE                          8804\n"), std::string::npos) << r.out;
  r = Support({"--db", reg_.path(), "report", data_});
  EXPECT_NE(r.out.find("TOTAL SALE                         8.804\n"), std::string::npos) << r.out;

  r = Support({"report", "--exponent", "0", data_});
  EXPECT_NE(r.out.find("TOTAL SALE                          8804\n"), std::string::npos) << r.out;
}

TEST_F(SupportReportTest, TextIsUtf8UnlessRaw) {
  dir_.Write("TMP_20260115_173042.txt",
             std::string(kHeading) + "1,20260115,A,100,0,Carte \xe9l\xe9gante\r\n");
  const Result utf8 = Support({"report", data_});
  EXPECT_NE(utf8.out.find("CARTE \xc3\x89L\xc3\x89GANTE"), std::string::npos);
  const Result raw = Support({"report", "--raw", data_});
  EXPECT_NE(raw.out.find("CARTE \xc9L\xc9GANTE"), std::string::npos);

  dir_.Write("till.json", R"({"strMerchantName": "Caf\u00e9 \u20ac"})");
  const Result till = Support({"report", "--raw", "--till", till_, data_});
  EXPECT_EQ(SplitLines(till.out)[0], "Caf\xe9 \x80");
}

TEST_F(SupportReportTest, FailuresSayWhyOnOneLine) {
  ExpectFailure(Support({"report", dir_.file("TMP_20260116_080000.txt")}), kSupportExitFailed,
                "Failed opening report file " + dir_.file("TMP_20260116_080000.txt"));
  dir_.Write("TMP_20260115_173042.txt", std::string(kHeading) + "1,20260115,A,100\r\n");
  ExpectFailure(Support({"report", data_}), kSupportExitFailed,
                "Invalid number of fields in report record");

  dir_.Write("till.json", R"({"strMerchantname": "X"})");
  ExpectFailure(Support({"report", "--till", till_, data_}), kSupportExitFailed,
                "unknown till information member \"strMerchantname\"");
  dir_.Write("till.json", R"({"strMerchantName": 7})");
  ExpectFailure(Support({"report", "--till", till_, data_}), kSupportExitFailed,
                "strMerchantName must be a string");
  dir_.Write("till.json", "{");
  ExpectFailure(Support({"report", "--till", till_, data_}), kSupportExitFailed,
                "is not valid JSON");
  ExpectFailure(Support({"report", "--till", dir_.file("none.json"), data_}), kSupportExitFailed,
                "cannot read");
}

class SupportReceiptTest : public ::testing::Test {
 protected:
  SupportReceiptTest() {
    reg_.Set("PrintMerchantHeader", "1");
    reg_.Set("PrintCustomerHeader", "0");
    reg_.Set("BaseCurrencyExponent", "2");
  }

  // The receipt copies of a case file under tests/data/receipts, dated as the
  // receipt tests date theirs, in the add-in's own bytes.
  Result Preview(const std::string& name, std::vector<std::string> options) {
    std::vector<std::string> args = {"receipt", "--date", "20260115", "--time", "1030", "--raw"};
    args.insert(args.end(), options.begin(), options.end());
    args.push_back(testing::TestDataPath("receipts/" + name));
    return Support(args);
  }

  VirtualEnv env_{MakeDateTime(2026, 1, 15, 10, 30, 12)};
  ScopedEnv scoped_{&env_};
  TestRegistry reg_;
  TempDir dir_;
};

TEST_F(SupportReceiptTest, BothCopiesMerchantFirstAndDuplicatesMarked) {
  const Result r = Preview("chip_pin_sale.json", {"--duplicate"});
  ASSERT_EQ(r.code, kSupportExitOk) << r.err;
  const std::vector<std::string> lines = SplitLines(r.out);
  const auto separator = std::find(lines.begin(), lines.end(), std::string(40, '='));
  ASSERT_NE(separator, lines.end());
  EXPECT_EQ(std::count(lines.begin(), lines.end(), std::string(40, '=')), 1);
  EXPECT_NE(std::find(lines.begin(), separator, "             MERCHANT COPY             "),
            separator);
  EXPECT_NE(std::find(separator, lines.end(), "             CUSTOMER COPY             "),
            lines.end());
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "           DUPLICATE RECEIPT           "), 2);
  // The card number is masked on both copies.
  EXPECT_EQ(r.out.find("4761739001010119"), std::string::npos);
  EXPECT_NE(r.out.find("**** **** **** 0119"), std::string::npos);
}

TEST_F(SupportReceiptTest, DateTimeSettingsAndTextForm) {
  // Without --date and --time the receipt is dated now; UTF-8 unless --raw.
  Result r = Support(
      {"receipt", "--copy", "customer", testing::TestDataPath("receipts/chip_pin_sale.json")});
  ASSERT_EQ(r.code, kSupportExitOk) << r.err;
  EXPECT_NE(r.out.find("15/01/26 10:30"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("AMOUNT                            \xc2\xa3"
                       "24.50"),
            std::string::npos)
      << r.out;
  // The settings decide the header, as for the add-in.
  EXPECT_EQ(r.out.find("HARBOUR ROAD STORES"), std::string::npos);
  reg_.Set("PrintCustomerHeader", "1");
  r = Preview("chip_pin_sale.json", {"--copy", "customer", "--exponent", "3"});
  EXPECT_NE(r.out.find("HARBOUR ROAD STORES"), std::string::npos);
  EXPECT_NE(r.out.find("\xa3"
                       "2.450"),
            std::string::npos)
      << r.out;
}

TEST_F(SupportReceiptTest, BadTransactionFilesAreRefusedWithTheReason) {
  const struct {
    const char* json;
    const char* message;
  } cases[] = {
      {R"({"till": {}})", "must be a JSON object with a \"transaction\" member"},
      {R"({"transaction": {"strPAN": "4111"}})", "unknown transaction field \"strPAN\""},
      {R"({"transaction": {"lStatus": "1"}})", "lStatus must be a whole number of 32 bits"},
      {R"({"transaction": {"lStatus": 4294967296}})", "lStatus must be a whole number of 32 bits"},
      {R"({"transaction": {"bCancelled": 1}})", "bCancelled must be true or false"},
      {R"({"transaction": {"strSchemeName": "\u4e2d"}})",
       "strSchemeName has a character outside Windows-1252"},
      {R"({"transaction": {}, "tills": {}})", "unknown member \"tills\""},
      {R"({"transaction": {}, "session": {"bMileage": true}})",
       "unknown session member \"bMileage\""},
      {R"({"transaction": {"strEmvValues": [1]}})", "strEmvValues[0] must be a string"},
      {R"({"transaction": {}, "fuel": {"products": [{"strProductCode": "1", "strAmount": "100", "lQuantity": 1}]}})",
       "Product code is not 3 digits in length (1)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.json);
    const std::string path = dir_.Write("t.json", c.json);
    ExpectFailure(Support({"receipt", path}), kSupportExitFailed, path + ": " + c.message);
  }
  ExpectFailure(Support({"receipt", "--copy", "both-ways", "t.json"}), kSupportExitUsage, "--copy");
  ExpectFailure(Support({"receipt", "--date", "20260230", "t.json"}), kSupportExitUsage,
                "not a date");
  ExpectFailure(Support({"receipt", "--time", "2460", "t.json"}), kSupportExitUsage, "not a time");
}

TEST(SupportCommand, UsageErrors) {
  ExpectFailure(Support({}), kSupportExitUsage, "no command");
  ExpectFailure(Support({"print"}), kSupportExitUsage, "unknown command \"print\"");
  ExpectFailure(Support({"report"}), kSupportExitUsage, "exactly one file");
  ExpectFailure(Support({"report", "a.txt", "b.txt"}), kSupportExitUsage, "exactly one file");
  ExpectFailure(Support({"report", "--duplicate", "a.txt"}), kSupportExitUsage,
                "unknown option \"--duplicate\"");
  ExpectFailure(Support({"report", "a.txt", "--fuel"}), kSupportExitUsage, "--fuel needs a value");
  ExpectFailure(Support({"report", "--exponent", "two", "a.txt"}), kSupportExitUsage, "--exponent");
  const Result help = Support({"--help"});
  EXPECT_EQ(help.code, kSupportExitOk);
  EXPECT_NE(help.out.find("usage: ccaddin-support"), std::string::npos);
}

TEST(SupportCommand, BuiltCommandRunsAsDocumented) {
  const TempDir dir;
  const std::string data = dir.Write("TMP_20260115_173042.txt", std::string(kHeading));
  const auto run = [](const std::string& args, std::string* out) {
    const Result r =
        testing::RunShell(std::string(CCADDIN_SUPPORT_BINARY) + " " + args + " 2>/dev/null");
    *out = r.out;
    return r.code;
  };
  std::string out;
  EXPECT_EQ(run("report --x --exponent 2 '" + data + "'", &out), kSupportExitOk);
  EXPECT_NE(out.find("          CREDIT CARD X-REPORT          \n"), std::string::npos) << out;
  EXPECT_NE(out.find("NO TRANSACTIONS"), std::string::npos);
  EXPECT_EQ(run("report '" + dir.file("missing.txt") + "'", &out), kSupportExitFailed);
  EXPECT_EQ(run("nonsense", &out), kSupportExitUsage);
}

}  // namespace
}  // namespace ccaddin
