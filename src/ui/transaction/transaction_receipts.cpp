#include "ui/transaction/transaction_receipts.h"

#include "payment/credit_card_common.h"
#include "platform/addin_log.h"
#include "platform/env.h"
#include "platform/file_system.h"
#include "platform/trap.h"
#include "qlclient/ql_codes.h"
#include "receipts/receipt.h"
#include "ui/form_call_scope.h"

namespace ccaddin {

int32_t TransactionReceipts::ReceiptKind(const QlTransaction& oTrans, bool bMerchantCopy) {
  int32_t kind = CreditCardCommon::kMerchantAuthorised;
  if (oTrans.lStatus == QL_STATUS_DECLINED || oTrans.lStatus == QL_STATUS_REFERRED) {
    kind = CreditCardCommon::kMerchantDeclined;
  } else if (oTrans.bCancelled) {
    kind = CreditCardCommon::kMerchantCancelled;
  }
  return bMerchantCopy ? kind : kind + CreditCardCommon::kCustomerAuthorised;
}

bool TransactionReceipts::Wanted(const QlTransaction& oTrans, bool bMerchantCopy, bool bDuplicate) {
  CreditCardCommon& shared = Shared();
  // A till that prints the customer copy itself (from the text it gets back) must not be
  // asked whether the customer wants one.
  if (!bMerchantCopy && shared.bCustomerReceiptDisabled) return false;
  // A duplicate is the operator's own request: asking again whether the customer wants a
  // receipt would only get in the way. The suppression settings still hold.
  return shared.ShouldPrintReceipt(ReceiptKind(oTrans, bMerchantCopy), oTrans, !bDuplicate);
}

int32_t TransactionReceipts::PrintTransactionReceipt(const QlTransaction& oTrans,
                                                     bool bMerchantCopy, bool bDuplicate) {
  // The window's operation, so the journal names it as the window's.
  const int32_t result = Trap(
      error_message_, "frmTransaction.PrintTransactionReceipt() Failed - ", int32_t{1},
      [&]() -> int32_t {
        CreditCardCommon& shared = Shared();
        FirstPrint& first = first_print_[bMerchantCopy ? 1 : 0];
        const bool reprint = bDuplicate && !first.strShortFileName.empty() &&
                             first.lTransRefNo == oTrans.lTransRefNo;

        TReceipt receipt;
        if (reprint) {
          receipt.dtDate = first.dtDate;
          receipt.strTime = first.strTime;
        } else {
          receipt.dtDate = CurrentEnv()->Now();
          receipt.strTime = receipt.dtDate.Hhmmss().substr(0, 4);
        }
        receipt.lCurrencyExponent = shared.lBaseCurrencyExponent;
        const std::string folder =
            CreditCardCommon::AddTrailingBackslash(shared.strReceiptFileLocation);
        const std::string name = reprint ? first.strShortFileName : std::string();

        int32_t failed = 0;
        const bool on_disk = receipt.WriteReceiptFile(oTrans, shared.oTillInfo, folder,
                                                      bMerchantCopy, bDuplicate, name) == 0;
        const std::string path = folder + receipt.strLongReceiptFileName();
        if (!on_disk) {
          error_message_ = receipt.strErrorMessage();
          failed = 1;
          // Nothing can be printed without the file, but the till still gets the text.
          (void)receipt.WriteReceiptFile(oTrans, shared.oTillInfo, folder, bMerchantCopy,
                                         bDuplicate, name, true);
        } else if (!bDuplicate) {
          first = FirstPrint{oTrans.lTransRefNo, receipt.dtDate, receipt.strTime,
                             receipt.strShortReceiptFileName()};
        }

        // The till's copies do not depend on what goes on paper here: a till that prints
        // receipts itself suppresses the component's printing and collects them instead.
        if (!receipt.strReceipt().empty()) {
          // The till's record of the sale is its receipt, not a re-print of it; only where
          // nothing else was composed (a duplicate asked for later) is the duplicate kept.
          if (!bMerchantCopy && (!bDuplicate || shared.strLastCustomerReceipt.empty())) {
            shared.strLastCustomerReceipt = receipt.strReceipt();
          }
          shared.AddClientReceipt(ReceiptKind(oTrans, bMerchantCopy) + 1, receipt.strReceipt(),
                                  oTrans.strPan, receipt.bSignatureLine());
        }

        if (Wanted(oTrans, bMerchantCopy, bDuplicate)) {
          last_copy_merchant_ = bMerchantCopy;
          // The clear card number is for the merchant's paper only, and only where the
          // merchant does not obscure it; the file keeps the masked form.
          const std::string pan = bMerchantCopy && !shared.bObscureCardNumber ? oTrans.strPan : "";
          if (on_disk && receipt.PrintReceipt(printer_, bMerchantCopy, path, pan, !bMerchantCopy,
                                              false, shared.bCustomerReceiptDisabled) != 0) {
            error_message_ = receipt.strErrorMessage();
            failed = 1;
          }
        }

        FileSystem files;
        if (on_disk && !shared.bSaveReceipts && files.FileExists(path) &&
            receipt.DeleteReceipt(path) != 0) {
          error_message_ = receipt.strErrorMessage();
          failed = 1;
        }
        return failed;
      });
  if (result != 0) {
    if (TAddinLog* journal = CurrentFormJournal()) journal->LogError(error_message_);
  }
  return result;
}

}  // namespace ccaddin
