#include "platform/cc_addin_registry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

#include "platform/cc_addin_settings.h"
#include "platform/virtual_env.h"
#include "support/test_registry.h"

namespace ccaddin {
namespace {

using testing::TestRegistry;

TCcAddinRegistry Loaded() {
  TCcAddinRegistry settings;
  settings.ReadRegistry();
  return settings;
}

// Every property as text, for comparing whole records.
std::vector<std::string> Snapshot(const TCcAddinRegistry& settings) {
  std::vector<std::string> out;
  for (const SettingDef& s : CcAddinSettings()) {
    out.push_back(std::string(s.property) + "=" + SettingDisplayText(settings, s, "."));
  }
  return out;
}

TEST(CcAddinSettings, EveryNumberFrom0To90NamesOneSetting) {
  std::set<std::string_view> names;
  for (int32_t number = 0; number <= 90; ++number) {
    const SettingDef* s = FindSettingByNumber(number);
    ASSERT_NE(s, nullptr) << number;
    names.insert(s->value_name);
  }
  EXPECT_EQ(names.size(), 91u);
  EXPECT_EQ(FindSettingByNumber(91), nullptr);
  ASSERT_NE(FindSettingByValueName("semiintegrated"), nullptr);
  EXPECT_EQ(FindSettingByValueName("semiintegrated")->property, "lOperatingMode");
}

TEST(TCcAddinRegistry, MissingKeyMissingDatabaseAndCorruptDatabaseAllGiveTheDefaults) {
  std::vector<std::string> defaults;
  {
    TestRegistry reg;
    defaults = Snapshot(Loaded());
  }
  for (const auto start : {TestRegistry::Start::kWithoutKey, TestRegistry::Start::kNoDatabase}) {
    TestRegistry reg(start);
    EXPECT_EQ(Snapshot(Loaded()), defaults);
  }
  TestRegistry reg(TestRegistry::Start::kNoDatabase);
  reg.dir().Write("registry.db", std::string(4096, '\x5A'));
  EXPECT_EQ(Snapshot(Loaded()), defaults);
  EXPECT_EQ(reg.dir().Read("registry.db"), std::string(4096, '\x5A'));
}

TEST(TCcAddinRegistry, ConversionRulesOnReading) {
  struct Case {
    const char* value_name;
    const char* stored;  // nullptr: no value at all
    const char* loaded;  // the property as SettingDisplayText shows it
  };
  const Case cases[] = {
      // P: a folder gets its trailing separator
      {"ConfigFileLocation", "/etc/cfg", "/etc/cfg/"},
      {"ConfigFileLocation", "/etc/cfg/", "/etc/cfg/"},
      // T3
      {"DccEnabled", "yes", "2"},
      {"DccEnabled", "0", "0"},
      {"DccEnabled", "", "0"},
      {"DecimalInCashback", "01", "2"},
      // B1 against B0
      {"SaveReceipts", "yes", "False"},
      {"SaveReceipts", "-1", "False"},
      {"SaveReceipts", "1 ", "False"},
      {"SaveReceipts", "1", "True"},
      {"CashbackEnabled", "yes", "True"},
      {"CashbackEnabled", "-1", "True"},
      {"CashbackEnabled", "", "False"},
      // BT
      {"CutPaperAfterCustomerCopy", "2", "False"},
      {"CutPaperAfterCustomerCopy", "", "True"},
      {"CutPaperAfterCustomerCopy", nullptr, "True"},
      // N and N(x): only an empty text takes the default
      {"WindowsFontSize", "abc", "0"},
      {"WindowsFontSize", "", "10"},
      {"WindowsFontSize", "12.5", "12"},
      {"WindowsFontSize", "13.5", "14"},
      {"RmsReceiptPrinterNo", nullptr, "1"},
      {"PrinterBaudRate", " 9600 ", "9600"},
      {"PrinterBaudRate", "99999999999", "0"},
      // S(x)
      {"TrackStartID", "", "3B"},
      {"TrackStartID", "25", "25"},
      // R
      {"PrinterStopbit", "1.5", "1.5"},
      {"PrinterStopbit", "two", "0"},
      // S: texts exactly as stored, case and spaces kept
      {"BaseCurrency", " gbp ", " gbp "},
  };
  for (const Case& c : cases) {
    TestRegistry reg;
    if (c.stored != nullptr) reg.Set(c.value_name, c.stored);
    const SettingDef* s = FindSettingByValueName(c.value_name);
    ASSERT_NE(s, nullptr) << c.value_name;
    EXPECT_EQ(SettingDisplayText(Loaded(), *s, "."), c.loaded)
        << c.value_name << " stored as \"" << (c.stored ? c.stored : "(none)") << '"';
  }
}

TEST(TCcAddinRegistry, NumbersFollowTheLocaleDecimalSeparator) {
  TestRegistry reg;
  VirtualEnv env;
  ScopedEnv scoped(&env);
  env.SetDecimalSeparator(",");
  reg.Set("PrinterStopbit", "1,5");
  reg.Set("LineFeedsBeforePaperCut", "2,5");
  reg.Set("PrinterDatabits", "7.5");  // not a number with a comma separator
  const TCcAddinRegistry settings = Loaded();
  EXPECT_EQ(settings.dPrinterStopbit, 1.5);
  EXPECT_EQ(settings.lLineFeedsBeforePaperCut, 2);
  EXPECT_EQ(settings.lPrinterdatabits, 0);
}

TEST(TCcAddinRegistry, ValuesOfAnotherTypeReadAsMissing) {
  TestRegistry reg;
  reg.SetRaw(RegistryValue{"SaveReceipts", kRegDword, std::string("\x01\0\0\0", 4)});
  reg.SetRaw(RegistryValue{"WindowsFontSize", kRegDword, std::string("\x0C\0\0\0", 4)});
  reg.SetRaw(RegistryValue{"TrackStartID", kRegBinary, "\x25"});
  const TCcAddinRegistry settings = Loaded();
  EXPECT_FALSE(settings.bSaveReceipts);
  EXPECT_EQ(settings.lWindowsFontSize, 10);
  EXPECT_EQ(settings.strTrackStartId, "3B");
}

TEST(TCcAddinRegistry, EachValueLandsInItsOwnProperty) {
  TestRegistry reg;
  // Names that differ from their property, and a name written in another case.
  reg.Set("RmsTill", "7");
  reg.Set("SemiIntegrated", "3");
  reg.Set("Mode", "1");
  reg.Set("CustomerNotPresentOnly", "1");
  reg.Set("RefundSigNoMerchantReceipt", "1");
  reg.Set("MerchantReceiptsAvailableToClients", "1");
  reg.Set("E2eeStoreOfflineTxnsOnPed", "1");
  reg.Set("DumpEmvBitmap", "255");
  reg.Set("basecurrency", "GBP");
  TCcAddinRegistry settings = Loaded();
  EXPECT_EQ(settings.lTillType, 7);
  EXPECT_EQ(settings.lOperatingMode, 3);
  EXPECT_TRUE(settings.bTestMode);
  EXPECT_TRUE(settings.bMailOrderOnly);
  EXPECT_TRUE(settings.bRefundSigOnMerchCopy);
  EXPECT_TRUE(settings.bMakeMerchantReceiptsAvailableToClient);
  EXPECT_TRUE(settings.bE2eeStoreTransactionOnPed);
  EXPECT_EQ(settings.lDumpEmvBitmap, 255);
  EXPECT_EQ(settings.strbaseCurrency, "GBP");
}

TEST(TCcAddinRegistry, WriteRegistryStoresOneSettingInItsTextForm) {
  TestRegistry reg;
  VirtualEnv env;
  ScopedEnv scoped(&env);
  env.SetDecimalSeparator(",");
  TCcAddinRegistry settings;
  settings.bSaveReceipts = true;
  settings.bAppendLineFeed = false;
  settings.lLeftTwips = -42;
  settings.dPrinterStopbit = 1.5;
  settings.strIdlePrompt1 = "Insert card \xE9";
  settings.lDumpEmvBitmap = 9;

  const std::pair<int32_t, const char*> writes[] = {
      {19, "1"}, {0, "0"}, {68, "-42"}, {49, "1,5"}, {26, "Insert card \xE9"}};
  for (const auto& [number, text] : writes) {
    const size_t before = reg.All().size();
    settings.WriteRegistry(number);
    const SettingDef* s = FindSettingByNumber(number);
    EXPECT_EQ(reg.Text(std::string(s->value_name)), text) << number;
    EXPECT_EQ(reg.All().size(), before + 1) << "one value per write";
  }
  // 89 is read only; numbers outside 0-90 name nothing.
  for (const int32_t number : {89, 91, -1, 1000}) settings.WriteRegistry(number);
  EXPECT_EQ(reg.All().size(), std::size(writes));

  const TCcAddinRegistry back = Loaded();
  EXPECT_TRUE(back.bSaveReceipts);
  EXPECT_EQ(back.lLeftTwips, -42);
  EXPECT_EQ(back.dPrinterStopbit, 1.5);
  EXPECT_EQ(back.strIdlePrompt1, "Insert card \xE9");
}

TEST(TCcAddinRegistry, EverySettingSurvivesAWriteAndReadBack) {
  TestRegistry reg;
  TCcAddinRegistry settings;
  // Values unlike every default, so that a setting written to the wrong name shows.
  for (const SettingDef& s : CcAddinSettings()) {
    std::visit(
        [&](auto member) {
          auto& value = settings.*member;
          using V = std::decay_t<decltype(value)>;
          if constexpr (std::is_same_v<V, std::string>) {
            value = std::to_string(s.number).append("/");
          } else if constexpr (std::is_same_v<V, bool>) {
            value = s.rule != ReadRule::kBT;  // BT defaults to True
          } else if constexpr (std::is_same_v<V, int32_t>) {
            value = s.rule == ReadRule::kT3 ? 2 : 1000 + s.number;
          } else {
            value = 2.25;
          }
        },
        s.field);
    settings.WriteRegistry(s.number);
  }
  std::vector<std::string> expected = Snapshot(settings);
  // The read-only setting was not written, so it reads as its default.
  const auto it = std::find(expected.begin(), expected.end(), "lDumpEmvBitmap=1089");
  ASSERT_NE(it, expected.end());
  *it = "lDumpEmvBitmap=0";
  EXPECT_EQ(Snapshot(Loaded()), expected);
  EXPECT_EQ(reg.All().size(), 90u);
}

TEST(TCcAddinRegistry, WritingNeverCreatesTheKey) {
  TestRegistry reg(TestRegistry::Start::kWithoutKey);
  TCcAddinRegistry settings;
  settings.strbaseCurrency = "GBP";
  settings.WriteRegistry(1);
  settings.SaveZReportDate();
  EXPECT_THROW((void)reg.All(), std::runtime_error);  // still no key
}

TEST(TCcAddinRegistry, SavedDatesComeFromTheClockAndLeaveTheRecordAlone) {
  TestRegistry reg;
  VirtualEnv env(MakeDateTime(2026, 3, 7, 9, 5, 2));
  ScopedEnv scoped(&env);
  TCcAddinRegistry settings;
  settings.SaveZReportDate();
  env.Advance(26LL * 3'600'000 + 61'000);
  settings.SaveLastTmsCallDate();
  EXPECT_EQ(reg.Text("LastZReportDate"), "20260307090502");
  EXPECT_EQ(reg.Text("LastTmsCallDate"), "20260308110603");
  EXPECT_EQ(settings.strLastZReportDate, "");
  EXPECT_EQ(settings.strLastTmsCallDate, "");
  EXPECT_EQ(Loaded().strLastZReportDate, "20260307090502");
}

class DeleteReceiptsTest : public ::testing::Test {
 protected:
  DeleteReceiptsTest() : env_(MakeDateTime(2026, 1, 15, 10, 30)), scoped_(&env_) {
    folder_ = reg_.dir().folder() + "receipts/";
    std::filesystem::create_directory(folder_);
    Create("old.rcpt", MakeDateTime(2026, 1, 8, 23, 59));  // 7 calendar days old
    Create("new.rcpt", MakeDateTime(2026, 1, 9, 0, 1));    // 6
    Create("old.txt", MakeDateTime(2025, 1, 1));
  }

  void Create(const std::string& name, const DateTime& created) {
    const std::string path = folder_ + name;
    std::ofstream(path) << "receipt";
    env_.SetFileCreationTime(path, created);
  }

  [[nodiscard]] std::set<std::string> Files() const {
    std::set<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(folder_)) {
      names.insert(e.path().filename().string());
    }
    return names;
  }

  TestRegistry reg_;
  VirtualEnv env_;
  ScopedEnv scoped_;
  std::string folder_;
  const std::set<std::string> all_ = {"new.rcpt", "old.rcpt", "old.txt"};
  const std::set<std::string> purged_ = {"new.rcpt", "old.txt"};
};

TEST_F(DeleteReceiptsTest, PurgesAtMostOnceADayAndRecordsTheDay) {
  struct Case {
    int32_t days;
    const char* last_date;
    bool purges;
    const char* recorded;  // LastReceiptDeleteDate afterwards; nullptr: not written
  };
  const Case cases[] = {
      {7, "20260115", false, nullptr},    // already ran today
      {7, "20260114", true, "20260115"},  // yesterday
      {7, "", false, "20260115"},         // first run: only the date
      {0, "20260101", false, nullptr},    // purging switched off
      {6, "20250101", true, "20260115"},  // new.rcpt is not 7 days old, but is 6
      {7, "20251301", true, "20260115"},  // month 13 rolls over to 1 January 2026
      {7, "20260100", true, "20260115"},  // day 0 is the last day of December 2025
      {7, "20260200", false, nullptr},    // day 0 of February is 31 January: later
      {7, "20260132", false, nullptr},    // day 32 rolls over to 1 February
      {7, "garbage!", true, "20260115"},  // nothing converts: day 0 of month 0 of 2000
  };
  for (const Case& c : cases) {
    for (const auto& name : all_) std::filesystem::remove(folder_ + name);
    Create("old.rcpt", MakeDateTime(2026, 1, 8, 23, 59));
    Create("new.rcpt", MakeDateTime(2026, 1, 9, 0, 1));
    Create("old.txt", MakeDateTime(2025, 1, 1));
    reg_.Set("LastReceiptDeleteDate", "unchanged");

    TCcAddinRegistry settings;
    settings.DeleteReceipts(c.days, c.last_date, folder_);
    std::set<std::string> expected = c.purges ? purged_ : all_;
    if (c.days == 6 && c.purges) expected = {"old.txt"};
    EXPECT_EQ(Files(), expected) << c.days << " days, last \"" << c.last_date << '"';
    EXPECT_EQ(reg_.Text("LastReceiptDeleteDate"), c.recorded ? c.recorded : "unchanged")
        << c.days << " days, last \"" << c.last_date << '"';
    EXPECT_EQ(settings.strLastReceiptDeleteDate, "");
  }
}

TEST_F(DeleteReceiptsTest, FolderWithoutTrailingSeparatorAndMissingFolder) {
  TCcAddinRegistry settings;
  settings.DeleteReceipts(7, "20260114", folder_.substr(0, folder_.size() - 1));
  EXPECT_EQ(Files(), purged_);
  // A folder that does not exist deletes nothing; the day is still recorded, so the
  // purge is tried again tomorrow rather than at every call today.
  reg_.Set("LastReceiptDeleteDate", "20260101");
  settings.DeleteReceipts(7, "20260101", reg_.dir().folder() + "nowhere");
  EXPECT_EQ(reg_.Text("LastReceiptDeleteDate"), "20260115");
}

}  // namespace
}  // namespace ccaddin
