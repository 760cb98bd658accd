// The Qt view on the offscreen platform: the widgets follow the model, and clicks, keys,
// focus and the close button reach the form; a request that waits keeps the window
// running through Env::DoEvents.
#include "ui/qt/qt_form_view.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest/QTest>
#include <cstdlib>

#include "platform/env.h"
#include "platform/text_box_format.h"
#include "ui/form_catalogue.h"
#include "ui/qt/qt_form_loop.h"
#include "ui/script_runner.h"
#include "ui/t_windws_form.h"

extern "C" const char* __lsan_default_suppressions() {
  return "leak:libfontconfig.so\n";
}

namespace ccaddin {
namespace {

class frmView final : public Form {
 public:
  frmView()
      : Form("frmView", "View", {1500, 1500, 6000, 4500}),
        fraMain(AddFrame("fraMain", {150, 150, 5700, 3000}, "Main")),
        capMessage(AddLabel("capMessage", {150, 300, 5400, 450}, "PLEASE WAIT", &fraMain)),
        txtCode(AddTextBox("txtCode", {150, 900, 3000, 450}, "Code", &fraMain)),
        cmdGo(AddButton("cmdGo", {150, 1500, 1500, 600}, "&Go", &fraMain)),
        cmdOff(AddButton("cmdOff", {1800, 1500, 1500, 600}, "Off", &fraMain)),
        cmdWait(AddButton("cmdWait", {150, 3450, 1500, 600}, "Wait")),
        tmrTick(AddTimer("tmrTick", 50, false)) {
    cmdOff.SetEnabled(false);
    OnClick(cmdGo, &frmView::cmdGo_Click);
    OnClick(cmdOff, &frmView::cmdOff_Click);
    OnClick(cmdWait, &frmView::cmdWait_Click);
    OnKeyPress(txtCode, &frmView::txtCode_KeyPress);
    OnTimer(tmrTick, &frmView::tmrTick_Timer);
  }

  Control& fraMain;
  Control& capMessage;
  Control& txtCode;
  Control& cmdGo;
  Control& cmdOff;
  Control& cmdWait;
  Control& tmrTick;
  int go = 0;
  int off = 0;
  int ticks = 0;
  int ticks_while_waiting = 0;
  bool waiting = false;
  bool go_while_waiting = false;

