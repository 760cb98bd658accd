#include "ui/operator_script.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>

#include "platform/text_encoding.h"
#include "platform/text_rules.h"
#include "platform/trap.h"
#include "ui/form.h"

namespace ccaddin {

namespace {

struct Token {
  std::string text;
  bool quoted = false;
};

bool IsWord(const Token& t, std::string_view word) {
  return !t.quoted && LowerAscii(t.text) == word;
}

// Blanks separate tokens; "..." is one token (\" and \\ inside); # starts a comment.
std::vector<Token> Tokenize(std::string_view s) {
  std::vector<Token> tokens;
  size_t i = 0;
  while (i < s.size()) {
    if (std::isspace(static_cast<unsigned char>(s[i]))) {
      ++i;
    } else if (s[i] == '#') {
      break;
    } else if (s[i] == '"') {
      Token t{"", true};
      for (++i; i < s.size() && s[i] != '"'; ++i) {
        if (s[i] == '\\' && i + 1 < s.size()) ++i;
        t.text += s[i];
      }
      if (i >= s.size()) throw Failure("a quoted text has no closing quote");
      ++i;
      tokens.push_back(std::move(t));
    } else {
      Token t;
      while (i < s.size() && !std::isspace(static_cast<unsigned char>(s[i])) && s[i] != '"') {
        t.text += s[i++];
      }
      tokens.push_back(std::move(t));
    }
  }
  return tokens;
}

// The position of the ':' that ends a "when" part, outside quotes; npos when none.
size_t ConditionEnd(std::string_view s) {
  bool quoted = false;
  for (size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '\\' && quoted) {
      ++i;
    } else if (s[i] == '"') {
      quoted = !quoted;
    } else if (s[i] == ':' && !quoted) {
      return i;
    }
  }
  return std::string_view::npos;
}

std::string ToCodePage(const std::string& utf8) {
  bool lossless = true;
  std::string text = Utf8ToWindows1252(utf8, &lossless);
  if (!lossless) throw Failure("\"" + utf8 + "\" has characters the till's code page lacks");
  return text;
}

class LineParser {
 public:
  explicit LineParser(const std::vector<const Form*>& forms) : forms_(forms) {}

  // False for a line with nothing on it.
  bool Parse(std::string_view line, ScriptStep& step) {
    std::string_view action = line;
    const std::vector<Token> first = Tokenize(line);
    if (first.empty()) return false;
    if (IsWord(first[0], "when")) {
      const size_t colon = ConditionEnd(line);
      if (colon == std::string_view::npos)
        throw Failure("\"when\" needs a \":\" before its action");
      const size_t when_at = line.find_first_not_of(" \t");
      step.when = Conditions(Tokenize(line.substr(when_at + 4, colon - when_at - 4)));
      action = line.substr(colon + 1);
    }
    Action(Tokenize(action), step);
    return true;
  }

 private:
  const Form* FormNamed(std::string_view name) const {
    for (const Form* f : forms_) {
      if (f->Name() == name) return f;
    }
    return nullptr;
  }

  // Checks the name against the known forms and returns the kinds it has there.
  std::vector<ControlKind> Resolve(const std::string& word, ScriptTarget& target) const {
    std::string name = word;
    if (const size_t dot = name.find('.'); dot != std::string::npos) {
      target.form = name.substr(0, dot);
      name = name.substr(dot + 1);
      if (FormNamed(target.form) == nullptr) throw Failure("no window named " + target.form);
    } else if (FormNamed(name) != nullptr) {
      target.form = name;
      return {};
    }
    if (const size_t open = name.find('('); open != std::string::npos && name.back() == ')') {
      int32_t index = -1;
      const char* first = name.data() + open + 1;
      const char* last = name.data() + name.size() - 1;
      const auto [end, ec] = std::from_chars(first, last, index);
      if (ec != std::errc() || end != last || index < 0) throw Failure("bad index in " + word);
      target.index = index;
      name = name.substr(0, open);
    }
    target.control = name;
    std::vector<ControlKind> kinds;
    bool named = false;
    for (const Form* f : forms_) {
      if (!target.form.empty() && f->Name() != target.form) continue;
      for (const Control& c : f->Controls()) {
        if (c.Name() != name) continue;
        named = true;
        if (c.Index() == target.index) kinds.push_back(c.Kind());
      }
    }
    if (!named) {
      throw Failure("no control named " + name + (target.form.empty() ? "" : " in " + target.form));
    }
    if (kinds.empty()) throw Failure(target.Text() + " does not exist");
    return kinds;
  }

  std::vector<ScriptCondition> Conditions(const std::vector<Token>& tokens) const {
    std::vector<ScriptCondition> conditions;
    size_t i = 0;
    while (i < tokens.size()) {
      size_t end = i;
      while (end < tokens.size() && !IsWord(tokens[end], "and")) ++end;
      conditions.push_back(Condition({tokens.begin() + long(i), tokens.begin() + long(end)}));
      i = end + 1;
      if (end + 1 == tokens.size()) throw Failure("\"and\" ends the condition");
    }
    if (conditions.empty()) throw Failure("a condition is missing");
    return conditions;
  }

