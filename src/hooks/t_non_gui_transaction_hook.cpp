#include "hooks/t_non_gui_transaction_hook.h"

namespace ccaddin {

bool TNonGuiTransactionHook::AuthoriseTransaction(int32_t, int32_t, const DispatchPtr&,
                                                  const DispatchPtr&) {
  return false;
}

bool TNonGuiTransactionHook::ConfirmTransaction(int32_t, const std::string&, const std::string&,
                                                const DispatchPtr&, const DispatchPtr&) {
  return false;
}

DispatchPtr ExposeNonGuiTransactionHook(std::shared_ptr<TNonGuiTransactionHook> hook) {
  using T = TNonGuiTransactionHook;
  static const auto table =
      DispatchTable<T>()
          .Method("AuthoriseTransaction", 4, 4,
                  [](T& h, DispatchArgs& a) {
                    return Variant(
                        h.AuthoriseTransaction(a.Int32(0), a.Int32(1), a.Object(2), a.Object(3)));
                  })
          .Method("ConfirmTransaction", 5, 5,
                  [](T& h, DispatchArgs& a) {
                    return Variant(h.ConfirmTransaction(a.Int32(0), a.String(1), a.String(2),
                                                        a.Object(3), a.Object(4)));
                  })
          .Property("strErrorMessage", [](T& h) { return Variant(h.strErrorMessage()); })
          .Property("strMerchantReceipt", [](T& h) { return Variant(h.strMerchantReceipt()); })
          .Property("strTransactionReference",
                    [](T& h) { return Variant(h.strTransactionReference()); });
  return ExposeByName(std::move(hook), table);
}

}  // namespace ccaddin
