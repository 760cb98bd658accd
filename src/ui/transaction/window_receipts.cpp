// The window's receipt copies: every print of the window goes to its TransactionReceipts,
// which composes, prints, keeps for the till and remembers the first print of each copy.
#include "platform/trap.h"
#include "ui/transaction/frm_transaction.h"

namespace ccaddin {

void frmTransaction::PrintTransactionReceipt(bool bMerchantCopy, bool bDuplicate) {
  if (!oTrans) throw Failure("no transaction to print");
  // A copy that could not be printed is in the call's journal; the sale goes on, as the
  // server has already settled it.
  (void)oReceipts.PrintTransactionReceipt(*oTrans, bMerchantCopy, bDuplicate);
  bLastCopyMerchant = oReceipts.bLastCopyMerchant();
}

}  // namespace ccaddin
