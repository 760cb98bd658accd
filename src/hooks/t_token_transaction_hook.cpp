#include "hooks/t_token_transaction_hook.h"

#include <utility>

#include "hooks/window_tender.h"

namespace ccaddin {

bool TTokenTransactionHook::Process(int32_t lTransactionType, int32_t lTransactionMode,
                                    int32_t lTransactionAmount, const std::string& strToken,
                                    const std::string& strExpiryDate,
                                    const std::string& strReferenceText,
                                    const TTillInformation& oTillInfo,
                                    TTransactionInfo& oTransInfo) {
  WindowTender tender;
  tender.strFailedPrefix = "TTokenTransactionHook.Process() Failed - ";
  // A stored card either pays or is paid back; authorisations need the card itself.
  tender.lTransactionType = lTransactionType == TAM_TT_SALE ? TAM_TT_SALE : TAM_TT_REFUND;
  tender.lTransactionAmount = lTransactionAmount;
  tender.strReferenceText = strReferenceText;
  tender.oStoredCard = StoredCard{strToken, strExpiryDate, lTransactionMode};
  return RunWindowTender(tender, oTillInfo, oTransInfo, error_message_);
}

DispatchPtr ExposeTokenTransactionHook(std::shared_ptr<TTokenTransactionHook> hook) {
  using T = TTokenTransactionHook;
  static const auto table =
      DispatchTable<T>()
          .Method("Process", 8, 8,
                  [](T& h, DispatchArgs& a) {
                    return TenderWithTillRecords(a, 6, [&](const auto& till, auto& trans) {
                      return h.Process(a.Int32(0), a.Int32(1), a.Int32(2), a.String(3), a.String(4),
                                       a.String(5), till, trans);
                    });
                  })
          .Property("strErrorMessage", [](T& h) { return Variant(h.strErrorMessage()); });
  return ExposeByName(std::move(hook), table);
}

}  // namespace ccaddin
