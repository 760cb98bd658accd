// The headless loop on the virtual clock: the small windows' scenario cases, timers,
// trapped handlers, stalls and safe ways out, and CCADDIN_OPERATOR_SCRIPT in a process.
#include "ui/headless/headless_loop.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <stdexcept>

#include "form_case.h"
#include "payment/credit_card_common.h"
#include "platform/text_box_format.h"
#include "support/temp_dir.h"
#include "ui/form_call_scope.h"
#include "ui/form_catalogue.h"

namespace ccaddin {
namespace {

class FormCaseTest : public ::testing::TestWithParam<std::string> {};

TEST_P(FormCaseTest, RunsHeadless) {
  VirtualEnv env;
  ScopedEnv scoped_env(&env);
  ScopedSharedState state;
  testing::FormCase c = testing::LoadFormCase(GetParam());
  HeadlessLoop loop(ScriptRunner(std::move(c.script), {}));
  std::string error;
  ASSERT_TRUE(loop.ShowModal(*c.form, error)) << error;
  EXPECT_FALSE(loop.Runner().Failed()) << loop.Runner().Failure();
  EXPECT_TRUE(loop.Runner().Finished());
  EXPECT_TRUE(testing::MatchesOutcome(c.outcome));
  EXPECT_EQ(c.form->strErrorMessage(), "");
}

INSTANTIATE_TEST_SUITE_P(Cases, FormCaseTest, ::testing::ValuesIn(testing::FormCaseNames()));

// A window with two timers, a filtered box, a failing button and a way out that can be
// refused.
class frmProbe final : public Form {
 public:
  frmProbe()
      : Form("frmProbe", "Probe", {0, 0, 4000, 3000}),
        txtCode(AddTextBox("txtCode", {100, 100, 2000, 400}, "Code")),
        cmdFail(AddButton("cmdFail", {100, 600, 1000, 400}, "Fail")),
        cmdHidden(AddButton("cmdHidden", {1200, 600, 1000, 400}, "Hidden")),
        cmdCancel(AddButton("cmdCancel", {100, 1100, 1000, 400}, "Cancel")),
        cmdDecline(AddButton("cmdDecline", {1200, 1100, 1000, 400}, "Declined")),
        tmrFast(AddTimer("tmrFast", 100)),
        tmrSlow(AddTimer("tmrSlow", 250)) {
    txtCode.SetMaxLength(2);
    cmdHidden.SetVisible(false);
    SetDefaultButton(cmdDecline);
    DeclareSafeWayOut({&cmdCancel, &cmdDecline});
    OnKeyPress(txtCode, &frmProbe::txtCode_KeyPress);
    OnChange(txtCode, &frmProbe::txtCode_Change);
    OnClick(cmdFail, &frmProbe::cmdFail_Click);
    OnClick(cmdCancel, &frmProbe::cmdCancel_Click);
    OnClick(cmdDecline, &frmProbe::cmdDecline_Click);
    OnTimer(tmrFast, &frmProbe::tmrFast_Timer);
    OnTimer(tmrSlow, &frmProbe::tmrSlow_Timer);
  }

  std::string ticks;
  int changes = 0;
  bool refuse = false;
  Control& txtCode;
  Control& cmdFail;
  Control& cmdHidden;
  Control& cmdCancel;
  Control& cmdDecline;
  Control& tmrFast;
  Control& tmrSlow;

 private:
  void Form_Unload(int16_t& Cancel) override { Cancel = refuse ? 1 : 0; }
  void txtCode_KeyPress(int16_t& KeyAscii) {
    KeyAscii = TextBoxFormat::UCAlphaNumericBox(KeyAscii, 0, 0, 0);
  }
  void txtCode_Change() { ++changes; }
  void cmdFail_Click() { throw std::runtime_error("printer on fire"); }
  void cmdCancel_Click() { Unload(); }
  void cmdDecline_Click() { Unload(); }
  void Tick(const char* which) {
    if (ticks.size() < 40) ticks += which + std::to_string(CurrentEnv()->Now().millisecond) + " ";
  }
  void tmrFast_Timer() { Tick("F"); }
  void tmrSlow_Timer() { Tick("S"); }
};

class HeadlessLoopTest : public ::testing::Test {
 protected:
  HeadlessLoopTest() : scoped_env_(&env_) { catalogue_.Add(std::make_unique<frmProbe>()); }

  // Shows a fresh frmProbe under `script`; the loop stays for its runner's report.
  frmProbe& Run(const std::string& script) {
    std::string error;
    auto parsed = OperatorScript::Parse(script, "probe.script", catalogue_.Forms(), error);
    EXPECT_TRUE(parsed) << error;
    loop_ = std::make_unique<HeadlessLoop>(ScriptRunner(std::move(*parsed), {}));
    EXPECT_TRUE(loop_->ShowModal(probe_, error)) << error;
    return probe_;
  }

