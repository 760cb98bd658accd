// The shared module's receipt printer helpers (OpenReceiptPrinter, CloseReceiptPrinter,
// SelectWindowsPrinter), kept beside the printer devices they drive. They read the
// calling thread's configuration (Shared()); the printers stay owned by their callers.
// They block as long as the device or the print spooler does.
#pragma once

#include <cstdint>
#include <string>

#include "receipts/os_printer.h"
#include "receipts/pos_printer.h"

namespace ccaddin {

// Opens the POS printer role for a receipt or report. On the "Rms" host (lTillType 1)
// the host's printer oHostPrinter is opened, which finds its own device; on any other
// till oPrinter is opened with strDeviceName. Returns the printer's result code;
// OPOS_E_NOEXIST when the printer to open was not given.
int32_t OpenReceiptPrinter(PosPrinter* oPrinter, const std::string& strDeviceName,
                           PosPrinter* oHostPrinter);

// Closes oPrinter on any till but the "Rms" host, whose printer stays the host's.
// Returns the printer's result code (OPOS_SUCCESS when there was nothing to close).
int32_t CloseReceiptPrinter(PosPrinter* oPrinter);

// Makes strWindowsPrinterName the current OS printer with the configured font; falls
// back to the default printer and font when no printer has that name.
[[nodiscard]] bool SelectWindowsPrinter(OsPrinter& oPrinter);

}  // namespace ccaddin
