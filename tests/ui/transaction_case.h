// A scenario case of the transaction window (tests/data/ui/transaction/<name>.json): a till
// site and a sale, run headless or through the Qt view. The case holds the site (settings
// in a throw-away registry under their registry value names, the simulator's configuration,
// a receipt printer that writes outside the site), the sale in the shared session state, the
// call's journal and the operator script. Check() compares what the window left with the
// case's outcome, and holds every case to what no path may break: a sale reported complete
// was confirmed at the server, the server session closed with the window, and no file of
// the site holds a card number.
#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "payment/credit_card_common.h"
#include "platform/addin_log.h"
#include "support/temp_dir.h"
#include "support/test_registry.h"
#include "ui/form_call_scope.h"
#include "ui/loop.h"
#include "ui/operator_script.h"
#include "ui/script_runner.h"
#include "ui/transaction/frm_transaction.h"

namespace ccaddin::testing {

class TransactionCase {
 public:
  static constexpr const char* kFolder = "ui/transaction";

  // `folder` below tests/data; `more_settings` are set after the case's own (the Qt runs
  // draw every case's pictures in the full-screen layout too).
  explicit TransactionCase(const std::string& name, const nlohmann::json& more_settings = {},
                           const std::string& folder = kFolder);
  ~TransactionCase();

  [[nodiscard]] const nlohmann::json& Doc() const { return doc_; }
  // The operator script, once: the loop that runs it takes it.
  [[nodiscard]] OperatorScript TakeScript();
  // A line for the call's journal (what the script's runner reports).
  void Journal(const std::string& line) { journal_.LogOperatorScript(line); }

  // Shows `window` through `loop`, whose script `runner` runs, to the end of the script,
  // and holds the window's outcome to the case's.
  void Run(FormLoop& loop, const ScriptRunner& runner, frmTransaction& window);

 private:
  void Check(const frmTransaction& window);
  void CheckSettlement(const nlohmann::json& outcome);

  std::string path_;
  std::string content_;
  nlohmann::json doc_;
  TempDir paper_;
  TempDir site_;
  std::optional<TestRegistry> registry_;
  ScopedSharedState state_;
  TAddinLog journal_;
  std::optional<FormCallScope> call_;
};

}  // namespace ccaddin::testing
