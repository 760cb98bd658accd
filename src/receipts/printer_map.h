// Where each POS printer logical name leads: a JSON file that the installer writes
// ($CCADDIN_PRINTERS, else /etc/ccaddin/printers.json), read afresh at every lookup so
// that a changed mapping takes effect on the next receipt. Blocks only on reading it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/connection_info.h"

namespace ccaddin {

// One logical device. Exactly one of the three transports is set by `device`:
// "tcp://host:port", "serial:<port>" (a TSerial port name such as COM3 or /dev/ttyUSB0)
// or any other text as the path of a device file (/dev/usb/lp0).
struct PrinterMapping {
  enum class Kind { kTcp, kSerial, kFile };
  Kind kind = Kind::kFile;
  std::string device;  // as written in the file, for error texts
  std::string host;
  uint16_t port = 0;
  std::string path;        // device file
  TConnectionInfo serial;  // port and line settings
  // 1252 selects the printer's Windows-1252 table with ESC t 16 and sends text as it
  // is; 437 leaves the printer on its power-on table and converts text to it.
  int32_t codepage = 1252;
  // Ask the printer for its status (DLE EOT 1) after each print call, so that a
  // receipt is reported printed only once the printer has answered. Needs a two-way
  // link; defaults to on for TCP only.
  bool status_check = false;
  int32_t timeout_ms = 5000;
};

// The mapping file in force.
[[nodiscard]] std::string PrinterMapPath();

// Looks `name` up (letter case ignored). Returns nothing and a description in `error`
// when the file is missing or malformed, or the name is not in it.
[[nodiscard]] std::optional<PrinterMapping> LookUpPrinter(const std::string& name,
                                                          std::string& error);

}  // namespace ccaddin
