// Reading and writing regedit files (".reg"): "REGEDIT4" (ANSI, Windows-1252) and
// "Windows Registry Editor Version 5.00" (UTF-16LE with a byte order mark, as regedit
// writes it), for one key's values. Pure functions on whole files held in memory.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/registry_store.h"

namespace ccaddin {

enum class RegFileFormat { kRegedit4, kRegedit5 };

struct RegFileError {
  int line = 0;  // 1-based; 0 when the file as a whole is at fault
  std::string message;
};

// Parses a whole file. Only the keys in `accepted_keys` (full names such as
// "HKEY_LOCAL_MACHINE\SOFTWARE\Tamberin\ccaddin", compared ignoring ASCII case) may
// appear. Values come back in file order in the store's form (Windows-1252 names,
// REG_SZ text with its NUL); `"Name"=-` becomes a removal. Anything malformed stops
// the parse: false, with the line and the reason in `error`.
[[nodiscard]] bool ParseRegFile(std::string_view bytes,
                                const std::vector<std::string>& accepted_keys,
                                std::vector<RegistryChange>* changes, RegFileError* error,
                                RegFileFormat* format = nullptr);

// The file regedit would write for `key` (its full name) holding `values`, CRLF line
// ends, hexadecimal data wrapped as regedit wraps it.
[[nodiscard]] std::string WriteRegFile(RegFileFormat format, std::string_view key,
                                       const std::vector<RegistryValue>& values);

// How a value is spelt on the right of "=" in a REGEDIT4 file ("\"text\"",
// "dword:00000001", "hex(b):..."), in UTF-8, without line wrapping: for listings.
[[nodiscard]] std::string RegFileValueText(const RegistryValue& value);

}  // namespace ccaddin
