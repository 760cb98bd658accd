// A script that cannot run as written is refused before any window opens, with the line
// and the reason; the scenario cases under tests/data/ui/cases cover what runs.
#include "ui/operator_script.h"

#include <gtest/gtest.h>

#include "ui/form_catalogue.h"

namespace ccaddin {
namespace {

TEST(OperatorScript, MalformedScriptsNameTheLineAndTheReason) {
  const struct {
    const char* script;
    const char* error;
  } cases[] = {
      {"click cmdOK\n\nclick cmdConfrimAuth\n", "t:3: no control named cmdConfrimAuth"},
      {"when fraNumeric is visible click cmdOK", "t:1: \"when\" needs a \":\" before its action"},
      {"type 12 into cmdOK", "t:1: cmdOK is not a text box"},
      {"press F13", "t:1: unknown key \"F13\""},
      {"wait soon", "t:1: \"wait\" needs a length of time (\"wait 2 s\", \"wait 500 ms\")"},
      {"wait 3 fortnights", "t:1: unknown unit of time \"fortnights\""},
      {"click cmdNumeric(12)", "t:1: cmdNumeric(12) does not exist"},
      {"click frmKeypad.cmdYes", "t:1: no control named cmdYes in frmKeypad"},
      {"when txtEntry colour is \"red\": click cmdOK",
       "t:1: cannot read the condition (\"<control> is visible\", \"<control> text is "
       "\\\"...\\\"\")"},
      {"expect frmKeypad is hidden", "t:1: frmKeypad cannot be hidden"},
      {"expect cmdOK is open", "t:1: cmdOK cannot be open"},
      {"frobnicate cmdOK",
       "t:1: unknown action \"frobnicate\" (click, type, press, wait, close, expect, picture)"},
      {"type \"4761 into txtEntry", "t:1: a quoted text has no closing quote"},
      {"click tmrStart", "t:1: cannot click the timer tmrStart"},
      {"[\"click cmdOK\",\n  \"click cmdNope\"]", "t:2: no control named cmdNope"},
      {"{\"steps\": [\n  {\"when\": \"cmdOK is visible\", \"do\": \"press Hyper\"}]}",
       "t:2: unknown key \"Hyper\""},
      {"[\"click cmdOK\",\n", "t:2: not JSON"},
      {"{\"steps\": 3}", "t:1: a JSON script is a list of steps or {\"steps\": [...]}"},
  };
  const FormCatalogue forms;
  for (const auto& c : cases) {
    std::string error;
    EXPECT_FALSE(OperatorScript::Parse(c.script, "t", forms.Forms(), error)) << c.script;
    EXPECT_EQ(error.substr(0, std::string(c.error).size()), c.error) << c.script;
  }
}

}  // namespace
}  // namespace ccaddin
