// The OS printer driver on Qt's QPrinter: printers by their CUPS names, text in a
// fixed-pitch font so 40-column receipts keep their columns. Needs a QGuiApplication;
// when the host process has none, the driver creates one for the life of the process.
// Printing blocks until the document is handed to CUPS (or written, for PDF output).
#pragma once

#include <memory>
#include <string>

#include "receipts/os_printer.h"

namespace ccaddin {

struct QtOsPrinterOptions {
  // When set, the system's printers are not used: the only printer is one named
  // pdf_printer_name that writes each document to this PDF file (replacing it). For
  // tests and for sites that archive receipts instead of printing them.
  std::string pdf_file;
  std::string pdf_printer_name = "PDF";
};

// Makes CreateOsPrinter() return Qt printers with these options.
void InstallQtOsPrinter(QtOsPrinterOptions options = {});

[[nodiscard]] std::unique_ptr<OsPrinter> MakeQtOsPrinter(QtOsPrinterOptions options = {});

}  // namespace ccaddin
