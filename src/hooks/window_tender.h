// The call every hook that tenders through the transaction window makes: configuration and
// journal for the call, the till's record reset, a one-part ledger, the window shown
// modally, and its outcome copied into the record. The hooks differ only in what they put
// in a WindowTender. Runs on the till's thread and blocks until the window has closed;
// nothing is raised to the caller.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "ccaddin/records.h"
#include "payment/records_dispatch.h"
#include "platform/dispatch.h"
#include "platform/variant.h"

namespace ccaddin {

// A stored card the till pays with instead of a card presented at the window.
struct StoredCard {
  std::string strToken;
  std::string strExpiryDate;                             // MMYY, as the till keeps it
  int32_t lTransactionMode = TAM_TM_CUSTOMERNOTPRESENT;  // TAMBERIN_TRANSACTIONMODE
};

struct WindowTender {
  // "<Class>.<Operation>() Failed - ", the start of the hook's own failure texts.
  std::string strFailedPrefix;
  int32_t lTransactionType = TAM_TT_SALE;
  int32_t lTransactionAmount = 0;
  int32_t lGratuityAmount = 0;
  int32_t lCashAmount = 0;
  std::string strReferenceText;
  // Left as the last call set it when absent.
  std::optional<bool> bCustomerReceiptDisabled;
  std::optional<StoredCard> oStoredCard;
};

// True exactly when the tender was paid: authorised, confirmed and not cancelled. A
// failure of the call itself leaves its text in `error_message` and in the journal.
bool RunWindowTender(const WindowTender& tender, const TTillInformation& oTillInfo,
                     TTransactionInfo& oTransInfo, std::string& error_message);

// The C ABI side of a tender call: the till's records (at `till_at` and after it) read
// before `run(till, record)`, so that an unusable record stops the call before anything
// reaches the server, and the record written back after it.
template <typename Run>
Variant TenderWithTillRecords(DispatchArgs& a, size_t till_at, Run&& run) {
  const TTillInformation till = ReadTillInformation(a.Object(till_at));
  const DispatchPtr trans_object = a.Object(till_at + 1);
  TTransactionInfo trans = ReadTransactionInfo(trans_object);
  const bool paid = run(till, trans);
  WriteTransactionInfo(trans, trans_object);
  return Variant(paid);
}

}  // namespace ccaddin
