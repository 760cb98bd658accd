#include "receipts/escpos_printer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/fake_escpos_printer.h"
#include "support/socat_line.h"
#include "support/temp_dir.h"

namespace ccaddin {
namespace {

using testing::FakeEscPosPrinter;
using testing::FakePrinterBehaviour;

const std::string kReset = "\x1B\x40";
const std::string kCp1252 = "\x1B\x74\x10";
const std::string kStatus = "\x10\x04\x01";
const std::string kFullCut = std::string("\x1D\x56\x00", 3);
const std::string kPartialCut = "\x1D\x56\x01";

// Each test gets its own mapping file through the environment override.
class EscPosPrinterTest : public ::testing::Test {
 protected:
  void SetUp() override { setenv("CCADDIN_PRINTERS", dir_.file("printers.json").c_str(), 1); }
  void TearDown() override { unsetenv("CCADDIN_PRINTERS"); }
  void Map(const std::string& json) { dir_.Write("printers.json", json); }

  // Open, claim and enable, as a receipt does; stops the test on any failure.
  void Start(EscPosPrinter& printer, const std::string& name = "ReceiptPrinter") {
    ASSERT_EQ(printer.Open(name), OPOS_SUCCESS) << printer.strErrorMessage();
    ASSERT_EQ(printer.ClaimDevice(5000), OPOS_SUCCESS) << printer.strErrorMessage();
    ASSERT_EQ(printer.DeviceEnabled(true), OPOS_SUCCESS) << printer.strErrorMessage();
  }

  testing::TempDir dir_;
};

TEST_F(EscPosPrinterTest, PrintsAReceiptOverTcpWithResetTextFeedsAndCut) {
  FakeEscPosPrinter device;
  // The logical name matches whatever its letter case, as the settings may spell it.
  Map(R"({"receiptprinter": {"device": ")" + device.uri() + R"("}})");
  EscPosPrinter printer;
  Start(printer);
  EXPECT_TRUE(printer.Claimed());
  EXPECT_TRUE(printer.DeviceEnabled());

  // A host line with the settings' bold sequence, lines ending in CR alone and CR LF,
  // a pound sign (Windows-1252 0xA3), and two feeds before the cut.
  const std::string text =
      "\x1B\x45\x01"
      "THANK YOU\r"
      "TOTAL   \xA3"
      "12.50\r\n\r\n\r\n";
  ASSERT_EQ(printer.PrintNormal(PTR_S_RECEIPT, text), OPOS_SUCCESS) << printer.strErrorMessage();
  ASSERT_EQ(printer.CutPaper(100), OPOS_SUCCESS) << printer.strErrorMessage();
  ASSERT_EQ(printer.ReleaseDevice(), OPOS_SUCCESS);
  ASSERT_EQ(printer.Close(), OPOS_SUCCESS);

  const std::string expected = kReset + kCp1252 + kStatus +
                               "\x1B\x45\x01"
                               "THANK YOU\n" +
                               "TOTAL   \xA3"
                               "12.50\n\n\n" +
                               kStatus + kFullCut + kStatus;
  EXPECT_EQ(device.WaitFor(expected.size()), expected);
  EXPECT_EQ(device.connections(), 1);
}

TEST_F(EscPosPrinterTest, EveryReceiptStartsFromAFreshConnectionAndReset) {
  FakeEscPosPrinter device;
  Map(R"({"ReceiptPrinter": {"device": ")" + device.uri() + R"("}})");
  EscPosPrinter printer;
  Start(printer);
  ASSERT_EQ(printer.PrintNormal(PTR_S_RECEIPT, "ONE\n"), OPOS_SUCCESS);
  ASSERT_EQ(printer.ReleaseDevice(), OPOS_SUCCESS);
  EXPECT_FALSE(printer.Claimed());
  EXPECT_FALSE(printer.DeviceEnabled());
  ASSERT_EQ(printer.ClaimDevice(5000), OPOS_SUCCESS);
  ASSERT_EQ(printer.DeviceEnabled(true), OPOS_SUCCESS);
  ASSERT_EQ(printer.PrintNormal(PTR_S_RECEIPT, "TWO\n"), OPOS_SUCCESS);
  ASSERT_EQ(printer.CutPaper(50), OPOS_SUCCESS);

  const std::string start = kReset + kCp1252 + kStatus;
  const std::string expected =
      start + "ONE\n" + kStatus + start + "TWO\n" + kStatus + kPartialCut + kStatus;
  EXPECT_EQ(device.WaitFor(expected.size()), expected);
  EXPECT_EQ(device.connections(), 2);
}

TEST_F(EscPosPrinterTest, CodePage437DeviceFileGetsConvertedTextAndNoTableSelection) {
  const std::string device_file = dir_.Write("lp0", "");
  Map(R"({"Counter": {"device": ")" + device_file + R"(", "codepage": 437}})");
  EscPosPrinter printer;
  Start(printer, "Counter");
  // Pound, e acute, and the euro sign, which that table lacks.
  ASSERT_EQ(printer.PrintNormal(PTR_S_RECEIPT, "\xA3 caf\xE9 \x80\r"), OPOS_SUCCESS)
      << printer.strErrorMessage();
  ASSERT_EQ(printer.CutPaper(100), OPOS_SUCCESS);
  ASSERT_EQ(printer.Close(), OPOS_SUCCESS);
  EXPECT_EQ(dir_.Read("lp0"), kReset + "\x9C caf\x82 ?\n" + kFullCut);
}

TEST_F(EscPosPrinterTest, SerialMappingWritesThroughTheSerialPort) {
  testing::SocatLine line;
  ASSERT_TRUE(line.ready()) << "socat pty pair did not come up";
  Map(R"({"Kiosk": {"device": "serial:)" + line.near() +
      R"(", "baud": 19200, "parity": "E", "databits": 7, "stopbits": 2, "flow": "rtscts"}})");
  EscPosPrinter printer;
  Start(printer, "Kiosk");
  ASSERT_EQ(printer.PrintNormal(PTR_S_RECEIPT, "SERIAL\r\n"), OPOS_SUCCESS);
  ASSERT_EQ(printer.CutPaper(100), OPOS_SUCCESS);
  const std::string expected = kReset + kCp1252 + "SERIAL\n" + kFullCut;
  EXPECT_EQ(line.ReceiveAtFar(expected.size()), expected);
}

