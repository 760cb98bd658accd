// TTransactionHook: a till's card tender (sale, refund, pre-authorisation, final
// authorisation) run by the component's own transaction window. Each Process variant loads
// the configuration, opens the journal, prepares the shared state the window reads, shows
// the window modally and copies its outcome into the till's record. The product list and
// the customer receipt texts a till sets beforehand stay in the calling thread's shared
// state until it replaces them; the hook object itself holds nothing between calls. A
// Process call blocks until the window has closed.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ccaddin/records.h"
#include "platform/dispatch.h"

namespace ccaddin {

class TTransactionHook {
 public:
  // True exactly when the tender was paid: authorised, confirmed and not cancelled. Every
  // other end (declined, cancelled, no outcome, a failure) gives False with the outcome in
  // oTransInfo; nothing is raised to the till.
  bool Process(int32_t lTransactionType, int32_t lTransactionAmount,
               const TTillInformation& oTillInfo, TTransactionInfo& oTransInfo);
  bool Process2(int32_t lTransactionType, int32_t lTransactionAmount, int32_t lGratuityAmount,
                int32_t lCashAmount, const TTillInformation& oTillInfo,
                TTransactionInfo& oTransInfo);
  bool Process3(int32_t lTransactionType, int32_t lTransactionAmount,
                const std::string& strReferenceText, const TTillInformation& oTillInfo,
                TTransactionInfo& oTransInfo);
  // bCustomerReceiptDisabled: the till prints the customer's receipt itself, from
  // oTransInfo.strCustomerReceipt; the component prints only the merchant's.
  bool Process4(int32_t lTransactionType, int32_t lTransactionAmount,
                const std::string& strReferenceText, const TTillInformation& oTillInfo,
                TTransactionInfo& oTransInfo, bool bCustomerReceiptDisabled);

  // The fuel products of the coming sale: a new empty list, then one product per call.
  void InitialiseProductInfo();
  void AddProductInfo(const std::string& strProductCode, const std::string& strAmount,
                      const std::string& strLitres, int32_t lQuantity);
  // The till's texts printed before and after the customer receipt, with the text that
  // stands for "no change" and the one that replaces it when cashback is given.
  void SetCustomerReceiptStartText(const std::string& strStartText,
                                   const std::string& strNoChangeText,
                                   const std::string& strCashbackText);
  void SetCustomerReceiptEndText(const std::string& strEndText, const std::string& strNoChangeText,
                                 const std::string& strCashbackText);

  // The last failure of the hook itself (the window's outcome is in the record and the
  // journal); a later success does not clear it.
  [[nodiscard]] const std::string& strErrorMessage() const { return error_message_; }

 private:
  bool RunTenderTransaction(int32_t lTransactionType, int32_t lTransactionAmount,
                            int32_t lGratuityAmount, int32_t lCashAmount,
                            const TTillInformation& oTillInfo, TTransactionInfo& oTransInfo,
                            const std::string& strReferenceText, bool bCustomerReceiptDisabled);

  std::string error_message_;
};

// The class as a till calls it by name. The till's records are read before a Process call
// runs and the transaction record is written back after it.
[[nodiscard]] DispatchPtr ExposeTransactionHook(
    std::shared_ptr<TTransactionHook> hook = std::make_shared<TTransactionHook>());

}  // namespace ccaddin
