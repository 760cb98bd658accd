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
#include "platform/serial_line.h"

namespace ccaddin {

// Every procedure returns 0 on success and 1 on failure; a failure is logged, never
// thrown, and the receipt's own result does not depend on it (a serial printer cannot
// tell the component whether paper came out).
class SerialReceiptPrinter {
 public:
  // Reads the printer settings strPrinterPort to lPrinterFlowControl, strPrinterCutPaper
  // and strConfigFileLocation (the log's folder).
  explicit SerialReceiptPrinter(CcAddinSettingValues settings);
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
  [[nodiscard]] const TConnectionInfo& connection_info() const { return line_.info; }
  [[nodiscard]] const std::string& settings_text() const { return line_.description; }

 private:
  void LogError(const std::string& message) const;

  CcAddinSettingValues settings_;
  SerialLine line_;
  std::unique_ptr<TSerial> serial_;
};

}  // namespace ccaddin
