#include "platform/registry_store.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/text_encoding.h"

namespace ccaddin {

namespace {

// Marks the file as ours ("CCAR"), so that a database written by anything else is
// recognised and left alone.
constexpr int kApplicationId = 0x43434152;
constexpr int kSchemaVersion = 1;

constexpr const char* kSchema = R"sql(
CREATE TABLE reg_keys(
  id INTEGER PRIMARY KEY,
  hive TEXT NOT NULL COLLATE NOCASE,
  path TEXT NOT NULL COLLATE NOCASE,
  UNIQUE(hive, path));
CREATE TABLE reg_values(
  key_id INTEGER NOT NULL REFERENCES reg_keys(id) ON DELETE CASCADE,
  name TEXT NOT NULL COLLATE NOCASE,
  type INTEGER NOT NULL,
  data BLOB NOT NULL,
  PRIMARY KEY(key_id, name)) WITHOUT ROWID;
PRAGMA application_id = 1128481106;
PRAGMA user_version = 1;
)sql";
static_assert(kApplicationId == 1128481106, "keep the schema's application_id in step");

enum StatementId {
  kFindKey,
  kInsertKey,
  kQueryValue,
  kUpsertValue,
  kDeleteValue,
  kListValues,
  kStatementCount,
};

constexpr std::array<const char*, kStatementCount> kStatementSql = {
    "SELECT id FROM reg_keys WHERE hive = ?1 AND path = ?2",
    "INSERT INTO reg_keys(hive, path) VALUES(?1, ?2) ON CONFLICT DO NOTHING",
    "SELECT type, data FROM reg_values WHERE key_id = ?1 AND name = ?2",
    // One statement, so the key test and the write are atomic without a transaction.
    "INSERT INTO reg_values(key_id, name, type, data) SELECT id, ?2, ?3, ?4 FROM reg_keys "
    "WHERE id = ?1 ON CONFLICT(key_id, name) DO UPDATE SET type = excluded.type, "
    "data = excluded.data",
    "DELETE FROM reg_values WHERE key_id = ?1 AND name = ?2",
    "SELECT name, type, data FROM reg_values WHERE key_id = ?1 ORDER BY name",
};

// Names are Windows-1252 inside the component and UTF-8 in the database, so that the
// sqlite3 shell and NOCASE see proper text; the mapping is one to one.
std::string DbText(std::string_view ansi) {
  return Windows1252ToUtf8(ansi);
}
std::string AnsiText(const unsigned char* utf8) {
  return utf8 == nullptr ? std::string() : Utf8ToWindows1252(reinterpret_cast<const char*>(utf8));
}

// Registry semantics for a sub-key path: a trailing "\" is ignored; an empty path or an
// empty component ("a\\b", "\a") names no key.
bool NormaliseKeyPath(std::string_view path, std::string* normal) {
  while (!path.empty() && path.back() == '\\') path.remove_suffix(1);
  if (path.empty() || path.front() == '\\' || path.find("\\\\") != std::string_view::npos) {
    return false;
  }
  *normal = DbText(path);
  return true;
}

}  // namespace

std::string RegTypeName(uint32_t type) {
  switch (type) {
    case kRegNone:
      return "REG_NONE";
    case kRegSz:
      return "REG_SZ";
    case kRegExpandSz:
      return "REG_EXPAND_SZ";
    case kRegBinary:
      return "REG_BINARY";
    case kRegDword:
      return "REG_DWORD";
    case 5:
      return "REG_DWORD_BIG_ENDIAN";
    case 6:
      return "REG_LINK";
    case kRegMultiSz:
      return "REG_MULTI_SZ";
    case kRegQword:
      return "REG_QWORD";
    default:
      return "REG_TYPE_" + std::to_string(type);
  }
}

std::string StringValueData(std::string_view text) {
  std::string data(text);
  data += '\0';
  return data;
}

struct RegistryStore::Impl {
  sqlite3* db = nullptr;
  std::array<sqlite3_stmt*, kStatementCount> statements{};

  ~Impl() {
    for (sqlite3_stmt* s : statements) sqlite3_finalize(s);
    sqlite3_close_v2(db);
  }

