#include "platform/registry_store.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>

#include "support/temp_dir.h"

namespace ccaddin {
namespace {

using testing::TempDir;

constexpr const char* kKey = "SOFTWARE\\Tamberin\\ccaddin\\";

std::unique_ptr<RegistryStore> CreateStore(const std::string& path) {
  std::unique_ptr<RegistryStore> store;
  std::string error;
  EXPECT_EQ(RegistryStore::Create(path, &store, &error), RegStatus::kOk) << error;
  return store;
}

void Sql(const std::string& path, const char* sql) {
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
  sqlite3_close(db);
}

TEST(RegistryStore, OpenNeverCreatesADatabase) {
  TempDir dir;
  const std::string path = dir.file("sub/registry.db");
  std::unique_ptr<RegistryStore> store;
  std::string error;
  EXPECT_EQ(RegistryStore::Open(path, &store, &error), RegStatus::kNotFound);
  EXPECT_EQ(store, nullptr);
  EXPECT_FALSE(std::filesystem::exists(dir.file("sub")));

  // Create makes the folder too; opening afterwards finds it.
  CreateStore(path);
  EXPECT_EQ(RegistryStore::Open(path, &store, &error), RegStatus::kOk) << error;
}

TEST(RegistryStore, DatabasePathComesFromTheEnvironmentElseTheMachineDefault) {
  setenv(RegistryStore::kPathVariable, "/tmp/elsewhere.db", 1);
  EXPECT_EQ(RegistryStore::DatabasePath(), "/tmp/elsewhere.db");
  setenv(RegistryStore::kPathVariable, "", 1);
  EXPECT_EQ(RegistryStore::DatabasePath(), "/var/lib/ccaddin/registry.db");
  unsetenv(RegistryStore::kPathVariable);
  EXPECT_EQ(RegistryStore::DatabasePath(), "/var/lib/ccaddin/registry.db");
}

TEST(RegistryStore, KeysFollowRegistryNamingRules) {
  TempDir dir;
  auto store = CreateStore(dir.file("r.db"));
  int64_t created = 0;
  int64_t found = 0;
  ASSERT_EQ(store->CreateKey(kHkeyLocalMachine, kKey, &created), RegStatus::kOk);
  // Case and a trailing backslash do not matter; ancestors exist as keys of their own.
  EXPECT_EQ(store->OpenKey(kHkeyLocalMachine, "software\\TAMBERIN\\ccaddin", &found),
            RegStatus::kOk);
  EXPECT_EQ(found, created);
  EXPECT_EQ(store->OpenKey(kHkeyLocalMachine, "SOFTWARE\\Tamberin", &found), RegStatus::kOk);
  EXPECT_NE(found, created);
  for (const char* bad : {"", "\\", "\\SOFTWARE", "SOFTWARE\\\\Tamberin", "SOFTWARE\\Other"}) {
    EXPECT_EQ(store->OpenKey(kHkeyLocalMachine, bad, &found), RegStatus::kNotFound) << bad;
  }
  EXPECT_EQ(store->OpenKey("HKEY_CURRENT_USER", kKey, &found), RegStatus::kNotFound);
  // Creating again opens the same key.
  ASSERT_EQ(store->CreateKey(kHkeyLocalMachine, kKey, &found), RegStatus::kOk);
  EXPECT_EQ(found, created);
}

TEST(RegistryStore, ValuesKeepTypeAndRawBytesAndIgnoreNameCase) {
  TempDir dir;
  auto store = CreateStore(dir.file("r.db"));
  int64_t key = 0;
  ASSERT_EQ(store->CreateKey(kHkeyLocalMachine, kKey, &key), RegStatus::kOk);
  const RegistryValue binary{"Caf\xE9", kRegBinary, std::string("\x00\x01\xFF", 3)};
  const RegistryValue empty{"Empty", kRegBinary, ""};
  ASSERT_EQ(store->SetValue(key, binary), RegStatus::kOk);
  ASSERT_EQ(store->SetValue(key, empty), RegStatus::kOk);
  ASSERT_EQ(store->SetValue(key, RegistryValue{"Mode", kRegSz, StringValueData("1")}),
            RegStatus::kOk);

  RegistryValue read;
  ASSERT_EQ(store->QueryValue(key, "CAF\xE9", &read), RegStatus::kOk);
  EXPECT_EQ(read.type, kRegBinary);
  EXPECT_EQ(read.data, binary.data);
  ASSERT_EQ(store->QueryValue(key, "empty", &read), RegStatus::kOk);
  EXPECT_EQ(read.data, "");

  // Rewriting under another spelling and type replaces the value and keeps its name.
  ASSERT_EQ(store->SetValue(key, RegistryValue{"MODE", kRegDword, std::string("\x01\0\0\0", 4)}),
            RegStatus::kOk);
  std::vector<RegistryValue> all;
  ASSERT_EQ(store->ListValues(key, &all), RegStatus::kOk);
  ASSERT_EQ(all.size(), 3u);
  EXPECT_EQ(all[2], (RegistryValue{"Mode", kRegDword, std::string("\x01\0\0\0", 4)}));
  EXPECT_EQ(all[0].name, "Caf\xE9");

  EXPECT_EQ(store->DeleteValue(key, "mode"), RegStatus::kOk);
  EXPECT_EQ(store->DeleteValue(key, "mode"), RegStatus::kNotFound);
  EXPECT_EQ(store->SetValue(key + 1000, binary), RegStatus::kNotFound);  // no such key
}

TEST(RegistryStore, FilesThatAreNotOursAreRefusedAndLeftUntouched) {
  TempDir dir;
  const std::string garbage(3000, 'x');
  const std::string text_file = dir.Write("text.db", garbage);
  const std::string foreign = dir.file("foreign.db");
  Sql(foreign, "CREATE TABLE t(x); INSERT INTO t VALUES(1);");
  const std::string foreign_bytes = dir.Read("foreign.db");

  std::unique_ptr<RegistryStore> store;
  std::string error;
  EXPECT_EQ(RegistryStore::Open(text_file, &store, &error), RegStatus::kFailed);
  EXPECT_EQ(error, text_file + ": file is not a database");
  EXPECT_EQ(RegistryStore::Create(text_file, &store, &error), RegStatus::kFailed);
  EXPECT_EQ(RegistryStore::Open(foreign, &store, &error), RegStatus::kFailed);
  EXPECT_EQ(error, foreign + ": is not a ccaddin registry database");
  EXPECT_EQ(RegistryStore::Create(foreign, &store, &error), RegStatus::kFailed);
  EXPECT_NE(error.find("left untouched"), std::string::npos);
  EXPECT_EQ(RegistryStore::Open(dir.path().string(), &store, &error), RegStatus::kFailed);

  EXPECT_EQ(dir.Read("text.db"), garbage);
  EXPECT_EQ(dir.Read("foreign.db"), foreign_bytes);
  EXPECT_FALSE(std::filesystem::exists(dir.file("text.db-journal")));

  // An empty file holds nothing to lose: Create makes it a registry.
  const std::string empty = dir.Write("empty.db", "");
  EXPECT_EQ(RegistryStore::Open(empty, &store, &error), RegStatus::kFailed);
  EXPECT_EQ(RegistryStore::Create(empty, &store, &error), RegStatus::kOk) << error;
}

TEST(RegistryStore, ApplyStoresEverythingOrNothing) {
  TempDir dir;
  const std::string path = dir.file("r.db");
  auto store = CreateStore(path);
  int64_t key = 0;
  ASSERT_EQ(store->CreateKey(kHkeyLocalMachine, kKey, &key), RegStatus::kOk);
  ASSERT_EQ(store->SetValue(key, RegistryValue{"Old", kRegSz, StringValueData("kept")}),
            RegStatus::kOk);
  store.reset();
  // Fault injection: the database refuses one particular value.
  Sql(path,
      "CREATE TRIGGER refuse BEFORE INSERT ON reg_values WHEN NEW.name = 'Poison' "
      "BEGIN SELECT RAISE(ABORT, 'refused by the test'); END;");
  store = CreateStore(path);

  const std::vector<RegistryChange> changes = {
      {RegistryValue{"A", kRegSz, StringValueData("1")}},
      {RegistryValue{"Old", kRegSz, ""}, true},
      {RegistryValue{"Poison", kRegSz, StringValueData("x")}},
  };
  EXPECT_EQ(store->Apply(kHkeyLocalMachine, kKey, changes), RegStatus::kFailed);
  EXPECT_NE(store->error().find("refused by the test"), std::string::npos);
  std::vector<RegistryValue> all;
  ASSERT_EQ(store->ListValues(key, &all), RegStatus::kOk);
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0].name, "Old");

  // Without the poison the same batch goes through, removal included, and a missing key
  // is created on the way.
  EXPECT_EQ(store->Apply(kHkeyLocalMachine, kKey, {changes[0], changes[1]}), RegStatus::kOk);
  ASSERT_EQ(store->ListValues(key, &all), RegStatus::kOk);
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0].name, "A");
  EXPECT_EQ(store->Apply(kHkeyLocalMachine, "SOFTWARE\\New\\Key", {changes[0]}), RegStatus::kOk);
  int64_t created = 0;
  EXPECT_EQ(store->OpenKey(kHkeyLocalMachine, "SOFTWARE\\New\\Key", &created), RegStatus::kOk);
}

TEST(RegistryStore, NoticesWhenTheFileWasReplaced) {
  TempDir dir;
  const std::string path = dir.file("r.db");
  auto store = CreateStore(path);
  EXPECT_TRUE(store->IsCurrentFile());
  std::filesystem::remove(path);
  EXPECT_FALSE(store->IsCurrentFile());
  CreateStore(path);
  EXPECT_FALSE(store->IsCurrentFile());
}

}  // namespace
}  // namespace ccaddin
