#include "support/golden.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace ccaddin::testing {

std::string TestDataPath(const std::string& relative) {
  return std::string(CCADDIN_TEST_DATA_DIR) + "/" + relative;
}

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::string line;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r' || c == '\n') {
      if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
      lines.push_back(std::move(line));
      line.clear();
    } else {
      line += c;
    }
  }
  if (!line.empty()) lines.push_back(std::move(line));
  return lines;
}

namespace {

// A longest-common-subsequence diff: golden files are a few hundred lines at most.
std::string Diff(const std::vector<std::string>& want, const std::vector<std::string>& got) {
  const size_t n = want.size(), m = got.size();
  std::vector<std::vector<size_t>> lcs(n + 1, std::vector<size_t>(m + 1, 0));
  for (size_t i = n; i-- > 0;) {
    for (size_t j = m; j-- > 0;) {
      lcs[i][j] = want[i] == got[j] ? lcs[i + 1][j + 1] + 1 : std::max(lcs[i + 1][j], lcs[i][j + 1]);
    }
  }
  std::ostringstream out;
  size_t i = 0, j = 0;
  while (i < n || j < m) {
    if (i < n && j < m && want[i] == got[j]) {
      out << "    " << i + 1 << "  |" << want[i] << "|\n";
      ++i, ++j;
    } else if (j < m && (i == n || lcs[i][j + 1] >= lcs[i + 1][j])) {
      out << "  + " << j + 1 << "  |" << got[j] << "|\n";
      ++j;
    } else {
      out << "  - " << i + 1 << "  |" << want[i] << "|\n";
      ++i;
    }
  }
  return out.str();
}

}  // namespace

::testing::AssertionResult MatchesGolden(const std::string& actual, const std::string& relative) {
  const std::string path = TestDataPath(relative);
  const std::vector<std::string> got = SplitLines(actual);
  const char* update = std::getenv("CCADDIN_UPDATE_GOLDEN");
  if (update != nullptr && std::string(update) == "1") {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    for (const std::string& line : got) out << line << '\n';
    if (!out) return ::testing::AssertionFailure() << "cannot rewrite " << path;
    return ::testing::AssertionSuccess();
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) return ::testing::AssertionFailure() << "golden file missing: " << path;
  std::ostringstream content;
  content << in.rdbuf();
  const std::vector<std::string> want = SplitLines(content.str());
  if (want == got) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << "text differs from " << relative << " (- golden, + produced):\n" << Diff(want, got);
}

}  // namespace ccaddin::testing
