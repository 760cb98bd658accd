// CreditCardCommon::AddClientReceipt: the receipts a till collects after the call.
#include "payment/credit_card_common.h"
#include "platform/text_rules.h"
#include "platform/trap.h"

namespace ccaddin {
void CreditCardCommon::AddClientReceipt(int32_t lType, const std::string& strText,
                                        const std::string& strPan, bool bSignatureRequired) {
  TrapVoid(error_message_, "CreditCardCommon.AddClientReceipt() Failed - ", [&] {
    const bool merchant = lType == RECEIPTTYPE_MERCHANTAUTHORISED ||
                          lType == RECEIPTTYPE_MERCHANTDECLINED ||
                          lType == RECEIPTTYPE_MERCHANTCANCELLED;
    if (merchant && !bMakeMerchantReceiptsAvailableToClient) return;
    std::string text = strText;
    // A merchant who does not obscure card numbers gets the merchant copy as it prints.
    // Without a card number there is nothing to put back.
    if (merchant && !bObscureCardNumber && !strPan.empty()) {
      text =
          ReplaceAll(std::move(text), GroupInFours(MaskCardNumber(strPan)), GroupInFours(strPan));
    }
    oClientReceipts.push_back(ClientReceipt{std::move(text), lType, bSignatureRequired});
  });
}

}  // namespace ccaddin
