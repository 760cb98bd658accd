// CreditCardCommon's serial receipt printer link, with its error log.
#include <string_view>

#include "payment/credit_card_common.h"
#include "platform/dispatch.h"
#include "platform/logging.h"
#include "platform/trap.h"

namespace ccaddin {
namespace {

bool IsLetter(const std::string& setting, char upper) {
  return setting.size() == 1 && (setting[0] == upper || setting[0] == upper + ('a' - 'A'));
}

}  // namespace

TConnectionInfo CreditCardCommon::SerialPrinterConnectionInfo(std::string& strSettings) const {
  TConnectionInfo info;
  info.strComPort = strPrinterPort;
  strSettings = "Port=" + strPrinterPort;
  info.lBaudRate = lPrinterBaudRate;
  strSettings += ", BaudRate=" + std::to_string(lPrinterBaudRate);

  if (IsLetter(strPrinterParity, 'E')) {
    info.lParity = 0;
    strSettings += ", Parity=EVEN";
  } else if (IsLetter(strPrinterParity, 'O')) {
    info.lParity = 1;
    strSettings += ", Parity=ODD";
  } else if (IsLetter(strPrinterParity, 'S')) {
    info.lParity = 3;
    strSettings += ", Parity=SPACE";
  } else if (IsLetter(strPrinterParity, 'M')) {
    info.lParity = 4;
    strSettings += ", Parity=MARK";
  } else {
    info.lParity = 2;
    strSettings += ", Parity=NONE";
  }

  const int32_t databits = (lPrinterdatabits >= 4 && lPrinterdatabits <= 8) ? lPrinterdatabits : 8;
  info.lDatabits = databits - 4;  // 0 four bits ... 4 eight
  strSettings += ", Databits=" + std::to_string(databits);

  if (dPrinterStopbit == 1.5) {
    info.lStopbit = 1;
    strSettings += ", Stopbit=1.5";
  } else if (dPrinterStopbit == 2) {
    info.lStopbit = 2;
    strSettings += ", Stopbit=2";
  } else {
    info.lStopbit = 0;
    strSettings += ", Stopbit=1";
  }

  if (lPrinterFlowControl == 0) {
    info.lFlowControl = 0;
    strSettings += ", FlowControl=NONE";
  } else if (lPrinterFlowControl == 1) {
    info.lFlowControl = 3;
    strSettings += ", FlowControl=XONXOFF";
  } else {
    info.lFlowControl = 1;
    strSettings += ", FlowControl=RTSCTS";
  }
  return info;
}

void CreditCardCommon::LogSerialError(const std::string& strMessage) const noexcept {
  try {
    Logging log;
    log.strLogPath(strConfigFileLocation);
    log.strLogFile(kSerialLogFile);
    log.bLoggingEnabled(true);
    log.bArchiveLogFile(true);
    log.Logit("COM Settings=" + strSerialPrinterSettings + " : Error=" + strMessage);
  } catch (...) {
    // The log is the last resort; a line it cannot take is lost.
  }
}

bool CreditCardCommon::OpenSerialPrinter() {
  return Trap(error_message_, "CreditCardCommon.OpenSerialPrinter() Failed - ", false, [&] {
    std::string settings;
    const TConnectionInfo info = SerialPrinterConnectionInfo(settings);
    strSerialPrinterSettings = settings;
    // A port still open from an earlier receipt is closed by its own end.
    oSerialPrinter = std::make_unique<TSerial>();
    TSerial& port = *oSerialPrinter;
    port.Initialise(info);
    if (!port.strErrorMessage().empty()) {
      LogSerialError("Initialise() Failed - " + port.strErrorMessage());
      return false;
    }
    if (port.Connect() != 0) {
      LogSerialError("Connect() Failed - " + port.strErrorMessage());
      return false;
    }
    if (port.Configure() != 0) {
      LogSerialError("Configure() Failed - " + port.strErrorMessage());
      return false;
    }
    return true;
  });
}

bool CreditCardCommon::WriteSerialPrinter(const std::string& strText) {
  return Trap(error_message_, "CreditCardCommon.WriteSerialPrinter() Failed - ", false, [&] {
    if (!oSerialPrinter) {
      LogSerialError("Writedata() Failed - " + std::string(kObjectNotSetText));
      return false;
    }
    if (oSerialPrinter->WriteData(strText, false, 0, 0) != 0) {
      LogSerialError("Writedata() Failed - " + oSerialPrinter->strErrorMessage());
      return false;
    }
    return true;
  });
}

bool CreditCardCommon::CloseSerialPrinter() {
  return Trap(error_message_, "CreditCardCommon.CloseSerialPrinter() Failed - ", false, [&] {
    if (!oSerialPrinter) return true;
    const bool closed = oSerialPrinter->Disconnect() == 0;
    if (!closed) LogSerialError("Disconnect() Failed - " + oSerialPrinter->strErrorMessage());
    oSerialPrinter.reset();
    return closed;
  });
}

}  // namespace ccaddin
