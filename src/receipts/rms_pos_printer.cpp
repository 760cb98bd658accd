#include "receipts/rms_pos_printer.h"

#include <utility>

namespace ccaddin {
namespace {

// The host's OPOS control answers its methods with a result code.
int32_t HostResult(const Variant& value) {
  if (value.type() == VariantType::kEmpty) return OPOS_SUCCESS;
  return value.ToInt32().value_or(OPOS_SUCCESS);
}

}  // namespace

template <typename F>
int32_t RmsPosPrinter::Run(const char* operation, F&& body) {
  int32_t code = OPOS_E_FAILURE;
  const std::string prefix = std::string(operation) + ": host printer: ";
  const bool ran = Trap(error_message_, prefix, false, [&] {
    code = body();
    return true;
  });
  if (!ran) code = OPOS_E_FAILURE;
  if (ran && code != OPOS_SUCCESS) {
    error_message_ = prefix + "the printer answered " + std::to_string(code);
  }
  result_code_ = code;
  return code;
}

int32_t RmsPosPrinter::Open(const std::string&) {
  return Run("Open", [&] {
    if (session_ == nullptr) throw Failure(std::string(kObjectRequiredText));
    const LateObject reg = LateObject(session_).Object("Register");
    reg.Call("SetActivePrinterNumber", {Variant(printer_no_)});
    printer_ = reg.Object("ActivePrinter");
    co_ = printer_.Object("co");
    return HostResult(co_.Call("Open", {printer_.Get("Name")}));
  });
}

bool RmsPosPrinter::ReadFlag(const char* operation, const char* member) {
  bool flag = false;
  Run(operation, [&] {
    if (co_.IsNothing()) throw Failure(std::string(kObjectNotSetText));
    flag = co_.Get(member).ToBool().OrThrow();
    return OPOS_SUCCESS;
  });
  return flag;
}

bool RmsPosPrinter::Claimed() {
  return ReadFlag("Claimed", "Claimed");
}
bool RmsPosPrinter::DeviceEnabled() {
  return ReadFlag("DeviceEnabled", "DeviceEnabled");
}

int32_t RmsPosPrinter::ClaimDevice(int32_t lTimeout) {
  return Run("ClaimDevice", [&] {
    if (co_.IsNothing()) throw Failure(std::string(kObjectNotSetText));
    return HostResult(co_.Call("ClaimDevice", {Variant(lTimeout)}));
  });
}

int32_t RmsPosPrinter::DeviceEnabled(bool bEnabled) {
  return Run("DeviceEnabled", [&] {
    if (co_.IsNothing()) throw Failure(std::string(kObjectNotSetText));
    co_.Put("DeviceEnabled", Variant(bEnabled));
    return OPOS_SUCCESS;
  });
}

int32_t RmsPosPrinter::PrintNormal(int32_t lStation, const std::string& strData) {
  return Run("PrintNormal", [&] {
    if (co_.IsNothing()) throw Failure(std::string(kObjectNotSetText));
    return HostResult(co_.Call("PrintNormal", {Variant(lStation), Variant(strData)}));
  });
}

int32_t RmsPosPrinter::CutPaper(int32_t lPercentage) {
  return Run("CutPaper", [&] {
    if (co_.IsNothing()) throw Failure(std::string(kObjectNotSetText));
    return HostResult(co_.Call("CutPaper", {Variant(lPercentage)}));
  });
}

int32_t RmsPosPrinter::ReleaseDevice() {
  return Run("ReleaseDevice", [&] {
    if (printer_.IsNothing()) throw Failure(std::string(kObjectNotSetText));
    // Dropped before the call so that a failing Release still leaves nothing held.
    const LateObject printer = std::exchange(printer_, LateObject());
    co_ = LateObject();
    printer.Call("Release");
    return OPOS_SUCCESS;
  });
}

int32_t RmsPosPrinter::Close() {
  printer_ = LateObject();
  co_ = LateObject();
  result_code_ = OPOS_SUCCESS;
  return result_code_;
}

}  // namespace ccaddin
