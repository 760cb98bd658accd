// The simulator's process-wide state: one terminal per configuration file, holding the
// loaded configuration, the server store, and the card session in progress. Internal to
// the simulator: every simulated object reaches the terminal of the session connected
// last through Current(). Terminals live for the process (ResetSimulator forgets them).
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qlclient/ql_client.h"
#include "qlclient/sim/sim_card.h"
#include "qlclient/sim/sim_config.h"
#include "qlclient/sim/sim_store.h"

namespace ccaddin::sim {

// Library error codes the simulator reports of its own accord (faults may use any).
inline constexpr int32_t kNotConnected = 30001;
inline constexpr int32_t kNotLoggedIn = 10101;
inline constexpr int32_t kBadRequest = 10120;
inline constexpr int32_t kInvalidCard = 10300;
inline constexpr int32_t kBadTrack = 10301;
inline constexpr int32_t kCardNotAccepted = 10302;
inline constexpr int32_t kNoPinBypass = 10400;
inline constexpr int32_t kUnknownReference = 10500;
inline constexpr int32_t kAlreadySettled = 10501;
inline constexpr int32_t kProductNotAllowed = 10600;
inline constexpr int32_t kServerError = 10100;
inline constexpr int32_t kReportFile = 10700;

// A configuration file's terminal and its view of the server.
struct Terminal {
  std::string path;
  std::optional<SimConfig> config;
  std::string load_error;
  std::filesystem::file_time_type loaded_time{};
  uintmax_t loaded_size = 0;
  std::unique_ptr<SimStore> store;
  std::map<std::string, int32_t> calls;
  bool connected = false;
  bool online = false;
  bool logged_in = false;
  std::string presented;  // card name chosen by the operator panel
  std::vector<int32_t> reader_override;
  size_t reader_index = 0;
  // The card session between Start and the authorisation.
  bool started = false;
  bool keyed_entry_allowed = false;  // the PIN pad takes a keyed card number
  int32_t start_amount = 0, start_cashback = 0, start_gratuity = 0, start_type = 0;
  std::optional<SimCard> card;  // read by the last enquiry; full number in memory only
  std::string card_pan;
  std::string card_expiry;
  int32_t entry_code = QL_ENTRY_NONE;
  bool pin_bypass_pending = false;
  bool pin_bypass_answered = false;
  bool reenquiry_asked = false;
  // The last transaction the till sent for authorisation, as it arrived (memory only).
  std::optional<QlTransaction> last_sent;
  std::string status = "WELCOME";
};

// The terminal of the session connected last; nullptr before the first connect.
Terminal* Current();
void MakeCurrent(Terminal* terminal);
// Forgets every terminal (the stores' files stay).
void ForgetTerminals();

// Loads (or reloads, when the file changed) the configuration of `path`.
Terminal& TerminalFor(const std::string& path);

// Reverses the authorisations a till left unconfirmed past the configuration's
// reverseAfterMinutes. The simulated server has no clock of its own: it catches up
// whenever a request or the support command reaches its store.
void ReverseStale(SimStore& store, const SimConfig& config);

// Shows `text` and waits the configured per-request delay, letting the till's loop run,
// so demos show the terminal's texts changing.
void Show(Terminal& t, const std::string& text);

// Applies an injected fault to the call being counted. True when it fired.
bool Fault(Terminal* t, const std::string& op, int32_t& result, int32_t* code, std::string& text);
// After the work of the call Fault counted last: true when its answer is to be lost.
bool LostReply(Terminal* t, const std::string& op, int32_t& result, int32_t* code,
               std::string& text);

// Request objects fail the same way when the session is not ready.
bool Ready(Terminal* t, QlRequestError& e, bool need_login = true);

// A whole non-negative amount in minor units; throws Failure for anything else.
int32_t ToInt(const std::string& text);

// The card the operator panel presented, else the configuration's card.
const SimCard& PresentedCard(const Terminal& t);

}  // namespace ccaddin::sim
