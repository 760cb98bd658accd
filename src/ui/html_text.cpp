#include "ui/html_text.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "ui/control.h"

namespace ccaddin {

namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f';
}

// The markup read as a sequence of text and tags. `lower` is the document in lower case,
// so that element names and the end of a script are found whatever their case.
class HtmlReader {
 public:
  explicit HtmlReader(std::string_view html) : html_(html), lower_(html) {
    std::transform(lower_.begin(), lower_.end(), lower_.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  }

  struct Tag {
    std::string name;  // lower case; empty for a comment or declaration
    bool closing = false;
  };

  // At a "<" that starts markup: reads it (and the content of a script or style element)
  // and returns it; anything else is text.
  bool ReadTag(size_t& at, Tag& tag) const {
    if (html_[at] != '<' || at + 1 >= html_.size()) return false;
    if (lower_.compare(at, 4, "<!--") == 0) {
      at = Past(lower_.find("-->", at + 4), 3);
      tag = {};
      return true;
    }
    size_t i = at + 1;
    tag.closing = html_[i] == '/';
    if (tag.closing) ++i;
    const size_t name = i;
    while (i < html_.size() && std::isalnum(static_cast<unsigned char>(html_[i]))) ++i;
    if (i == name && html_[at + 1] != '!' && html_[at + 1] != '?') return false;  // a lone "<"
    tag.name = lower_.substr(name, i - name);
    at = Past(html_.find('>', i), 1);
    if (!tag.closing && (tag.name == "script" || tag.name == "style")) {
      at = Past(lower_.find("</" + tag.name, at), 0);
      if (at < html_.size()) at = Past(html_.find('>', at), 1);
    }
    return true;
  }

  [[nodiscard]] size_t size() const { return html_.size(); }
  [[nodiscard]] char operator[](size_t i) const { return html_[i]; }
  [[nodiscard]] std::string_view Slice(size_t from, size_t to) const {
    return html_.substr(from, to - from);
  }

 private:
  // The position after a found text of length `length`, or the end when it was not found
  // (an element left open runs to the end of the document).
  [[nodiscard]] size_t Past(size_t found, size_t length) const {
    return found == std::string::npos ? html_.size() : found + length;
  }

  std::string_view html_;
  std::string lower_;
};

// The character a reference such as "&amp;" or "&#163;" stands for, and its length; 0
// when the "&" starts no reference this reader knows (it is then shown as it is).
size_t Reference(std::string_view text, char& c) {
  const size_t end = text.substr(0, 10).find(';');
  if (end == std::string_view::npos) return 0;
  const std::string_view name = text.substr(1, end - 1);
  static const std::pair<std::string_view, char> kNamed[] = {
      {"amp", '&'},   {"lt", '<'},   {"gt", '>'},       {"quot", '"'},
      {"apos", '\''}, {"nbsp", ' '}, {"pound", '\xA3'}, {"euro", '\x80'}};
  for (const auto& [n, ch] : kNamed) {
    if (name == n) {
      c = ch;
      return end + 1;
    }
  }
  if (name.size() < 2 || name[0] != '#') return 0;
  const bool hex = name[1] == 'x' || name[1] == 'X';
  const std::string digits(name.substr(hex ? 2 : 1));
  char* stop = nullptr;
  const long code = std::strtol(digits.c_str(), &stop, hex ? 16 : 10);
  if (digits.empty() || *stop != '\0') return 0;
  // The euro sign is the one character beyond Latin-1 an offer is likely to hold.
  c = code == 0x20AC ? '\x80' : (code > 0 && code < 256 ? static_cast<char>(code) : '?');
  return end + 1;
}

}  // namespace

std::string HtmlToPlainText(std::string_view html) {
  const HtmlReader reader(html);
  std::string text;
  bool blank = false;
  size_t at = 0;
  while (at < reader.size()) {
    HtmlReader::Tag tag;
    if (reader.ReadTag(at, tag)) {
      // Tags separate words where they break a line; inline ones (b, i, span) do not.
      static const std::string_view kBreaks[] = {"p",  "br", "div", "li", "tr", "td", "th",
                                                 "h1", "h2", "h3",  "h4", "h5", "h6", "table"};
      if (std::find(std::begin(kBreaks), std::end(kBreaks), tag.name) != std::end(kBreaks))
        blank = true;
      continue;
    }
    char c = reader[at];
    size_t length = 1;
    if (c == '&') length = std::max<size_t>(1, Reference(reader.Slice(at, reader.size()), c));
    at += length;
    if (IsBlank(c)) {
      blank = true;
      continue;
    }
    if (blank && !text.empty()) text += ' ';
    blank = false;
    text += c;
  }
  return text;
}

std::string ShownText(const Control& control) {
  return control.Kind() == ControlKind::Browser ? HtmlToPlainText(control.Text()) : control.Text();
}

std::string HtmlWithoutScripts(std::string_view html, size_t lMaxBytes) {
  const HtmlReader reader(html);
  std::string kept;
  size_t at = 0;
  while (at < reader.size() && kept.size() < lMaxBytes) {
    const size_t from = at;
    HtmlReader::Tag tag;
    if (!reader.ReadTag(at, tag)) {
      ++at;
    } else if (tag.name == "script") {
      continue;
    }
    kept += reader.Slice(from, at);
  }
  if (kept.size() > lMaxBytes) kept.resize(lMaxBytes);
  return kept;
}

}  // namespace ccaddin
