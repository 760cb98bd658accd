#include "platform/reg_file.h"

#include <cstdint>
#include <cstdio>

#include "platform/text_encoding.h"
#include "platform/text_rules.h"

namespace ccaddin {

namespace {

constexpr std::string_view kHeader4 = "REGEDIT4";
constexpr std::string_view kHeader5 = "Windows Registry Editor Version 5.00";
constexpr std::string_view kBomUtf16Le = "\xFF\xFE";
constexpr std::string_view kBomUtf16Be = "\xFE\xFF";
constexpr std::string_view kBomUtf8 = "\xEF\xBB\xBF";

// Thrown inside the parser and turned into a RegFileError at its boundary.
struct ParseError {
  int line;
  std::string message;
};

bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

bool SameKey(std::string_view a, std::string_view b) {
  while (!a.empty() && a.back() == '\\') a.remove_suffix(1);
  while (!b.empty() && b.back() == '\\') b.remove_suffix(1);
  return EqualsIgnoringAsciiCase(a, b);
}

bool StartsWithNoCase(std::string_view s, std::string_view prefix) {
  return s.size() >= prefix.size() && SameKey(s.substr(0, prefix.size()), prefix);
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  c = LowerAscii(c);
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

bool IsStringType(uint32_t type) {
  return type == kRegSz || type == kRegExpandSz || type == kRegMultiSz;
}

// Text of the file as UTF-8, whatever its encoding on disk.
std::string DecodeFile(std::string_view bytes, RegFileFormat* format) {
  std::string text;
  if (bytes.substr(0, 2) == kBomUtf16Le) {
    if (!Utf16LeToUtf8(bytes.substr(2), &text)) throw ParseError{0, "the file is not valid UTF-16"};
  } else if (bytes.substr(0, 2) == kBomUtf16Be) {
    throw ParseError{0, "UTF-16 big-endian files are not supported; save the file from regedit"};
  } else if (bytes.substr(0, 3) == kBomUtf8) {
    text = bytes.substr(3);
    if (!IsValidUtf8(text)) throw ParseError{0, "the file is not valid UTF-8"};
  } else if (bytes.substr(0, kHeader5.size()) == kHeader5 && IsValidUtf8(bytes)) {
    text = bytes;  // a version 5 file someone saved as UTF-8
  } else {
    text = Windows1252ToUtf8(bytes);  // "ANSI", as REGEDIT4 files are
  }
  *format = bytes.substr(0, 2) == kBomUtf16Le || text.starts_with(kHeader5)
                ? RegFileFormat::kRegedit5
                : RegFileFormat::kRegedit4;
  return text;
}

std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    lines.push_back(line);
    start = end + 1;
  }
  return lines;
}

// Windows-1252 form of UTF-8 text read from the file; every character must have one.
std::string ToStore(std::string_view utf8, int line, std::string_view what) {
  bool lossless = true;
  std::string ansi = Utf8ToWindows1252(utf8, &lossless);
  if (!lossless) {
    throw ParseError{line, std::string(what) +
                               " holds a character that the settings' Windows-1252 text cannot "
                               "hold"};
  }
  return ansi;
}

// Reads a quoted text starting at s[pos] == '"' with the escapes \\ and \", and leaves
// pos after the closing quote.
std::string ReadQuoted(std::string_view s, size_t& pos, int line, std::string_view what) {
  std::string out;
  for (++pos; pos < s.size(); ++pos) {
    const char c = s[pos];
    if (c == '"') {
      ++pos;
      return out;
    }
    if (c == '\\') {
      if (pos + 1 >= s.size() || (s[pos + 1] != '\\' && s[pos + 1] != '"')) {
        throw ParseError{
            line, std::string(what) + ": a backslash must be written \\\\ (and a quote \\\")"};
      }
      out += s[++pos];
    } else {
      out += c;
    }
  }
  throw ParseError{line, std::string(what) + ": the closing quote is missing"};
}

std::string ParseHexBytes(std::string_view list, int line) {
  std::string bytes;
  list = TrimBlanks(list);
  if (list.empty()) return bytes;
  size_t pos = 0;
  while (true) {
    const size_t comma = list.find(',', pos);
    const std::string_view item = TrimBlanks(
        list.substr(pos, comma == std::string_view::npos ? std::string_view::npos : comma - pos));
    if (item.empty() && comma == std::string_view::npos && !bytes.empty()) break;  // trailing ","
    if (item.empty() || item.size() > 2 || HexDigit(item[0]) < 0 ||
        (item.size() == 2 && HexDigit(item[1]) < 0)) {
      throw ParseError{line, "\"" + std::string(item) + "\" is not a hexadecimal byte"};
    }
    bytes += static_cast<char>(item.size() == 1 ? HexDigit(item[0])
                                                : HexDigit(item[0]) * 16 + HexDigit(item[1]));
    if (comma == std::string_view::npos) break;
    pos = comma + 1;
  }
  return bytes;
}

// `data` of a string-typed value from a version 5 file is UTF-16LE; the store holds it
// as the ANSI functions would see it.
std::string StringBytesToStore(const std::string& data, int line) {
  std::string utf8;
  if (!Utf16LeToUtf8(data, &utf8)) throw ParseError{line, "the data is not valid UTF-16"};
  return ToStore(utf8, line, "the value");
}

RegistryValue ParseData(std::string_view data, RegFileFormat format, int line) {
  RegistryValue value;
  if (data.starts_with('"')) {
    size_t pos = 0;
    const std::string text = ReadQuoted(data, pos, line, "the value");
    if (!TrimBlanks(data.substr(pos)).empty()) {
      throw ParseError{line, "unexpected text after the value's closing quote"};
    }
    value.type = kRegSz;
    value.data = StringValueData(ToStore(text, line, "the value"));
    return value;
  }
  if (StartsWithNoCase(data, "dword:")) {
    const std::string_view digits = TrimBlanks(data.substr(6));
    if (digits.empty() || digits.size() > 8) {
      throw ParseError{line, "a dword value needs 1 to 8 hexadecimal digits"};
    }
    uint32_t number = 0;
    for (const char c : digits) {
      if (HexDigit(c) < 0) throw ParseError{line, "a dword value needs 1 to 8 hexadecimal digits"};
      number = number * 16 + static_cast<uint32_t>(HexDigit(c));
    }
    value.type = kRegDword;
    for (int i = 0; i < 4; ++i) value.data += static_cast<char>((number >> (8 * i)) & 0xFF);
    return value;
  }
  if (StartsWithNoCase(data, "hex")) {
    size_t pos = 3;
    value.type = kRegBinary;
    if (pos < data.size() && data[pos] == '(') {
      const size_t close = data.find(')', pos);
      const std::string_view digits = close == std::string_view::npos
                                          ? std::string_view()
                                          : data.substr(pos + 1, close - pos - 1);
      if (digits.empty() || digits.size() > 8) throw ParseError{line, "malformed hex(type)"};
      value.type = 0;
      for (const char c : digits) {
        if (HexDigit(c) < 0) throw ParseError{line, "malformed hex(type)"};
        value.type = value.type * 16 + static_cast<uint32_t>(HexDigit(c));
      }
      pos = close + 1;
    }
    if (pos >= data.size() || data[pos] != ':') throw ParseError{line, "\":\" expected after hex"};
    value.data = ParseHexBytes(data.substr(pos + 1), line);
    if (format == RegFileFormat::kRegedit5 && IsStringType(value.type)) {
      value.data = StringBytesToStore(value.data, line);
    }
    return value;
  }
  throw ParseError{line, "unrecognised value (expected \"text\", dword:, hex: or -)"};
}

void Parse(std::string_view bytes, const std::vector<std::string>& accepted_keys,
           std::vector<RegistryChange>* changes, RegFileFormat* format) {
  const std::string text = DecodeFile(bytes, format);
  const std::vector<std::string_view> lines = SplitLines(text);
  size_t i = 0;
  while (i < lines.size() && TrimBlanks(lines[i]).empty()) ++i;
  if (i == lines.size() || (TrimBlanks(lines[i]) != kHeader4 && TrimBlanks(lines[i]) != kHeader5)) {
    throw ParseError{i == lines.size() ? 0 : static_cast<int>(i + 1),
                     "not a registry file: the first line must be \"REGEDIT4\" or \"Windows "
                     "Registry Editor Version 5.00\""};
  }
  bool in_key = false;
  for (++i; i < lines.size(); ++i) {
    const int line_no = static_cast<int>(i + 1);
    std::string_view line = TrimBlanks(lines[i]);
    if (line.empty() || line.starts_with(';')) continue;
    if (line.starts_with('[')) {
      if (!line.ends_with(']')) throw ParseError{line_no, "the key line has no closing \"]\""};
      const std::string_view key = line.substr(1, line.size() - 2);
      if (key.starts_with('-')) throw ParseError{line_no, "removing keys is not supported"};
      bool accepted = false;
      for (const std::string& k : accepted_keys) accepted = accepted || SameKey(key, k);
      if (!accepted) {
        throw ParseError{line_no, "only the key [" +
                                      (accepted_keys.empty() ? "" : accepted_keys[0]) +
                                      "] can be imported"};
      }
      in_key = true;
      continue;
    }
    if (!line.starts_with('"') && !line.starts_with('@')) {
      throw ParseError{line_no, "unrecognised line (expected [key], \"Name\"=value or ;comment)"};
    }
    if (!in_key) throw ParseError{line_no, "a value before any [key] line"};

    RegistryChange change;
    size_t pos = 0;
    if (line.starts_with('@')) {
      pos = 1;  // the key's default value, which has no name
    } else {
      change.value.name = ToStore(ReadQuoted(line, pos, line_no, "the name"), line_no, "the name");
    }
    while (pos < line.size() && IsBlank(line[pos])) ++pos;
    if (pos >= line.size() || line[pos] != '=')
      throw ParseError{line_no, "\"=\" expected after the name"};
    std::string data(TrimBlanks(line.substr(pos + 1)));
    // Hexadecimal data continues on the next line after a trailing "\".
    while (StartsWithNoCase(data, "hex") && data.ends_with('\\')) {
      data.pop_back();
      if (++i >= lines.size()) throw ParseError{line_no, "the file ends inside a continued value"};
      data += TrimBlanks(lines[i]);
    }
    if (data == "-") {
      change.remove = true;
    } else {
      const std::string name = std::move(change.value.name);
      change.value = ParseData(data, *format, line_no);
      change.value.name = name;
    }
    changes->push_back(std::move(change));
  }
}

std::string Quote(std::string_view utf8) {
  std::string out = "\"";
  for (const char c : utf8) {
    if (c == '\\' || c == '"') out += '\\';
    out += c;
  }
  out += '"';
  return out;
}

// `prefix` is the line so far ("\"Name\"=hex:"); bytes follow, wrapped before column 80
// with a trailing "\" and two spaces of indent on the next line, as regedit does.
std::string HexLines(size_t prefix_length, std::string_view bytes, bool wrap) {
  std::string out;
  size_t column = prefix_length;
  char item[4];
  for (size_t i = 0; i < bytes.size(); ++i) {
    std::snprintf(item, sizeof item, "%02x", static_cast<unsigned char>(bytes[i]));
    out += item;
    column += 2;
    if (i + 1 < bytes.size()) {
      out += ',';
      ++column;
      if (wrap && column > 76) {
        out += "\\\r\n  ";
        column = 2;
      }
    }
  }
  return out;
}

// Right-hand side of "=", in UTF-8 for the text forms; `format` decides how the
// string-typed hex forms are encoded.
std::string DataText(const RegistryValue& value, RegFileFormat format, size_t prefix_length,
                     bool wrap) {
  if (value.type == kRegSz) {
    const size_t nul = value.data.find('\0');
    // Only a value that is exactly a text and its NUL can be written as "text".
    if (nul != std::string::npos && nul + 1 == value.data.size()) {
      return Quote(Windows1252ToUtf8(value.data.substr(0, nul)));
    }
  }
  if (value.type == kRegDword && value.data.size() == 4) {
    uint32_t number = 0;
    for (int i = 3; i >= 0; --i) number = number * 256 + static_cast<unsigned char>(value.data[i]);
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "dword:%08x", number);
    return buffer;
  }
  std::string head = "hex";
  if (value.type != kRegBinary) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "(%x)", value.type);
    head += buffer;
  }
  head += ':';
  std::string bytes = value.data;
  if (format == RegFileFormat::kRegedit5 && IsStringType(value.type)) {
    bytes = Utf8ToUtf16Le(Windows1252ToUtf8(value.data));
  }
  return head + HexLines(prefix_length + head.size(), bytes, wrap);
}

}  // namespace

