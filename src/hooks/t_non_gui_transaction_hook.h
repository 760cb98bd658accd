// TNonGuiTransactionHook: the first version of the programmatic card interface, still
// published so that tills built against it load, but it does nothing: both methods return
// False and every property "". Holds no state and never blocks.
#pragma once

#include <memory>

#include "platform/dispatch.h"

namespace ccaddin {

class TNonGuiTransactionHook {
 public:
  [[nodiscard]] bool AuthoriseTransaction(int32_t lTransactionType, int32_t lTransactionAmount,
                                          const DispatchPtr& oTillInfo,
                                          const DispatchPtr& oTransInfo);
  [[nodiscard]] bool ConfirmTransaction(int32_t lConfirmType,
                                        const std::string& strTransactionReference,
                                        const std::string& strAuthCode,
                                        const DispatchPtr& oTillInfo,
                                        const DispatchPtr& oTransInfo);
  [[nodiscard]] std::string strErrorMessage() const { return {}; }
  [[nodiscard]] std::string strMerchantReceipt() const { return {}; }
  [[nodiscard]] std::string strTransactionReference() const { return {}; }
};

// The class as a till calls it by name. Arguments are still converted to their declared
// types, so a call the interface would refuse is refused here too.
[[nodiscard]] DispatchPtr ExposeNonGuiTransactionHook(
    std::shared_ptr<TNonGuiTransactionHook> hook = std::make_shared<TNonGuiTransactionHook>());

}  // namespace ccaddin
