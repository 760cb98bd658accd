// The window's receipt copies: each print of the window goes through here.
//
// TODO(txhook): delegate to the transaction receipts unit once it is on main. Until then
// every print fails loudly, so that no scenario passes without its receipts.
#include "platform/trap.h"
#include "ui/transaction/frm_transaction.h"

namespace ccaddin {

void frmTransaction::PrintTransactionReceipt(bool bMerchantCopy, bool bDuplicate) {
  (void)bDuplicate;
  bLastCopyMerchant = bMerchantCopy;
  throw Failure("PrintTransactionReceipt is not built yet");
}

}  // namespace ccaddin
