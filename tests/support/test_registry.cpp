#include "support/test_registry.h"

#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "platform/cc_addin_registry.h"

namespace ccaddin::testing {

namespace {

std::unique_ptr<RegistryStore> OpenOrThrow(const std::string& path, int64_t* key) {
  std::unique_ptr<RegistryStore> store;
  std::string error;
  if (RegistryStore::Open(path, &store, &error) != RegStatus::kOk) {
    throw std::runtime_error("test registry: " + error);
  }
  if (store->OpenKey(kHkeyLocalMachine, kCcAddinRegistryKey, key) != RegStatus::kOk) {
    throw std::runtime_error("test registry: no key");
  }
  return store;
}

}  // namespace

TestRegistry::TestRegistry(Start start) : path_(dir_.file("registry.db")) {
  if (const char* old = std::getenv(RegistryStore::kPathVariable)) previous_ = old;
  setenv(RegistryStore::kPathVariable, path_.c_str(), 1);
  if (start == Start::kNoDatabase) return;
  std::unique_ptr<RegistryStore> store;
  std::string error;
  if (RegistryStore::Create(path_, &store, &error) != RegStatus::kOk) {
    throw std::runtime_error("test registry: " + error);
  }
  int64_t key = 0;
  if (start == Start::kWithKey &&
      store->CreateKey(kHkeyLocalMachine, kCcAddinRegistryKey, &key) != RegStatus::kOk) {
    throw std::runtime_error("test registry: " + store->error());
  }
}

TestRegistry::~TestRegistry() {
  if (previous_) {
    setenv(RegistryStore::kPathVariable, previous_->c_str(), 1);
  } else {
    unsetenv(RegistryStore::kPathVariable);
  }
}

void TestRegistry::Set(const std::string& name, const std::string& text) const {
  SetRaw(RegistryValue{name, kRegSz, StringValueData(text)});
}

void TestRegistry::SetRaw(const RegistryValue& value) const {
  int64_t key = 0;
  auto store = OpenOrThrow(path_, &key);
  if (store->SetValue(key, value) != RegStatus::kOk) throw std::runtime_error(store->error());
}

std::optional<std::string> TestRegistry::Text(const std::string& name) const {
  int64_t key = 0;
  auto store = OpenOrThrow(path_, &key);
  RegistryValue value;
  if (store->QueryValue(key, name, &value) != RegStatus::kOk || value.type != kRegSz) {
    return std::nullopt;
  }
  return value.data.substr(0, value.data.find('\0'));
}

std::vector<RegistryValue> TestRegistry::All() const {
  int64_t key = 0;
  auto store = OpenOrThrow(path_, &key);
  std::vector<RegistryValue> values;
  if (store->ListValues(key, &values) != RegStatus::kOk) throw std::runtime_error(store->error());
  return values;
}

}  // namespace ccaddin::testing
