// The integrator's view of the simulated server: lists the transactions and batches
// kept in a simulator store, for the inspection command. Reads only; prints masked
// card numbers as the store holds them.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace ccaddin::sim {

// A transaction's result as listings show it: AUTHORISED, REFERRED, DECLINED or NONE.
[[nodiscard]] const char* StatusName(int32_t status);

// args (without the program name): <store.sqlite | configuration.json> [command]
// Commands: "transactions" (default) [batch number], "batches", "show" <reference>.
// Returns the process exit code: 0 done, 1 failed (reason on `err`), 2 usage.
int InspectStore(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace ccaddin::sim
