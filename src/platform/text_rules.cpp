#include "platform/text_rules.h"

namespace ccaddin {
namespace {

std::string_view Trim(std::string_view text, std::string_view blanks) {
  const size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

unsigned char Upper(unsigned char c) {
  if ((c >= 'a' && c <= 'z') || (c >= 0xE0 && c <= 0xFE && c != 0xF7)) return c - 0x20;
  if (c == 0x9A || c == 0x9C || c == 0x9E) return c - 0x10;  // s caron, oe, z caron
  if (c == 0xFF) return 0x9F;                                // y diaeresis
  return c;
}

}  // namespace

std::string_view TrimSpaces(std::string_view text) {
  return Trim(text, " ");
}

std::string_view TrimLeadingSpaces(std::string_view text) {
  const size_t first = text.find_first_not_of(' ');
  return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

std::string_view TrimBlanks(std::string_view text) {
  return Trim(text, " \t");
}

std::string UpperCase(std::string text) {
  for (char& c : text) c = static_cast<char>(Upper(static_cast<unsigned char>(c)));
  return text;
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (Upper(static_cast<unsigned char>(a[i])) != Upper(static_cast<unsigned char>(b[i])))
      return false;
  }
  return true;
}

std::string LowerAscii(std::string text) {
  for (char& c : text) c = LowerAscii(c);
  return text;
}

bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
  }
  return true;
}

std::string ReplaceAll(std::string text, std::string_view from, std::string_view to) {
  if (from.empty()) return text;
  std::string out;
  out.reserve(text.size());
  size_t pos = 0;
  for (size_t hit = text.find(from); hit != std::string::npos; hit = text.find(from, pos)) {
    out.append(text, pos, hit - pos);
    out.append(to);
    pos = hit + from.size();
  }
  out.append(text, pos, std::string::npos);
  return out;
}

std::string FolderWithSeparator(std::string_view folder) {
  std::string out(folder);
  if (!out.empty() && out.back() != '/') out += '/';
  return out;
}

}  // namespace ccaddin
