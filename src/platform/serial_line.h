// The serial receipt printer's line: its settings as the settings store holds them,
// turned into TSerial's line parameters and the description the error log names them
// by, and the one writer of that log. Plain values; the log appends to a file.
#pragma once

#include <cstdint>
#include <string>

#include "platform/cc_addin_registry.h"
#include "platform/connection_info.h"

namespace ccaddin {

inline constexpr const char* kSerialLogFile = "DirectSerialComms.log";

// How the parity setting is read. The shared module's link takes a setting that is one
// letter and nothing else; the receipt printer takes the first letter of any word and
// leaves an empty setting out of the description.
enum class ParityReading { kOneLetter, kFirstLetter };

struct SerialLine {
  TConnectionInfo info;
  std::string description;  // "Port=COM1, BaudRate=9600, Parity=NONE, Databits=8, ..."
};

// From the printer settings strPrinterPort to lPrinterFlowControl.
[[nodiscard]] SerialLine BuildSerialLine(const CcAddinSettingValues& settings,
                                         ParityReading parity);

// Appends "COM Settings=<description> : Error=<message>" to DirectSerialComms.log in
// `folder`. The log is the last resort: a line it cannot take is lost.
void LogSerialError(const std::string& folder, const std::string& description,
                    const std::string& message) noexcept;

}  // namespace ccaddin
