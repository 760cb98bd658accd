// Golden texts: whole expected receipts and reports kept as text files under tests/data/,
// compared line by line with the text a test produced. A mismatch prints a line diff
// with "|" at both ends of each line so that blanks at the ends show. Setting
// CCADDIN_UPDATE_GOLDEN=1 rewrites the files from the produced texts instead (review
// the change with git diff before committing it).
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ccaddin::testing {

// Full path of a file under tests/data/.
[[nodiscard]] std::string TestDataPath(const std::string& relative);

// Splits text at CR LF, LF or CR; a final line end does not start another line.
[[nodiscard]] std::vector<std::string> SplitLines(const std::string& text);

// Passes when `actual` has the lines of tests/data/<relative>.
[[nodiscard]] ::testing::AssertionResult MatchesGolden(const std::string& actual,
                                                       const std::string& relative);

}  // namespace ccaddin::testing
