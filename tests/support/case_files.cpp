#include "support/case_files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace ccaddin::testing {

std::string TestDataPath(const std::string& relative) {
  return std::string(CCADDIN_TEST_DATA_DIR) + "/" + relative;
}

std::vector<std::string> CaseNames(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(TestDataPath(folder))) {
    if (entry.path().extension() == ".json") names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

nlohmann::json ReadCase(const std::string& folder, const std::string& name) {
  const std::string path = TestDataPath(folder + "/" + name + ".json");
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path);
  nlohmann::json parsed = nlohmann::json::parse(in, nullptr, false, true);
  if (parsed.is_discarded()) throw std::runtime_error(path + " is not valid JSON");
  return parsed;
}

}  // namespace ccaddin::testing
