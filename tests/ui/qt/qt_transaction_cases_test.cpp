// The transaction window through the Qt view on the offscreen platform. The cases with
// picture steps run once in each layout (the normal window and the full-screen layout of
// touch-screen tills) and leave the README's pictures of every frame in <build>/pictures.
// The cases of tests/data/ui/transaction_qt run through the widgets in real time: the
// till's four card transactions (sale, refund, pre- and final authorisation), settled at
// the server with their receipts, two of them against a terminal that takes its time, to
// show that the window stays alive while a request waits: the terminal's texts reach the
// status line, Cancel is disabled, and the window refuses to close.
#include <gtest/gtest.h>

#include <QImage>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <tuple>

#include "platform/virtual_env.h"
#include "support/case_files.h"
#include "transaction_case.h"
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

using testing::TransactionCase;

std::vector<std::string> CasesWithPictures() {
  std::vector<std::string> names;
  for (const std::string& name : testing::CaseNames(TransactionCase::kFolder)) {
    if (testing::ReadCase(TransactionCase::kFolder, name).dump().find("\"picture ") !=
        std::string::npos)
      names.push_back(name);
  }
  return names;
}

// A picture is the whole window at 15 twips a pixel, with something drawn in it.
void ExpectDrawn(const std::string& file, const Twips& window) {
  const QImage image(QString::fromStdString(file));
  ASSERT_FALSE(image.isNull()) << file;
  EXPECT_EQ(image.width(), window.width / 15) << file;
  EXPECT_EQ(image.height(), window.height / 15) << file;
  std::set<QRgb> colours;
  for (int y = 0; y < image.height(); y += 3) {
    for (int x = 0; x < image.width(); x += 3) colours.insert(image.pixel(x, y));
  }
  EXPECT_GT(colours.size(), 8u) << file;
}

// The offscreen platform's screen is the touch-screen till's, 1024 x 768, as the headless
// loop's, so that the full-screen layout draws the same through the widgets.
void DrawOffscreen() {
  std::filesystem::create_directories(CCADDIN_PICTURE_DIR);
  const std::string screens = std::string(CCADDIN_PICTURE_DIR) + "/../offscreen-screens.json";
  std::ofstream(screens) << R"({"screens": [{"name": "till", "x": 0, "y": 0, "width": 1024,
      "height": 768, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})";
  setenv("QT_QPA_PLATFORM", ("offscreen:configfile=" + screens).c_str(), 1);
}

class TransactionPictures : public ::testing::TestWithParam<std::tuple<std::string, bool>> {};

TEST_P(TransactionPictures, DrawsItsFramesInBothLayouts) {
  const auto& [name, full_screen] = GetParam();
  DrawOffscreen();
  VirtualEnv env;
  ScopedEnv scoped_env(&env);
  TransactionCase c(name, full_screen ? nlohmann::json{{"DisplayMode", "1"}} : nlohmann::json{});
  std::vector<std::pair<std::string, Twips>> drawn;  // the file and the window it shows
  HeadlessOptions options;
  options.picture = [&](Form& form, const Control* part, const std::string& file) {
    std::string out = std::string(CCADDIN_PICTURE_DIR) + "/" + file;
    if (full_screen) out.insert(out.size() - 4, "_fullscreen");
    std::string error;
    EXPECT_TRUE(RenderFormPicture(form, part, out, error)) << error;
    drawn.emplace_back(out, form.Geometry());
  };
  HeadlessLoop loop(ScriptRunner(c.TakeScript(), [&](const std::string& l) { c.Journal(l); }),
                    options);
  frmTransaction window;
  c.Run(loop, loop.Runner(), window);
  ASSERT_FALSE(drawn.empty());
  for (const auto& [file, geometry] : drawn) ExpectDrawn(file, geometry);
}

INSTANTIATE_TEST_SUITE_P(Cases, TransactionPictures,
                         ::testing::Combine(::testing::ValuesIn(CasesWithPictures()),
                                            ::testing::Bool()),
                         [](const auto& info) {
                           return std::get<0>(info.param) +
                                  (std::get<1>(info.param) ? "_fullscreen" : "");
                         });

// A case of ui/transaction_qt operated through the widgets in real time.
void RunThroughTheWidgets(const std::string& name) {
  DrawOffscreen();
  TransactionCase c(name, {}, "ui/transaction_qt");
  QtLoopOptions options;
  options.script = c.TakeScript();
  options.journal = [&](const std::string& line) { c.Journal(line); };
  options.stall_ms = 20'000;
  options.picture_folder = CCADDIN_PICTURE_DIR;
  QtFormLoop loop(std::move(options));
  frmTransaction window;
  c.Run(loop, *loop.Runner(), window);
}

class TransactionThroughWidgets : public ::testing::TestWithParam<std::string> {};

TEST_P(TransactionThroughWidgets, SettlesAtTheServer) {
  RunThroughTheWidgets(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Cases, TransactionThroughWidgets,
                         ::testing::ValuesIn(testing::CaseNames("ui/transaction_qt")),
                         [](const auto& info) { return info.param; });

// The offer names a red square on the disk, in the page and through its script: a view
// that fetched it would show red.
TEST(TransactionOffer, ShowsAHostileOfferWithoutFetchingAnything) {
  const std::string file = std::string(CCADDIN_PICTURE_DIR) + "/dcc_offer_hostile.png";
  std::filesystem::remove(file);
  RunThroughTheWidgets("dcc_offer_hostile_html");
  const QImage image(QString::fromStdString(file));
  ASSERT_FALSE(image.isNull());
  int red = 0;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) red += image.pixel(x, y) == qRgb(255, 0, 0) ? 1 : 0;
  }
  EXPECT_EQ(red, 0);
}

}  // namespace
}  // namespace ccaddin