  ScriptCondition Condition(const std::vector<Token>& t) const {
    using Test = ScriptCondition::Test;
    static const std::pair<const char*, Test> kStates[] = {
        {"visible", Test::Visible},   {"hidden", Test::Hidden},   {"enabled", Test::Enabled},
        {"disabled", Test::Disabled}, {"focused", Test::Focused}, {"shown", Test::Open},
        {"open", Test::Open},         {"closed", Test::Closed}};
    ScriptCondition c;
    if (t.empty()) throw Failure("a condition is missing");
    Resolve(t[0].text, c.target);
    const bool is_form = c.target.control.empty();
    if (t.size() == 3 && IsWord(t[1], "is")) {
      for (const auto& [word, test] : kStates) {
        if (IsWord(t[2], word)) c.test = test;
      }
      if (!IsWord(t[2], "visible") && c.test == Test::Visible) {
        throw Failure("unknown state \"" + t[2].text +
                      "\" (visible, hidden, enabled, disabled, "
                      "focused, open, closed)");
      }
      if (is_form && c.test == Test::Visible) c.test = Test::Open;
      const bool form_test = c.test == Test::Open || c.test == Test::Closed;
      if (is_form != form_test) {
        throw Failure(c.target.Text() + " cannot be " + t[2].text);
      }
      return c;
    }
    if (t.size() == 4 && (IsWord(t[1], "caption") || IsWord(t[1], "text")) &&
        (IsWord(t[2], "is") || IsWord(t[2], "contains")) && !is_form) {
      c.of_caption = IsWord(t[1], "caption");
      c.test = IsWord(t[2], "is") ? Test::Is : Test::Contains;
      c.value = ToCodePage(t[3].text);
      return c;
    }
    throw Failure(
        "cannot read the condition (\"<control> is visible\", "
        "\"<control> text is \\\"...\\\"\")");
  }

  static int16_t Key(const Token& t) {
    static const std::pair<const char*, int16_t> kKeys[] = {
        {"enter", kKeyEnter},   {"return", kKeyEnter}, {"tab", kKeyTab},
        {"escape", kKeyEscape}, {"esc", kKeyEscape},   {"backspace", kKeyBackspace},
        {"delete", kKeyDelete}, {"del", kKeyDelete},   {"space", kKeySpace}};
    for (const auto& [word, key] : kKeys) {
      if (IsWord(t, word)) return key;
    }
    const std::string one = ToCodePage(t.text);
    if (one.size() == 1) return static_cast<int16_t>(static_cast<unsigned char>(one[0]));
    throw Failure("unknown key \"" + t.text + "\"");
  }

  static int64_t Duration(const std::vector<Token>& t) {
    double amount = -1;
    std::istringstream in(t.size() > 1 ? t[1].text : "");
    if (!(in >> amount) || !in.eof() || amount < 0 || t.size() > 3) {
      throw Failure("\"wait\" needs a length of time (\"wait 2 s\", \"wait 500 ms\")");
    }
    const std::string unit = t.size() == 3 ? LowerAscii(t[2].text) : "s";
    if (unit == "ms") return static_cast<int64_t>(amount);
    if (unit == "s" || unit == "sec" || unit == "second" || unit == "seconds") {
      return static_cast<int64_t>(amount * 1000);
    }
    if (unit == "min" || unit == "minute" || unit == "minutes") {
      return static_cast<int64_t>(amount * 60000);
    }
    throw Failure("unknown unit of time \"" + t[2].text + "\"");
  }

  void Action(const std::vector<Token>& t, ScriptStep& step) const {
    using A = ScriptStep::Action;
    if (t.empty()) throw Failure("the action is missing");
    const std::string verb = t[0].quoted ? "" : LowerAscii(t[0].text);
    const auto expect_size = [&](size_t n) {
      if (t.size() != n) throw Failure("cannot read \"" + t[0].text + "\" here");
    };
    if (verb == "click") {
      expect_size(2);
      step.action = A::Click;
      const auto kinds = Resolve(t[1].text, step.target);
      if (step.target.control.empty()) throw Failure("cannot click a window");
      if (std::find(kinds.begin(), kinds.end(), ControlKind::Timer) != kinds.end()) {
        throw Failure("cannot click the timer " + step.target.Text());
      }
    } else if (verb == "type") {
      if (t.size() != 2 && !(t.size() == 4 && IsWord(t[2], "into"))) expect_size(0);
      step.action = A::Type;
      step.text = ToCodePage(t[1].text);
      if (t.size() == 4) {
        const auto kinds = Resolve(t[3].text, step.target);
        if (std::find(kinds.begin(), kinds.end(), ControlKind::TextBox) == kinds.end()) {
          throw Failure(step.target.Text() + " is not a text box");
        }
      }
    } else if (verb == "press") {
      expect_size(2);
      step.action = A::Press;
      step.key = Key(t[1]);
    } else if (verb == "wait") {
      step.action = A::Wait;
      step.wait_ms = Duration(t);
    } else if (verb == "close") {
      if (!(t.size() == 1 || (t.size() == 3 && IsWord(t[1], "the") && IsWord(t[2], "window")))) {
        expect_size(0);
      }
      step.action = A::Close;
    } else if (verb == "expect") {
      step.action = A::Expect;
      if (!step.when.empty()) throw Failure("\"expect\" cannot follow \"when\"");
      step.when = Conditions({t.begin() + 1, t.end()});
    } else if (verb == "picture") {
      if (t.size() != 2 && t.size() != 3) expect_size(0);
      step.action = A::Picture;
      if (t.size() == 3) Resolve(t[1].text, step.target);
      step.text = t.back().text;
      if (step.text.find('/') != std::string::npos || step.text.empty()) {
        throw Failure("a picture is named by a plain file name");
      }
    } else {
      throw Failure("unknown action \"" + t[0].text +
                    "\" (click, type, press, wait, close, expect, picture)");
    }
  }

