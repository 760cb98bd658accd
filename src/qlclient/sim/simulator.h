// The built-in payment-client simulator: the process-wide terminal and server that the
// factory's objects talk to, one per configuration file, as the vendor library keeps
// one terminal per process. The operator panel and tests steer it through these
// functions; they belong to the simulator and never outlive the process.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qlclient/ql_factory.h"
#include "qlclient/ql_transaction.h"

namespace ccaddin::sim {

// The factory whose objects are simulated. Owned by the simulator, never deleted.
QlFactory& SimulatorFactory();

// Presents the named test card to the terminal of the configuration last connected
// (the operator panel's "card" choice); overrides the file's "card" until the next
// connect that reloads a changed file. False with a reason for an unknown card or
// when no session has connected yet.
[[nodiscard]] bool PresentCard(const std::string& name, std::string* error);

// Replaces the reader states that the next polls report (last one repeats); empty
// returns to the presented card's own sequence.
void SetReaderStates(const std::vector<int32_t>& states);

// Forgets every terminal, counter and open store of this process (tests use it to
// act as a fresh process). Stored transactions stay in their files.
void ResetSimulator();

// The status text the terminal shows now.
[[nodiscard]] std::string CurrentTerminalStatus();

// The last transaction the till sent for authorisation, as the terminal received it
// before the server's answer was filled in (kept in memory only, for tests that check
// what the till sends); none before the first.
[[nodiscard]] std::optional<QlTransaction> LastTransactionSent();

}  // namespace ccaddin::sim
