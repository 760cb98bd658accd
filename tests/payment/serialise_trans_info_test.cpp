#include "payment/serialise_trans_info.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/csv_record.h"
#include "support/golden_text.h"
#include "support/receipt_case.h"
#include "support/temp_dir.h"

namespace ccaddin {
namespace {

// Every field the contract has, set.
QlTransaction FullTransaction() {
  return testing::ReadReceiptCase("full_transaction", "records").trans;
}

TEST(SerialiseTransInfo, RoundTripThroughAFileKeepsEverythingButTheSensitiveFields) {
  const QlTransaction original = FullTransaction();
  TSerialiseTransInfo serialiser;
  const std::string record = serialiser.SerialiseObject(original);
  ASSERT_FALSE(record.empty()) << serialiser.strErrorMessage();

  testing::TempDir dir;
  dir.Write("0000004711_20261123_0130.rcpt", record);
  const std::string stored = dir.Read("0000004711_20261123_0130.rcpt");
  for (const std::string& secret :
       {original.strPan, original.strTrack.substr(1, 20), std::string("=2512"), original.strToken,
        std::string("TKN-"), std::string("PW14RD")}) {
    EXPECT_EQ(stored.find(secret), std::string::npos) << secret;
  }

  QlTransaction back;
  back.strPan = "untouched";
  serialiser.DeSerialiseObject(stored, back);
  EXPECT_EQ(back.strPan, "************0010");
  EXPECT_EQ(back.strTrack, "");
  EXPECT_EQ(back.strExpiryDate, "");
  EXPECT_EQ(back.strStartDate, "");
  EXPECT_EQ(back.strIssueNumber, "");
  EXPECT_EQ(back.strCv2, "");
  EXPECT_EQ(back.strToken, "");
  EXPECT_EQ(back.strPostcode, "");

  // Every other field the record keeps comes back as it was: the restored transaction
  // gives the same record, and a few fields of each kind are checked by name.
  EXPECT_EQ(serialiser.SerialiseObject(back), record);
  EXPECT_EQ(back.strReferenceText, original.strReferenceText);
  EXPECT_EQ(back.lTransRefNo, 4711);
  EXPECT_EQ(back.strEmvValues, original.strEmvValues);
  EXPECT_TRUE(back.bCancelled);
  EXPECT_FALSE(back.bMerchPrintCvm);
  EXPECT_TRUE(back.bCustPrintAuthSource);
  EXPECT_EQ(back.lConversionState, 2);
  EXPECT_EQ(back.strAddressDigits, "");
}

std::vector<std::string> Fields(const std::string& record) {
  CSVRecord csv;
  std::vector<std::string> fields;
  int16_t count = 0;
  EXPECT_EQ(csv.BreakOutFields(fields, count, record), 0);
  return fields;
}

std::string Join(std::vector<std::string> fields) {
  CSVRecord csv;
  std::string record;
  EXPECT_EQ(csv.BuildPacket(fields, static_cast<int16_t>(fields.size()), record), 0);
  return record;
}

// The saved record's fields by position, one "<position>=<text>" a line.
TEST(SerialiseTransInfo, RecordHasTheFixedPositionsAndEncodings) {
  TSerialiseTransInfo serialiser;
  std::string positions;
  const std::vector<std::string> fields = Fields(serialiser.SerialiseObject(FullTransaction()));
  for (size_t i = 0; i < fields.size(); ++i)
    positions += std::to_string(i) + "=" + fields[i] + "\n";
  EXPECT_TRUE(testing::MatchesGolden(positions, "records/full_transaction_fields.txt"));
  EXPECT_EQ(Fields(serialiser.SerialiseObject(QlTransaction{}))[3], "****");
}

TEST(SerialiseTransInfo, RecordsOfTheWrongLengthOrWithBadValues) {
  TSerialiseTransInfo serialiser;
  std::vector<std::string> fields = Fields(serialiser.SerialiseObject(FullTransaction()));

  std::vector<std::string> short_record(fields.begin(), fields.end() - 1);
  QlTransaction untouched;
  untouched.strAuthCode = "KEEP";
  serialiser.DeSerialiseObject(Join(short_record), untouched);
  EXPECT_EQ(untouched.strAuthCode, "KEEP");
  EXPECT_EQ(untouched.lTransRefNo, 0);
  serialiser.DeSerialiseObject("", untouched);
  EXPECT_EQ(untouched.strAuthCode, "KEEP");

  std::vector<std::string> long_record = fields;
  long_record.push_back("extra");
  QlTransaction from_long;
  serialiser.DeSerialiseObject(Join(long_record), from_long);
  EXPECT_EQ(from_long.lTransRefNo, 4711);
  EXPECT_EQ(from_long.lCardType, 1);

  fields[90] = "-1";    // bCancelled: only "1" is on
  fields[31] = "True";  // bMerchPrintExpiry
  fields[14] = "47x1";  // lTransRefNo: not a number
  fields[11] = "";      // lStatus
  QlTransaction odd;
  odd.bCancelled = true;
  odd.lStatus = 5;
  serialiser.DeSerialiseObject(Join(fields), odd);
  EXPECT_FALSE(odd.bCancelled);
  EXPECT_FALSE(odd.bMerchPrintExpiry);
  EXPECT_EQ(odd.lTransRefNo, 0);
  EXPECT_EQ(odd.lStatus, 0);
  EXPECT_EQ(odd.strAuthCode, "A12345");
}

}  // namespace
}  // namespace ccaddin
