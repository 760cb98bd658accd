// The outcomes that need the operator after the authorisation: the referral with its
// voice authorisation, the cardholder's request to bypass the PIN, the currency
// conversion offer, and the re-print of the result's receipt.
//
// TODO(outcomes): the referral's details and buttons, the PIN bypass buttons, the
// currency offer and the re-print are not built yet; a path that reaches them fails
// loudly ("... is not built yet").
#include "platform/trap.h"
#include "ui/transaction/frm_transaction.h"

namespace ccaddin {

void frmTransaction::BindOutcomes() {
  for (Control* button :
       {&cmdAuthorise, &cmdDecline, &cmdAllowPinBypass, &cmdDisallowPinBypass, &cmdReprint})
    OnClick(*button, &frmTransaction::NotBuiltYet_Click);
}

void frmTransaction::ShowReferral() {
  throw Failure("the referral's details are not built yet");
}

void frmTransaction::RunCurrencyConversionOffer() {
  throw Failure("the currency conversion offer is not built yet");
}

}  // namespace ccaddin
