#include "form_case.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <variant>

#include "payment/credit_card_common.h"
#include "ui/form_catalogue.h"
#include "ui/frm_keypad.h"
#include "ui/frm_question_box.h"

namespace ccaddin::testing {

namespace {

const std::filesystem::path kCases = std::filesystem::path(CCADDIN_TEST_DATA_DIR) / "ui/cases";

using Field =
    std::variant<bool SessionState::*, int32_t SessionState::*, std::string SessionState::*>;

// The session values the small windows read and write.
const std::map<std::string, Field>& Fields() {
  static const std::map<std::string, Field> fields = {
      {"bKeypadNumeric", &SessionState::bKeypadNumeric},
      {"lKeypadMaxLength", &SessionState::lKeypadMaxLength},
      {"bKeypadDecimal", &SessionState::bKeypadDecimal},
      {"lKeypadExponent", &SessionState::lKeypadExponent},
      {"bKeypadOk", &SessionState::bKeypadOk},
      {"strKeypadText", &SessionState::strKeypadText},
      {"strQuestionTitle", &SessionState::strQuestionTitle},
      {"strQuestion", &SessionState::strQuestion},
      {"strQuestionYesCaption", &SessionState::strQuestionYesCaption},
      {"strQuestionNoCaption", &SessionState::strQuestionNoCaption},
      {"bQuestionAnswer", &SessionState::bQuestionAnswer}};
  return fields;
}

nlohmann::json Get(const Field& field) {
  SessionState& state = Shared();
  return std::visit([&](auto member) { return nlohmann::json(state.*member); }, field);
}

void Set(const Field& field, const nlohmann::json& value) {
  SessionState& state = Shared();
  std::visit([&](auto member) { value.get_to(state.*member); }, field);
}

}  // namespace

std::vector<std::string> FormCaseNames() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(kCases)) {
    names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

FormCase LoadFormCase(const std::string& name) {
  const std::string path = (kCases / (name + ".json")).string();
  std::ifstream in(path);
  const std::string content{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  const nlohmann::json doc = nlohmann::json::parse(content);
  for (const auto& [key, value] : doc.at("set").items()) Set(Fields().at(key), value);
  FormCase c;
  const std::string form = doc.at("form");
  if (form == "frmKeypad") c.form = std::make_unique<frmKeypad>();
  if (form == "frmQuestionBox") c.form = std::make_unique<frmQuestionBox>();
  std::string error;
  auto script = OperatorScript::Parse(content, path, FormCatalogue().Forms(), error);
  if (!c.form || !script) throw std::runtime_error(path + ": " + form + " " + error);
  c.script = std::move(*script);
  c.outcome = doc.at("outcome");
  return c;
}

::testing::AssertionResult MatchesOutcome(const nlohmann::json& outcome) {
  std::string differences;
  for (const auto& [key, expected] : outcome.items()) {
    const nlohmann::json actual = Get(Fields().at(key));
    if (actual != expected)
      differences += key + " is " + actual.dump() + ", not " + expected.dump() + "\n";
  }
  if (differences.empty()) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << differences;
}

}  // namespace ccaddin::testing
