#include "receipts/os_printer.h"

#include <utility>

namespace ccaddin {
namespace {

OsPrinterFactory& InstalledFactory() {
  static OsPrinterFactory factory;
  return factory;
}

class NoDriver : public OsPrinter {
 public:
  bool SelectPrinter(const std::string&, const OsPrinterFont&) override { return false; }
  bool PrintText(const std::string&) override { return false; }
  std::string SelectedPrinterName() const override { return {}; }
  const std::string& strErrorMessage() const override { return error_; }

 private:
  std::string error_ = "No printer driver installed";
};

}  // namespace

void InstallOsPrinterFactory(OsPrinterFactory factory) {
  InstalledFactory() = std::move(factory);
}

std::unique_ptr<OsPrinter> CreateOsPrinter() {
  if (InstalledFactory()) {
    if (auto printer = InstalledFactory()()) return printer;
  }
  return std::make_unique<NoDriver>();
}

}  // namespace ccaddin
