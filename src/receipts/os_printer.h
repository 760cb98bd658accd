// The operating system's printers (printer type 0): choose a printer by name and font,
// print one document of receipt text. The driver (Qt's QPrinter, in its own library)
// installs itself through InstallOsPrinterFactory, so this layer stays free of any
// toolkit. A printer object lives for one document; printing blocks until it is spooled.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace ccaddin {

struct OsPrinterFont {
  std::string strName;  // family; empty leaves the driver's fixed-pitch default
  int32_t lSize = 0;    // points; 0 or less leaves the default size
  bool bBold = false;
};

// Results are true on success; a failure leaves its text in strErrorMessage.
class OsPrinter {
 public:
  virtual ~OsPrinter() = default;

  // The first printer whose name equals strPrinterName becomes current, with `font`.
  // When none has that name the system's default printer is used, with the default
  // font. Fails only when there is no printer at all.
  [[nodiscard]] virtual bool SelectPrinter(const std::string& strPrinterName,
                                           const OsPrinterFont& font) = 0;
  // Prints Windows-1252 text (lines end in CR LF, CR or LF) as one document on the
  // selected printer and ends the document.
  [[nodiscard]] virtual bool PrintText(const std::string& strText) = 0;
  // The printer chosen by SelectPrinter (empty before).
  [[nodiscard]] virtual std::string SelectedPrinterName() const = 0;
  [[nodiscard]] virtual const std::string& strErrorMessage() const = 0;
};

using OsPrinterFactory = std::function<std::unique_ptr<OsPrinter>()>;

// Replaces the driver; an empty factory removes it.
void InstallOsPrinterFactory(OsPrinterFactory factory);
// A new printer object from the installed driver. Without a driver the object fails
// every call with "No printer driver installed", so the caller reports a failure
// like any other printer error.
[[nodiscard]] std::unique_ptr<OsPrinter> CreateOsPrinter();

}  // namespace ccaddin
