// A composed receipt printed on the OS printer (printer type 0) through the Qt driver,
// written to PDF and read back with pdftotext.
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "payment/credit_card_common.h"
#include "platform/virtual_env.h"
#include "receipts/qt/qt_os_printer.h"
#include "receipts/receipt.h"
#include "support/golden_text.h"
#include "support/processes.h"
#include "support/receipt_case.h"
#include "support/temp_dir.h"

// fontconfig keeps a cache allocation for the life of the process that it never frees;
// the sanitizer build's leak check ignores that one library and nothing else.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libfontconfig.so\n";
}

namespace ccaddin {
namespace {

std::string PdfCommand(const std::string& command) {
  return testing::RunShell(command).out;
}

// The words of each line that shows any, blanks collapsed: pdftotext rebuilds the columns
// from glyph positions and may be one blank out, so the words and their order are what
// the comparison can rely on.
std::vector<std::string> Words(const std::string& text) {
  std::vector<std::string> lines;
  for (const std::string& line : testing::SplitLines(text)) {
    std::istringstream words(line);
    std::string joined;
    for (std::string word; words >> word;) joined += (joined.empty() ? "" : " ") + word;
    if (!joined.empty()) lines.push_back(joined);
  }
  return lines;
}

class ReceiptOsPrintTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { setenv("QT_QPA_PLATFORM", "offscreen", 1); }

  ReceiptOsPrintTest() : scoped_env_(&env_) {
    CreditCardCommon& config = Shared();
    config.lPrinterType = 0;
    config.strWindowsPrinterName = "Receipts";
    config.strWindowsPrinterFontName = "DejaVu Sans Mono";
    config.lWindowsFontSize = 9;
    config.bWindowsFontBold = true;
    config.bAppendLineFeed = true;
    config.lLineFeedsBeforePaperCut = 5;  // never for the OS printer
    InstallQtOsPrinter(QtOsPrinterOptions{pdf_, "Receipts"});
  }
  ~ReceiptOsPrintTest() override { InstallOsPrinterFactory({}); }

  testing::TempDir dir_;
  std::string pdf_ = dir_.file("receipt.pdf");
  VirtualEnv env_;
  ScopedEnv scoped_env_;
  ScopedSharedState shared_;
};

TEST_F(ReceiptOsPrintTest, PrintsTheReceiptWithItsColumnsInTheConfiguredFont) {
  QlTransaction t = testing::ReadReceiptCase("swiped_sale").trans;
  t.strCurrencyText = "GBP";  // pdftotext writes UTF-8: keep the compared text ASCII
  TReceipt receipt;
  receipt.dtDate = MakeDateTime(2026, 1, 15);
  receipt.strTime = "0915";
  ASSERT_EQ(receipt.WriteReceiptFile(t, TTillInformation{}, dir_.folder(), true, false), 0);
  ASSERT_EQ(receipt.PrintReceipt(nullptr, true, dir_.file(receipt.strLongReceiptFileName()),
                                 t.strPan, false, false, false),
            0)
      << receipt.strErrorMessage();

  // The merchant copy shows the card number in clear on paper.
  std::string printed = receipt.strReceipt();
  printed.replace(printed.find("**** **** **** 0119"), 19, "4761 7390 0101 0119");
  const std::string text = PdfCommand("pdftotext -layout '" + pdf_ + "' -");
  EXPECT_EQ(Words(text), Words(printed)) << text;
  EXPECT_NE(text.find("AMOUNT                "), std::string::npos) << text;
  const std::string fonts = PdfCommand("pdffonts '" + pdf_ + "'");
  EXPECT_NE(fonts.find("DejaVuSansMono-Bold"), std::string::npos) << fonts;
}

TEST_F(ReceiptOsPrintTest, NoPrinterDriverFailsTheReceipt) {
  InstallOsPrinterFactory({});
  testing::TempDir dir;
  const std::string path = dir.Write("M_x.rcpt", "LINE\n");
  TReceipt receipt;
  EXPECT_EQ(receipt.PrintReceipt(nullptr, true, path, "", false, false, false), 1);
  EXPECT_EQ(receipt.strErrorMessage(),
            "TReceipt.PrintReceipt() Failed - No printer driver installed");
}

}  // namespace
}  // namespace ccaddin
