// Test helper: a payment-client configuration file in a fresh folder and a connected,
// logged-in simulator session through TProcessQlRequest's own calls. Header-only so
// that only the test folders that use it link the payment layer.
#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "payment/process_ql_request.h"
#include "qlclient/ql_factory.h"
#include "qlclient/sim/simulator.h"
#include "support/temp_dir.h"

namespace ccaddin::testing {

class QlSimSession {
 public:
  // `config_json` is the whole file; "{}" gives the defaults.
  explicit QlSimSession(const std::string& config_json = "{}",
                        const std::string& name = "qlclient.json") {
    sim::ResetSimulator();
    dir.Write(name, config_json);
    config_name = name;
    session = CurrentQlFactory().CreateSession();
    parms = CurrentQlFactory().CreateParameters();
    login = CurrentQlFactory().CreateLogin();
  }

  // Connect and log in; returns the first non-zero result (0 when both worked).
  int32_t Open(TProcessQlRequest& request) {
    int32_t result = -1;
    request.Connect(*session, *parms, dir.folder(), config_name, result);
    if (result != 0) return result;
    request.ProcessLogin(*login, "M1", "C1", "P1", result);
    return result;
  }

  // Start a sale of `amount` and enquire the presented card.
  int32_t StartAndEnquire(TProcessQlRequest& request, int32_t amount, int32_t type = 1) {
    int32_t result = -1;
    auto start = CurrentQlFactory().CreateTransactionStart();
    request.ProcessStartTransaction(*start, "826", amount, 0, 0, type, "SHOP", "1 HIGH ST", "EN",
                                    "PED", false, true, true, true, result);
    if (result != 0) return result;
    enquiry = CurrentQlFactory().CreateCardEnquiry();
    request.ProcessCardEnquiry(*enquiry, 0, "", "", 2, result);
    return result;
  }

  // A transaction request as the window builds it after the enquiry.
  static QlTransaction Sale(int32_t amount, int32_t type = 1) {
    QlTransaction t;
    t.strAmount = std::to_string(amount);
    t.lTransactionTypeCode = type;
    t.strCurrencyCode = "826";
    t.strReference = "0000012:0000003:R1:v1.0.0";
    return t;
  }

  TempDir dir;
  std::string config_name;
  std::unique_ptr<QlSession> session;
  std::unique_ptr<QlParameters> parms;
  std::unique_ptr<QlLogin> login;
  std::unique_ptr<QlCardEnquiry> enquiry;
};

// A configuration file with one injected fault.
inline std::string FaultConfig(const std::string& operation, int32_t result, int32_t error_code,
                               const std::string& extra = "") {
  return R"({"faults":[{"operation":")" + operation + R"(","result":)" + std::to_string(result) +
         R"(,"errorCode":)" + std::to_string(error_code) + R"(,"errorText":"INJECTED )" +
         std::to_string(error_code) + "\"" + extra + "}]}";
}

}  // namespace ccaddin::testing
