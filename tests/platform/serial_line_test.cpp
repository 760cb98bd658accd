#include "platform/serial_line.h"

#include <gtest/gtest.h>

namespace ccaddin {
namespace {

// The description is what a merchant reads in the serial error log to see what the port
// was set to, so each setting's wording and its line code are checked together, under
// both readings of the parity setting.
TEST(SerialLine, SettingsBecomeLineCodesAndTheirDescription) {
  constexpr auto kOne = ParityReading::kOneLetter;
  constexpr auto kFirst = ParityReading::kFirstLetter;
  struct Case {
    ParityReading reading;
    std::string parity;
    int32_t databits;
    double stopbit;
    int32_t flow;
    std::string text;  // after "Port=COM2, BaudRate=9600"
    int32_t parity_code, databits_code, stopbit_code, flow_code;
  };
  const Case cases[] = {
      {kOne, "E", 7, 1, 0, ", Parity=EVEN, Databits=7, Stopbit=1, FlowControl=NONE", 0, 3, 0, 0},
      {kOne, "o", 8, 2, 1, ", Parity=ODD, Databits=8, Stopbit=2, FlowControl=XONXOFF", 1, 4, 2, 3},
      {kOne, "S", 4, 1.5, 2, ", Parity=SPACE, Databits=4, Stopbit=1.5, FlowControl=RTSCTS", 3, 0, 1,
       1},
      {kOne, "M", 5, 3, -1, ", Parity=MARK, Databits=5, Stopbit=1, FlowControl=RTSCTS", 4, 1, 0, 1},
      {kOne, "", 9, 0, 0, ", Parity=NONE, Databits=8, Stopbit=1, FlowControl=NONE", 2, 4, 0, 0},
      {kOne, "EVEN", 3, 1, 0, ", Parity=NONE, Databits=8, Stopbit=1, FlowControl=NONE", 2, 4, 0, 0},
      {kFirst, "", 8, 1, 0, ", Databits=8, Stopbit=1, FlowControl=NONE", 2, 4, 0, 0},
      {kFirst, "even", 6, 1, 0, ", Parity=EVEN, Databits=6, Stopbit=1, FlowControl=NONE", 0, 2, 0,
       0},
      {kFirst, "Mark", 8, 1, 0, ", Parity=MARK, Databits=8, Stopbit=1, FlowControl=NONE", 4, 4, 0,
       0},
      {kFirst, "X", 8, 1, 0, ", Parity=NONE, Databits=8, Stopbit=1, FlowControl=NONE", 2, 4, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.parity + c.text);
    CcAddinSettingValues settings;
    settings.strPrinterPort = "COM2";
    settings.lPrinterBaudRate = 9600;
    settings.strPrinterParity = c.parity;
    settings.lPrinterdatabits = c.databits;
    settings.dPrinterStopbit = c.stopbit;
    settings.lPrinterFlowControl = c.flow;
    const SerialLine line = BuildSerialLine(settings, c.reading);
    EXPECT_EQ(line.description, "Port=COM2, BaudRate=9600" + c.text);
    EXPECT_EQ(line.info.strComPort, "COM2");
    EXPECT_EQ(line.info.lBaudRate, 9600);
    EXPECT_EQ(line.info.lParity, c.parity_code);
    EXPECT_EQ(line.info.lDatabits, c.databits_code);
    EXPECT_EQ(line.info.lStopbit, c.stopbit_code);
    EXPECT_EQ(line.info.lFlowControl, c.flow_code);
  }
}

}  // namespace
}  // namespace ccaddin
