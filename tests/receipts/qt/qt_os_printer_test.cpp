#include "receipts/qt/qt_os_printer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "payment/credit_card_common.h"
#include "platform/virtual_env.h"
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

std::string RunCommand(const std::string& command) {
  return testing::RunShell(command).out;
}

// The lines that show anything (pdftotext ends each page with a form feed).
std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  for (const std::string& line : testing::SplitLines(text)) {
    if (line.find_first_not_of(" \f") != std::string::npos) lines.push_back(line);
  }
  return lines;
}

// What a reader of the PDF sees, laid out in columns as printed.
std::string PdfText(const std::string& pdf) {
  return RunCommand("pdftotext -layout '" + pdf + "' -");
}
std::string PdfFonts(const std::string& pdf) {
  return RunCommand("pdffonts '" + pdf + "'");
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

class QtOsPrinterTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { setenv("QT_QPA_PLATFORM", "offscreen", 1); }

  std::unique_ptr<OsPrinter> PdfPrinter() {
    return MakeQtOsPrinter(QtOsPrinterOptions{pdf_, "Receipts"});
  }

  testing::TempDir dir_;
  std::string pdf_ = dir_.file("receipt.pdf");
};

TEST_F(QtOsPrinterTest, NamedPrinterPrintsTheReceiptInItsFontWithColumnsKept) {
  auto printer = PdfPrinter();
  ASSERT_TRUE(printer->SelectPrinter("Receipts", {"DejaVu Sans Mono", 9, true}))
      << printer->strErrorMessage();
  EXPECT_EQ(printer->SelectedPrinterName(), "Receipts");
  // 40-column lines with right-justified amounts, Windows-1252 pound and euro signs,
  // and every kind of line end.
  const std::string receipt =
      "            HARBOUR ROAD STORES\r\n"
      "SALE                              \xA3"
      "12.50\r"
      "CASHBACK                         \xA3"
      "100.00\n"
      "EUR                              \x80"
      "115.10\r\n"
      "\r\n"
      "          PLEASE RETAIN RECEIPT";
  ASSERT_TRUE(printer->PrintText(receipt)) << printer->strErrorMessage();

  const std::vector<std::string> lines = Lines(PdfText(pdf_));
  ASSERT_EQ(lines.size(), 5u) << PdfText(pdf_);
  EXPECT_NE(lines[0].find("HARBOUR ROAD STORES"), std::string::npos);
  EXPECT_NE(lines[1].find("SALE"), std::string::npos);
  EXPECT_NE(lines[1].find("\xC2\xA3"
                          "12.50"),
            std::string::npos)
      << lines[1];
  EXPECT_NE(lines[3].find("\xE2\x82\xAC"
                          "115.10"),
            std::string::npos)
      << lines[3];
  EXPECT_NE(lines[4].find("PLEASE RETAIN RECEIPT"), std::string::npos);
  // Fixed pitch: the right-justified amounts end in the same column (counted in
  // characters: pdftotext writes UTF-8).
  const auto end_of = [](const std::string& line, const std::string& amount) {
    const size_t end = line.find(amount) + amount.size();
    size_t column = 0;
    for (size_t i = 0; i < end; ++i) column += (static_cast<uint8_t>(line[i]) & 0xC0) != 0x80;
    return column;
  };
  EXPECT_EQ(end_of(lines[1], "12.50"), end_of(lines[2], "100.00"));
  EXPECT_EQ(end_of(lines[1], "12.50"), end_of(lines[3], "115.10"));

  const std::string fonts = PdfFonts(pdf_);
  EXPECT_NE(fonts.find("DejaVuSansMono-Bold"), std::string::npos) << fonts;
}

// Settings written for another system name fonts this one lacks ("Courier New" on a
// till without it): the receipt must still print in a fixed-pitch font.
TEST_F(QtOsPrinterTest, MissingFontFamilyFallsBackToAFixedPitchFont) {
  auto printer = PdfPrinter();
  ASSERT_TRUE(printer->SelectPrinter("Receipts", {"Arial", 10, false}));
  ASSERT_TRUE(printer->PrintText("AMOUNT"));
  const std::string fonts = PdfFonts(pdf_);
  EXPECT_NE(fonts.find("Mono"), std::string::npos) << fonts;
}

