// The POS printer role: the receipt printer object that receipts and reports print
// through, with the members and result codes of a UnifiedPOS POS printer control.
// Implementations: EscPosPrinter (a logical name mapped to an ESC/POS device) and
// RmsPosPrinter (the retail host's own printer). Calls block only on the device.
#pragma once

#include <cstdint>
#include <string>

namespace ccaddin {

// UnifiedPOS result codes (ResultCode after every call).
inline constexpr int32_t OPOS_SUCCESS = 0;
inline constexpr int32_t OPOS_E_CLOSED = 101;
inline constexpr int32_t OPOS_E_CLAIMED = 102;
inline constexpr int32_t OPOS_E_NOTCLAIMED = 103;
inline constexpr int32_t OPOS_E_NOSERVICE = 104;
inline constexpr int32_t OPOS_E_DISABLED = 105;
inline constexpr int32_t OPOS_E_ILLEGAL = 106;
inline constexpr int32_t OPOS_E_NOHARDWARE = 107;
inline constexpr int32_t OPOS_E_OFFLINE = 108;
inline constexpr int32_t OPOS_E_NOEXIST = 109;
inline constexpr int32_t OPOS_E_FAILURE = 111;
inline constexpr int32_t OPOS_E_TIMEOUT = 112;

// Print stations; receipts print on the receipt station.
inline constexpr int32_t PTR_S_JOURNAL = 1;
inline constexpr int32_t PTR_S_RECEIPT = 2;
inline constexpr int32_t PTR_S_SLIP = 4;

// Call order: Open, ClaimDevice (unless Claimed), DeviceEnabled(true), any number of
// PrintNormal and CutPaper, ReleaseDevice, Close. Every method returns the ResultCode it
// leaves; a code other than OPOS_SUCCESS comes with a description in strErrorMessage,
// which a later success does not clear. Nothing throws.
class PosPrinter {
 public:
  virtual ~PosPrinter() = default;

  virtual int32_t Open(const std::string& strDeviceName) = 0;
  [[nodiscard]] virtual bool Claimed() = 0;
  virtual int32_t ClaimDevice(int32_t lTimeout) = 0;
  [[nodiscard]] virtual bool DeviceEnabled() = 0;
  virtual int32_t DeviceEnabled(bool bEnabled) = 0;
  // strData is Windows-1252 text; CR LF, CR and LF each end a line. Bytes below 32
  // other than CR and LF (the settings' bold and normal sequences) go to the printer
  // as they are.
  virtual int32_t PrintNormal(int32_t lStation, const std::string& strData) = 0;
  // 100 is a full cut, 1 to 99 a partial cut.
  virtual int32_t CutPaper(int32_t lPercentage) = 0;
  virtual int32_t ReleaseDevice() = 0;
  virtual int32_t Close() = 0;

  [[nodiscard]] virtual int32_t ResultCode() const = 0;
  [[nodiscard]] virtual const std::string& strErrorMessage() const = 0;
};

}  // namespace ccaddin
