// The small windows' scenario cases once more, operated through the Qt widgets on the
// offscreen platform with the mouse and key events a person would send; their "picture"
// steps leave the README's pictures in <build>/pictures.
#include <gtest/gtest.h>

#include <QImage>
#include <cstdlib>
#include <filesystem>
#include <set>

#include "form_case.h"
#include "payment/credit_card_common.h"
#include "ui/form_catalogue.h"
#include "ui/frm_keypad.h"
#include "ui/headless/headless_loop.h"
#include "ui/qt/qt_form_loop.h"
#include "ui/script_runner.h"

// fontconfig keeps a cache allocation for the life of the process that it never frees;
// the sanitizer build's leak check ignores that one library and nothing else.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libfontconfig.so\n";
}

namespace ccaddin {
namespace {

class QtFormCaseTest : public ::testing::TestWithParam<std::string> {
 protected:
  static void SetUpTestSuite() {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    std::filesystem::create_directories(CCADDIN_PICTURE_DIR);
  }
};

TEST_P(QtFormCaseTest, RunsThroughTheWidgets) {
  ScopedSharedState state;
  testing::FormCase c = testing::LoadFormCase(GetParam());
  std::vector<std::string> pictures;
  for (const ScriptStep& step : c.script.Steps()) {
    if (step.action != ScriptStep::Action::Picture) continue;
    pictures.push_back(std::string(CCADDIN_PICTURE_DIR) + "/" + step.text);
    std::filesystem::remove(pictures.back());
  }
  QtLoopOptions options;
  options.script = std::move(c.script);
  options.stall_ms = 5000;
  options.picture_folder = CCADDIN_PICTURE_DIR;
  QtFormLoop loop(std::move(options));
  std::string error;
  ASSERT_TRUE(loop.ShowModal(*c.form, error)) << error;
  EXPECT_FALSE(loop.Runner()->Failed()) << loop.Runner()->Failure();
  EXPECT_TRUE(loop.Runner()->Finished());
  EXPECT_TRUE(testing::MatchesOutcome(c.outcome));

  // A picture is the whole window at 15 twips a pixel, with something drawn in it.
  for (const std::string& file : pictures) {
    const QImage image(QString::fromStdString(file));
    ASSERT_FALSE(image.isNull()) << file;
    EXPECT_EQ(image.width(), c.form->Geometry().width / 15) << file;
    EXPECT_EQ(image.height(), c.form->Geometry().height / 15) << file;
    std::set<QRgb> colours;
    for (int y = 0; y < image.height(); y += 3) {
      for (int x = 0; x < image.width(); x += 3) colours.insert(image.pixel(x, y));
    }
    EXPECT_GT(colours.size(), 8u) << file;
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, QtFormCaseTest, ::testing::ValuesIn(testing::FormCaseNames()));

// A headless run draws its pictures through the same view: here one frame of the keypad.
TEST_F(QtFormCaseTest, HeadlessRunsDrawAFramePictureOfTheModel) {
  VirtualEnv env;
  ScopedEnv scoped_env(&env);
  ScopedSharedState state;
  Shared().bKeypadNumeric = true;
  std::string error;
  auto script = OperatorScript::Parse("picture fraNumeric \"keypad_frame.png\"\nclick cmdCancel",
                                      "frame", FormCatalogue().Forms(), error);
  ASSERT_TRUE(script) << error;
  const std::string file = std::string(CCADDIN_PICTURE_DIR) + "/keypad_frame.png";
  std::filesystem::remove(file);
  HeadlessOptions options;
  options.picture = [&](Form& form, const Control* part, const std::string& name) {
    EXPECT_TRUE(RenderFormPicture(form, part, std::string(CCADDIN_PICTURE_DIR) + "/" + name, error))
        << error;
  };
  HeadlessLoop loop(ScriptRunner(std::move(*script), {}), options);
  frmKeypad keypad;
  ASSERT_TRUE(loop.ShowModal(keypad, error)) << error;
  EXPECT_EQ(QImage(QString::fromStdString(file)).size(), QSize(4080 / 15, 4200 / 15));
}

}  // namespace
}  // namespace ccaddin