TEST_F(QtOsPrinterTest, UnknownNameUsesTheDefaultPrinterAndFont) {
  auto printer = PdfPrinter();
  ASSERT_TRUE(printer->SelectPrinter("Back Office Laser", {"DejaVu Serif", 20, true}))
      << printer->strErrorMessage();
  EXPECT_EQ(printer->SelectedPrinterName(), "Receipts");
  ASSERT_TRUE(printer->PrintText("DEFAULT FONT\r\n"));
  EXPECT_NE(PdfText(pdf_).find("DEFAULT FONT"), std::string::npos);
  const std::string fonts = PdfFonts(pdf_);
  EXPECT_NE(fonts.find("Mono"), std::string::npos) << fonts;
  EXPECT_EQ(fonts.find("Serif"), std::string::npos) << fonts;
  EXPECT_EQ(fonts.find("Bold"), std::string::npos) << fonts;
}

TEST_F(QtOsPrinterTest, LongTextContinuesOnNewPagesInOrder) {
  auto printer = PdfPrinter();
  ASSERT_TRUE(printer->SelectPrinter("Receipts", {"DejaVu Sans Mono", 12, false}));
  std::string report;
  for (int i = 1; i <= 150; ++i) report += "LINE " + std::to_string(i) + "\r\n";
  ASSERT_TRUE(printer->PrintText(report)) << printer->strErrorMessage();

  const std::string info = RunCommand("pdfinfo '" + pdf_ + "'");
  const size_t pages_at = info.find("Pages:");
  ASSERT_NE(pages_at, std::string::npos) << info;
  EXPECT_GT(std::stoi(info.substr(pages_at + 6)), 1);
  const std::vector<std::string> lines = Lines(PdfText(pdf_));
  ASSERT_EQ(lines.size(), 150u);
  for (int i = 1; i <= 150; ++i) {
    EXPECT_NE(lines[i - 1].find("LINE " + std::to_string(i)), std::string::npos) << lines[i - 1];
  }
}

TEST_F(QtOsPrinterTest, InstalledDriverServesTheFactoryAndMisuseFails) {
  InstallOsPrinterFactory({});
  auto none = CreateOsPrinter();
  EXPECT_FALSE(none->SelectPrinter("Receipts", {}));
  EXPECT_FALSE(none->PrintText("X"));
  EXPECT_EQ(none->strErrorMessage(), "No printer driver installed");

  InstallQtOsPrinter(QtOsPrinterOptions{pdf_, "Receipts"});
  auto printer = CreateOsPrinter();
  EXPECT_FALSE(printer->PrintText("X"));
  EXPECT_EQ(printer->strErrorMessage(), "No printer selected");
  ASSERT_TRUE(printer->SelectPrinter("Receipts", {}));
  ASSERT_TRUE(printer->PrintText("FROM THE FACTORY"));
  EXPECT_NE(PdfText(pdf_).find("FROM THE FACTORY"), std::string::npos);
  InstallOsPrinterFactory({});

  // An unwritable output is a failure of the print call, not a silent loss.
  auto unwritable = MakeQtOsPrinter(QtOsPrinterOptions{dir_.file("no/such/folder/x.pdf"), "P"});
  ASSERT_TRUE(unwritable->SelectPrinter("P", {}));
  EXPECT_FALSE(unwritable->PrintText("LOST"));
  EXPECT_EQ(unwritable->strErrorMessage(), "Printer P cannot start a document");
}

TEST_F(QtOsPrinterTest, WithoutAnyPrinterSelectionFails) {
  auto printer = MakeQtOsPrinter();
  if (printer->SelectPrinter("Receipts", {})) {
    GTEST_SKIP() << "this machine has printers (" << printer->SelectedPrinterName() << ")";
  }
  EXPECT_EQ(printer->strErrorMessage(), "No printer available");
  EXPECT_FALSE(printer->PrintText("X"));
}

// A composed receipt printed on the OS printer (printer type 0) through the driver.
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
  const std::string text = PdfText(pdf_);
  EXPECT_EQ(Words(text), Words(printed)) << text;
  EXPECT_NE(text.find("AMOUNT                "), std::string::npos) << text;
  const std::string fonts = PdfFonts(pdf_);
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
