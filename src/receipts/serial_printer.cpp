#include "receipts/serial_printer.h"

#include <vector>

#include "platform/hex.h"
#include "platform/trap.h"

namespace ccaddin {

SerialReceiptPrinter::SerialReceiptPrinter(CcAddinSettingValues settings)
    : settings_(std::move(settings)) {}

SerialReceiptPrinter::~SerialReceiptPrinter() = default;

void SerialReceiptPrinter::LogError(const std::string& message) const {
  LogSerialError(settings_.strConfigFileLocation, line_.description, message);
}

int16_t SerialReceiptPrinter::OpenSerialPrinter() {
  std::string error;
  const int16_t rc = Trap(error, "", int16_t{1}, [&]() -> int16_t {
    line_ = BuildSerialLine(settings_, ParityReading::kFirstLetter);
    serial_ = std::make_unique<TSerial>();
    serial_->Initialise(line_.info);
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
