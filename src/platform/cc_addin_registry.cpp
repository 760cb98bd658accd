#include "platform/cc_addin_registry.h"

#include <algorithm>
#include <chrono>

#include "platform/cc_addin_settings.h"
#include "platform/env.h"
#include "platform/file_system.h"
#include "platform/locale_number.h"
#include "platform/t_registry.h"
#include "platform/text_rules.h"
#include "platform/trap.h"

namespace ccaddin {

namespace {

void SaveValue(const char* value_name, const std::string& text) {
  TRegistry registry;
  registry.SaveRegistryValue(kCcAddinRegistryKey, value_name, text);
}

void SaveNow(const char* value_name) {
  const DateTime now = CurrentEnv()->Now();
  SaveValue(value_name, now.Yyyymmdd() + now.Hhmmss());
}

// Characters `start` (1-based) to start + length - 1 of `text`, "" beyond its end.
std::string Mid(const std::string& text, size_t start, size_t length) {
  return start - 1 < text.size() ? text.substr(start - 1, length) : std::string();
}

// The calendar date of year, month and day, where an out-of-range month or day rolls
// over into the neighbouring month or year (month 13 is January of the next year, day
// 0 the last day of the previous month) and years 0-29 and 30-99 mean 2000-2029 and
// 1930-1999. False when the result lies outside the years 100 to 9999.
bool RolledDate(int year, int month, int day, std::chrono::sys_days* date) {
  using namespace std::chrono;
  if (year >= 0 && year <= 29) {
    year += 2000;
  } else if (year >= 30 && year <= 99) {
    year += 1900;
  }
  const int months = year * 12 + (month - 1);
  const int whole_years = months >= 0 ? months / 12 : (months - 11) / 12;
  const int month_index = months - whole_years * 12;
  *date = sys_days{std::chrono::year{whole_years} / static_cast<unsigned>(month_index + 1) / 1} +
          days{day - 1};
  const int result_year = static_cast<int>(year_month_day{*date}.year());
  return result_year >= 100 && result_year <= 9999;
}

}  // namespace

void TCcAddinRegistry::ReadRegistry() {
  Quietly([&] {
    // One TRegistry for the whole pass, reading one snapshot: each value reads as its
    // own open-read-close would, over one connection and one lock of the file.
    TRegistry registry;
    registry.BeginSnapshot();
    const std::string separator = CurrentDecimalSeparator();
    std::string text;
    for (const SettingDef& setting : CcAddinSettings()) {
      // A value that cannot be read comes back empty and takes its rule's default.
      (void)registry.GetRegistryValue(kCcAddinRegistryKey, std::string(setting.value_name), text);
      LoadSetting(*this, setting, text, separator);
    }
  });
}

void TCcAddinRegistry::WriteRegistry(int32_t lField) {
  Quietly([&] {
    const SettingDef* setting = FindSettingByNumber(lField);
    if (setting == nullptr || !setting->writable) return;
    TRegistry registry;
    registry.SaveRegistryValue(kCcAddinRegistryKey, std::string(setting->value_name),
                               SettingStoredText(*this, *setting, CurrentDecimalSeparator()));
  });
}

void TCcAddinRegistry::SaveZReportDate() {
  Quietly([] { SaveNow("LastZReportDate"); });
}

void TCcAddinRegistry::SaveLastTmsCallDate() {
  Quietly([] { SaveNow("LastTmsCallDate"); });
}

void TCcAddinRegistry::DeleteReceipts(int32_t lDeleteReceiptDays,
                                      const std::string& strLastReceiptDeleteDate,
                                      const std::string& strReceiptLocation) {
  Quietly([&] {
    if (lDeleteReceiptDays <= 0) return;
    const DateTime now = CurrentEnv()->Now();
    if (strLastReceiptDeleteDate.empty()) {
      // First run: start counting from today, deleting nothing yet.
      SaveValue("LastReceiptDeleteDate", now.Yyyymmdd());
      return;
    }
    const std::string separator = CurrentDecimalSeparator();
    const auto part = [&](size_t start, size_t length) {
      int16_t value = 0;
      if (!ParseLocaleInt16(Mid(strLastReceiptDeleteDate, start, length), separator, &value)) {
        value = 0;
      }
      return static_cast<int>(value);
    };
    std::chrono::sys_days last{};
    if (!RolledDate(part(1, 4), part(5, 2), part(7, 2), &last)) return;
    const std::chrono::sys_days today =
        std::chrono::sys_days{std::chrono::year{now.year} / static_cast<unsigned>(now.month) /
                              static_cast<unsigned>(now.day)};
    // Today or later: the purge already ran today.
    if (last >= today) return;

    // Without a receipt folder there is nothing of ours to purge: the scan must never
    // fall back to the root of the file system.
    const std::string folder = FolderWithSeparator(strReceiptLocation);
    if (folder.empty()) return;
    // The age is a 16-bit count of days; anything longer keeps every file anyway.
    const auto days_old = static_cast<int16_t>(std::min<int32_t>(lDeleteReceiptDays, 32767));
    FileSystem files;
    (void)files.DeleteFilesInFolderByDay(folder, "*.rcpt", days_old);
    SaveValue("LastReceiptDeleteDate", now.Yyyymmdd());
  });
}

}  // namespace ccaddin
