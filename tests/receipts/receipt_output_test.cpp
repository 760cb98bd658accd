#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "payment/credit_card_common.h"
#include "platform/virtual_env.h"
#include "receipts/escpos_printer.h"
#include "receipts/receipt.h"
#include "receipts/receipt_printer.h"
#include "recording_pos_printer.h"
#include "support/fake_escpos_printer.h"
#include "support/host_model.h"
#include "support/receipt_case.h"
#include "support/socat_line.h"
#include "support/temp_dir.h"

namespace ccaddin {
namespace {

using testing::FakeEscPosPrinter;
using testing::FakePrinterBehaviour;
using testing::RecordingPrinter;
using testing::TempDir;

const std::string kBold = "\x1B\x45\x01";
const std::string kNormal = std::string("\x1B\x45\x00", 3);
const std::string kPan = "4761739001010119";

// Text as an ESC/POS printer on its Windows-1252 table gets it: every line end an LF.
std::string AsDeviceLines(std::string text) {
  for (size_t pos; (pos = text.find("\r\n")) != std::string::npos;) text.erase(pos, 1);
  return text;
}

class ReceiptOutputTest : public ::testing::Test {
 protected:
  ReceiptOutputTest() : scoped_env_(&env_) {
    CreditCardCommon& config = Shared();
    config.lPrinterType = 1;
    config.strOposPrinterDeviceName = "FrontReceipt";
    config.bAppendLineFeed = true;
    config.strPrintBoldControl = kBold;
    config.strPrintNormalControl = kNormal;
    config.strConfigFileLocation = dir_.folder();
    setenv("CCADDIN_PRINTERS", dir_.file("printers.json").c_str(), 1);
  }
  ~ReceiptOutputTest() override { unsetenv("CCADDIN_PRINTERS"); }

  // Composes the copy into the receipt folder and returns the file's path.
  std::string Compose(bool merchant) {
    TReceipt receipt;
    receipt.dtDate = MakeDateTime(2026, 1, 15);
    receipt.strTime = "0915";
    EXPECT_EQ(receipt.WriteReceiptFile(testing::ReadReceiptCase("swiped_sale").trans,
                                       TTillInformation{}, dir_.file("rcpt"), merchant, false),
              0)
        << receipt.strErrorMessage();
    composed_ = receipt.strReceipt();
    return dir_.file("rcpt/" + receipt.strLongReceiptFileName());
  }

  void SetHostTexts(const std::string& start, const std::string& end) {
    Shared().oCustomerReceiptStartText = std::make_unique<TReceiptDataInterpreter>();
    Shared().oCustomerReceiptStartText->ParseReceiptData(start, "", "");
    Shared().oCustomerReceiptEndText = std::make_unique<TReceiptDataInterpreter>();
    Shared().oCustomerReceiptEndText->ParseReceiptData(end, "", "");
  }