TEST_F(EscPosPrinterTest, UnknownNameOrBadMappingFailsOpenWithAReason) {
  EscPosPrinter printer;
  // No mapping file at all.
  EXPECT_EQ(printer.Open("ReceiptPrinter"), OPOS_E_NOEXIST);
  EXPECT_NE(printer.strErrorMessage().find("cannot be read"), std::string::npos)
      << printer.strErrorMessage();

  const struct {
    std::string json;
    std::string reason;
  } cases[] = {
      {R"({"Other": {"device": "tcp://10.0.0.9:9100"}})", "No printer named \"ReceiptPrinter\""},
      {R"({"ReceiptPrinter": {"device": "tcp://10.0.0.9"}})", "tcp://host:port"},
      {R"({"ReceiptPrinter": {"device": "tcp://10.0.0.9:70000"}})", "bad TCP port"},
      {R"({"ReceiptPrinter": {"device": "/dev/usb/lp0", "codepage": 850}})", "\"codepage\""},
      {R"({"ReceiptPrinter": {"device": "serial:COM1", "flow": "dtr"}})", "\"flow\""},
      {R"({"ReceiptPrinter": {}})", "\"device\" is missing"},
      {R"(["ReceiptPrinter"])", "is not a JSON object"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.json);
    Map(c.json);
    EXPECT_EQ(printer.Open("ReceiptPrinter"), OPOS_E_NOEXIST);
    EXPECT_EQ(printer.ResultCode(), OPOS_E_NOEXIST);
    EXPECT_NE(printer.strErrorMessage().find(c.reason), std::string::npos)
        << printer.strErrorMessage();
    EXPECT_EQ(printer.ClaimDevice(5000), OPOS_E_CLOSED);
  }
}

TEST_F(EscPosPrinterTest, RefusedConnectionFailsTheClaim) {
  Map(R"({"ReceiptPrinter": {"device": "tcp://127.0.0.1:)" +
      std::to_string(FakeEscPosPrinter::UnusedPort()) + R"("}})");
  EscPosPrinter printer;
  ASSERT_EQ(printer.Open("ReceiptPrinter"), OPOS_SUCCESS);
  EXPECT_EQ(printer.ClaimDevice(5000), OPOS_E_NOHARDWARE);
  EXPECT_NE(printer.strErrorMessage().find("Connection refused"), std::string::npos)
      << printer.strErrorMessage();
  EXPECT_NE(printer.strErrorMessage().find("ReceiptPrinter"), std::string::npos);
  EXPECT_FALSE(printer.Claimed());
  EXPECT_EQ(printer.PrintNormal(PTR_S_RECEIPT, "X\n"), OPOS_E_NOTCLAIMED);
}

TEST_F(EscPosPrinterTest, ConnectionDroppedMidReceiptIsNeverReportedPrinted) {
  // The printer hangs up after the reset and a few bytes of the receipt.
  FakeEscPosPrinter device(FakePrinterBehaviour{0x12, 12});
  Map(R"({"ReceiptPrinter": {"device": ")" + device.uri() + R"("}})");
  EscPosPrinter printer;
  Start(printer);
  const std::string receipt(2000, 'R');
  EXPECT_EQ(printer.PrintNormal(PTR_S_RECEIPT, receipt), OPOS_E_FAILURE);
  EXPECT_NE(printer.strErrorMessage().find("PrintNormal: Printer \"ReceiptPrinter\""),
            std::string::npos)
      << printer.strErrorMessage();
  EXPECT_NE(printer.strErrorMessage().find("Connection"), std::string::npos)
      << printer.strErrorMessage();
  // The half-sent receipt cannot be finished on the same link.
  EXPECT_FALSE(printer.Claimed());
  EXPECT_FALSE(printer.DeviceEnabled());
  EXPECT_EQ(printer.CutPaper(100), OPOS_E_NOTCLAIMED);
}

TEST_F(EscPosPrinterTest, SilentOrOfflinePrinterFailsTheCall) {
  {
    FakeEscPosPrinter device(FakePrinterBehaviour{std::nullopt, std::nullopt});
    Map(R"({"ReceiptPrinter": {"device": ")" + device.uri() + R"(", "timeout_ms": 200}})");
    EscPosPrinter printer;
    ASSERT_EQ(printer.Open("ReceiptPrinter"), OPOS_SUCCESS);
    ASSERT_EQ(printer.ClaimDevice(5000), OPOS_SUCCESS);
    EXPECT_EQ(printer.DeviceEnabled(true), OPOS_E_TIMEOUT);
    EXPECT_NE(printer.strErrorMessage().find("did not answer"), std::string::npos);
    EXPECT_FALSE(printer.DeviceEnabled());
  }
  {
    FakeEscPosPrinter device(FakePrinterBehaviour{0x1A, std::nullopt});  // offline bit
    Map(R"({"ReceiptPrinter": {"device": ")" + device.uri() + R"("}})");
    EscPosPrinter printer;
    ASSERT_EQ(printer.Open("ReceiptPrinter"), OPOS_SUCCESS);
    ASSERT_EQ(printer.ClaimDevice(5000), OPOS_SUCCESS);
    EXPECT_EQ(printer.DeviceEnabled(true), OPOS_E_OFFLINE);
    EXPECT_NE(printer.strErrorMessage().find("offline"), std::string::npos);
  }
}

TEST_F(EscPosPrinterTest, CallsOutOfOrderOrOutOfRangeAreRefused) {
  FakeEscPosPrinter device;
  Map(R"({"ReceiptPrinter": {"device": ")" + device.uri() + R"("}})");
  EscPosPrinter printer;
  EXPECT_EQ(printer.PrintNormal(PTR_S_RECEIPT, "X"), OPOS_E_CLOSED);
  EXPECT_EQ(printer.Close(), OPOS_E_CLOSED);
  ASSERT_EQ(printer.Open("ReceiptPrinter"), OPOS_SUCCESS);
  EXPECT_EQ(printer.Open("ReceiptPrinter"), OPOS_E_ILLEGAL);
  EXPECT_EQ(printer.DeviceEnabled(true), OPOS_E_NOTCLAIMED);
  ASSERT_EQ(printer.ClaimDevice(5000), OPOS_SUCCESS);
  EXPECT_EQ(printer.PrintNormal(PTR_S_RECEIPT, "X"), OPOS_E_DISABLED);
  EXPECT_EQ(printer.CutPaper(100), OPOS_E_DISABLED);
  ASSERT_EQ(printer.DeviceEnabled(true), OPOS_SUCCESS);
  EXPECT_EQ(printer.PrintNormal(PTR_S_JOURNAL, "X"), OPOS_E_ILLEGAL);
  EXPECT_EQ(printer.CutPaper(0), OPOS_E_ILLEGAL);
  EXPECT_EQ(printer.CutPaper(101), OPOS_E_ILLEGAL);
  // A refused call leaves nothing on the paper.
  const std::string start = kReset + kCp1252 + kStatus;
  EXPECT_EQ(device.WaitFor(start.size()), start);
}

}  // namespace
}  // namespace ccaddin