 private:
  void cmdGo_Click() {
    ++go;
    go_while_waiting = go_while_waiting || waiting;
    capMessage.SetCaption("GONE");
  }
  void cmdOff_Click() { ++off; }
  // Enter moves on to the next field; letters become capitals; nothing else is typed.
  void txtCode_KeyPress(int16_t& KeyAscii) {
    KeyAscii =
        KeyAscii == kKeyEnter ? kKeyTab : TextBoxFormat::UCAlphaNumericBox(KeyAscii, 0, 0, 0);
  }
  void tmrTick_Timer() { ++ticks; }
  // A request that polls, yielding to the loop: Go is off meanwhile, the timer runs.
  void cmdWait_Click() {
    waiting = true;
    cmdGo.SetEnabled(false);
    tmrTick.SetEnabled(true);
    for (int i = 0; i < 15; ++i) {
      CurrentEnv()->Sleep(20);
      CurrentEnv()->DoEvents();
    }
    ticks_while_waiting = ticks;
    tmrTick.SetEnabled(false);
    cmdGo.SetEnabled(true);
    waiting = false;
  }
};

class QtFormViewTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { setenv("QT_QPA_PLATFORM", "offscreen", 1); }
};

// A till that is a Qt program keeps its own QApplication.
TEST_F(QtFormViewTest, WidgetsFollowTheModelAndInputReachesTheHandlers) {
  int argc = 1;
  char name[] = "till";
  char* argv[] = {name, nullptr};
  QApplication till(argc, argv);
  QtFormLoop loop;
  frmView form;
  form.Load(loop);
  QtFormView view(form, true);
  view.show();
  form.Show();
  QApplication::setActiveWindow(&view);
  auto* go = view.findChild<QPushButton*>("cmdGo");
  auto* off = view.findChild<QPushButton*>("cmdOff");
  auto* code = view.findChild<QLineEdit*>("txtCode");
  auto* message = view.findChild<QLabel*>("capMessage");
  ASSERT_TRUE(go && off && code && message);
  EXPECT_EQ(go->text(), "&Go");
  EXPECT_EQ(go->accessibleName(), "Go");
  EXPECT_EQ(code->accessibleName(), "Code");
  EXPECT_EQ(go->geometry(), QRect(10, 100, 100, 40));
  EXPECT_EQ(view.size(), QSize(400, 300));
  EXPECT_FALSE(off->isEnabled());
  EXPECT_EQ(QApplication::focusWidget(), code);  // first in tab order

  // Model to widgets.
  form.capMessage.SetCaption("CARD READ");
  EXPECT_EQ(message->text(), "CARD READ");
  form.cmdOff.SetEnabled(true);
  EXPECT_TRUE(off->isEnabled());
  form.SetFocus(form.cmdOff);
  EXPECT_EQ(QApplication::focusWidget(), off);
  EXPECT_EQ(TWindwsForm::SetTopMostWindow(form, true), 1);
  EXPECT_TRUE(view.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
  EXPECT_TRUE(QTest::qWaitForWindowActive(&view));

  // Widgets to handlers: keys pass the box's filter, which replaces or swallows them.
  QTest::mouseClick(code, Qt::LeftButton);
  EXPECT_EQ(form.Focused(), &form.txtCode);
  QTest::keyClicks(code, "a!b7");
  EXPECT_EQ(form.txtCode.Text(), "AB7");
  QTest::keyClick(code, Qt::Key_Backspace);
  EXPECT_EQ(code->text(), "AB");
  QTest::keyClick(code, Qt::Key_Z, Qt::ControlModifier);  // no undo behind the form's back
  EXPECT_EQ(code->text(), "AB");
  QTest::keyClick(code, Qt::Key_Return);
  EXPECT_EQ(QApplication::focusWidget(), go);
  QTest::mouseClick(go, Qt::LeftButton);
  EXPECT_EQ(form.go, 1);
  EXPECT_EQ(form.Focused(), &form.cmdGo);
  EXPECT_EQ(message->text(), "GONE");

  // A hidden frame hides its buttons, and they take no click.
  form.fraMain.SetVisible(false);
  EXPECT_FALSE(go->isVisible());
  form.cmdOff.SetEnabled(false);
  form.fraMain.SetVisible(true);
  QTest::mouseClick(off, Qt::LeftButton);
  EXPECT_EQ(form.off, 0);

  view.close();
  EXPECT_EQ(form.CurrentStage(), Form::Stage::Unloaded);
}

// Without a QApplication the add-in starts one; a click during a waiting request finds
// Go disabled and is taken once the request is over.
TEST_F(QtFormViewTest, ARequestThatWaitsKeepsTheWindowRunning) {
  FormCatalogue forms;
  forms.Add(std::make_unique<frmView>());
  std::string error;
  auto script = OperatorScript::Parse("click cmdWait\nclick cmdGo\nclose the window\n", "wait",
                                      forms.Forms(), error);
  ASSERT_TRUE(script) << error;
  QtLoopOptions options;
  options.script = std::move(*script);
  options.stall_ms = 5000;
  QtFormLoop loop(std::move(options));
  frmView form;
  ASSERT_TRUE(loop.ShowModal(form, error)) << error;
  EXPECT_FALSE(loop.Runner()->Failed()) << loop.Runner()->Failure();
  EXPECT_GE(form.ticks_while_waiting, 3);
  EXPECT_EQ(form.go, 1);
  EXPECT_FALSE(form.go_while_waiting);
  EXPECT_EQ(form.CurrentStage(), Form::Stage::Unloaded);
}

}  // namespace
}  // namespace ccaddin
