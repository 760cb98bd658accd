#include <gtest/gtest.h>

#include "payment/credit_card_common.h"
#include "support/host_model.h"

namespace ccaddin {
namespace {

using testing::MakeRmsSession;
using testing::RmsSession;
using testing::RmsSessionSetup;

TTillInformation Filled(const RmsSession& host, TTillInformation info = {}) {
  Shared().FillTillInfoFromRmsSession(info, host.session);
  return info;
}

TEST(RmsTillInfo, StoreAndRegisterFillTheTillInformation) {
  ScopedSharedState scoped;
  TTillInformation before;
  before.strStoreNumber = "S1";
  before.strReceiptNumber = "R9";
  const TTillInformation info = Filled(MakeRmsSession(RmsSessionSetup{}), before);
  EXPECT_EQ(info.strMerchantName, "Harbour Road Stores");
  EXPECT_EQ(info.strAddressLine1, "12 Harbour Road");
  EXPECT_EQ(info.strAddressLine2, "");
  EXPECT_EQ(info.strAddressLine3, "Portwick, Kent PW1 4RD");
  EXPECT_EQ(info.strSitePhoneNumber, "01632 960123");
  EXPECT_EQ(info.strTillNumber, "3");
  EXPECT_EQ(info.strStoreNumber, "");
  EXPECT_EQ(info.strReceiptNumber, "R9");
  EXPECT_TRUE(Shared().strErrorMessage().empty());
}

TEST(RmsTillInfo, EmptyHostValuesLeaveTheLinesAlone) {
  ScopedSharedState scoped;
  RmsSessionSetup setup;
  setup.store_address1 = "";
  setup.store_state = "";
  setup.store_phone = "";
  TTillInformation before;
  before.strAddressLine1 = "kept 1";
  before.strSitePhoneNumber = "kept phone";
  TTillInformation info = Filled(MakeRmsSession(setup), before);
  EXPECT_EQ(info.strAddressLine1, "kept 1");
  EXPECT_EQ(info.strAddressLine3, "Portwick");  // no state: no zip either
  EXPECT_EQ(info.strSitePhoneNumber, "kept phone");

  setup.store_city = "";
  before.strAddressLine3 = "kept 3";
  info = Filled(MakeRmsSession(setup), before);
  EXPECT_EQ(info.strAddressLine3, "kept 3");
}

TEST(RmsTillInfo, MissingMembersAndWrongTypesStopTheFillWithTheHostsError) {
  ScopedSharedState scoped;
  RmsSession host = MakeRmsSession(RmsSessionSetup{});
  host.configuration->Remove("StoreCity");
  TTillInformation info = Filled(host);
  EXPECT_EQ(info.strMerchantName, "Harbour Road Stores");
  EXPECT_EQ(info.strAddressLine1, "12 Harbour Road");
  EXPECT_EQ(info.strAddressLine3, "");
  EXPECT_EQ(info.strTillNumber, "");
  EXPECT_EQ(Shared().strErrorMessage(),
            "CreditCardCommon.FillTillInfoFromRmsSession() Failed - Object doesn't support this "
            "property or method");

  // A number where text is expected reads as its digits; an object does not read at all.
  host = MakeRmsSession(RmsSessionSetup{});
  host.configuration->SetUntyped("StoreName", int32_t{42});
  host.configuration->SetUntyped("StorePhone", host.register_);
  info = Filled(host);
  EXPECT_EQ(info.strMerchantName, "42");
  EXPECT_EQ(info.strAddressLine3, "Portwick, Kent PW1 4RD");
  EXPECT_EQ(info.strSitePhoneNumber, "");
  EXPECT_EQ(info.strTillNumber, "");
  EXPECT_EQ(Shared().strErrorMessage(),
            "CreditCardCommon.FillTillInfoFromRmsSession() Failed - Type mismatch");

  // "Configuration" that is not an object, and no session at all.
  host = MakeRmsSession(RmsSessionSetup{});
  host.session->SetUntyped("Configuration", "not an object");
  info = Filled(host);
  EXPECT_EQ(info.strMerchantName, "");
  EXPECT_NE(Shared().strErrorMessage().find("Object required"), std::string::npos)
      << Shared().strErrorMessage();
  Shared().FillTillInfoFromRmsSession(info, nullptr);
  EXPECT_EQ(Shared().strErrorMessage(),
            "CreditCardCommon.FillTillInfoFromRmsSession() Failed - Object variable or With "
            "block variable not set");
}

}  // namespace
}  // namespace ccaddin
