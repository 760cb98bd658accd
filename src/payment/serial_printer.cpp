// CreditCardCommon's serial receipt printer link, with its error log.
#include "payment/credit_card_common.h"
#include "platform/dispatch.h"
#include "platform/serial_line.h"
#include "platform/trap.h"

namespace ccaddin {

void CreditCardCommon::LogSerialError(const std::string& strMessage) const noexcept {
  ccaddin::LogSerialError(strConfigFileLocation, strSerialPrinterSettings, strMessage);
}

bool CreditCardCommon::OpenSerialPrinter() {
  return Trap(error_message_, "CreditCardCommon.OpenSerialPrinter() Failed - ", false, [&] {
    const SerialLine line = BuildSerialLine(*this, ParityReading::kOneLetter);
    strSerialPrinterSettings = line.description;
    // A port still open from an earlier receipt is closed by its own end.
    oSerialPrinter = std::make_unique<TSerial>();
    TSerial& port = *oSerialPrinter;
    port.Initialise(line.info);
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
