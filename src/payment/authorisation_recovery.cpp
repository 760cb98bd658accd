#include "payment/authorisation_recovery.h"

#include "platform/trap.h"
#include "qlclient/ql_factory.h"

namespace ccaddin {

namespace {
constexpr int32_t kConfirmCancelled = 2;
}  // namespace

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
    int32_t result = 4;
    request.ProcessConfirm(*confirm, trans, strClientId, trans.lTransRefNo, "", kConfirmCancelled,
                           result);
    if (result != 0) outcome.strText = request.strErrorMessage();
    return result == 0;
  });
  journal.LogCancelAtServer(oTrans.lTransRefNo, outcome.bCancelled, outcome.strText);
  return outcome;
}

}  // namespace ccaddin
