// The demo site the till commands share: a settings store, the simulator's configuration
// and the receipt folder in one folder, made on first use and kept afterwards, so a
// merchant's edits survive. Also the amount reading both tills use.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

namespace ccaddin {

// The folder a demo site goes to when the command line names none.
inline constexpr const char* kDefaultDemoFolder = "ccaddin-demo";
// The receipt printer of the site: a file under the folder, named in config/printers.json.
inline constexpr const char* kDemoPrinterName = "DemoPrinter";

// "12.50", "12.5", "12" -> minor units; nullopt for anything else (signs, three decimals,
// more than a Long holds).
[[nodiscard]] std::optional<int32_t> ParseAmount(const std::string& text);

// Makes (or completes) a demo site in `folder`: registry.db with the settings a till needs,
// config/qlclient.json for the simulator, config/printers.json with the receipt printer
// (a file, printer.out), receipts/. What exists already is kept; a settings store that
// cannot be read is reported, never used half. Returns the registry database's path;
// throws with the reason on failure.
std::string PrepareDemoSite(const std::string& folder, std::ostream& out);

}  // namespace ccaddin
