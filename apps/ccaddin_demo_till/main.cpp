// ccaddin-demo-till: the demo till and the simulated terminal's operator panel. With a
// display both windows open. Without one (a CI machine, a session over SSH), or with
// --scripted, one card sale runs through the component's window under an operator script
// on Qt's offscreen platform, and the outcome, both receipts and the folder of the
// window's pictures are printed.
#include <sys/stat.h>

#include <QApplication>
#include <QDir>
#include <QPixmap>
#include <QTimer>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "addin.h"
#include "demo_site.h"
#include "demo_till.h"
#include "operator_panel.h"

namespace {

namespace fs = std::filesystem;
using namespace ccaddin;

constexpr int kExitPaid = 0;
constexpr int kExitUsage = 1;
constexpr int kExitFailed = 2;
constexpr int kExitNotPaid = 3;

constexpr const char* kUsage =
    "usage: ccaddin-demo-till [--dir FOLDER] [--library PATH] [--exit-when-shown]\n"
    "       ccaddin-demo-till --scripted [--amount 12.50] [--card NAME] [--script FILE]\n"
    "                         [--dir FOLDER] [--library PATH]\n"
    "\n"
    "With a display: the demo till and the simulated terminal's operator panel.\n"
    "Without one, or with --scripted: one card sale through the component's window, run\n"
    "by an operator script on Qt's offscreen platform; prints the outcome, both receipts\n"
    "and the folder of the window's pictures. The demo site is FOLDER (default\n"
    "./ccaddin-demo), made on first use; the library is PATH, else $CCADDIN_LIBRARY, else\n"
    "libccaddin.so.0 where the system finds libraries. --exit-when-shown opens both\n"
    "windows (off screen without a display) and exits, to time the start.\n";

// The cashier's part of the scripted sale: the card wait and the result drawn, the
// authorisation accepted. The cardholder's part is the operator panel's card: tapped, as
// most are, so no cashback is offered (a card read from its chip needs a script that
// answers the offer).
constexpr const char* kSaleScript =
    "# the cashier at the component's window; the pictures land beside this file\n"
    "when fraInsertSwipe is visible: picture \"1_card_wait.png\"\n"
    "when fraConfirm is visible: picture \"2_result.png\"\n"
    "when cmdConfirmAuth is visible: click cmdConfirmAuth\n";

struct Options {
  std::string dir = kDefaultDemoFolder;
  std::string library;
  std::string amount = "12.50";
  std::string card = "visa_contactless";
  std::string script;
  bool scripted = false;
  bool exit_when_shown = false;
};

bool HasDisplay() {
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY"}) {
    const char* value = std::getenv(name);
    if (value != nullptr && *value != '\0') return true;
  }
  return false;
}

bool Parse(int argc, char** argv, Options& o) {
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    const auto value = [&](std::string& into) {
      if (i + 1 >= argc || *argv[i + 1] == '\0') return false;
      into = argv[++i];
      return true;
    };
    bool ok = true;
    if (a == "--dir") {
      ok = value(o.dir);
    } else if (a == "--library") {
      ok = value(o.library);
    } else if (a == "--amount") {
      ok = value(o.amount);
    } else if (a == "--card") {
      ok = value(o.card);
    } else if (a == "--script") {
      ok = value(o.script);
      o.scripted = true;
    } else if (a == "--scripted") {
      o.scripted = true;
    } else if (a == "--exit-when-shown") {
      o.exit_when_shown = true;
    } else {
      std::cerr << "ccaddin-demo-till: unknown argument " << a << "\n";
      return false;
    }
    if (!ok) {
      std::cerr << "ccaddin-demo-till: " << a << " needs a value\n";
      return false;
    }
  }
  for (char& c : o.card) {
    if (c == '-') c = '_';  // catalogue names use "_"; "-" reads better on a command line
  }
  return true;
}

