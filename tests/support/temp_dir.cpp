#include "support/temp_dir.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace ccaddin::testing {

TempDir::TempDir() {
  const char* root = std::getenv("CCADDIN_TEST_TMP");
  std::filesystem::path base = root != nullptr && *root != '\0'
                                   ? std::filesystem::path(root)
                                   : std::filesystem::temp_directory_path();
  std::filesystem::create_directories(base);
  std::string pattern = (base / "ccaddin-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ec;
  // Tests may leave read-only files or folders behind; make them removable first.
  for (auto it = std::filesystem::recursive_directory_iterator(path_, ec);
       !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
    std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ec);
  }
  std::filesystem::remove_all(path_, ec);
}

std::string TempDir::Write(const std::string& name, const std::string& content) const {
  const std::string full = file(name);
  std::ofstream out(full, std::ios::binary | std::ios::trunc);
  out << content;
  return full;
}

std::string TempDir::Read(const std::string& name) const {
  std::ifstream in(file(name), std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

}  // namespace ccaddin::testing
