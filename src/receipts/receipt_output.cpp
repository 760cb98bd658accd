// TReceipt's printing and deletion of a composed receipt file, on the three printer
// types: the OS printer (0), the POS printer role (1: the window's control, or the "Rms"
// host's own printer) and the serial printer (2).
#include <memory>
#include <string>

#include "payment/credit_card_common.h"
#include "platform/cc_addin_registry.h"
#include "platform/text_rules.h"
#include "platform/trap.h"
#include "receipts/escpos_printer.h"
#include "receipts/os_printer.h"
#include "receipts/receipt.h"
#include "receipts/receipt_printer.h"
#include "receipts/rms_pos_printer.h"
#include "receipts/serial_printer.h"

namespace ccaddin {

namespace {

constexpr int32_t kOsPrinter = 0;
constexpr int32_t kPosPrinter = 1;
constexpr int32_t kSerialPrinter = 2;
constexpr int32_t kClaimTimeoutMs = 5000;
constexpr int32_t kFullCut = 100;

std::string HostTextLines(TReceiptDataInterpreter* text, const CreditCardCommon& config,
                          const std::string& line_end) {
  std::string lines;
  if (text == nullptr) return lines;
  for (int32_t i = 0; i < text->lReceiptLineCount(); ++i) {
    lines += text->GetControlType(i) == TReceiptDataInterpreter::kControlNormal
                 ? config.strPrintNormalControl
                 : config.strPrintBoldControl;
    lines += text->GetText(i) + line_end;
  }
  return lines;
}

void PrintOnOsPrinter(const std::string& text) {
  std::unique_ptr<OsPrinter> printer = CreateOsPrinter();
  if (!SelectWindowsPrinter(*printer)) throw Failure(printer->strErrorMessage());
  if (!printer->PrintText(text)) throw Failure(printer->strErrorMessage());
}

// Opens, claims and enables the printer, prints and cuts; whatever happens, a printer
// that was opened is handed back (released, and closed unless it is the host's), so
// that a failed receipt never leaves the device claimed. Only once every step up to the
// cut has succeeded is the receipt taken as printed.
void PrintOnPosPrinter(PosPrinter* window_printer, const std::string& text, bool cut) {
  const CreditCardCommon& config = Shared();
  std::unique_ptr<PosPrinter> own;
  PosPrinter* host = nullptr;
  PosPrinter* printer = nullptr;
  if (config.lTillType == kRmsTillType) {
    own = std::make_unique<RmsPosPrinter>(config.oRmsSession, config.lRmsReceiptPrinterNo);
    host = own.get();
    printer = host;
  } else {
    if (window_printer == nullptr) own = std::make_unique<EscPosPrinter>();
    printer = window_printer != nullptr ? window_printer : own.get();
  }

  auto check = [&](int32_t result) {
    if (result != OPOS_SUCCESS) throw Failure(printer->strErrorMessage());
  };
  check(OpenReceiptPrinter(printer, config.strOposPrinterDeviceName, host));
  struct HandBack {
    PosPrinter* printer;
    bool host;
    ~HandBack() {
      if (host || printer->Claimed()) (void)printer->ReleaseDevice();
      (void)CloseReceiptPrinter(printer);
    }
  } hand_back{printer, host != nullptr};

  if (!printer->Claimed()) check(printer->ClaimDevice(kClaimTimeoutMs));
  if (!printer->DeviceEnabled()) check(printer->DeviceEnabled(true));
  check(printer->PrintNormal(PTR_S_RECEIPT, text));
  if (cut) check(printer->CutPaper(kFullCut));
}

// The serial printer cannot say whether paper came out; its failures go to its log and
// leave the receipt's result alone.
void PrintOnSerialPrinter(const std::string& text, bool cut) {
  const CreditCardCommon& config = Shared();
  SerialReceiptPrinter printer(config);
  if (printer.OpenSerialPrinter() == 0) (void)printer.WriteSerialPrinter(text);
  (void)printer.CloseSerialPrinter(cut);
}

}  // namespace

int32_t TReceipt::PrintReceipt(PosPrinter* oPrinter, bool bMerchantCopy,
                               const std::string& strReceiptFile, const std::string& strCardNumber,
                               bool bHostTexts, bool bForceCut, bool bCustomerReceiptDisabled) {
  if (!bMerchantCopy && bCustomerReceiptDisabled) return 0;

  FileSystem file;
  int32_t handle = 0;
  file.OpenFile(strReceiptFile, 0, handle);
  if (handle < 1) {
    error_message_ = "Failed opening receipt file [" + strReceiptFile + "]";
    return 1;
  }

  return Trap(error_message_, "TReceipt.PrintReceipt() Failed - ", int32_t{1}, [&]() -> int32_t {
    CreditCardCommon& config = Shared();
    const bool cut = bForceCut || (bMerchantCopy && config.bCutPaperAfterMerchantCopy) ||
                     (!bMerchantCopy && config.bCutPaperAfterCustomerCopy);
    const std::string line_end = config.LineEnd();

    std::string masked;
    std::string clear;
    if (!strCardNumber.empty()) {
      masked = CreditCardCommon::GroupInFours(CreditCardCommon::MaskCardNumber(strCardNumber));
      clear = CreditCardCommon::GroupInFours(strCardNumber);
    }

    // The whole text is read before any printer is touched, so a file that cannot be
    // read never produces half a receipt.
    std::string text;
    if (bHostTexts) text += HostTextLines(config.oCustomerReceiptStartText.get(), config, line_end);
    std::string line;
    while (!file.Eof(handle)) {
      if (file.ReadData(handle, line, true, 0) != 0) throw Failure(file.strErrorMessage());
      if (!masked.empty()) line = ReplaceAll(std::move(line), masked, clear);
      text += line + line_end;
    }
    file.CloseFile(handle);
    if (bHostTexts) text += HostTextLines(config.oCustomerReceiptEndText.get(), config, line_end);

    std::string feeds;
    for (int32_t i = 0; i < config.lLineFeedsBeforePaperCut; ++i) feeds += line_end;

    switch (config.lPrinterType) {
      case kOsPrinter:
        PrintOnOsPrinter(text);
        break;
      case kPosPrinter:
        PrintOnPosPrinter(oPrinter, text + feeds, cut);
        break;
      case kSerialPrinter:
        PrintOnSerialPrinter(text + feeds, cut);
        break;
      default:
        throw Failure("Printer type " + std::to_string(config.lPrinterType) + " is not known");
    }
    return 0;
  });
}

int32_t TReceipt::DeleteReceipt(const std::string& strReceiptFile) {
  FileSystem file;
  if (file.DeleteFile(strReceiptFile) != 0) {
    error_message_ = file.strErrorMessage();
    return 1;
  }
  return 0;
}

}  // namespace ccaddin
