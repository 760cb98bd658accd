#include "support/golden_text.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace ccaddin::testing {

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::string line;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r' || c == '\n') {
      lines.push_back(line);
      line.clear();
      if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
    } else {
      line += c;
    }
  }
  if (!line.empty()) lines.push_back(line);
  return lines;
}

namespace {

// Shows a line with its end marked, so trailing blanks are visible.
std::string Show(const std::string& line) {
  return "|" + line + "|";
}

}  // namespace

::testing::AssertionResult MatchesGolden(const std::string& actual, const std::string& relative) {
  const std::string path = std::string(CCADDIN_TEST_DATA_DIR) + "/" + relative;
  const char* update = std::getenv("CCADDIN_UPDATE_GOLDEN");
  if (update != nullptr && std::string(update) == "1") {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    for (const std::string& line : SplitLines(actual)) out << line << '\n';
    return out ? ::testing::AssertionSuccess() << "written"
               : ::testing::AssertionFailure() << "cannot write " << path;
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) return ::testing::AssertionFailure() << "no golden file " << path;
  std::stringstream content;
  content << in.rdbuf();
  const std::vector<std::string> expected = SplitLines(content.str());
  const std::vector<std::string> got = SplitLines(actual);
  if (expected == got) return ::testing::AssertionSuccess();

  ::testing::AssertionResult failure = ::testing::AssertionFailure();
  failure << relative << " differs (- expected, + actual):\n";
  const size_t count = std::max(expected.size(), got.size());
  for (size_t i = 0; i < count; ++i) {
    const bool has_expected = i < expected.size();
    const bool has_got = i < got.size();
    if (has_expected && has_got && expected[i] == got[i]) {
      failure << "  " << i + 1 << "  " << Show(got[i]) << "\n";
      continue;
    }
    if (has_expected) failure << "- " << i + 1 << "  " << Show(expected[i]) << "\n";
    if (has_got) failure << "+ " << i + 1 << "  " << Show(got[i]) << "\n";
  }
  return failure;
}

}  // namespace ccaddin::testing
