#include <gtest/gtest.h>

#include <string>

#include "payment/credit_card_common.h"
#include "platform/virtual_env.h"
#include "support/socat_line.h"
#include "support/temp_dir.h"

namespace ccaddin {
namespace {

// The link reads the parity setting only when it is one letter: an empty one is logged
// as none.
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
