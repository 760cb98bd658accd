#include "platform/text_encoding.h"

#include <array>
#include <cstdint>

namespace ccaddin {

namespace {

// 0x80-0x9F of Windows-1252; the undefined slots hold their own value (C1 controls).
constexpr std::array<char32_t, 32> kHighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // 80-87
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  // 88-8F
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 90-97
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,  // 98-9F
};

void AppendUtf8(char32_t cp, std::string& out) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

constexpr char32_t kInvalid = 0xFFFFFFFF;

// Decodes one UTF-8 sequence at `pos` and advances past it; kInvalid (advancing one
// byte) for malformed, overlong or surrogate encodings.
char32_t NextUtf8(std::string_view s, size_t& pos) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(s[i]); };
  const unsigned char lead = byte(pos);
  if (lead < 0x80) {
    ++pos;
    return lead;
  }
  int length = 0;
  char32_t cp = 0;
  char32_t minimum = 0;
  if ((lead & 0xE0) == 0xC0) {
    length = 2, cp = lead & 0x1F, minimum = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3, cp = lead & 0x0F, minimum = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4, cp = lead & 0x07, minimum = 0x10000;
  } else {
    ++pos;
    return kInvalid;
  }
  if (pos + length > s.size()) {
    ++pos;
    return kInvalid;
  }
  for (int i = 1; i < length; ++i) {
    const unsigned char c = byte(pos + i);
    if ((c & 0xC0) != 0x80) {
      ++pos;
      return kInvalid;
    }
    cp = (cp << 6) | (c & 0x3F);
  }
  if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
    ++pos;
    return kInvalid;
  }
  pos += length;
  return cp;
}

}  // namespace

char32_t Windows1252ToCodePoint(unsigned char byte) {
  if (byte >= 0x80 && byte <= 0x9F) return kHighControls[byte - 0x80];
  return byte;
}

int CodePointToWindows1252(char32_t code_point) {
  if (code_point < 0x80 || (code_point >= 0xA0 && code_point <= 0xFF)) {
    return static_cast<int>(code_point);
  }
  for (size_t i = 0; i < kHighControls.size(); ++i) {
    if (kHighControls[i] == code_point) return static_cast<int>(0x80 + i);
  }
  return -1;
}

std::string Windows1252ToUtf8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (const char c : text) AppendUtf8(Windows1252ToCodePoint(static_cast<unsigned char>(c)), out);
  return out;
}

std::string Utf8ToWindows1252(std::string_view utf8, bool* lossless) {
  std::string out;
  out.reserve(utf8.size());
  bool exact = true;
  for (size_t pos = 0; pos < utf8.size();) {
    const char32_t cp = NextUtf8(utf8, pos);
    const int byte = cp == kInvalid ? -1 : CodePointToWindows1252(cp);
    if (byte < 0) {
      out += '?';
      exact = false;
    } else {
      out += static_cast<char>(byte);
    }
  }
  if (lossless != nullptr) *lossless = exact;
  return out;
}

bool Utf16LeToUtf8(std::string_view utf16le, std::string* utf8) {
  utf8->clear();
  const auto unit = [&](size_t i) {
    return static_cast<char16_t>(static_cast<unsigned char>(utf16le[i]) |
                                 (static_cast<unsigned char>(utf16le[i + 1]) << 8));
  };
  if (utf16le.size() % 2 != 0) return false;
  for (size_t i = 0; i < utf16le.size(); i += 2) {
    const char16_t u = unit(i);
    if (u >= 0xD800 && u <= 0xDBFF) {
      if (i + 2 >= utf16le.size()) return false;
      const char16_t low = unit(i + 2);
      if (low < 0xDC00 || low > 0xDFFF) return false;
      AppendUtf8(0x10000 + ((static_cast<char32_t>(u) - 0xD800) << 10) + (low - 0xDC00), *utf8);
      i += 2;
    } else if (u >= 0xDC00 && u <= 0xDFFF) {
      return false;
    } else {
      AppendUtf8(u, *utf8);
    }
  }
  return true;
}

std::string Utf8ToUtf16Le(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size() * 2);
  const auto put = [&](char32_t u) {
    out += static_cast<char>(u & 0xFF);
    out += static_cast<char>((u >> 8) & 0xFF);
  };
  for (size_t pos = 0; pos < utf8.size();) {
    char32_t cp = NextUtf8(utf8, pos);
    if (cp == kInvalid) cp = 0xFFFD;
    if (cp >= 0x10000) {
      cp -= 0x10000;
      put(0xD800 + (cp >> 10));
      put(0xDC00 + (cp & 0x3FF));
    } else {
      put(cp);
    }
  }
  return out;
}

bool IsValidUtf8(std::string_view text) {
  for (size_t pos = 0; pos < text.size();) {
    if (NextUtf8(text, pos) == kInvalid) return false;
  }
  return true;
}

}  // namespace ccaddin
