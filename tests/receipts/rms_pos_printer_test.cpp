#include "receipts/rms_pos_printer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/host_model.h"

namespace ccaddin {
namespace {

using testing::HostCall;
using testing::MakeRmsSession;
using testing::RmsSession;
using testing::RmsSessionSetup;

std::vector<std::string> Trace(const std::vector<HostCall>& calls) {
  std::vector<std::string> out;
  for (const HostCall& c : calls) {
    std::string line = c.object + "." + c.member;
    if (c.kind == CallKind::kPut) line += "=";
    for (const Variant& a : c.args) {
      line += (line.back() == '=' ? "" : " ");
      line += a.IsObject() ? "<object>" : a.ToString().value_or("?");
    }
    out.push_back(line);
  }
  return out;
}

TEST(RmsPosPrinter, PrintsOnTheHostsActivePrinterAndHandsItBack) {
  RmsSession rms = MakeRmsSession(RmsSessionSetup{});
  RmsPosPrinter printer(rms.session, 4);
  ASSERT_EQ(printer.Open("ignored"), OPOS_SUCCESS) << printer.strErrorMessage();
  ASSERT_FALSE(printer.Claimed());
  ASSERT_EQ(printer.ClaimDevice(5000), OPOS_SUCCESS) << printer.strErrorMessage();
  EXPECT_TRUE(printer.Claimed());
  ASSERT_FALSE(printer.DeviceEnabled());
  ASSERT_EQ(printer.DeviceEnabled(true), OPOS_SUCCESS) << printer.strErrorMessage();
  EXPECT_TRUE(printer.DeviceEnabled());
  ASSERT_EQ(printer.PrintNormal(PTR_S_RECEIPT, "TOTAL 12.50\r\n"), OPOS_SUCCESS);
  ASSERT_EQ(printer.CutPaper(100), OPOS_SUCCESS);
  ASSERT_EQ(printer.ReleaseDevice(), OPOS_SUCCESS) << printer.strErrorMessage();
  ASSERT_EQ(printer.Close(), OPOS_SUCCESS);

  // The host keeps its own control claimed and open: only the printer is released.
  const std::vector<std::string> expected = {
      "Session.Register",
      "Register.SetActivePrinterNumber 4",
      "Register.ActivePrinter",
      "ActivePrinter.co",
      "ActivePrinter.Name",
      "ActivePrinter.co.Open ReceiptPrinter",
      "ActivePrinter.co.Claimed",
      "ActivePrinter.co.ClaimDevice 5000",
      "ActivePrinter.co.Claimed",
      "ActivePrinter.co.DeviceEnabled",
      "ActivePrinter.co.DeviceEnabled=True",
      "ActivePrinter.co.DeviceEnabled",
      "ActivePrinter.co.PrintNormal 2 TOTAL 12.50\r\n",
      "ActivePrinter.co.CutPaper 100",
      "ActivePrinter.Release",
  };
  EXPECT_EQ(Trace(*rms.log), expected);
}

TEST(RmsPosPrinter, HostFailuresBecomeFailureResultsWithTheHostsText) {
  RmsSession rms = MakeRmsSession(RmsSessionSetup{});
  RmsPosPrinter printer(rms.session, 1);
  // Nothing opened yet: there is no control to call.
  EXPECT_EQ(printer.PrintNormal(PTR_S_RECEIPT, "X"), OPOS_E_FAILURE);
  EXPECT_EQ(printer.strErrorMessage(),
            "PrintNormal: host printer: Object variable or With block variable not set");
  EXPECT_EQ(printer.ReleaseDevice(), OPOS_E_FAILURE);

  ASSERT_EQ(printer.Open(""), OPOS_SUCCESS);
  rms.co->FailOn("ClaimDevice", "Device is in use by another application");
  EXPECT_EQ(printer.ClaimDevice(5000), OPOS_E_FAILURE);
  EXPECT_EQ(printer.ResultCode(), OPOS_E_FAILURE);
  EXPECT_EQ(printer.strErrorMessage(),
            "ClaimDevice: host printer: Device is in use by another application");

  // A control that answers with an error code of its own (here "extended").
  rms.co->AddMethod("PrintNormal", 2, Variant(int32_t{114}));
  EXPECT_EQ(printer.PrintNormal(PTR_S_RECEIPT, "X"), 114);
  EXPECT_EQ(printer.strErrorMessage(), "PrintNormal: host printer: the printer answered 114");

  // A failing Release still lets the printer go: a second release has nothing to hand back.
  rms.printer->FailOn("Release", "Printer lost");
  EXPECT_EQ(printer.ReleaseDevice(), OPOS_E_FAILURE);
  EXPECT_EQ(printer.strErrorMessage(), "ReleaseDevice: host printer: Printer lost");
  EXPECT_EQ(printer.CutPaper(100), OPOS_E_FAILURE);
}

TEST(RmsPosPrinter, OpenFailsWhenTheSessionHasNoUsablePrinter) {
  RmsSession rms = MakeRmsSession(RmsSessionSetup{});
  rms.register_->Remove("ActivePrinter");
  RmsPosPrinter printer(rms.session, 2);
  EXPECT_EQ(printer.Open(""), OPOS_E_FAILURE);
  EXPECT_EQ(printer.strErrorMessage(),
            "Open: host printer: Object doesn't support this property or method");

  RmsPosPrinter no_session(nullptr, 2);
  EXPECT_EQ(no_session.Open(""), OPOS_E_FAILURE);
  EXPECT_EQ(no_session.strErrorMessage(), "Open: host printer: Object required");
}

}  // namespace
}  // namespace ccaddin
