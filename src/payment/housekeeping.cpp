// CreditCardCommon's end-of-call housekeeping: receipt purge, report date, the daily
// terminal-management call.
#include "payment/credit_card_common.h"
#include "payment/tamberin_string.h"
#include "platform/cc_addin_registry.h"
#include "platform/env.h"
#include "platform/tms_call.h"
#include "platform/trap.h"

namespace ccaddin {

void CreditCardCommon::HousekeepReceipts() {
  TrapVoid(error_message_, "CreditCardCommon.HousekeepReceipts() Failed - ", [&] {
    if (!bSaveReceipts) return;
    TCcAddinRegistry registry;
    registry.DeleteReceipts(lDeleteReceiptDays, strLastReceiptDeleteDate, strReceiptFileLocation);
  });
}

void CreditCardCommon::SaveZReportDateNow() {
  TrapVoid(error_message_, "CreditCardCommon.SaveZReportDateNow() Failed - ", [&] {
    TCcAddinRegistry registry;
    registry.SaveZReportDate();
  });
}

void CreditCardCommon::DailyTmsCall() {
  static constexpr const char* kPrefix = "CreditCardCommon.DailyTmsCall() Failed - ";
  TrapVoid(error_message_, kPrefix, [&] {
    if (!bDailyTmsCall) return;
    // The stored date is "YYYYMMDDHHMMSS"; a date that does not read as a number counts as
    // long ago, so a damaged setting cannot stop the daily call for good.
    if (!strLastTmsCallDate.empty()) {
      const int32_t last = TamberinString::StrToLong(strLastTmsCallDate.substr(0, 8));
      const int32_t today = TamberinString::StrToLong(CurrentEnv()->Now().Yyyymmdd());
      if (last >= today) return;
    }
    TTmsCall tms;
    tms.DoTmsCall(strConfigFileLocation);
    // The day counts as done even when the script did not start: the call is retried
    // tomorrow rather than at every till call of the day.
    if (!tms.strErrorMessage().empty()) error_message_ = kPrefix + tms.strErrorMessage();
    TCcAddinRegistry registry;
    registry.SaveLastTmsCallDate();
  });
}

}  // namespace ccaddin
