// TRegistry: reads and writes one string value of a key under HKEY_LOCAL_MACHINE in the
// machine's registry store (see registry_store.h). Created for one operation; it keeps
// one database connection from its first call to its end. A call may wait up to the
// store's busy timeout while another process is writing.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace ccaddin {

class RegistryStore;

class TRegistry {
 public:
  TRegistry();
  ~TRegistry();
  TRegistry(const TRegistry&) = delete;
  TRegistry& operator=(const TRegistry&) = delete;

  // 0 when a string value (REG_SZ) was read into strValue; 1 otherwise (no database,
  // no key, no value, a value of another type, or a failure), strValue then empty.
  int32_t GetRegistryValue(const std::string& strKey, const std::string& strField,
                           std::string& strValue);

  // Writes strValue as a string value. The key is never created: a missing key leaves
  // "Failed opening registry key". Failures show only in strErrorMessage.
  void SaveRegistryValue(const std::string& strKey, const std::string& strField,
                         const std::string& strValue);

  // Reads between BeginSnapshot and EndSnapshot (or the object's end) see one state of
  // the store and lock its file once instead of once per value, which keeps a pass over
  // all settings fast. Each value reads as a fresh open-read-close would have read it
  // at the moment of the first read; writers in other processes wait meanwhile.
  void BeginSnapshot();
  void EndSnapshot();

  // The last failure; a later success does not clear it.
  [[nodiscard]] const std::string& strErrorMessage() const { return strErrorMessage_; }

 private:
  // Opens the key as RegOpenKeyA would: on failure leaves the message and returns false.
  bool OpenKey(const std::string& strKey, int64_t& hKey);
  bool RegQueryStringValue(int64_t hKey, const std::string& strValueName, std::string& strValue);

  // Opened on first use. Dropped after a store failure so that the next call opens the
  // file afresh, as the next RegOpenKeyA would.
  std::unique_ptr<RegistryStore> store_;
  bool snapshot_ = false;
  std::string strErrorMessage_;
};

}  // namespace ccaddin
