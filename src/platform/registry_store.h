// The registry of this platform: keys under a hive, each holding typed values, kept in
// one SQLite database file shared by every process on the machine (tills, the admin
// command, the task runner). A RegistryStore owns one connection; calls block at most
// kBusyTimeoutMs while another process holds the database's write lock.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ccaddin {

// Value types, numbered as the Windows registry numbers them.
inline constexpr uint32_t kRegNone = 0;
inline constexpr uint32_t kRegSz = 1;
inline constexpr uint32_t kRegExpandSz = 2;
inline constexpr uint32_t kRegBinary = 3;
inline constexpr uint32_t kRegDword = 4;
inline constexpr uint32_t kRegMultiSz = 7;
inline constexpr uint32_t kRegQword = 11;

inline constexpr std::string_view kHkeyLocalMachine = "HKEY_LOCAL_MACHINE";

// "REG_SZ", "REG_DWORD" ...; "REG_TYPE_<n>" for numbers without a name.
[[nodiscard]] std::string RegTypeName(uint32_t type);

struct RegistryValue {
  std::string name;
  uint32_t type = kRegSz;
  // The raw data as the ANSI registry functions see it: a REG_SZ holds Windows-1252
  // text followed by its terminating NUL, a REG_DWORD four little-endian bytes.
  std::string data;

  friend bool operator==(const RegistryValue&, const RegistryValue&) = default;
};

// REG_SZ data for `text` (the text and its terminating NUL).
[[nodiscard]] std::string StringValueData(std::string_view text);

// One step of RegistryStore::Apply: set a value, or delete it when `remove` is set.
struct RegistryChange {
  RegistryValue value;
  bool remove = false;
};

enum class RegStatus {
  kOk,
  kNotFound,  // no database file, no such key or no such value: nothing is wrong
  kFailed,    // the database cannot be used or the operation failed; see error()
};

class RegistryStore {
 public:
  static constexpr int kBusyTimeoutMs = 5000;
  static constexpr const char* kDefaultDatabasePath = "/var/lib/ccaddin/registry.db";
  static constexpr const char* kPathVariable = "CCADDIN_REGISTRY";

  // The database file: $CCADDIN_REGISTRY when set and not empty, else the default.
  [[nodiscard]] static std::string DatabasePath();

  // Opens an existing database; never creates one. kNotFound when there is no file at
  // `path`; kFailed (description in `error`) when the file is not a registry database
  // or cannot be read. A file that is not ours is never written to.
  [[nodiscard]] static RegStatus Open(const std::string& path,
                                      std::unique_ptr<RegistryStore>* store, std::string* error);

  // As Open, but creates the database (and its folder) when there is no file, and the
  // tables when the file is an empty database. Refuses any other file.
  [[nodiscard]] static RegStatus Create(const std::string& path,
                                        std::unique_ptr<RegistryStore>* store, std::string* error);

  ~RegistryStore();
  RegistryStore(const RegistryStore&) = delete;
  RegistryStore& operator=(const RegistryStore&) = delete;

  // Key paths are compared without regard to ASCII case, and a trailing "\" is
  // ignored, as the registry does ("SOFTWARE\Tamberin\ccaddin\" names the same key as
  // "software\tamberin\ccaddin"). A key id stays valid while the key exists.
  [[nodiscard]] RegStatus OpenKey(std::string_view hive, std::string_view path, int64_t* key);
  // Creates the key and its missing ancestors; an existing key is simply opened.
  [[nodiscard]] RegStatus CreateKey(std::string_view hive, std::string_view path, int64_t* key);

  // Value names, like key paths, ignore ASCII case.
  [[nodiscard]] RegStatus QueryValue(int64_t key, std::string_view name, RegistryValue* value);
  // kNotFound when the key no longer exists; the key is never created here.
  [[nodiscard]] RegStatus SetValue(int64_t key, const RegistryValue& value);
  [[nodiscard]] RegStatus DeleteValue(int64_t key, std::string_view name);
  // Every value of the key, by name.
  [[nodiscard]] RegStatus ListValues(int64_t key, std::vector<RegistryValue>* values);

  // Creates the key when missing and applies every change in one transaction: either
  // all of them are stored or, on any failure, none.
  [[nodiscard]] RegStatus Apply(std::string_view hive, std::string_view path,
                                const std::vector<RegistryChange>& changes);

  // A read transaction: from the first query after BeginRead until EndRead every query
  // sees the database as it was at that first query, and the file is locked only once
  // for the lot. Other processes' writes wait meanwhile, so keep it short. Writing
  // ends it first (EndRead is implied).
  [[nodiscard]] RegStatus BeginRead();
  void EndRead();
  [[nodiscard]] bool reading() const { return reading_; }

  // False once the file at path() is no longer the one this connection opened (removed,
  // or replaced by a new database): a caller that must see the file as it is now then
  // opens it afresh.
  [[nodiscard]] bool IsCurrentFile() const;

  // The description of the last kFailed, naming the database file.
  [[nodiscard]] const std::string& error() const { return error_; }
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  struct Impl;
  // Keeps the database path and SQLite's text of the last failure for error(); kFailed.
  RegStatus Failed();
  RegistryStore(std::string path, std::unique_ptr<Impl> impl);
  static RegStatus Connect(const std::string& path, bool create,
                           std::unique_ptr<RegistryStore>* store, std::string* error);

  std::string path_;
  std::unique_ptr<Impl> impl_;
  bool reading_ = false;
  uint64_t device_ = 0;
  uint64_t inode_ = 0;
  std::string error_;
};

// Points CCADDIN_REGISTRY at `path` for the guard's lifetime (nothing happens when `path`
// is empty), so that a command's --db option reaches the component and an in-process
// caller's environment is as it was afterwards.
class ScopedRegistryPath {
 public:
  explicit ScopedRegistryPath(const std::string& path);
  ~ScopedRegistryPath();
  ScopedRegistryPath(const ScopedRegistryPath&) = delete;
  ScopedRegistryPath& operator=(const ScopedRegistryPath&) = delete;

 private:
  bool active_;
  bool had_ = false;
  std::string previous_;
};

}  // namespace ccaddin
