// EscPosPrinter: the POS printer role on an ESC/POS receipt printer, found by its
// logical device name through the printer mapping file (printer_map.h). It owns the
// link to the device from ClaimDevice to ReleaseDevice; calls block on the device for
// at most the mapping's time-out (TCP connect, writes, status answers).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "receipts/pos_printer.h"
#include "receipts/printer_map.h"

namespace ccaddin {

namespace escpos {
// The byte sequences this printer sends, for whoever needs to recognise them.
inline constexpr std::string_view kInitialise = "\x1B\x40";
inline constexpr std::string_view kSelectWindows1252 = "\x1B\x74\x10";
inline constexpr std::string_view kStatusRequest = "\x10\x04\x01";
// Sized explicitly: the function byte is a NUL.
inline constexpr std::string_view kFullCut("\x1D\x56\x00", 3);
inline constexpr std::string_view kPartialCut = "\x1D\x56\x01";
}  // namespace escpos

// The byte link to one device (TCP, device file or serial port), defined with the printer.
class PrinterLink;

class EscPosPrinter : public PosPrinter {
 public:
  EscPosPrinter();
  ~EscPosPrinter() override;
  EscPosPrinter(const EscPosPrinter&) = delete;
  EscPosPrinter& operator=(const EscPosPrinter&) = delete;

  // Looks the name up in the mapping file; nothing is connected yet. An unknown name
  // or an unreadable file is OPOS_E_NOEXIST.
  int32_t Open(const std::string& strDeviceName) override;
  [[nodiscard]] bool Claimed() override { return link_ != nullptr; }
  // Connects to the device. lTimeout (ms; -1 for the mapping's own time-out) bounds a
  // TCP connect. A refused or unreachable device is OPOS_E_NOHARDWARE.
  int32_t ClaimDevice(int32_t lTimeout) override;
  [[nodiscard]] bool DeviceEnabled() override { return enabled_; }
  // Enabling resets the printer (ESC @) and selects its Windows-1252 table where the
  // mapping says so, so every receipt starts from the same printer state.
  int32_t DeviceEnabled(bool bEnabled) override;
  int32_t PrintNormal(int32_t lStation, const std::string& strData) override;
  int32_t CutPaper(int32_t lPercentage) override;
  int32_t ReleaseDevice() override;
  int32_t Close() override;

  [[nodiscard]] int32_t ResultCode() const override { return result_code_; }
  [[nodiscard]] const std::string& strErrorMessage() const override { return error_message_; }

 private:
  // The text as the printer receives it: line ends as LF, characters in the mapping's
  // code page.
  [[nodiscard]] static std::string ToDeviceText(const std::string& text, int32_t codepage);
  int32_t Run(const char* operation, int32_t failure_code, const std::function<void()>& body);
  int32_t Fail(int32_t code, const std::string& description);
  void Send(const std::string& bytes);
  void CheckStatus();
  [[nodiscard]] std::string Describe() const;

  std::string device_name_;
  std::optional<PrinterMapping> mapping_;
  std::unique_ptr<PrinterLink> link_;
  bool enabled_ = false;
  int32_t result_code_ = OPOS_SUCCESS;
  std::string error_message_;
};

}  // namespace ccaddin
