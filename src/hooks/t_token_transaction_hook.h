// TTokenTransactionHook: a sale or refund paid with a card the payment server stored for
// the till earlier (the token a previous transaction returned in strToken), run by the
// component's transaction window without a card at the till. The hook object holds
// nothing between calls; a Process call blocks until the window has closed.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ccaddin/records.h"
#include "platform/dispatch.h"

namespace ccaddin {

class TTokenTransactionHook {
 public:
  // lTransactionType: a sale, anything else runs as a refund. lTransactionMode: how the
  // customer takes part (TAMBERIN_TRANSACTIONMODE). strExpiryDate: the card's expiry as the
  // till stored it with the token, MMYY. True exactly when the payment was authorised,
  // confirmed and not cancelled; every other end gives False with the outcome in
  // oTransInfo, and nothing is raised to the till.
  bool Process(int32_t lTransactionType, int32_t lTransactionMode, int32_t lTransactionAmount,
               const std::string& strToken, const std::string& strExpiryDate,
               const std::string& strReferenceText, const TTillInformation& oTillInfo,
               TTransactionInfo& oTransInfo);

  // The last failure of the hook itself, including a token call refused before the window
  // opened; a later success does not clear it.
  [[nodiscard]] const std::string& strErrorMessage() const { return error_message_; }

 private:
  std::string error_message_;
};

// The class as a till calls it by name: the records are read before Process runs and the
// transaction record is written back after it.
[[nodiscard]] DispatchPtr ExposeTokenTransactionHook(
    std::shared_ptr<TTokenTransactionHook> hook = std::make_shared<TTokenTransactionHook>());

}  // namespace ccaddin