  // A cached statement, reset and unbound when the guard goes.
  class Statement {
   public:
    Statement(Impl& impl, StatementId id) {
      sqlite3_stmt*& slot = impl.statements[id];
      if (slot == nullptr) {
        rc_ = sqlite3_prepare_v3(impl.db, kStatementSql[id], -1, SQLITE_PREPARE_PERSISTENT, &slot,
                                 nullptr);
      }
      stmt_ = slot;
    }
    ~Statement() {
      if (stmt_ != nullptr) {
        sqlite3_reset(stmt_);
        sqlite3_clear_bindings(stmt_);
      }
    }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    [[nodiscard]] bool ok() const { return rc_ == SQLITE_OK && stmt_ != nullptr; }
    void Bind(int index, int64_t v) { sqlite3_bind_int64(stmt_, index, v); }
    void Bind(int index, const std::string& text) {
      sqlite3_bind_text(stmt_, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    }
    void BindBlob(int index, const std::string& bytes) {
      sqlite3_bind_blob(stmt_, index, bytes.data(), static_cast<int>(bytes.size()),
                        SQLITE_TRANSIENT);
    }
    // SQLITE_ROW, SQLITE_DONE or an error code.
    int Step() { return sqlite3_step(stmt_); }
    [[nodiscard]] int64_t Int(int column) const { return sqlite3_column_int64(stmt_, column); }
    [[nodiscard]] std::string Blob(int column) const {
      const void* p = sqlite3_column_blob(stmt_, column);
      const int n = sqlite3_column_bytes(stmt_, column);
      return p == nullptr ? std::string() : std::string(static_cast<const char*>(p), n);
    }
    [[nodiscard]] const unsigned char* Text(int column) const {
      return sqlite3_column_text(stmt_, column);
    }

   private:
    sqlite3_stmt* stmt_ = nullptr;
    int rc_ = SQLITE_OK;
  };

  bool Exec(const char* sql) {
    return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
  }
  void Rollback() { sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr); }
};

RegistryStore::RegistryStore(std::string path, std::unique_ptr<Impl> impl)
    : path_(std::move(path)), impl_(std::move(impl)) {}

RegistryStore::~RegistryStore() = default;

std::string RegistryStore::DatabasePath() {
  const char* env = std::getenv(kPathVariable);
  return env != nullptr && *env != '\0' ? std::string(env) : std::string(kDefaultDatabasePath);
}

RegStatus RegistryStore::Open(const std::string& path, std::unique_ptr<RegistryStore>* store,
                              std::string* error) {
  return Connect(path, false, store, error);
}

RegStatus RegistryStore::Create(const std::string& path, std::unique_ptr<RegistryStore>* store,
                                std::string* error) {
  return Connect(path, true, store, error);
}

