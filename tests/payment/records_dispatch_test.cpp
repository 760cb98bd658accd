#include "payment/records_dispatch.h"

#include <gtest/gtest.h>

#include "support/host_model.h"

namespace ccaddin {
namespace {

using testing::HostObject;

// A till's own TTillInformation: every property a typed text property.
std::shared_ptr<HostObject> TillRecord() {
  auto till = HostObject::Create("oTillInfo");
  for (const char* name :
       {"strMerchantName", "strAddressLine1", "strAddressLine2", "strAddressLine3",
        "strSitePhoneNumber", "strTillNumber", "strStoreNumber", "strReceiptNumber"}) {
    till->Set(name, std::string());
  }
  till->Set("strStoreNumber", "0042").Set("strMerchantName", "Forecourt");
  return till;
}

// A till's own TTransactionInfo, its properties declared as Variants so that what the
// component puts arrives as it was sent.
std::shared_ptr<HostObject> TransRecord() {
  auto trans = HostObject::Create("oTransInfo");
  for (const char* name :
       {"strAuthorisationCode",  "lTransactionRefNo",     "lResponseCode",
        "strPanFirst6Digits",    "strPanLast4Digits",     "strSchemeName",
        "strEmvAppicationLabel", "strEmvAppicationId",    "strMerchantNo",
        "strTerminalId",         "strCurrencyCode",       "lCustomerVerification",
        "lCashbackAmount",       "lDataEntryMethod",      "lCardClass",
        "bFuelBunkerCard",       "bPrintFuelBunkerTotal", "lCustomerMileage",
        "strCustomerRegNo",      "strCustomerReceipt",    "strToken",
        "strFuelProducts"}) {
    trans->SetUntyped(name, Variant());
  }
  return trans;
}

TEST(RecordsDispatch, OurRecordsAreReachedDirectlyAndForeignOnesByName) {
  auto record = std::make_shared<TTransactionInfo>();
  const DispatchPtr ours = ExposeTransactionInfo(record);
  EXPECT_EQ(TransactionInfoOf(ours), record.get());
  EXPECT_EQ(TillInformationOf(ours), nullptr);

  TTransactionInfo filled;
  filled.lResponseCode = TRANSINFO_RC_DECLINED;
  filled.bPrintFuelBunkerTotal = true;
  WriteTransactionInfo(filled, ours);
  EXPECT_EQ(record->lResponseCode, TRANSINFO_RC_DECLINED);
  EXPECT_EQ(ours->Get("bPrintFuelBunkerTotal").value, Variant(true));
  EXPECT_EQ(ours->Get("lResponseCode").value, Variant(int32_t{2}));

  const auto till = TillRecord();
  EXPECT_EQ(TillInformationOf(till), nullptr);
  const TTillInformation read = ReadTillInformation(till);
  EXPECT_EQ(read.strStoreNumber, "0042");
  EXPECT_EQ(read.strMerchantName, "Forecourt");
  EXPECT_EQ(till->calls().size(), 8u);

  // Writing to the till's object puts every property, typed as the record holds it.
  const auto trans = TransRecord();
  WriteTransactionInfo(filled, trans);
  EXPECT_EQ(trans->calls().size(), 22u);
  EXPECT_EQ(trans->Value("lResponseCode"), Variant(int32_t{2}));
  EXPECT_EQ(trans->Value("bPrintFuelBunkerTotal"), Variant(true));
  EXPECT_EQ(trans->Value("strFuelProducts"), Variant(""));
}

TEST(RecordsDispatch, ATillObjectThatCannotServeTheRecordFailsWithTheCallsText) {
  EXPECT_THROW(
      {
        try {
          (void)ReadTillInformation(nullptr);
        } catch (const Failure& e) {
          EXPECT_STREQ(e.what(), "Object variable or With block variable not set");
          throw;
        }
      },
      Failure);

  auto missing = TillRecord();
  missing->Remove("strReceiptNumber");
  std::string error;
  EXPECT_FALSE(
      Trap(error, "", false, [&] { return ReadTillInformation(missing).strTillNumber.empty(); }));
  EXPECT_EQ(error, "Object doesn't support this property or method");

  auto wrong_type = TillRecord();
  wrong_type->SetUntyped("strTillNumber", HostObject::Create("sale"));
  EXPECT_FALSE(Trap(error, "", false,
                    [&] { return ReadTillInformation(wrong_type).strTillNumber.empty(); }));
  EXPECT_EQ(error, "Type mismatch");

  const auto refusing = TransRecord();
  refusing->FailOn("strToken", "Permission denied");
  std::string write_error;
  TrapVoid(write_error, "", [&] { WriteTransactionInfo(TTransactionInfo{}, refusing); });
  EXPECT_EQ(write_error, "Permission denied");
}

}  // namespace
}  // namespace ccaddin