// The script the sale runs under, owned by this user and writable by nobody else (the
// component refuses any other). Returns its folder, where the pictures go.
std::string PrepareScript(const Options& o, const std::string& site) {
  std::string script = o.script;
  if (script.empty()) {
    const fs::path folder = fs::path(site) / "pictures";
    fs::create_directories(folder);
    for (const auto& entry : fs::directory_iterator(folder)) {
      if (entry.path().extension() == ".png") fs::remove(entry.path());
    }
    script = (folder / "sale.script").string();
    std::ofstream(script, std::ios::trunc) << kSaleScript;
    ::chmod(script.c_str(), 0600);
  }
  const std::string absolute = fs::absolute(script).string();
  ::setenv("CCADDIN_OPERATOR_SCRIPT", absolute.c_str(), 1);
  return fs::path(absolute).parent_path().string();
}

int RunScripted(demo::DemoTill& till, demo::OperatorPanel& panel, const Options& o,
                const std::string& pictures) {
  std::string error;
  if (!panel.ChooseCard(QString::fromStdString(o.card), error)) {
    std::cerr << "ccaddin-demo-till: " << error << "\n";
    return kExitUsage;
  }
  till.SetAmount(QString::fromStdString(o.amount));
  till.Run("Sale");
  till.grab().save(QString::fromStdString(pictures + "/3_till.png"));
  panel.grab().save(QString::fromStdString(pictures + "/4_operator_panel.png"));
  std::cout << "Outcome: " << till.Outcome() << "\n"
            << panel.Describe() << "\n\n"
            << till.Record() << "\n\n"
            << till.Receipts() << "\n"
            << "Pictures of the windows: " << pictures << "\n";
  return till.Paid() ? kExitPaid : kExitNotPaid;
}

}  // namespace

int main(int argc, char** argv) {
  Options o;
  if (argc > 1 && (std::string(argv[1]) == "--help" || std::string(argv[1]) == "-h")) {
    std::cout << kUsage;
    return kExitPaid;
  }
  if (!Parse(argc, argv, o)) {
    std::cerr << kUsage;
    return kExitUsage;
  }
  // Timing the start needs the windows, so it shows them off screen when there is no display.
  const bool scripted = o.scripted || (!HasDisplay() && !o.exit_when_shown);
  std::string site, pictures;
  try {
    const std::string db = PrepareDemoSite(o.dir, std::cout);
    site = fs::path(db).parent_path().string();
    ::setenv("CCADDIN_REGISTRY", db.c_str(), 1);
    const std::string printers = site + "/config/printers.json";
    ::setenv("CCADDIN_PRINTERS", printers.c_str(), 0);  // a till's own map wins
    if (scripted) pictures = PrepareScript(o, site);
  } catch (const std::exception& e) {
    std::cerr << "ccaddin-demo-till: " << e.what() << "\n";
    return kExitFailed;
  }
  if ((scripted || !HasDisplay()) && std::getenv("QT_QPA_PLATFORM") == nullptr) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
  }
  QApplication app(argc, argv);

  const char* env_library = std::getenv("CCADDIN_LIBRARY");
  const std::string library = !o.library.empty()                       ? o.library
                              : env_library != nullptr && *env_library ? env_library
                                                                       : "libccaddin.so.0";
  std::string error;
  std::unique_ptr<demo::Addin> addin = demo::Addin::Load(library, error);
  if (!addin) {
    std::cerr << "ccaddin-demo-till: " << error << "\n";
    return kExitFailed;
  }
  demo::DemoTill till(*addin, site);
  demo::OperatorPanel panel(*addin, site + "/config/qlclient.json",
                            [&till](const QString& amount) { till.SetAmount(amount); });
  till.on_ended = [&panel] { panel.TenderEnded(); };
  till.show();
  panel.move(till.frameGeometry().topRight());
  panel.show();
  if (scripted) return RunScripted(till, panel, o, pictures);
  if (o.exit_when_shown) QTimer::singleShot(0, &app, &QCoreApplication::quit);
  return app.exec();
}