RegStatus RegistryStore::Connect(const std::string& path, bool create,
                                 std::unique_ptr<RegistryStore>* store, std::string* error) {
  store->reset();
  const auto fail = [&](const std::string& why) {
    *error = path + ": " + why;
    return RegStatus::kFailed;
  };
  struct stat st {};
  if (stat(path.c_str(), &st) != 0) {
    if (errno != ENOENT) return fail(std::strerror(errno));
    if (!create) return RegStatus::kNotFound;
    const std::filesystem::path parent = std::filesystem::path(path).parent_path();
    std::error_code ec;
    if (!parent.empty()) std::filesystem::create_directories(parent, ec);
    if (ec) return fail(ec.message());
  } else if (S_ISDIR(st.st_mode)) {
    return fail("is a folder, not a registry database");
  }

  auto impl = std::make_unique<Impl>();
  const int flags = SQLITE_OPEN_READWRITE | (create ? SQLITE_OPEN_CREATE : 0);
  if (sqlite3_open_v2(path.c_str(), &impl->db, flags, nullptr) != SQLITE_OK) {
    // The file may have gone between the test above and the open.
    if (!create && stat(path.c_str(), &st) != 0 && errno == ENOENT) return RegStatus::kNotFound;
    return fail(impl->db != nullptr ? sqlite3_errmsg(impl->db) : "out of memory");
  }
  sqlite3_busy_timeout(impl->db, kBusyTimeoutMs);

  // Reading the header is the first access to the file: a file that is not a database
  // fails here, before anything could be written to it.
  int application_id = 0;
  bool empty = false;
  {
    sqlite3_stmt* s = nullptr;
    int rc = sqlite3_prepare_v2(impl->db,
                                "SELECT (SELECT application_id FROM pragma_application_id), "
                                "(SELECT count(*) FROM sqlite_master)",
                                -1, &s, nullptr);
    if (rc == SQLITE_OK) rc = sqlite3_step(s);
    if (rc == SQLITE_ROW) {
      application_id = sqlite3_column_int(s, 0);
      empty = sqlite3_column_int(s, 1) == 0;
    }
    sqlite3_finalize(s);
    if (rc != SQLITE_ROW) {
      return fail(std::string(sqlite3_errmsg(impl->db)) +
                  (create ? "; it was left untouched" : ""));
    }
  }
  if (application_id != kApplicationId) {
    if (!(create && empty && application_id == 0)) {
      return fail(create ? "is not a ccaddin registry database; it was left untouched"
                         : "is not a ccaddin registry database");
    }
    if (!impl->Exec("BEGIN IMMEDIATE")) return fail(sqlite3_errmsg(impl->db));
    if (!impl->Exec(kSchema) || !impl->Exec("COMMIT")) {
      const std::string why = sqlite3_errmsg(impl->db);
      impl->Rollback();
      return fail(why);
    }
  }
  // Identify the file sqlite has open (it may have been created just now).
  if (stat(path.c_str(), &st) != 0) return fail(std::strerror(errno));
  store->reset(new RegistryStore(path, std::move(impl)));
  (*store)->device_ = st.st_dev;
  (*store)->inode_ = st.st_ino;
  return RegStatus::kOk;
}

RegStatus RegistryStore::Failed() {
  error_ = path_ + ": " + sqlite3_errmsg(impl_->db);
  return RegStatus::kFailed;
}

RegStatus RegistryStore::BeginRead() {
  if (reading_) return RegStatus::kOk;
  if (!impl_->Exec("BEGIN")) {
    return Failed();
  }
  reading_ = true;
  return RegStatus::kOk;
}

void RegistryStore::EndRead() {
  if (!reading_) return;
  reading_ = false;
  // A read transaction has nothing to commit; ending it only releases the lock.
  impl_->Rollback();
}

bool RegistryStore::IsCurrentFile() const {
  struct stat st {};
  return stat(path_.c_str(), &st) == 0 && st.st_dev == device_ && st.st_ino == inode_;
}

RegStatus RegistryStore::OpenKey(std::string_view hive, std::string_view path, int64_t* key) {
  std::string normal;
  if (!NormaliseKeyPath(path, &normal)) return RegStatus::kNotFound;
  Impl::Statement find(*impl_, kFindKey);
  if (!find.ok()) return Failed();
  find.Bind(1, std::string(hive));
  find.Bind(2, normal);
  const int rc = find.Step();
  if (rc == SQLITE_ROW) {
    *key = find.Int(0);
    return RegStatus::kOk;
  }
  if (rc == SQLITE_DONE) return RegStatus::kNotFound;
  return Failed();
}

RegStatus RegistryStore::CreateKey(std::string_view hive, std::string_view path, int64_t* key) {
  return Apply(hive, path, {}) == RegStatus::kOk ? OpenKey(hive, path, key) : RegStatus::kFailed;
}

RegStatus RegistryStore::QueryValue(int64_t key, std::string_view name, RegistryValue* value) {
  Impl::Statement query(*impl_, kQueryValue);
  if (!query.ok()) return Failed();
  query.Bind(1, key);
  query.Bind(2, DbText(name));
  const int rc = query.Step();
  if (rc == SQLITE_ROW) {
    value->name = std::string(name);
    value->type = static_cast<uint32_t>(query.Int(0));
    value->data = query.Blob(1);
    return RegStatus::kOk;
  }
  if (rc == SQLITE_DONE) return RegStatus::kNotFound;
  return Failed();
}

