#include <gtest/gtest.h>

#include <string>

#include "payment/credit_card_common.h"
#include "platform/virtual_env.h"
#include "support/socat_line.h"
#include "support/temp_dir.h"

namespace ccaddin {
namespace {

struct LineCase {
  std::string parity;
  int32_t databits;
  double stopbit;
  int32_t flow;
  std::string text;  // after "Port=COM2, BaudRate=9600"
  int32_t parity_code, databits_code, stopbit_code, flow_code;
};

TEST(SerialPrinter, SettingsBecomeLineParametersAndTheirDescription) {
  ScopedSharedState scoped;
  CreditCardCommon& s = Shared();
  s.strPrinterPort = "COM2";
  s.lPrinterBaudRate = 9600;
  const LineCase cases[] = {
      {"E", 7, 1, 0, ", Parity=EVEN, Databits=7, Stopbit=1, FlowControl=NONE", 0, 3, 0, 0},
      {"O", 8, 2, 1, ", Parity=ODD, Databits=8, Stopbit=2, FlowControl=XONXOFF", 1, 4, 2, 3},
      {"S", 4, 1.5, 2, ", Parity=SPACE, Databits=4, Stopbit=1.5, FlowControl=RTSCTS", 3, 0, 1, 1},
      {"M", 5, 3, -1, ", Parity=MARK, Databits=5, Stopbit=1, FlowControl=RTSCTS", 4, 1, 0, 1},
      {"", 9, 0, 0, ", Parity=NONE, Databits=8, Stopbit=1, FlowControl=NONE", 2, 4, 0, 0},
      {"N", 3, 1, 0, ", Parity=NONE, Databits=8, Stopbit=1, FlowControl=NONE", 2, 4, 0, 0},
      {"EVEN", 6, 1, 0, ", Parity=NONE, Databits=6, Stopbit=1, FlowControl=NONE", 2, 2, 0, 0},
      {"e", 8, 1, 0, ", Parity=EVEN, Databits=8, Stopbit=1, FlowControl=NONE", 0, 4, 0, 0},
  };
  for (const LineCase& c : cases) {
    s.strPrinterParity = c.parity;
    s.lPrinterdatabits = c.databits;
    s.dPrinterStopbit = c.stopbit;
    s.lPrinterFlowControl = c.flow;
    std::string text;
    const TConnectionInfo info = s.SerialPrinterConnectionInfo(text);
    EXPECT_EQ(text, "Port=COM2, BaudRate=9600" + c.text);
    EXPECT_EQ(info.strComPort, "COM2");
    EXPECT_EQ(info.lBaudRate, 9600);
    EXPECT_EQ(info.lParity, c.parity_code) << c.text;
    EXPECT_EQ(info.lDatabits, c.databits_code) << c.text;
    EXPECT_EQ(info.lStopbit, c.stopbit_code) << c.text;
    EXPECT_EQ(info.lFlowControl, c.flow_code) << c.text;
  }
}

TEST(SerialPrinter, FailuresGoToTheSerialErrorLog) {
  VirtualEnv env(MakeDateTime(2026, 11, 16, 17, 58, 1));
  ScopedEnv scoped_env(&env);
  ScopedSharedState scoped;
  testing::TempDir config;
  CreditCardCommon& s = Shared();
  s.strConfigFileLocation = config.folder();
  s.strPrinterPort = config.file("no-such-port");
  s.lPrinterBaudRate = 9600;

  EXPECT_FALSE(s.OpenSerialPrinter());
  EXPECT_FALSE(s.WriteSerialPrinter("RECEIPT\r"));
  EXPECT_FALSE(s.CloseSerialPrinter());
  EXPECT_TRUE(s.CloseSerialPrinter());  // nothing left to close
  const std::string log = config.Read("DirectSerialComms.log");
  const std::string settings = "COM Settings=Port=" + s.strPrinterPort +
                               ", BaudRate=9600, Parity=NONE, Databits=8, Stopbit=1, "
                               "FlowControl=NONE : Error=";
  EXPECT_NE(log.find("16 Nov 2026: 17:58:01 : " + settings + "Connect() Failed - "),
            std::string::npos)
      << log;
  EXPECT_NE(log.find(settings + "Writedata() Failed - "), std::string::npos) << log;
  EXPECT_NE(log.find(settings + "Disconnect() Failed - "), std::string::npos) << log;

  // Writing with no port opened in this call is a failure of its own, logged the same way.
  EXPECT_FALSE(s.WriteSerialPrinter("X"));
  EXPECT_NE(config.Read("DirectSerialComms.log").find("Writedata() Failed - Object variable"),
            std::string::npos);
}

TEST(SerialPrinter, ReceiptTextReachesTheDevice) {
  testing::SocatLine line;
  ASSERT_TRUE(line.ready()) << "socat pty pair did not come up";
  ScopedSharedState scoped;
  testing::TempDir config;
  CreditCardCommon& s = Shared();
  s.strConfigFileLocation = config.folder();
  s.strPrinterPort = line.near();
  s.lPrinterBaudRate = 9600;
  s.lPrinterdatabits = 8;

  ASSERT_TRUE(s.OpenSerialPrinter());
  const std::string receipt = "   HARBOUR ROAD STORES\r\nSALE   42.00\r\n";
  ASSERT_TRUE(s.WriteSerialPrinter(receipt));
  EXPECT_EQ(line.ReceiveAtFar(receipt.size()), receipt);
  EXPECT_TRUE(s.CloseSerialPrinter());
  EXPECT_EQ(config.Read("DirectSerialComms.log"), "");
}

}  // namespace
}  // namespace ccaddin
