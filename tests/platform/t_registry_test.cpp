#include "platform/t_registry.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>

#include "platform/registry_store.h"
#include "support/processes.h"
#include "support/test_registry.h"

namespace ccaddin {
namespace {

using testing::TestRegistry;

constexpr const char* kKey = "SOFTWARE\\Tamberin\\ccaddin\\";

TEST(TRegistry, ReadsOnlyStringValuesCutAtTheirFirstNul) {
  TestRegistry reg;
  reg.SetRaw(RegistryValue{"SaveReceipts", kRegDword, std::string("\x01\0\0\0", 4)});
  reg.SetRaw(RegistryValue{"Expand", kRegExpandSz, StringValueData("x")});
  reg.SetRaw(RegistryValue{"Two", kRegSz, std::string("ab\0cd\0", 6)});
  reg.SetRaw(RegistryValue{"Unterminated", kRegSz, "xyz"});
  reg.SetRaw(RegistryValue{"Empty", kRegSz, ""});
  struct Case {
    const char* name;
    int16_t result;
    const char* value;
  };
  const Case cases[] = {{"Two", 0, "ab"},        {"Unterminated", 0, "xyz"}, {"Empty", 0, ""},
                        {"SaveReceipts", 1, ""}, {"Expand", 1, ""},          {"Missing", 1, ""}};
  TRegistry registry;
  for (const Case& c : cases) {
    std::string value = "left over";
    EXPECT_EQ(registry.GetRegistryValue(kKey, c.name, value), c.result) << c.name;
    EXPECT_EQ(value, c.value) << c.name;
  }
  // Values of another type or missing values are not failures.
  EXPECT_EQ(registry.strErrorMessage(), "");
}

TEST(TRegistry, MissingKeyOrDatabaseCannotBeOpenedAndNothingIsCreated) {
  for (const auto start : {TestRegistry::Start::kNoDatabase, TestRegistry::Start::kWithoutKey}) {
    TestRegistry reg(start);
    TRegistry registry;
    std::string value = "x";
    EXPECT_EQ(registry.GetRegistryValue(kKey, "BaseCurrency", value), 1);
    EXPECT_EQ(value, "");
    EXPECT_EQ(registry.strErrorMessage(), "Failed opening registry key");

    TRegistry writer;
    writer.SaveRegistryValue(kKey, "BaseCurrency", "GBP");
    EXPECT_EQ(writer.strErrorMessage(), "Failed opening registry key");
    EXPECT_EQ(std::filesystem::exists(reg.path()), start == TestRegistry::Start::kWithoutKey);
    if (start == TestRegistry::Start::kWithoutKey) {
      std::unique_ptr<RegistryStore> store;
      std::string error;
      ASSERT_EQ(RegistryStore::Open(reg.path(), &store, &error), RegStatus::kOk);
      int64_t key = 0;
      EXPECT_EQ(store->OpenKey(kHkeyLocalMachine, kKey, &key), RegStatus::kNotFound);
    }
  }
}

TEST(TRegistry, SaveWritesAStringValueOverWhateverWasThere) {
  TestRegistry reg;
  reg.SetRaw(RegistryValue{"SaveReceipts", kRegDword, std::string("\x01\0\0\0", 4)});
  TRegistry registry;
  registry.SaveRegistryValue(kKey, "SaveReceipts", "1");
  registry.SaveRegistryValue(kKey, "Receipt\xE9", "caf\xE9");  // Windows-1252 text
  EXPECT_EQ(registry.strErrorMessage(), "");
  const auto all = reg.All();
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[0], (RegistryValue{"Receipt\xE9", kRegSz, std::string("caf\xE9\0", 5)}));
  EXPECT_EQ(all[1], (RegistryValue{"SaveReceipts", kRegSz, std::string("1\0", 2)}));
}

TEST(TRegistry, EachCallSeesTheDatabaseAsItIsNow) {
  TestRegistry reg;
  reg.Set("Mode", "0");
  TRegistry registry;
  std::string value;
  ASSERT_EQ(registry.GetRegistryValue(kKey, "Mode", value), 0);
  reg.Set("Mode", "1");  // another process changes it between two reads
  ASSERT_EQ(registry.GetRegistryValue(kKey, "Mode", value), 0);
  EXPECT_EQ(value, "1");

  std::filesystem::remove(reg.path());
  EXPECT_EQ(registry.GetRegistryValue(kKey, "Mode", value), 1);
  EXPECT_EQ(registry.strErrorMessage(), "Failed opening registry key");
}

TEST(TRegistry, ASnapshotReadsOneStateUntilItEnds) {
  TestRegistry reg;
  reg.Set("Mode", "0");
  // The writer is another process, forked before this one opens the database (an open
  // SQLite connection must not cross a fork). Pipes order the two.
  int go[2];
  int started[2];
  ASSERT_EQ(pipe(go), 0);
  ASSERT_EQ(pipe(started), 0);
  const pid_t child = testing::StartChild([&] {
    char byte = 0;
    if (read(go[0], &byte, 1) != 1) return 2;
    if (write(started[1], &byte, 1) != 1) return 2;
    TRegistry writer;
    writer.SaveRegistryValue(kKey, "Mode", "1");  // waits for the snapshot to end
    return writer.strErrorMessage().empty() ? 0 : 1;
  });
  ASSERT_NE(child, -1);
  TRegistry registry;
  registry.BeginSnapshot();
  std::string value;
  ASSERT_EQ(registry.GetRegistryValue(kKey, "Mode", value), 0);
  char byte = 'x';
  ASSERT_EQ(write(go[1], &byte, 1), 1);
  ASSERT_EQ(read(started[0], &byte, 1), 1);
  EXPECT_EQ(registry.GetRegistryValue(kKey, "Mode", value), 0);
  EXPECT_EQ(value, "0");
  registry.EndSnapshot();
  EXPECT_EQ(testing::WaitChild(child), 0);
  EXPECT_EQ(registry.GetRegistryValue(kKey, "Mode", value), 0);
  EXPECT_EQ(value, "1");
  for (const int fd : {go[0], go[1], started[0], started[1]}) close(fd);

  // Writing from inside a snapshot ends it first; the write is not lost.
  registry.BeginSnapshot();
  ASSERT_EQ(registry.GetRegistryValue(kKey, "Mode", value), 0);
  registry.SaveRegistryValue(kKey, "Mode", "2");
  EXPECT_EQ(registry.strErrorMessage(), "");
  EXPECT_EQ(reg.Text("Mode"), "2");
}

TEST(TRegistry, CorruptDatabaseReadsAsAKeyThatCannotBeOpenedAndIsNeverOverwritten) {
  TestRegistry reg(TestRegistry::Start::kNoDatabase);
  const std::string garbage = "This is not a database, just a file someone put here.\n";
  reg.dir().Write("registry.db", garbage);

  TRegistry registry;
  std::string value = "x";
  EXPECT_EQ(registry.GetRegistryValue(kKey, "BaseCurrency", value), 1);
  EXPECT_EQ(value, "");
  EXPECT_EQ(registry.strErrorMessage(),
            "Failed opening registry key - " + reg.path() + ": file is not a database");
  registry.SaveRegistryValue(kKey, "BaseCurrency", "GBP");
  EXPECT_EQ(registry.strErrorMessage(),
            "Failed opening registry key - " + reg.path() + ": file is not a database");
  EXPECT_EQ(reg.dir().Read("registry.db"), garbage);
}

TEST(TRegistry, RefusedWriteLeavesTheRegistryUnchangedAndTheErrorStays) {
  TestRegistry reg;
  reg.Set("BaseCurrency", "GBP");
  {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(reg.path().c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db,
                           "CREATE TRIGGER refuse BEFORE UPDATE ON reg_values "
                           "BEGIN SELECT RAISE(ABORT, 'disk says no'); END;",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(db);
  }
  TRegistry registry;
  registry.SaveRegistryValue(kKey, "BaseCurrency", "EUR");
  EXPECT_EQ(registry.strErrorMessage(),
            "Failed updating registry setting - " + reg.path() + ": disk says no");
  EXPECT_EQ(reg.Text("BaseCurrency"), "GBP");
  // A later success does not clear the message.
  registry.SaveRegistryValue(kKey, "NewValue", "1");
  std::string value;
  EXPECT_EQ(registry.GetRegistryValue(kKey, "NewValue", value), 0);
  EXPECT_EQ(registry.strErrorMessage(),
            "Failed updating registry setting - " + reg.path() + ": disk says no");
}

// Two processes write at the same time: each its own series of values plus one value
// they both fight over. Afterwards every value is present, whole and as last written.
TEST(TRegistry, TwoProcessesWritingAtOnceLoseNothing) {
  TestRegistry reg;
  constexpr int kWrites = 150;
  const auto writer = [&](char id) {
    int failures = 0;
    for (int i = 0; i < kWrites; ++i) {
      const std::string name = std::string(1, id).append(std::to_string(i));
      const std::string text = std::string(200 + i, id);  // long enough to span a write
      TRegistry registry;  // a new object per write, as the component makes them
      registry.SaveRegistryValue(kKey, name, text);
      registry.SaveRegistryValue(kKey, "Contended", text);
      std::string back;
      if (!registry.strErrorMessage().empty() || registry.GetRegistryValue(kKey, name, back) != 0 ||
          back != text) {
        ++failures;
      }
      // A snapshot read while the other process writes sees one whole value.
      TRegistry reader;
      reader.BeginSnapshot();
      if (reader.GetRegistryValue(kKey, "Contended", back) != 0 || back.size() < 200 ||
          back.find_first_not_of(back[0]) != std::string::npos) {
        ++failures;
      }
    }
    return failures;
  };
  std::vector<pid_t> children;
  for (const char id : {'a', 'b'}) {
    children.push_back(testing::StartChild([&] { return writer(id) == 0 ? 0 : 1; }));
  }
  for (const pid_t pid : children) {
    EXPECT_EQ(testing::WaitChild(pid), 0) << "a writer saw a failure or a wrong value";
  }
  TRegistry registry;
  std::string value;
  for (const char id : {'a', 'b'}) {
    for (int i = 0; i < kWrites; ++i) {
      ASSERT_EQ(
          registry.GetRegistryValue(kKey, std::string(1, id).append(std::to_string(i)), value), 0);
      EXPECT_EQ(value, std::string(200 + i, id));
    }
  }
  ASSERT_EQ(registry.GetRegistryValue(kKey, "Contended", value), 0);
  EXPECT_TRUE(value == std::string(200 + kWrites - 1, 'a') ||
              value == std::string(200 + kWrites - 1, 'b'))
      << value;
  EXPECT_EQ(reg.All().size(), 2u * kWrites + 1);
}

}  // namespace
}  // namespace ccaddin