  const std::vector<const Form*>& forms_;
};

int32_t LineAt(std::string_view content, size_t offset) {
  return 1 +
         static_cast<int32_t>(std::count(content.begin(), content.begin() + long(offset), '\n'));
}

// JSON items as step lines, each with the line of the file it starts on.
std::vector<std::pair<int32_t, std::string>> JsonSteps(std::string_view content) {
  using nlohmann::json;
  json doc;
  try {
    doc = json::parse(content);
  } catch (const json::parse_error& e) {
    throw Failure(std::to_string(LineAt(content, std::min(e.byte, content.size()))) +
                  ": not JSON: " + e.what());
  }
  if (doc.is_object()) doc = doc.value("steps", json());
  if (!doc.is_array()) throw Failure("1: a JSON script is a list of steps or {\"steps\": [...]}");
  std::vector<std::pair<int32_t, std::string>> steps;
  size_t offset = 0;
  for (size_t i = 0; i < doc.size(); ++i) {
    const json& item = doc[i];
    std::string line;
    std::string first;  // the item's first text, to find its line in the file
    if (item.is_string()) {
      line = first = item.get<std::string>();
    } else if (item.is_object() && item.contains("expect") && item["expect"].is_string()) {
      first = item["expect"].get<std::string>();
      line = "expect " + first;
    } else if (item.is_object() && item.contains("do") && item["do"].is_string()) {
      first = item["do"].get<std::string>();
      if (item.contains("when") && item["when"].is_string()) {
        first = item["when"].get<std::string>();
        line = "when " + first + ": " + item["do"].get<std::string>();
      } else {
        line = first;
      }
    } else {
      throw Failure("step " + std::to_string(i + 1) +
                    ": a step is a text or {\"when\": ..., \"do\": ...} or {\"expect\": ...}");
    }
    const size_t at = content.find(json(first).dump(), offset);
    if (at != std::string_view::npos) offset = at + 1;
    steps.emplace_back(LineAt(content, offset == 0 ? 0 : offset - 1), line);
  }
  return steps;
}

}  // namespace

std::string ScriptTarget::Text() const {
  std::string text = form;
  if (!control.empty()) text += (form.empty() ? "" : ".") + control;
  if (index >= 0) text += "(" + std::to_string(index) + ")";
  return text;
}

std::optional<OperatorScript> OperatorScript::Parse(std::string_view content,
                                                    const std::string& name,
                                                    const std::vector<const Form*>& forms,
                                                    std::string& error) {
  OperatorScript script;
  script.name_ = name;
  LineParser parser(forms);
  std::vector<std::pair<int32_t, std::string>> lines;
  if (content.starts_with("\xEF\xBB\xBF")) content.remove_prefix(3);  // an editor's UTF-8 mark
  const size_t first = content.find_first_not_of(" \t\r\n");
  const bool json =
      first != std::string_view::npos && (content[first] == '[' || content[first] == '{');
  try {
    if (json) {
      lines = JsonSteps(content);
    } else {
      std::istringstream in{std::string(content)};
      int32_t n = 0;
      for (std::string line; std::getline(in, line);) lines.emplace_back(++n, line);
    }
  } catch (const std::exception& e) {
    error = name + ":" + e.what();
    return std::nullopt;
  }
  for (auto& [line_no, line] : lines) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    ScriptStep step;
    try {
      if (!parser.Parse(line, step)) continue;
    } catch (const std::exception& e) {
      error = name + ":" + std::to_string(line_no) + ": " + e.what();
      return std::nullopt;
    }
    step.line = line_no;
    step.source = line.substr(line.find_first_not_of(" \t"));
    script.steps_.push_back(std::move(step));
  }
  return script;
}

std::optional<OperatorScript> OperatorScript::Load(const std::string& path,
                                                   const std::vector<const Form*>& forms,
                                                   std::string& error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    error = path + ": cannot be read";
    return std::nullopt;
  }
  const std::string content{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  return Parse(content, path, forms, error);
}

}  // namespace ccaddin
