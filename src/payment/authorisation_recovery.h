// Recovery of authorisations a till can never confirm: the server has reserved the money,
// but the record the till would confirm it by was not written (a full disk, a crash), or
// the till never heard the answer. Such an authorisation is cancelled at the server at
// once, and the journal names the server's reference number and what the server said, so
// that the merchant and the help desk can match it against the cardholder's statement.
// Blocks as long as the payment-client library; never throws.
#pragma once

#include <cstdint>
#include <string>

#include "payment/process_ql_request.h"
#include "platform/addin_log.h"
#include "qlclient/ql_client.h"
#include "qlclient/ql_transaction.h"

namespace ccaddin {

struct CancelOutcome {
  bool bCancelled = false;
  std::string strText;  // the server's or the layer's reason when not cancelled
};

// Sends the cancelled verdict for oTrans (its lTransRefNo, and lCardType for the fuel flag)
// through the request layer on a connected, logged-in session, and journals the outcome.
// The server's own answer is reported whatever the operating mode: a till that settles
// confirmations later still needs to know whether money stays reserved.
CancelOutcome CancelAuthorisationAtServer(const QlTransaction& oTrans,
                                          const std::string& strClientId,
                                          const QlRequestSettings& settings,
                                          TAddinLog& journal) noexcept;

}  // namespace ccaddin
