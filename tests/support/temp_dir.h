// A fresh, empty folder for one test, removed with everything in it when the object
// goes. Lives under $CCADDIN_TEST_TMP when set (the build tree), else the system's
// temporary folder.
#pragma once

#include <filesystem>
#include <string>

namespace ccaddin::testing {

class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }
  // The folder with a trailing "/", as the component's folder settings hold it.
  [[nodiscard]] std::string folder() const { return path_.string() + "/"; }
  // Full path of `name` inside the folder.
  [[nodiscard]] std::string file(const std::string& name) const { return (path_ / name).string(); }

  // Writes `content` to `name` (created or replaced) and returns its full path.
  std::string Write(const std::string& name, const std::string& content) const;
  // The whole content of `name`; empty when it cannot be read.
  [[nodiscard]] std::string Read(const std::string& name) const;

 private:
  std::filesystem::path path_;
};

}  // namespace ccaddin::testing
