// The serial receipt printer (printer type 2): a printer on a serial port driven through
// TSerial, with the settings' cut command. It owns the port from OpenSerialPrinter to
// CloseSerialPrinter. Failures are written to "DirectSerialComms.log" in the
// configuration folder; writes block on the port (TSerial's chunking sleeps through Env).
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/connection_info.h"
#include "platform/serial.h"

namespace ccaddin {

// The printer settings this printer reads, named as the shared configuration names them.
struct SerialPrinterSettings {
  std::string strPrinterPort;
  int32_t lPrinterBaudRate = 0;
  std::string strPrinterParity;
  int32_t lPrinterdatabits = 0;
  double dPrinterStopbit = 0;
  int32_t lPrinterFlowControl = 0;
  std::string strPrinterCutPaper;     // hexadecimal, two digits a byte
  std::string strConfigFileLocation;  // folder of "DirectSerialComms.log"
};

// Every procedure returns 0 on success and 1 on failure; a failure is logged, never
// thrown, and the receipt's own result does not depend on it (a serial printer cannot
// tell the component whether paper came out).
class SerialReceiptPrinter {
 public:
  static constexpr const char* kLogFileName = "DirectSerialComms.log";

  explicit SerialReceiptPrinter(SerialPrinterSettings settings);
  ~SerialReceiptPrinter();
  SerialReceiptPrinter(const SerialReceiptPrinter&) = delete;
  SerialReceiptPrinter& operator=(const SerialReceiptPrinter&) = delete;

  // Builds the line settings and their description, then Initialise, Connect, Configure;
  // the first failure stops the sequence.
  int16_t OpenSerialPrinter();
  // In pieces of 250 bytes, 200 ms apart, so that a printer without flow control keeps up.
  int16_t WriteSerialPrinter(const std::string& strText);
  // Sends the cut command when bCut and the setting is a whole number of hex bytes;
  // then, whatever happened, disconnects and lets the port go.
  int16_t CloseSerialPrinter(bool bCut);

  // The line settings and their description ("Port=COM1, BaudRate=9600, ...").
  [[nodiscard]] const TConnectionInfo& connection_info() const { return conn_info_; }
  [[nodiscard]] const std::string& settings_text() const { return settings_text_; }

 private:
  void BuildConnectionInfo();
  void LogError(const std::string& message) const;

  SerialPrinterSettings settings_;
  TConnectionInfo conn_info_;
  std::string settings_text_;
  std::unique_ptr<TSerial> serial_;
};

}  // namespace ccaddin
