#include "payment/authorisation_recovery.h"

#include "platform/trap.h"
#include "qlclient/ql_codes.h"
#include "qlclient/ql_factory.h"

namespace ccaddin {

CancelOutcome CancelAuthorisationAtServer(const QlTransaction& oTrans,
                                          const std::string& strClientId,
                                          const QlRequestSettings& settings,
                                          TAddinLog& journal) noexcept {
  CancelOutcome outcome;
  // Operating mode 0 hides a refused confirmation from the till; here the refusal is the
  // whole point, so the request runs as for an integrated terminal.
  QlRequestSettings strict = settings;
  strict.lOperatingMode = 1;
  TProcessQlRequest request(strict);
  outcome.bCancelled = Trap(outcome.strText, "CancelAuthorisationAtServer() Failed - ", false, [&] {
    QlTransaction trans = oTrans;
    auto confirm = CurrentQlFactory().CreateConfirm();
    int32_t result = QL_REQ_UNEXPECTED;
    request.ProcessConfirm(*confirm, trans, strClientId, trans.lTransRefNo, "",
                           QL_CONFIRM_CANCELLED, result);
    if (result != QL_REQ_DONE) outcome.strText = request.strErrorMessage();
    return result == QL_REQ_DONE;
  });
  journal.LogCancelAtServer(oTrans.lTransRefNo, outcome.bCancelled, outcome.strText);
  return outcome;
}

}  // namespace ccaddin
