// ccaddin-support pending: the help desk's view of the authorisations the site's payment
// server still holds unconfirmed, and their cancellation. An authorisation no saved record
// names is one the till can never confirm (it stopped between the server's answer and the
// record, or never heard the answer); cancelling it releases the cardholder's money before
// the server's own reversal would. Reads the settings loaded in Shared().
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>

namespace ccaddin {

// Lists the pending authorisations of the built-in simulator's server, each with the saved
// record that holds it for the till; then cancels `cancel` (a reference number that must be
// pending) or, with `cancel_orphans`, every one no saved record names, through the till's
// own request path and journal. Returns the exit code (2 when a cancellation failed);
// throws std::runtime_error when the site cannot be read.
int RunPendingAuthorisations(std::optional<int32_t> cancel, bool cancel_orphans, std::ostream& out);

}  // namespace ccaddin
