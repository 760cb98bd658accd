#include "receipts/receipt_printer.h"

#include "payment/credit_card_common.h"

namespace ccaddin {

namespace {
constexpr int32_t kRmsTill = 1;
}  // namespace

int32_t OpenReceiptPrinter(PosPrinter* oPrinter, const std::string& strDeviceName,
                           PosPrinter* oHostPrinter) {
  PosPrinter* printer = Shared().lTillType == kRmsTill ? oHostPrinter : oPrinter;
  if (printer == nullptr) return OPOS_E_NOEXIST;
  return printer->Open(strDeviceName);
}

int32_t CloseReceiptPrinter(PosPrinter* oPrinter) {
  if (Shared().lTillType == kRmsTill || oPrinter == nullptr) return OPOS_SUCCESS;
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
