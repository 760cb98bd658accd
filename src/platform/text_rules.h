// The component's text and folder rules, each written once so that no two copies can
// drift apart: trimming, case, replace-all, and a folder ready for a name to be joined
// to it. Texts are single-byte (Windows-1252). Plain functions; nothing here blocks.
#pragma once

#include <string>
#include <string_view>

namespace ccaddin {

// Without leading and trailing spaces. Spaces only: a tab in a till's text is meant.
[[nodiscard]] std::string_view TrimSpaces(std::string_view text);
[[nodiscard]] std::string_view TrimLeadingSpaces(std::string_view text);

// Without leading and trailing spaces and tabs, as configuration files are read.
[[nodiscard]] std::string_view TrimBlanks(std::string_view text);

// Upper case as the till's own upper-casing does it: the accented letters and the few
// letters at 0x9A to 0xFF have capitals of their own.
[[nodiscard]] std::string UpperCase(std::string text);

// Equal once both are upper-cased.
[[nodiscard]] bool EqualsIgnoringCase(std::string_view a, std::string_view b);

// "A" to "Z" lowered, nothing else: member, key and file names, never shown to people.
constexpr char LowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
[[nodiscard]] std::string LowerAscii(std::string text);
[[nodiscard]] bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b);

// Every `from` replaced by `to` in one pass from the left; what was put in is not
// searched again. An empty `from` changes nothing.
[[nodiscard]] std::string ReplaceAll(std::string text, std::string_view from, std::string_view to);

// `folder` with a "/" added unless it ends with one. An empty folder stays empty: it
// must never become the root of the file system.
[[nodiscard]] std::string FolderWithSeparator(std::string_view folder);

}  // namespace ccaddin