  VirtualEnv env_{MakeDateTime(2026, 1, 15, 10, 30, 0)};
  ScopedEnv scoped_env_;
  FormCatalogue catalogue_;
  frmProbe probe_;
  std::unique_ptr<HeadlessLoop> loop_;
};

TEST_F(HeadlessLoopTest, TimersFireInVirtualTimeOrderAndHandlersAreTrapped) {
  Run("wait 500 ms\n"
      "click cmdFail\n"
      "type a1b into txtCode\n"
      "expect txtCode text is \"A1\"\n"
      "press Enter\n");
  EXPECT_EQ(probe_.ticks.substr(0, 34), "F100 F200 S250 F300 F400 S500 F500");
  EXPECT_EQ(probe_.strErrorMessage(), "frmProbe.cmdFail_Click() Failed - printer on fire");
  // Still usable after the failure: the box took its keys, Enter the default button.
  EXPECT_EQ(probe_.changes, 2);
  EXPECT_EQ(probe_.CurrentStage(), Form::Stage::Unloaded);
  EXPECT_FALSE(loop_->Runner().Failed()) << loop_->Runner().Failure();
}

TEST_F(HeadlessLoopTest, AStepThatCannotBeTakenFailsAfterAVirtualMinuteWithTheVisibleControls) {
  probe_.tmrFast.SetEnabled(false);
  probe_.tmrSlow.SetEnabled(false);
  probe_.cmdCancel.SetEnabled(false);
  const DateTime start = env_.Now();
  Run("click cmdHidden\n");
  EXPECT_EQ(env_.Now().ToSerialMs() - start.ToSerialMs(), 60'000);
  const std::string& failure = loop_->Runner().Failure();
  EXPECT_NE(failure.find("probe.script:1: click cmdHidden: nothing happened for 60 s: "
                         "cmdHidden is hidden"),
            std::string::npos)
      << failure;
  EXPECT_NE(failure.find("cmdDecline button \"Declined\""), std::string::npos) << failure;
  EXPECT_EQ(failure.find("cmdHidden button"), std::string::npos) << failure;
  // Cancel is disabled: the declared refusal is the way out.
  EXPECT_EQ(loop_->Runner().Journalled().back(),
            "frmProbe: the operator script failed; safe way out: cmdDecline \"Declined\"");
}

TEST_F(HeadlessLoopTest, AWindowThatRefusesEveryWayOutIsGivenUpNotWaitedFor) {
  probe_.refuse = true;
  Run("click cmdCancel\n");
  const std::vector<std::string>& journal = loop_->Runner().Journalled();
  ASSERT_EQ(journal.size(), 2u);
  EXPECT_EQ(journal[0],
            "frmProbe: the operator script ended with the window open; safe way out: cmdCancel "
            "\"Cancel\"");
  EXPECT_EQ(journal[1], "frmProbe: the window refused its safe way out and was given up");
  EXPECT_EQ(probe_.CurrentStage(), Form::Stage::Unloaded);
  EXPECT_FALSE(loop_->Runner().Failed());
}

// A till's own CI: the variable names a script, and every window of the process obeys it,
// the print decision's question box included; a script others may write is refused.
TEST(OperatorScriptInForce, DrivesTheQuestionBoxAndRefusesAScriptOthersCanWrite) {
  testing::TempDir dir;
  const std::string script = dir.Write("till.script",
                                       "expect capTransactionState caption is "
                                       "\"TRANSACTION AUTHORISED\"\n"
                                       "click cmdYes\n");
  ASSERT_EQ(chmod(script.c_str(), 0644), 0);
  setenv("CCADDIN_OPERATOR_SCRIPT", script.c_str(), 1);
  ScopedSharedState state;
  CreditCardCommon& shared = Shared();
  shared.bPromptTappedCustomerReceipt = true;
  QlTransaction tapped;
  tapped.lEntryMethodCode = 3;
  auto ask = [&] {
    TAddinLog journal;
    journal.StartLog(dir.folder(), true);
    FormCallScope scope(&journal);
    return shared.ShouldPrintReceipt(CreditCardCommon::kCustomerAuthorised, tapped, true);
  };
  EXPECT_TRUE(ask());
  ASSERT_EQ(chmod(script.c_str(), 0666), 0);
  EXPECT_FALSE(ask());
  unsetenv("CCADDIN_OPERATOR_SCRIPT");

  const std::string journal = dir.Read(TAddinLog::kJournalFileName);
  EXPECT_NE(journal.find("SCRIPT : operator script in force: " + script), std::string::npos)
      << journal;
  EXPECT_NE(journal.find("SCRIPT : operator script refused (" + script +
                         " can be written by others than its owner)"),
            std::string::npos)
      << journal;
  EXPECT_NE(journal.find("SCRIPT : frmQuestionBox: no operator script (refused: " + script +
                         " can be written by others than its owner); safe way out: cmdNo"),
            std::string::npos)
      << journal;
}

}  // namespace
}  // namespace ccaddin
