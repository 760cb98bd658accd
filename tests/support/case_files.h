// Case files under tests/data: a folder of "<case>.json" files run by one parameterised
// test, each case read whole. Reads only; a case that cannot be read fails its test.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace ccaddin::testing {

// Full path of `relative` below tests/data.
[[nodiscard]] std::string TestDataPath(const std::string& relative);

// The names (without ".json") of the case files in tests/data/<folder>, sorted, for
// INSTANTIATE_TEST_SUITE_P.
[[nodiscard]] std::vector<std::string> CaseNames(const std::string& folder);

// tests/data/<folder>/<name>.json; throws std::runtime_error naming the file when it is
// missing or not JSON.
[[nodiscard]] nlohmann::json ReadCase(const std::string& folder, const std::string& name);

}  // namespace ccaddin::testing
