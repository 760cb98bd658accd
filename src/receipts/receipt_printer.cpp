#include "receipts/receipt_printer.h"

#include "payment/credit_card_common.h"
#include "platform/cc_addin_registry.h"

namespace ccaddin {

int32_t OpenReceiptPrinter(PosPrinter* oPrinter, const std::string& strDeviceName,
                           PosPrinter* oHostPrinter) {
  PosPrinter* printer = Shared().lTillType == kRmsTillType ? oHostPrinter : oPrinter;
  if (printer == nullptr) return OPOS_E_NOEXIST;
  return printer->Open(strDeviceName);
}

int32_t CloseReceiptPrinter(PosPrinter* oPrinter) {
  if (Shared().lTillType == kRmsTillType || oPrinter == nullptr) return OPOS_SUCCESS;
  return oPrinter->Close();
}

bool SelectWindowsPrinter(OsPrinter& oPrinter) {
  const CreditCardCommon& config = Shared();
  OsPrinterFont font;
  font.strName = config.strWindowsPrinterFontName;
  font.lSize = config.lWindowsFontSize;
  font.bBold = config.bWindowsFontBold;
  return oPrinter.SelectPrinter(config.strWindowsPrinterName, font);
}

}  // namespace ccaddin