  TempDir dir_;
  VirtualEnv env_;
  ScopedEnv scoped_env_;
  ScopedSharedState shared_;
  std::string composed_;  // strReceipt of the last Compose
};

// ------------------------------------------------------------ the text sent and the cut

TEST_F(ReceiptOutputTest, HostTextsControlsCardNumberFeedsAndCut) {
  CreditCardCommon& config = Shared();
  config.lLineFeedsBeforePaperCut = 2;
  config.bCutPaperAfterMerchantCopy = true;
  SetHostTexts("<B>WELCOME<N>Harbour Road", "<N>Thank you");
  const std::string path = Compose(true);
  RecordingPrinter printer;
  TReceipt receipt;
  ASSERT_EQ(receipt.PrintReceipt(&printer, true, path, kPan, true, false, false), 0)
      << receipt.strErrorMessage();

  std::string body = composed_;
  ASSERT_NE(body.find("**** **** **** 0119"), std::string::npos);
  body.replace(body.find("**** **** **** 0119"), 19, "4761 7390 0101 0119");
  EXPECT_EQ(printer.printed, kBold + "WELCOME\r\n" + kNormal + "Harbour Road\r\n" + body + kNormal +
                                 "Thank you\r\n" + "\r\n\r\n");
  EXPECT_EQ(printer.calls,
            (std::vector<std::string>{"Open FrontReceipt", "ClaimDevice 5000", "DeviceEnabled true",
                                      "PrintNormal 2", "CutPaper 100", "ReleaseDevice", "Close"}));
}

TEST_F(ReceiptOutputTest, CarriageReturnsOnlyNoFeedsNoHostTextsAndNoCutForTheCustomer) {
  CreditCardCommon& config = Shared();
  config.bAppendLineFeed = false;
  config.bCutPaperAfterMerchantCopy = true;  // not the customer's
  SetHostTexts("<B>WELCOME", "Bye");
  const std::string path = Compose(false);
  RecordingPrinter printer;
  TReceipt receipt;
  ASSERT_EQ(receipt.PrintReceipt(&printer, false, path, "", false, false, false), 0);
  std::string expected = composed_;
  for (size_t pos; (pos = expected.find("\r\n")) != std::string::npos;) expected.erase(pos + 1, 1);
  EXPECT_EQ(printer.printed, expected);
  EXPECT_EQ(printer.printed.find('\n'), std::string::npos);
  for (const std::string& call : printer.calls) EXPECT_NE(call, "CutPaper 100");

  // The force-cut flag cuts any copy; the customer setting cuts the customer's.
  RecordingPrinter forced;
  ASSERT_EQ(receipt.PrintReceipt(&forced, false, path, "", false, true, false), 0);
  EXPECT_EQ(forced.calls[4], "CutPaper 100");
  config.bCutPaperAfterCustomerCopy = true;
  RecordingPrinter customer;
  ASSERT_EQ(receipt.PrintReceipt(&customer, false, path, "", false, false, false), 0);
  EXPECT_EQ(customer.calls[4], "CutPaper 100");
}

TEST_F(ReceiptOutputTest, DisabledCustomerReceiptIsNotPrintedAndNotEvenRead) {
  RecordingPrinter printer;
  TReceipt receipt;
  EXPECT_EQ(receipt.PrintReceipt(&printer, false, dir_.file("missing.rcpt"), "", true, false, true),
            0);
  EXPECT_TRUE(printer.calls.empty());
  // The flag is about the customer: a merchant copy is still printed, and fails here.
  EXPECT_EQ(receipt.PrintReceipt(&printer, true, dir_.file("missing.rcpt"), "", true, false, true),
            1);
}

TEST_F(ReceiptOutputTest, MissingFileFailsWithItsPathAndLeavesThePrinterAlone) {
  RecordingPrinter printer;
  TReceipt receipt;
  const std::string path = dir_.file("rcpt/M_gone.rcpt");
  EXPECT_EQ(receipt.PrintReceipt(&printer, true, path, "", false, false, false), 1);
  EXPECT_EQ(receipt.strErrorMessage(), "Failed opening receipt file [" + path + "]");
  EXPECT_TRUE(printer.calls.empty());
}

TEST_F(ReceiptOutputTest, ARefusingPrinterFailsTheReceiptAndIsHandedBack) {
  const std::string path = Compose(true);
  for (const std::string step : {"ClaimDevice", "PrintNormal", "CutPaper"}) {
    Shared().bCutPaperAfterMerchantCopy = true;
    RecordingPrinter printer;
    printer.fail_on = step;
    TReceipt receipt;
    EXPECT_EQ(receipt.PrintReceipt(&printer, true, path, "", false, false, false), 1) << step;
    EXPECT_EQ(receipt.strErrorMessage().rfind("TReceipt.PrintReceipt() Failed - " + step, 0), 0u)
        << receipt.strErrorMessage();
    // Whatever was claimed is released, and the control is closed again.
    EXPECT_EQ(printer.calls.back(), "Close") << step;
    EXPECT_FALSE(printer.Claimed());
  }
}

TEST_F(ReceiptOutputTest, UnknownPrinterTypeIsAFailureNotASilentSuccess) {
  Shared().lPrinterType = 5;
  const std::string path = Compose(true);
  TReceipt receipt;
  EXPECT_EQ(receipt.PrintReceipt(nullptr, true, path, "", false, false, false), 1);
  EXPECT_EQ(receipt.strErrorMessage(),
            "TReceipt.PrintReceipt() Failed - Printer type 5 is not known");
}

TEST_F(ReceiptOutputTest, DeleteReceiptRemovesTheFile) {
  const std::string path = Compose(true);
  TReceipt receipt;
  EXPECT_EQ(receipt.DeleteReceipt(path), 0);
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_EQ(receipt.DeleteReceipt(path), 1);
  EXPECT_FALSE(receipt.strErrorMessage().empty());
}

// ------------------------------------------------------------ ESC/POS over loopback TCP

TEST_F(ReceiptOutputTest, PosPrinterSendsTheReceiptAsEscPosOverTcp) {
  FakeEscPosPrinter device;
  dir_.Write("printers.json", R"({"FrontReceipt": {"device": ")" + device.uri() + R"("}})");
  Shared().lLineFeedsBeforePaperCut = 3;
  Shared().bCutPaperAfterMerchantCopy = true;
  const std::string path = Compose(true);

  // The window's own control, and a control made for the call when the window has none.
  EscPosPrinter window_control;
  TReceipt receipt;
  ASSERT_EQ(receipt.PrintReceipt(&window_control, true, path, "", false, false, false), 0)
      << receipt.strErrorMessage();
  EXPECT_FALSE(window_control.Claimed());
  ASSERT_EQ(receipt.PrintReceipt(nullptr, true, path, "", false, false, false), 0)
      << receipt.strErrorMessage();

  const std::string status(escpos::kStatusRequest);
  const std::string one =
      std::string(escpos::kInitialise) + std::string(escpos::kSelectWindows1252) + status +
      AsDeviceLines(composed_ + "\r\n\r\n\r\n") + status + std::string(escpos::kFullCut) + status;
  EXPECT_EQ(device.WaitFor(2 * one.size()), one + one);
  EXPECT_EQ(device.connections(), 2);
}

TEST_F(ReceiptOutputTest, PosPrinterThatHangsUpMidReceiptFailsItAndIsFreeAgain) {
  const std::string path = Compose(true);
  FakeEscPosPrinter dropping(FakePrinterBehaviour{0x12, 40});
  dir_.Write("printers.json", R"({"FrontReceipt": {"device": ")" + dropping.uri() + R"("}})");
  EscPosPrinter dropped;
  TReceipt receipt;
  EXPECT_EQ(receipt.PrintReceipt(&dropped, true, path, "", false, false, false), 1);
  EXPECT_EQ(receipt.strErrorMessage().rfind("TReceipt.PrintReceipt() Failed - PrintNormal: ", 0),
            0u)
      << receipt.strErrorMessage();
  EXPECT_FALSE(dropped.Claimed());
}

// ------------------------------------------------------------ the "Rms" host's printer

TEST_F(ReceiptOutputTest, RmsHostPrintsOnItsActivePrinterAndGetsItBack) {
  testing::RmsSession rms = testing::MakeRmsSession(testing::RmsSessionSetup{});
  CreditCardCommon& config = Shared();
  config.lTillType = 1;
  config.lRmsReceiptPrinterNo = 2;
  config.oRmsSession = rms.session;
  config.bCutPaperAfterMerchantCopy = true;
  config.lLineFeedsBeforePaperCut = 1;
  const std::string path = Compose(true);

  RecordingPrinter window_control;  // not used on this till
  TReceipt receipt;
  ASSERT_EQ(receipt.PrintReceipt(&window_control, true, path, "", false, false, false), 0)
      << receipt.strErrorMessage();
  EXPECT_TRUE(window_control.calls.empty());
  // The host's own call sequence is RmsPosPrinter's test; here: the printer chosen, the
  // composed text with its feeds, the cut, and the printer given back.
  ASSERT_EQ(rms.register_->CallsTo("SetActivePrinterNumber").size(), 1u);
  EXPECT_EQ(rms.register_->CallsTo("SetActivePrinterNumber")[0].args[0].ToString().value_or("?"),
            "2");
  ASSERT_EQ(rms.co->CallsTo("PrintNormal").size(), 1u);
  EXPECT_EQ(rms.co->CallsTo("PrintNormal")[0].args[1].ToString().value_or("?"), composed_ + "\r\n");
  EXPECT_EQ(rms.co->CallsTo("CutPaper").size(), 1u);
  EXPECT_EQ(rms.printer->CallsTo("Release").size(), 1u);

  // A host printer that fails mid-receipt fails the receipt and is still given back.
  rms.co->FailOn("PrintNormal", "Cover open");
  EXPECT_EQ(receipt.PrintReceipt(nullptr, true, path, "", false, false, false), 1);
  EXPECT_NE(receipt.strErrorMessage().find("Cover open"), std::string::npos)
      << receipt.strErrorMessage();
  EXPECT_EQ(rms.printer->CallsTo("Release").size(), 2u);

  // A till call without a host session cannot print on the host's printer.
  config.oRmsSession = nullptr;
  EXPECT_EQ(receipt.PrintReceipt(nullptr, true, path, "", false, false, false), 1);
}

// ------------------------------------------------------------ the serial printer (socat)

TEST_F(ReceiptOutputTest, SerialPrinterGetsTheTextFeedsAndCutCommand) {
  testing::SocatLine line;
  ASSERT_TRUE(line.ready());
  CreditCardCommon& config = Shared();
  config.lPrinterType = 2;
  config.strPrinterPort = line.near();
  config.lPrinterBaudRate = 9600;
  config.lPrinterdatabits = 8;
  config.dPrinterStopbit = 1;
  config.strPrinterCutPaper = "1B69";
  config.lLineFeedsBeforePaperCut = 2;
  config.bCutPaperAfterCustomerCopy = true;
  const std::string path = Compose(false);

  TReceipt receipt;
  ASSERT_EQ(receipt.PrintReceipt(nullptr, false, path, "", false, false, false), 0);
  const std::string expected = composed_ + "\r\n\r\n" + "\x1B\x69";
  EXPECT_EQ(line.ReceiveAtFar(expected.size()), expected);

  // An odd number of hex digits is no command: the text goes, the cut does not.
  config.strPrinterCutPaper = "1B6";
  ASSERT_EQ(receipt.PrintReceipt(nullptr, false, path, "", false, false, false), 0);
  const std::string text_only = composed_ + "\r\n\r\n";
  EXPECT_EQ(line.ReceiveAtFar(text_only.size() + 2, std::chrono::milliseconds(300)), text_only);
}

TEST_F(ReceiptOutputTest, SerialFailuresAreLoggedAndDoNotFailTheReceipt) {
  CreditCardCommon& config = Shared();
  config.lPrinterType = 2;
  config.strPrinterPort = dir_.file("no-such-port");
  config.lPrinterBaudRate = 9600;
  config.strPrinterParity = "E";
  const std::string path = Compose(true);
  TReceipt receipt;
  EXPECT_EQ(receipt.PrintReceipt(nullptr, true, path, "", false, false, false), 0);
  // The wording of the logged settings is the serial printer's own test.
  EXPECT_NE(dir_.Read("DirectSerialComms.log").find("Parity=EVEN"), std::string::npos);
}

// ------------------------------------------------------------ the shared module's helpers

TEST_F(ReceiptOutputTest, OpenAndCloseReceiptPrinterFollowTheTillType) {
  RecordingPrinter window_control;
  RecordingPrinter host;
  EXPECT_EQ(OpenReceiptPrinter(&window_control, "FrontReceipt", &host), OPOS_SUCCESS);
  EXPECT_EQ(CloseReceiptPrinter(&window_control), OPOS_SUCCESS);
  EXPECT_EQ(window_control.calls, (std::vector<std::string>{"Open FrontReceipt", "Close"}));
  EXPECT_TRUE(host.calls.empty());

  Shared().lTillType = 1;
  window_control.calls.clear();
  EXPECT_EQ(OpenReceiptPrinter(&window_control, "FrontReceipt", &host), OPOS_SUCCESS);
  EXPECT_EQ(CloseReceiptPrinter(&host), OPOS_SUCCESS);
  EXPECT_TRUE(window_control.calls.empty());
  EXPECT_EQ(host.calls, std::vector<std::string>{"Open FrontReceipt"});
  EXPECT_EQ(OpenReceiptPrinter(&window_control, "FrontReceipt", nullptr), OPOS_E_NOEXIST);
}

}  // namespace
}  // namespace ccaddin
