#include "abi/class_registry.h"

#include "hooks/t_non_gui_transaction_hook.h"
#include "hooks/t_non_gui_transaction_hook2.h"
#include "hooks/t_token_transaction_hook.h"
#include "hooks/t_transaction_hook.h"
#include "payment/records_dispatch.h"
#include "ui/qt/qt_form_loop.h"

namespace ccaddin {

void ClassRegistry::Register(std::string_view class_name, ClassFactory factory) {
  std::string progid = std::string(kProgIdPrefix) + std::string(class_name);
  std::string key = FoldMemberName(progid);
  classes_.insert_or_assign(std::move(key), Entry{std::move(progid), std::move(factory)});
}

DispatchPtr ClassRegistry::Create(std::string_view progid) const {
  const auto it = classes_.find(FoldMemberName(progid));
  return it == classes_.end() ? nullptr : it->second.factory();
}

std::vector<std::string> ClassRegistry::ProgIds() const {
  std::vector<std::string> ids;
  ids.reserve(classes_.size());
  for (const auto& [key, entry] : classes_) ids.push_back(entry.progid);
  return ids;
}

ClassRegistry& ClassRegistry::Builtin() {
  static ClassRegistry registry = [] {
    // Every class a till creates comes through here first: the component's windows are
    // then shown by Qt.
    InstallQtFormLoop();
    ClassRegistry r;
    RegisterBuiltinClasses(r);
    return r;
  }();
  return registry;
}

void RegisterBuiltinClasses(ClassRegistry& registry) {
  registry.Register("TTillInformation", [] { return ExposeTillInformation(); });
  registry.Register("TTransactionInfo", [] { return ExposeTransactionInfo(); });
  registry.Register("TNonGuiTransactionHook", [] { return ExposeNonGuiTransactionHook(); });
  registry.Register("TNonGuiTransactionHook2", [] { return ExposeNonGuiTransactionHook2(); });
  registry.Register("TTransactionHook", [] { return ExposeTransactionHook(); });
  registry.Register("TTokenTransactionHook", [] { return ExposeTokenTransactionHook(); });
}

}  // namespace ccaddin
