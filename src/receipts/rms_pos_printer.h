// RmsPosPrinter: the retail management host's own receipt printer in the POS printer
// role. The host owns the printer; this adapter holds the host's printer object
// ("ActivePrinter") and its control ("co") from Open to ReleaseDevice and reaches them
// only by member name. Calls block as long as the host's members do.
#pragma once

#include <cstdint>
#include <string>

#include "platform/dispatch.h"
#include "receipts/pos_printer.h"

namespace ccaddin {

// On the host session: Register.SetActivePrinterNumber(n), Register.ActivePrinter; on
// the printer: Name, co, Release; on co: Open, Claimed, ClaimDevice, DeviceEnabled,
// PrintNormal, CutPaper. A failed member call, or a non-zero result from one, is
// OPOS_E_FAILURE (or the code the host returned) with the host's error text.
class RmsPosPrinter : public PosPrinter {
 public:
  // The printer is chosen on Open, so that a session changed in between is honoured.
  RmsPosPrinter(DispatchPtr oSession, int32_t lRmsReceiptPrinterNo)
      : session_(std::move(oSession)), printer_no_(lRmsReceiptPrinterNo) {}

  // Makes printer lRmsReceiptPrinterNo the register's active printer and opens its
  // control with the printer's own Name; strDeviceName is not used, because the host
  // names its devices itself.
  int32_t Open(const std::string& strDeviceName) override;
  [[nodiscard]] bool Claimed() override;
  int32_t ClaimDevice(int32_t lTimeout) override;
  [[nodiscard]] bool DeviceEnabled() override;
  int32_t DeviceEnabled(bool bEnabled) override;
  int32_t PrintNormal(int32_t lStation, const std::string& strData) override;
  int32_t CutPaper(int32_t lPercentage) override;
  // Hands the printer back to the host (its Release) and drops it. The host keeps its
  // control open and claimed for its own receipts, so co is neither released nor closed.
  int32_t ReleaseDevice() override;
  // Nothing of the host's to close; drops the printer if ReleaseDevice did not.
  int32_t Close() override;

  [[nodiscard]] int32_t ResultCode() const override { return result_code_; }
  [[nodiscard]] const std::string& strErrorMessage() const override { return error_message_; }

 private:
  template <typename F>
  int32_t Run(const char* operation, F&& body);
  [[nodiscard]] bool ReadFlag(const char* operation, const char* member);

  DispatchPtr session_;
  int32_t printer_no_;
  LateObject printer_;
  LateObject co_;
  int32_t result_code_ = OPOS_SUCCESS;
  std::string error_message_;
};

}  // namespace ccaddin
