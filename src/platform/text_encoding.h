// Conversions between the component's single-byte Windows-1252 text and the Unicode
// forms found at its edges (UTF-8 at the C ABI, in the Qt views and on the command
// line; UTF-16LE in regedit files). Pure functions on values; nothing blocks.
#pragma once

#include <string>
#include <string_view>

namespace ccaddin {

// The Unicode code point of one Windows-1252 byte. The five bytes the code page leaves
// undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D) map to the C1 controls of the same value,
// as Windows itself does, so every byte survives a round trip.
[[nodiscard]] char32_t Windows1252ToCodePoint(unsigned char byte);

// The Windows-1252 byte for `code_point`, or -1 when the code page has none.
[[nodiscard]] int CodePointToWindows1252(char32_t code_point);

[[nodiscard]] std::string Windows1252ToUtf8(std::string_view text);

// Characters without a Windows-1252 form, and bytes that are not valid UTF-8, become
// "?". `lossless` (when given) is set to false when that happened, true otherwise.
[[nodiscard]] std::string Utf8ToWindows1252(std::string_view utf8, bool* lossless = nullptr);

// UTF-16LE bytes (no byte order mark) to UTF-8. False when the bytes are not valid
// UTF-16 (odd length, unpaired surrogate); `utf8` then holds what was decoded so far.
[[nodiscard]] bool Utf16LeToUtf8(std::string_view utf16le, std::string* utf8);

// UTF-8 to UTF-16LE bytes (no byte order mark); invalid UTF-8 bytes become U+FFFD.
[[nodiscard]] std::string Utf8ToUtf16Le(std::string_view utf8);

// True when `text` is well-formed UTF-8.
[[nodiscard]] bool IsValidUtf8(std::string_view text);

}  // namespace ccaddin