RegStatus RegistryStore::SetValue(int64_t key, const RegistryValue& value) {
  EndRead();
  Impl::Statement upsert(*impl_, kUpsertValue);
  if (!upsert.ok()) return Failed();
  upsert.Bind(1, key);
  upsert.Bind(2, DbText(value.name));
  upsert.Bind(3, static_cast<int64_t>(value.type));
  upsert.BindBlob(4, value.data);
  if (upsert.Step() != SQLITE_DONE) {
    return Failed();
  }
  return sqlite3_changes(impl_->db) > 0 ? RegStatus::kOk : RegStatus::kNotFound;
}

RegStatus RegistryStore::DeleteValue(int64_t key, std::string_view name) {
  EndRead();
  Impl::Statement del(*impl_, kDeleteValue);
  if (!del.ok()) return Failed();
  del.Bind(1, key);
  del.Bind(2, DbText(name));
  if (del.Step() != SQLITE_DONE) {
    return Failed();
  }
  return sqlite3_changes(impl_->db) > 0 ? RegStatus::kOk : RegStatus::kNotFound;
}

RegStatus RegistryStore::ListValues(int64_t key, std::vector<RegistryValue>* values) {
  values->clear();
  Impl::Statement list(*impl_, kListValues);
  if (!list.ok()) return Failed();
  list.Bind(1, key);
  int rc = 0;
  while ((rc = list.Step()) == SQLITE_ROW) {
    values->push_back(
        RegistryValue{AnsiText(list.Text(0)), static_cast<uint32_t>(list.Int(1)), list.Blob(2)});
  }
  if (rc != SQLITE_DONE) {
    values->clear();
    return Failed();
  }
  return RegStatus::kOk;
}

RegStatus RegistryStore::Apply(std::string_view hive, std::string_view path,
                               const std::vector<RegistryChange>& changes) {
  std::string normal;
  if (!NormaliseKeyPath(path, &normal)) {
    error_.assign(path);
    error_ += " is not a valid key path";
    return RegStatus::kFailed;
  }
  EndRead();
  const auto fail = [&] {
    const RegStatus failed = Failed();
    impl_->Rollback();
    return failed;
  };
  // IMMEDIATE takes the write lock up front, so the busy timeout covers the whole wait
  // instead of failing on a lock upgrade half-way through.
  if (!impl_->Exec("BEGIN IMMEDIATE")) {
    return Failed();
  }
  const std::string hive_text(hive);
  // The key and every missing ancestor, as the registry keeps a tree.
  for (size_t end = normal.find('\\');; end = normal.find('\\', end + 1)) {
    Impl::Statement insert(*impl_, kInsertKey);
    if (!insert.ok()) return fail();
    insert.Bind(1, hive_text);
    insert.Bind(2, normal.substr(0, end));
    if (insert.Step() != SQLITE_DONE) return fail();
    if (end == std::string::npos) break;
  }
  int64_t key = 0;
  {
    Impl::Statement find(*impl_, kFindKey);
    if (!find.ok()) return fail();
    find.Bind(1, hive_text);
    find.Bind(2, normal);
    if (find.Step() != SQLITE_ROW) return fail();
    key = find.Int(0);
  }
  for (const RegistryChange& change : changes) {
    Impl::Statement write(*impl_, change.remove ? kDeleteValue : kUpsertValue);
    if (!write.ok()) return fail();
    write.Bind(1, key);
    write.Bind(2, DbText(change.value.name));
    if (!change.remove) {
      write.Bind(3, static_cast<int64_t>(change.value.type));
      write.BindBlob(4, change.value.data);
    }
    if (write.Step() != SQLITE_DONE) return fail();
  }
  if (!impl_->Exec("COMMIT")) return fail();
  return RegStatus::kOk;
}

ScopedRegistryPath::ScopedRegistryPath(const std::string& path) : active_(!path.empty()) {
  if (!active_) return;
  if (const char* old = std::getenv(RegistryStore::kPathVariable)) {
    previous_ = old;
    had_ = true;
  }
  setenv(RegistryStore::kPathVariable, path.c_str(), 1);
}

ScopedRegistryPath::~ScopedRegistryPath() {
  if (!active_) return;
  if (had_) {
    setenv(RegistryStore::kPathVariable, previous_.c_str(), 1);
  } else {
    unsetenv(RegistryStore::kPathVariable);
  }
}

}  // namespace ccaddin
