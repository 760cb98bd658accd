// A stand-in for the window's POS printer control, shared by the receipt and report tests:
// it records every call and what was printed, and refuses the first call whose text starts
// with `fail_on`. Single-threaded; owns nothing and never blocks.
#pragma once

#include <string>
#include <vector>

#include "receipts/pos_printer.h"

namespace ccaddin::testing {

class RecordingPrinter : public PosPrinter {
 public:
  int32_t Open(const std::string& name) override { return Step("Open " + name); }
  bool Claimed() override { return claimed_; }
  int32_t ClaimDevice(int32_t timeout) override {
    const int32_t rc = Step("ClaimDevice " + std::to_string(timeout));
    claimed_ = rc == OPOS_SUCCESS;
    return rc;
  }
  bool DeviceEnabled() override { return enabled_; }
  int32_t DeviceEnabled(bool on) override {
    const int32_t rc = Step(std::string("DeviceEnabled ") + (on ? "true" : "false"));
    enabled_ = on && rc == OPOS_SUCCESS;
    return rc;
  }
  int32_t PrintNormal(int32_t station, const std::string& data) override {
    const int32_t rc = Step("PrintNormal " + std::to_string(station));
    if (rc == OPOS_SUCCESS) printed += data;
    return rc;
  }
  int32_t CutPaper(int32_t percentage) override {
    return Step("CutPaper " + std::to_string(percentage));
  }
  int32_t ReleaseDevice() override {
    claimed_ = enabled_ = false;
    return Step("ReleaseDevice");
  }
  int32_t Close() override { return Step("Close"); }
  int32_t ResultCode() const override { return result_; }
  const std::string& strErrorMessage() const override { return error_; }

  std::vector<std::string> calls;
  std::string printed;
  std::string fail_on;  // the first word of the call to refuse

 private:
  int32_t Step(const std::string& call) {
    calls.push_back(call);
    if (!fail_on.empty() && call.rfind(fail_on, 0) == 0) {
      error_ = call + ": paper out";
      return result_ = OPOS_E_FAILURE;
    }
    return result_ = OPOS_SUCCESS;
  }

  bool claimed_ = false;
  bool enabled_ = false;
  int32_t result_ = OPOS_SUCCESS;
  std::string error_;
};

}  // namespace ccaddin::testing
