// TransactionReceipts: the receipt copies of the transaction window's payment transaction.
// The window owns one for its lifetime and hands each of its receipt prints to it: the copy
// is composed, printed where the print rules and the till want it on paper, kept for the
// till, and its file removed unless receipts are saved. It remembers which copy went to the
// printer last and when each copy was first printed, so that a re-print repeats it exactly.
// Reads the calling thread's Shared() state; blocks on the disk, the printer and, for a
// tapped card's customer copy, on the operator's answer.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "platform/date_time.h"
#include "qlclient/ql_transaction.h"

namespace ccaddin {

class PosPrinter;

class TransactionReceipts {
 public:
  // oPrinter is the window's POS printer control (printer type 1); it may be null, and then
  // a control is made for each copy. Not owned.
  explicit TransactionReceipts(PosPrinter* oPrinter = nullptr) : printer_(oPrinter) {}

  // One copy of oTrans: the merchant copy when bMerchantCopy, marked as a duplicate when
  // bDuplicate. A duplicate of a copy printed earlier through this object carries that
  // print's date, time and file name. 0 when the copy was composed and printed, or is not
  // wanted on paper; 1 when it could not be composed or printed (the reason in
  // strErrorMessage and in the call's journal). Whatever could be composed reaches the
  // till in either case.
  int32_t PrintTransactionReceipt(const QlTransaction& oTrans, bool bMerchantCopy, bool bDuplicate);

  // The copy that was last sent to the printer (or would have been, had it worked) was the
  // merchant's: the one a re-print repeats.
  [[nodiscard]] bool bLastCopyMerchant() const { return last_copy_merchant_; }

  // The print decision's kind (CreditCardCommon::kMerchantAuthorised ... kCustomerCancelled)
  // of a copy of oTrans's outcome. A referral is not a payment, so it counts as declined.
  // The till's TAMBERIN_RECEIPTTYPE of the same copy is this kind plus one.
  [[nodiscard]] static int32_t ReceiptKind(const QlTransaction& oTrans, bool bMerchantCopy);

  [[nodiscard]] const std::string& strErrorMessage() const { return error_message_; }

 private:
  // What a re-print of a copy must repeat from its first print.
  struct FirstPrint {
    int32_t lTransRefNo = 0;
    DateTime dtDate;
    std::string strTime;
    std::string strShortFileName;  // empty: not printed yet
  };

  // Whether the copy is wanted on paper; may ask the operator.
  bool Wanted(const QlTransaction& oTrans, bool bMerchantCopy, bool bDuplicate);

  PosPrinter* printer_;
  bool last_copy_merchant_ = false;
  std::array<FirstPrint, 2> first_print_;  // [0] customer, [1] merchant
  std::string error_message_;
};

}  // namespace ccaddin