bool ParseRegFile(std::string_view bytes, const std::vector<std::string>& accepted_keys,
                  std::vector<RegistryChange>* changes, RegFileError* error,
                  RegFileFormat* format) {
  changes->clear();
  RegFileFormat seen = RegFileFormat::kRegedit4;
  try {
    Parse(bytes, accepted_keys, changes, &seen);
  } catch (const ParseError& e) {
    changes->clear();
    *error = RegFileError{e.line, e.message};
    return false;
  }
  if (format != nullptr) *format = seen;
  return true;
}

std::string WriteRegFile(RegFileFormat format, std::string_view key,
                         const std::vector<RegistryValue>& values) {
  std::string text(format == RegFileFormat::kRegedit4 ? kHeader4 : kHeader5);
  text += "\r\n\r\n[";
  text += key;
  text += "]\r\n";
  for (const RegistryValue& value : values) {
    const std::string name = value.name.empty() ? "@" : Quote(Windows1252ToUtf8(value.name));
    text += name + "=" + DataText(value, format, name.size() + 1, true) + "\r\n";
  }
  text += "\r\n";
  if (format == RegFileFormat::kRegedit4) return Utf8ToWindows1252(text);
  return std::string(kBomUtf16Le) + Utf8ToUtf16Le(text);
}

std::string RegFileValueText(const RegistryValue& value) {
  return DataText(value, RegFileFormat::kRegedit4, 0, false);
}

}  // namespace ccaddin
