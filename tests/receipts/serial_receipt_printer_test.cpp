#include "receipts/serial_printer.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/serial.h"
#include "platform/virtual_env.h"
#include "support/socat_line.h"
#include "support/temp_dir.h"

namespace ccaddin {
namespace {

CcAddinSettingValues Settings(const std::string& port, const std::string& log_folder) {
  CcAddinSettingValues s;
  s.strPrinterPort = port;
  s.lPrinterBaudRate = 9600;
  s.strPrinterParity = "N";
  s.lPrinterdatabits = 8;
  s.dPrinterStopbit = 1;
  s.lPrinterFlowControl = 0;
  s.strPrinterCutPaper = "1B6D";
  s.strConfigFileLocation = log_folder;
  return s;
}

class SerialPrinterLineTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(line_.ready()) << "socat pty pair did not come up"; }
  [[nodiscard]] std::string Log() const { return logs_.Read(kSerialLogFile); }

  testing::SocatLine line_;
  testing::TempDir logs_;
  VirtualEnv env_;  // the pauses between 250-byte pieces pass without waiting
  ScopedEnv scoped_{&env_};
};

TEST_F(SerialPrinterLineTest, TextInPiecesThenTheCutCommandThenThePortIsFree) {
  SerialReceiptPrinter printer(Settings(line_.near(), logs_.folder()));
  ASSERT_EQ(printer.OpenSerialPrinter(), 0) << Log();
  std::string receipt;
  for (int i = 0; i < 20; ++i)
    receipt += "LINE " + std::to_string(i) + std::string(34, '.') + "\r\n";
  ASSERT_GT(receipt.size(), 500u);
  EXPECT_EQ(printer.WriteSerialPrinter(receipt), 0);
  EXPECT_EQ(printer.CloseSerialPrinter(true), 0);
  EXPECT_EQ(line_.ReceiveAtFar(receipt.size() + 2), receipt + "\x1Bm");
  EXPECT_EQ(Log(), "");

  // Disconnected: another user of the port can take it.
  TSerial next;
  next.Initialise(printer.connection_info());
  EXPECT_EQ(next.Connect(), 0) << next.strErrorMessage();
}

TEST_F(SerialPrinterLineTest, CutCommandIsSentOnlyWhenWantedAndWholeBytes) {
  const struct {
    bool cut;
    std::string command;
  } cases[] = {{false, "1B6D"}, {true, "1B6"}, {true, ""}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.command);
    CcAddinSettingValues s = Settings(line_.near(), logs_.folder());
    s.strPrinterCutPaper = c.command;
    SerialReceiptPrinter printer(s);
    ASSERT_EQ(printer.OpenSerialPrinter(), 0) << Log();
    EXPECT_EQ(printer.WriteSerialPrinter("TEXT\r"), 0);
    EXPECT_EQ(printer.CloseSerialPrinter(c.cut), 0);
    EXPECT_EQ(line_.ReceiveAtFar(6, std::chrono::milliseconds(300)), "TEXT\r");
  }
}

// The printer reads the first letter of the parity setting ("odd" is odd parity).
TEST_F(SerialPrinterLineTest, FailuresAreLoggedWithTheSettings) {
  CcAddinSettingValues gone = Settings(logs_.file("gone"), logs_.folder());
  gone.strPrinterParity = "odd";
  SerialReceiptPrinter missing(gone);
  EXPECT_EQ(missing.OpenSerialPrinter(), 1);
  EXPECT_EQ(missing.WriteSerialPrinter("TEXT"), 1);
  // The cut is still attempted and the port still closed, each failing in the log.
  EXPECT_EQ(missing.CloseSerialPrinter(true), 1);
  const std::string settings = "COM Settings=Port=" + logs_.file("gone") +
                               ", BaudRate=9600, Parity=ODD, Databits=8, Stopbit=1, "
                               "FlowControl=NONE : Error=";
  const std::string log = Log();
  EXPECT_NE(log.find(settings + "Connect() Failed - "), std::string::npos) << log;
  EXPECT_NE(log.find(settings + "Writedata() Failed - Port closed"), std::string::npos) << log;
  EXPECT_NE(log.find(settings + "Disconnect() Failed - "), std::string::npos) << log;

  // A port taken by someone else fails on connect, and the printer does not steal it.
  TSerial holder;
  TConnectionInfo info;
  info.strComPort = line_.near();
  holder.Initialise(info);
  ASSERT_EQ(holder.Connect(), 0);
  SerialReceiptPrinter busy(Settings(line_.near(), logs_.folder()));
  EXPECT_EQ(busy.OpenSerialPrinter(), 1);
  EXPECT_NE(Log().find("Port=" + line_.near() + ", BaudRate=9600"), std::string::npos);
  EXPECT_EQ(holder.WriteData("OK", false, 0, 0), 0) << holder.strErrorMessage();
}

}  // namespace
}  // namespace ccaddin
