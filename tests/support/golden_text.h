// Golden texts for receipts and reports: whole expected texts kept as files under
// tests/data/, compared line by line, with a diff of the differing lines on failure.
// Set CCADDIN_UPDATE_GOLDEN=1 to write the actual text instead (then read it and check
// it by eye before committing). Reads and writes only the named file.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ccaddin::testing {

// Splits on CR LF, CR or LF; a final line end gives no empty last line.
[[nodiscard]] std::vector<std::string> SplitLines(const std::string& text);

// `relative` is the path below tests/data, e.g. "receipts/chip_pin_sale_merchant.txt".
[[nodiscard]] ::testing::AssertionResult MatchesGolden(const std::string& actual,
                                                       const std::string& relative);

}  // namespace ccaddin::testing
