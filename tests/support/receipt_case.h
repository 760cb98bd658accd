// Transactions for tests kept as case files under tests/data (receipts/ unless another
// folder is named) and read as the
// receipt preview command reads them, so that one transaction serves every test that
// needs it. A case's "settings" (registry value names and their stored texts) load into
// the shared settings first. Header-only: only the test folders that use it link the
// preview command's reader.
#pragma once

#include <stdexcept>
#include <string>

#include "payment/credit_card_common.h"
#include "platform/cc_addin_settings.h"
#include "support/case_files.h"
#include "support_command.h"

namespace ccaddin::testing {

inline ReceiptRequest ReadReceiptCase(const std::string& name,
                                      const std::string& folder = "receipts") {
  nlohmann::json root = ReadCase(folder, name);
  CreditCardCommon& shared = Shared();
  const nlohmann::json settings = root.value("settings", nlohmann::json::object());
  for (const auto& [value_name, stored] : settings.items()) {
    const SettingDef* setting = FindSettingByValueName(value_name);
    if (setting == nullptr) throw std::runtime_error(name + ": no setting " + value_name);
    LoadSetting(shared, *setting, stored.get<std::string>(), ".");
  }
  root.erase("settings");
  return ReadReceiptRequest(root.dump(), shared);
}

}  // namespace ccaddin::testing
