// The simulator's test cards: what each card makes the terminal and the server do.
// The built-in catalogue uses public test card numbers only; a configuration file may
// add cards of its own. Plain values, no I/O.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qlclient/ql_codes.h"

namespace ccaddin::sim {

enum class CardEntry { kChip, kTap, kSwipe, kKeyed };
enum class CardOutcome { kAuthorised, kReferred, kDeclined };

struct SimCard {
  std::string name;
  std::string description;
  std::string pan;
  std::string expiry = "2812";  // YYMM
  std::string start_date;       // YYMM
  std::string issue_number;
  std::string scheme = "VISA";
  CardEntry entry = CardEntry::kChip;
  int32_t cvm = QL_CVM_PIN;  // QL_CVM_*
  CardOutcome outcome = CardOutcome::kAuthorised;
  bool needs_fallback = false;      // the chip cannot be read: swipe instead
  bool not_accepted = false;        // the reader refuses the card
  bool must_swipe_on_till = false;  // the reader tells the till to swipe it
  bool pin_bypass = false;          // the cardholder asks to skip the PIN
  bool cashback_allowed = true;
  std::string aid = "A0000000031010";
  std::string app_label = "VISA CREDIT";
  std::string available_spend;  // contactless cards that report it
  std::string token;
  // Currency conversion: a card whose currency differs from the till's.
  std::string dcc_currency;  // "USD"; empty: no offer
  std::string dcc_currency_name;
  std::string dcc_rate;  // units of the card currency per unit of the till's
  int32_t dcc_exponent = 2;
  // What the offer says instead of the computed amount and the standard text (tests of an
  // offer the till must not trust); empty: computed.
  std::string dcc_foreign_amount;
  std::string dcc_offer_text;
  int32_t dcc_offer_repeat = 1;  // the offer text this many times over (a server that floods)
  // Prompts (0 not asked, 1 required, 2 optional).
  std::array<int32_t, 7> entry_prompts{};  // expiry, start, issue, CV2, postcode, address, ref
  std::array<int32_t, 14> fuel_prompts{};  // by fuel prompt index
  int32_t cv2_length = 3;
  // Fuel cards.
  bool fuel = false;
  bool bunker = false;
  std::string allowed_products;  // "001,UNLEADED,002,DIESEL"
  int32_t balance = 0;
  int32_t bunker_balance = 0;
  // Reader states the terminal reports while this card is presented (last repeats).
  std::vector<int32_t> reader_states;
};

// The built-in catalogue, in the order the README lists it.
const std::vector<SimCard>& BuiltInCards();

// The reader states a card produces when the configuration gives none.
std::vector<int32_t> DefaultReaderStates(const SimCard& card);

// "4761739001010010" -> "************0010"; keeps no more than the last four digits.
std::string MaskPan(const std::string& pan);

// True for a digit string of 12 to 19 digits with a valid check digit.
bool LuhnValid(const std::string& pan);

// A card the till keyed or swiped that is not in the catalogue: an ordinary card of
// its scheme that the server authorises.
SimCard GenericCard(const std::string& pan, CardEntry entry);

// `amount` in minor units of the till's currency (`exponent` decimals) converted at `rate`
// (units of the card currency per unit of the till's) into minor units of the card's
// currency (`foreign_exponent` decimals), rounded to the nearest minor unit.
std::string ForeignAmount(int32_t amount, const std::string& rate, int32_t exponent,
                          int32_t foreign_exponent);

}  // namespace ccaddin::sim
