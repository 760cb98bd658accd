// The check that no card number is left in clear: every run of 13 to 19 digits that
// passes the card-number check digit, whatever card it belongs to, so a card added to
// the simulator's catalogue is covered without a list to keep in step. A run is taken
// whole: a longer run of digits (a reference) is not searched inside, and a run that
// reads as the component's time stamps (YYYYMMDDHHMMSS) is not a card number.
#pragma once

#include <string>
#include <vector>

namespace ccaddin::testing {

// The card numbers found in `bytes`.
[[nodiscard]] std::vector<std::string> CardNumbersIn(const std::string& bytes);

// "<file>: <number>" for each card number in the files below `folder` (recursively),
// skipping files whose name is in `except`. An SQLite file is read value by value.
[[nodiscard]] std::vector<std::string> CardNumbersInFiles(
    const std::string& folder, const std::vector<std::string>& except = {});

}  // namespace ccaddin::testing
