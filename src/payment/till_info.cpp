// CreditCardCommon::FillTillInfoFromRmsSession: the till's identity from the host session.
#include "payment/credit_card_common.h"
#include "platform/dispatch.h"
#include "platform/trap.h"

namespace ccaddin {
namespace {

// A host member read as text, the way an assignment to a String coerces it.
std::string Text(const Variant& value) {
  return value.ToString().OrThrow();
}

}  // namespace

void CreditCardCommon::FillTillInfoFromRmsSession(TTillInformation& oTillInfo,
                                                  const DispatchPtr& oSession) {
  TrapVoid(error_message_, "CreditCardCommon.FillTillInfoFromRmsSession() Failed - ", [&] {
    if (!oSession) throw Failure(std::string(kObjectNotSetText));
    const LateObject session(oSession);
    const LateObject configuration = session.Object("Configuration");
    oTillInfo.strMerchantName = Text(configuration.Get("StoreName"));

    const std::string address1 = Text(configuration.Get("StoreAddress1"));
    if (!address1.empty()) oTillInfo.strAddressLine1 = address1;
    const std::string address2 = Text(configuration.Get("StoreAddress2"));
    if (!address2.empty()) oTillInfo.strAddressLine2 = address2;

    const std::string city = Text(configuration.Get("StoreCity"));
    if (!city.empty()) {
      std::string line = city;
      const std::string state = Text(configuration.Get("StoreState"));
      if (!state.empty()) line += ", " + state + " " + Text(configuration.Get("StoreZip"));
      oTillInfo.strAddressLine3 = line;
    }

    const std::string phone = Text(configuration.Get("StorePhone"));
    if (!phone.empty()) oTillInfo.strSitePhoneNumber = phone;

    oTillInfo.strTillNumber = Text(session.Object("Register").Get("Number"));
    oTillInfo.strStoreNumber.clear();
  });
}

}  // namespace ccaddin
