#include "platform/serial_line.h"

#include "platform/logging.h"
#include "platform/text_rules.h"
#include "platform/trap.h"

namespace ccaddin {
namespace {

struct Parity {
  char letter;
  int32_t code;
  const char* text;
};
constexpr Parity kParities[] = {{'E', 0, ", Parity=EVEN"},
                                {'O', 1, ", Parity=ODD"},
                                {'S', 3, ", Parity=SPACE"},
                                {'M', 4, ", Parity=MARK"},
                                {'\0', 2, ", Parity=NONE"}};

const Parity& ParityOf(const std::string& setting, ParityReading reading) {
  const bool readable =
      reading == ParityReading::kOneLetter ? setting.size() == 1 : !setting.empty();
  const char letter = readable ? UpperCase(setting.substr(0, 1))[0] : '\0';
  for (const Parity& p : kParities) {
    if (p.letter == letter) return p;
  }
  return kParities[4];
}

}  // namespace

SerialLine BuildSerialLine(const CcAddinSettingValues& s, ParityReading reading) {
  SerialLine line;
  TConnectionInfo& info = line.info;
  info.strComPort = s.strPrinterPort;
  info.lBaudRate = s.lPrinterBaudRate;
  line.description =
      "Port=" + s.strPrinterPort + ", BaudRate=" + std::to_string(s.lPrinterBaudRate);

  const Parity& parity = ParityOf(s.strPrinterParity, reading);
  info.lParity = parity.code;
  if (reading == ParityReading::kOneLetter || !s.strPrinterParity.empty())
    line.description += parity.text;

  const int32_t databits =
      s.lPrinterdatabits >= 4 && s.lPrinterdatabits <= 8 ? s.lPrinterdatabits : 8;
  info.lDatabits = databits - 4;  // 0 four bits ... 4 eight
  line.description += ", Databits=" + std::to_string(databits);

  if (s.dPrinterStopbit == 1.5) {
    info.lStopbit = 1;
    line.description += ", Stopbit=1.5";
  } else if (s.dPrinterStopbit == 2) {
    info.lStopbit = 2;
    line.description += ", Stopbit=2";
  } else {
    info.lStopbit = 0;
    line.description += ", Stopbit=1";
  }

  if (s.lPrinterFlowControl == 0) {
    info.lFlowControl = 0;
    line.description += ", FlowControl=NONE";
  } else if (s.lPrinterFlowControl == 1) {
    info.lFlowControl = 3;
    line.description += ", FlowControl=XONXOFF";
  } else {
    info.lFlowControl = 1;
    line.description += ", FlowControl=RTSCTS";
  }
  return line;
}

void LogSerialError(const std::string& folder, const std::string& description,
                    const std::string& message) noexcept {
  Quietly([&] {
    Logging log;
    log.strLogPath(folder);
    log.strLogFile(kSerialLogFile);
    log.bLoggingEnabled(true);
    log.bArchiveLogFile(true);
    log.Logit("COM Settings=" + description + " : Error=" + message);
  });
}

}  // namespace ccaddin
