// The one table of the component's 91 settings: registry value name, property, read
// rule with its default, and the number WriteRegistry takes. ReadRegistry,
// WriteRegistry, the admin command's "show" and the tests all read it. Static data.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "platform/cc_addin_registry.h"

namespace ccaddin {

// How a stored text becomes the property's value (a missing value reads as "").
enum class ReadRule {
  kS,         // the text as stored
  kP,         // a folder: a non-empty text gets a trailing "/" unless it has one
  kSDefault,  // the text, or text_default when empty
  kN,         // whole number, locale-aware, halves to even; "" or unconvertible: 0
  kNDefault,  // as kN, but "" gives number_default
  kR,         // double, locale-aware; unconvertible: 0
  kB1,        // True only for "1"
  kB0,        // True unless "" or "0"
  kBT,        // True for "" or "1"
  kT3,        // "" or "0": 0; "1": 1; anything else: 2
};

using SettingField =
    std::variant<std::string CcAddinSettingValues::*, int32_t CcAddinSettingValues::*,
                 bool CcAddinSettingValues::*, double CcAddinSettingValues::*>;

struct SettingDef {
  int32_t number;               // what WriteRegistry takes
  std::string_view value_name;  // the registry value
  std::string_view property;    // the CcAddinSettingValues member
  ReadRule rule;
  std::string_view text_default;  // kSDefault only
  int32_t number_default;         // kNDefault only
  SettingField field;
  bool writable;  // false for the one read-only setting
};

inline constexpr size_t kSettingCount = 91;

// Every setting, in the order ReadRegistry reads them.
[[nodiscard]] std::span<const SettingDef, kSettingCount> CcAddinSettings();

// nullptr when no setting has that number / value name (names ignore ASCII case, as
// registry value names do).
[[nodiscard]] const SettingDef* FindSettingByNumber(int32_t number);
[[nodiscard]] const SettingDef* FindSettingByValueName(std::string_view value_name);

// Stores `stored` (the registry text, "" when missing) in the setting's property,
// converted by its rule.
void LoadSetting(CcAddinSettingValues& record, const SettingDef& setting, const std::string& stored,
                 std::string_view decimal_separator);

// The text WriteRegistry stores for the property's current value: "1"/"0", decimal
// numbers, the double in the locale's format, texts as they are.
[[nodiscard]] std::string SettingStoredText(const CcAddinSettingValues& record,
                                            const SettingDef& setting,
                                            std::string_view decimal_separator);

// The property's value for people: texts as they are, numbers in decimal, booleans
// "True"/"False".
[[nodiscard]] std::string SettingDisplayText(const CcAddinSettingValues& record,
                                             const SettingDef& setting,
                                             std::string_view decimal_separator);

}  // namespace ccaddin
