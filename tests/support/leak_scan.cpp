#include "support/leak_scan.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <sqlite3.h>

namespace ccaddin::testing {
namespace {

bool LuhnValid(const std::string& digits) {
  int sum = 0;
  bool twice = false;
  for (auto it = digits.rbegin(); it != digits.rend(); ++it) {
    int d = *it - '0';
    if (twice) d = d * 2 > 9 ? d * 2 - 9 : d * 2;
    sum += d;
    twice = !twice;
  }
  return sum % 10 == 0;
}

// Every value of every table of an SQLite file, one by one: the file's own bytes put
// unrelated values side by side, and two time stamps in a row can pass the check.
std::vector<std::string> StoreValues(const std::string& path) {
  std::vector<std::string> values;
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
    std::vector<std::string> tables;
    sqlite3_exec(
        db, "SELECT name FROM sqlite_master WHERE type = 'table'",
        [](void* out, int, char** row, char**) {
          static_cast<std::vector<std::string>*>(out)->push_back(row[0]);
          return 0;
        },
        &tables, nullptr);
    for (const std::string& table : tables) {
      sqlite3_stmt* rows = nullptr;
      const std::string sql = "SELECT * FROM \"" + table + "\"";
      if (sqlite3_prepare_v2(db, sql.c_str(), -1, &rows, nullptr) != SQLITE_OK) continue;
      while (sqlite3_step(rows) == SQLITE_ROW) {
        for (int i = 0; i < sqlite3_column_count(rows); ++i) {
          const void* bytes = sqlite3_column_blob(rows, i);
          if (bytes != nullptr)
            values.emplace_back(static_cast<const char*>(bytes), sqlite3_column_bytes(rows, i));
        }
      }
      sqlite3_finalize(rows);
    }
  }
  sqlite3_close(db);
  return values;
}

// "YYYYMMDDHHMMSS", as the component records its dates; no card number reads like one.
bool IsTimeStamp(const std::string& digits) {
  const auto at = [&](size_t pos) { return std::stoi(digits.substr(pos, 2)); };
  return digits.size() == 14 && (digits.starts_with("19") || digits.starts_with("20")) &&
         at(4) >= 1 && at(4) <= 12 && at(6) >= 1 && at(6) <= 31 && at(8) <= 23 && at(10) <= 59 &&
         at(12) <= 59;
}

}  // namespace

std::vector<std::string> CardNumbersIn(const std::string& bytes) {
  std::vector<std::string> found;
  size_t i = 0;
  while (i < bytes.size()) {
    if (!std::isdigit(static_cast<unsigned char>(bytes[i]))) {
      ++i;
      continue;
    }
    size_t end = i;
    while (end < bytes.size() && std::isdigit(static_cast<unsigned char>(bytes[end]))) ++end;
    const std::string run = bytes.substr(i, end - i);
    if (run.size() >= 13 && run.size() <= 19 && LuhnValid(run) && !IsTimeStamp(run))
      found.push_back(run);
    i = end;
  }
  return found;
}

std::vector<std::string> CardNumbersInFiles(const std::string& folder,
                                            const std::vector<std::string>& except) {
  std::vector<std::string> found;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    const std::string name = entry.path().filename().string();
    if (std::find(except.begin(), except.end(), name) != except.end()) continue;
    // A store's write-ahead log, its index and its rollback journal are read through the
    // store itself; one whose store is gone is scanned as it is.
    const std::string path = entry.path().string();
    const size_t suffix = name.ends_with("-wal") || name.ends_with("-shm") ? 4
                          : name.ends_with("-journal")                     ? 8
                                                                           : 0;
    if (suffix != 0 && std::filesystem::exists(path.substr(0, path.size() - suffix))) continue;
    std::ifstream in(entry.path(), std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const std::vector<std::string> values = bytes.starts_with("SQLite format 3")
                                                ? StoreValues(entry.path().string())
                                                : std::vector<std::string>{bytes};
    for (const std::string& value : values) {
      for (const std::string& number : CardNumbersIn(value))
        found.push_back(entry.path().string() + ": " + number);
    }
  }
  return found;
}

}  // namespace ccaddin::testing
