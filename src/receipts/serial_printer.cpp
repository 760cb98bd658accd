#include "receipts/serial_printer.h"

#include <cctype>
#include <vector>

#include "platform/hex.h"
#include "platform/logging.h"
#include "platform/trap.h"

namespace ccaddin {

SerialReceiptPrinter::SerialReceiptPrinter(SerialPrinterSettings settings)
    : settings_(std::move(settings)) {}

SerialReceiptPrinter::~SerialReceiptPrinter() = default;

void SerialReceiptPrinter::BuildConnectionInfo() {
  const SerialPrinterSettings& s = settings_;
  conn_info_ = TConnectionInfo();
  conn_info_.strComPort = s.strPrinterPort;
  conn_info_.lBaudRate = s.lPrinterBaudRate;
  settings_text_ = "Port=" + s.strPrinterPort + ", BaudRate=" + std::to_string(s.lPrinterBaudRate);

  // An empty parity setting means none but is not described, as the log has always read.
  conn_info_.lParity = 2;
  if (!s.strPrinterParity.empty()) {
    switch (std::toupper(static_cast<unsigned char>(s.strPrinterParity[0]))) {
      case 'E':
        conn_info_.lParity = 0;
        settings_text_ += ", Parity=EVEN";
        break;
      case 'O':
        conn_info_.lParity = 1;
        settings_text_ += ", Parity=ODD";
        break;
      case 'S':
        conn_info_.lParity = 3;
        settings_text_ += ", Parity=SPACE";
        break;
      case 'M':
        conn_info_.lParity = 4;
        settings_text_ += ", Parity=MARK";
        break;
      default:
        settings_text_ += ", Parity=NONE";
        break;
    }
  }

  const int32_t databits =
      s.lPrinterdatabits >= 4 && s.lPrinterdatabits <= 7 ? s.lPrinterdatabits : 8;
  conn_info_.lDatabits = databits - 4;
  settings_text_ += ", Databits=" + std::to_string(databits);

  if (s.dPrinterStopbit == 1.5) {
    conn_info_.lStopbit = 1;
    settings_text_ += ", Stopbit=1.5";
  } else if (s.dPrinterStopbit == 2) {
    conn_info_.lStopbit = 2;
    settings_text_ += ", Stopbit=2";
  } else {
    conn_info_.lStopbit = 0;
    settings_text_ += ", Stopbit=1";
  }

  if (s.lPrinterFlowControl == 0) {
    conn_info_.lFlowControl = 0;
    settings_text_ += ", FlowControl=NONE";
  } else if (s.lPrinterFlowControl == 1) {
    conn_info_.lFlowControl = 3;
    settings_text_ += ", FlowControl=XONXOFF";
  } else {
    conn_info_.lFlowControl = 1;
    settings_text_ += ", FlowControl=RTSCTS";
  }
}

void SerialReceiptPrinter::LogError(const std::string& message) const {
  Logging log;
  log.strLogPath(settings_.strConfigFileLocation);
  log.strLogFile(kLogFileName);
  log.bLoggingEnabled(true);
  log.Logit("COM Settings=" + settings_text_ + " : Error=" + message);
}

int16_t SerialReceiptPrinter::OpenSerialPrinter() {
  std::string error;
  const int16_t rc = Trap(error, "", int16_t{1}, [&]() -> int16_t {
    BuildConnectionInfo();
    serial_ = std::make_unique<TSerial>();
    serial_->Initialise(conn_info_);
    if (serial_->Connect() != 0) {
      LogError("Connect() Failed - " + serial_->strErrorMessage());
      return 1;
    }
    if (serial_->Configure() != 0) {
      LogError("Configure() Failed - " + serial_->strErrorMessage());
      return 1;
    }
    return 0;
  });
  if (!error.empty()) LogError("Initialise() Failed - " + error);
  return rc;
}

int16_t SerialReceiptPrinter::WriteSerialPrinter(const std::string& strText) {
  if (serial_ == nullptr) {
    LogError("Writedata() Failed - Port closed");
    return 1;
  }
  if (serial_->WriteData(strText, true, 250, 200) != 0) {
    LogError("Writedata() Failed - " + serial_->strErrorMessage());
    return 1;
  }
  return 0;
}

int16_t SerialReceiptPrinter::CloseSerialPrinter(bool bCut) {
  int16_t rc = 0;
  const std::string& cut = settings_.strPrinterCutPaper;
  if (bCut && !cut.empty() && cut.size() % 2 == 0) {
    THex hex;
    std::vector<uint8_t> bytes;
    if (hex.ConvertHexStringToByteArray(cut, bytes) != 0) {
      LogError("Writedata() Failed - " + hex.strErrorMessage());
      rc = 1;
    } else {
      rc = WriteSerialPrinter(std::string(bytes.begin(), bytes.end()));
    }
  }
  if (serial_ != nullptr) {
    if (serial_->Disconnect() != 0) {
      LogError("Disconnect() Failed - " + serial_->strErrorMessage());
      rc = 1;
    }
    serial_.reset();
  }
  return rc;
}

}  // namespace ccaddin
