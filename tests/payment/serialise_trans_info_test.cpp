#include "payment/serialise_trans_info.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/csv_record.h"
#include "support/temp_dir.h"

namespace ccaddin {
namespace {

QlTransaction FullTransaction() {
  QlTransaction t;
  t.lEntryMethodCode = 2;
  t.lMode = 1;
  t.strPan = "4761739001010010";
  t.strTrack = ";4761739001010010=25122011234567890?";
  t.strExpiryDate = "2512";
  t.strStartDate = "2101";
  t.strIssueNumber = "01";
  t.strCv2 = "123";
  t.strAddressDigits = "12";
  t.strPostcode = "PW14RD";
  t.strToken = "TKN-4988080000000000";
  t.strReferenceText = "Table 4, \"window\"";  // a comma and quotes inside a field
  t.strGratuityAmount = "150";
  t.lTransactionTypeCode = 2;
  t.strAmount = "4200";
  t.strCashbackAmount = "1000";
  t.lStatus = 1;
  t.strAuthCode = "A12345";
  t.strResponseText = "AUTH CODE: A12345";
  t.lTransRefNo = 4711;
  t.lAuthSource = 2;
  t.lCustomerPresence = 0;
  t.strTerminalId = "22160001";
  t.strMerchantNo = "4971234567";
  t.strSchemeName = "VISA";
  t.strCurrencyCode = "826";
  t.strCv2AvsResult = "MATCHED";
  t.strAvailableSpend = "7500";
  t.strBatchNo = "12";
  t.strTransDate = "261123";
  t.strTransTime = "013000";
  t.bMerchPrintExpiry = true;
  t.bCustPrintIssueNo = true;
  t.bMerchPrintCvm = false;
  t.bCustPrintAuthSource = true;
  t.strReference = "0000012:0000003:R1:v1.0.0:SELFSERVICE";
  t.strCryptogram = "9F26ABCDEF";
  t.lCvmCode = 4;
  t.strAid = "A0000000031010";
  t.strAppLabel = "VISA";
  t.strAppPreferredName = "VISA DEBIT";
  for (int i = 0; i < QL_EMV_COUNT; ++i)
    t.strEmvValues[static_cast<size_t>(i)] = "E" + std::to_string(i);
  t.lProcessingState = 2;
  t.lCurrencyExponent = 3;
  t.bCancelled = true;
  t.lMileage = 123456;
  t.strRegNo = "AB12CDE";
  t.strPanSeqNo = "01";
  t.strCurrencyText = "GBP";
  t.strBaseCurrencyText = "EUR";
  t.strBaseAmount = "4900";
  t.strExchangeRate = "1.1667";
  t.lConversionState = 2;
  t.lCardType = 1;
  return t;
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

TEST(SerialiseTransInfo, RecordHasTheFixedPositionsAndEncodings) {
  TSerialiseTransInfo serialiser;
  const std::vector<std::string> fields = Fields(serialiser.SerialiseObject(FullTransaction()));
  ASSERT_EQ(fields.size(), 102u);
  EXPECT_EQ(fields[0], "2");
  EXPECT_EQ(fields[3], "************0010");
  EXPECT_EQ(fields[9], "4200");
  EXPECT_EQ(fields[14], "4711");
  EXPECT_EQ(fields[54], "0000012:0000003:R1:v1.0.0:SELFSERVICE");
  EXPECT_EQ(fields[57], "4");
  EXPECT_EQ(fields[84], "2");
  EXPECT_EQ(fields[88], "3");
  EXPECT_EQ(fields[90], "1");
  EXPECT_EQ(fields[91], "123456");
  EXPECT_EQ(fields[101], "1");
  for (int empty : {2, 4, 5, 21, 22, 23, 24, 30, 56, 85, 86, 87, 95}) {
    EXPECT_EQ(fields[static_cast<size_t>(empty)], "") << empty;
  }
  for (int i = 31; i <= 53; ++i) {
    EXPECT_TRUE(fields[static_cast<size_t>(i)] == "0" || fields[static_cast<size_t>(i)] == "1")
        << i;
  }
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
