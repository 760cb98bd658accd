#include "platform/t_registry.h"

#include "platform/registry_store.h"
#include "platform/trap.h"

namespace ccaddin {

namespace {
constexpr const char* kOpenFailed = "Failed opening registry key";
constexpr const char* kUpdateFailed = "Failed updating registry setting";
}  // namespace

TRegistry::TRegistry() = default;
TRegistry::~TRegistry() = default;

void TRegistry::BeginSnapshot() {
  snapshot_ = true;
}

void TRegistry::EndSnapshot() {
  snapshot_ = false;
  if (store_ != nullptr) store_->EndRead();
}

bool TRegistry::OpenKey(const std::string& strKey, int64_t& hKey) {
  std::string why;
  RegStatus status = RegStatus::kOk;
  // Each call sees the database file as it is now, as a fresh RegOpenKeyA would; within
  // a snapshot, "now" is the snapshot's moment.
  if (store_ == nullptr || !store_->reading()) {
    const std::string path = RegistryStore::DatabasePath();
    if (store_ != nullptr && (store_->path() != path || !store_->IsCurrentFile())) store_.reset();
    if (store_ == nullptr) status = RegistryStore::Open(path, &store_, &why);
    if (status == RegStatus::kOk && snapshot_) status = store_->BeginRead();
    if (status == RegStatus::kFailed && store_ != nullptr) {
      why = store_->error();
      store_.reset();
    }
  }
  if (status == RegStatus::kOk) {
    status = store_->OpenKey(kHkeyLocalMachine, strKey, &hKey);
    if (status == RegStatus::kFailed) {
      why = store_->error();
      store_.reset();
    }
  }
  if (status == RegStatus::kOk) return true;
  // A missing database is a machine not configured yet, the same as a missing key; a
  // database that cannot be used says why, for whoever reads the log.
  strErrorMessage_ = kOpenFailed;
  if (status == RegStatus::kFailed) strErrorMessage_ += " - " + why;
  return false;
}

int32_t TRegistry::GetRegistryValue(const std::string& strKey, const std::string& strField,
                                    std::string& strValue) {
  strValue.clear();
  return Trap(strErrorMessage_, "TRegistry.GetRegistryValue() Failed - ", 1, [&]() -> int32_t {
    int64_t hKey = 0;
    if (!OpenKey(strKey, hKey)) return 1;
    // The key needs no closing: the connection stays open for this object's next call.
    return RegQueryStringValue(hKey, strField, strValue) ? 0 : 1;
  });
}

bool TRegistry::RegQueryStringValue(int64_t hKey, const std::string& strValueName,
                                    std::string& strValue) {
  return Trap(strErrorMessage_, "TRegistry.RegQueryStringValue Failed - ", false, [&] {
    RegistryValue value;
    const RegStatus status = store_->QueryValue(hKey, strValueName, &value);
    if (status == RegStatus::kFailed) {
      const std::string why = store_->error();
      store_.reset();
      throw Failure(why);
    }
    if (status == RegStatus::kNotFound || value.type != kRegSz) return false;
    // The ANSI registry functions hand back the data up to its first NUL.
    const size_t nul = value.data.find('\0');
    strValue = nul == std::string::npos ? value.data : value.data.substr(0, nul);
    return true;
  });
}

void TRegistry::SaveRegistryValue(const std::string& strKey, const std::string& strField,
                                  const std::string& strValue) {
  TrapVoid(strErrorMessage_, "TRegistry.SaveRegistryValue() Failed - ", [&] {
    int64_t hKey = 0;
    if (!OpenKey(strKey, hKey)) return;
    const RegStatus status =
        store_->SetValue(hKey, RegistryValue{strField, kRegSz, StringValueData(strValue)});
    if (status == RegStatus::kNotFound) {
      // Another process removed the key between the open and the write.
      strErrorMessage_ = kOpenFailed;
    } else if (status == RegStatus::kFailed) {
      strErrorMessage_ = std::string(kUpdateFailed) + " - " + store_->error();
      store_.reset();
    }
  });
}

}  // namespace ccaddin
