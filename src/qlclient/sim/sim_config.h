// The simulator's configuration: the payment-client configuration file (JSON) that the
// component names with SetConfigFile. Loading never throws past LoadSimConfig's
// caller-visible error text; a bad file leaves the simulator refusing to connect.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qlclient/sim/sim_card.h"

namespace ccaddin::sim {

// One injected fault: the `call`-th call (1-based, counted per operation since the
// configuration was loaded) and the `count` - 1 calls after it (0: every call from
// then on) return `result` with the given error code and text.
struct SimFault {
  std::string operation;  // "Session.Connect", "Processor.Process" ...
  int32_t call = 1;
  int32_t count = 1;
  int32_t result = 1;
  int32_t error_code = 0;
  std::string error_text;
  bool raise = false;  // the library raises an error (error_text) instead of answering
  // The call does its work at the server first and only its answer is lost, as when the
  // connection drops after the server acted (authorisations, PIN bypass answers and
  // confirmations only).
  bool lost_reply = false;
};

struct SimConfig {
  std::string config_path;  // the file this came from
  std::string store_path;   // the server store (SQLite), absolute
  std::string terminal_id = "22160001";
  std::string merchant_no = "4971234567";
  std::string referral_phone = "0800 123 4567";
  bool contactless = true;
  std::string currency_text;               // printed before amounts; empty: from the currency code
  std::optional<std::string> merchant_id;  // when set, Login checks the credentials
  std::optional<std::string> client_id;
  std::optional<std::string> password;
  bool online = true;
  // Terminals that read the card themselves (integrated mode): an authorisation sent
  // without a card enquiry uses the presented card instead of asking for an enquiry.
  bool terminal_reads_card = false;
  // Such a terminal also settles what it authorised with the server itself (the till
  // confirms nothing): its approvals are stored confirmed, its declines declined.
  bool terminal_settles = false;
  std::string card = "visa_chip_pin";
  std::vector<int32_t> reader_states;  // empty: the card's own sequence
  int32_t delay_ms = 0;
  // The server reverses an authorisation still unconfirmed this long after it was made,
  // as payment servers do for a till that never came back to it; 0: never.
  int32_t reverse_after_minutes = 30;
  bool magic_amounts = true;
  std::vector<SimFault> faults;
  std::vector<SimCard> cards;  // built-in catalogue plus the file's own cards

  [[nodiscard]] const SimCard* FindCard(const std::string& name) const;
  [[nodiscard]] const SimCard* FindCardByPan(const std::string& pan) const;
  // The card behind a stored-card number ("TOK:" and the token an authorisation of the
  // card returned); nullptr for any other number or a token never issued.
  [[nodiscard]] const SimCard* FindStoredCard(const std::string& pan) const;
};

// Limits of the numbers a file may hold.
inline constexpr int32_t kMaxDelayMs = 60'000;
inline constexpr int32_t kMaxReverseAfterMinutes = 7 * 24 * 60;
inline constexpr int32_t kMaxReaderState = 15;

// The operations a fault may name, in the order the README lists them.
const std::vector<std::string>& FaultOperations();

// Reads `path`. Throws Failure with a sentence naming the file and the problem.
SimConfig LoadSimConfig(const std::string& path);

}  // namespace ccaddin::sim
