// A throw-away registry database for one test: created in a fresh folder with the
// add-in's key, and made the current one through CCADDIN_REGISTRY for the test's
// lifetime (the previous setting is restored). Values are seeded and inspected
// directly in the store, around the code under test.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/registry_store.h"
#include "support/temp_dir.h"

namespace ccaddin::testing {

class TestRegistry {
 public:
  enum class Start { kWithKey, kWithoutKey, kNoDatabase };
  explicit TestRegistry(Start start = Start::kWithKey);
  ~TestRegistry();
  TestRegistry(const TestRegistry&) = delete;
  TestRegistry& operator=(const TestRegistry&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] const TempDir& dir() const { return dir_; }

  // Stores a string value (REG_SZ) or any value in the add-in's key.
  void Set(const std::string& name, const std::string& text) const;
  void SetRaw(const RegistryValue& value) const;
  // The stored text of a string value; nullopt when missing or of another type.
  [[nodiscard]] std::optional<std::string> Text(const std::string& name) const;
  // Every value of the add-in's key.
  [[nodiscard]] std::vector<RegistryValue> All() const;

 private:
  TempDir dir_;
  std::string path_;
  std::optional<std::string> previous_;
};

}  // namespace ccaddin::testing
