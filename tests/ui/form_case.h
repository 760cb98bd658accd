// Scenario cases of the component's small windows, shared by the headless and the Qt
// runs: tests/data/ui/cases/<name>.json gives the window, the session values to set
// before it shows, the operator script (its "expect" steps check the window on the way)
// and the session values it must leave behind.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ui/form.h"
#include "ui/operator_script.h"

namespace ccaddin::testing {

struct FormCase {
  std::unique_ptr<Form> form;
  OperatorScript script;
  nlohmann::json outcome;
};

// The case file names, for INSTANTIATE_TEST_SUITE_P.
[[nodiscard]] std::vector<std::string> FormCaseNames();

// Reads the case and sets its values in the calling thread's Shared() state.
[[nodiscard]] FormCase LoadFormCase(const std::string& name);

// Shared() against the case's outcome, naming every value that differs.
[[nodiscard]] ::testing::AssertionResult MatchesOutcome(const nlohmann::json& outcome);

}  // namespace ccaddin::testing
