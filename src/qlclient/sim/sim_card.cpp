#include "qlclient/sim/sim_card.h"

#include <cctype>
#include <cmath>
#include <cstdlib>

namespace ccaddin::sim {
namespace {

std::string SchemeOf(const std::string& pan) {
  if (pan.empty()) return "UNKNOWN";
  if (pan[0] == '4') return "VISA";
  if (pan[0] == '5' || pan[0] == '2') return "MASTERCARD";
  if (pan.rfind("34", 0) == 0 || pan.rfind("37", 0) == 0) return "AMEX";
  if (pan.rfind("70", 0) == 0) return "FUELCARD";
  return "CARD";
}

SimCard Card(std::string name, std::string description, std::string pan, std::string scheme) {
  SimCard c;
  c.name = std::move(name);
  c.description = std::move(description);
  c.pan = std::move(pan);
  c.scheme = std::move(scheme);
  if (c.scheme == "MASTERCARD") {
    c.aid = "A0000000041010";
    c.app_label = "MASTERCARD";
  } else if (c.scheme == "AMEX") {
    c.aid = "A00000002501";
    c.app_label = "AMERICAN EXPRESS";
  }
  return c;
}

std::vector<SimCard> MakeCatalogue() {
  std::vector<SimCard> cards;
  cards.push_back(Card("visa_chip_pin", "chip and PIN, authorised", "4761739001010010", "VISA"));

  SimCard sig =
      Card("mc_chip_signature", "chip, signature verified", "5413330089010434", "MASTERCARD");
  sig.cvm = QL_CVM_SIGNATURE;
  cards.push_back(sig);

  SimCard tap =
      Card("visa_contactless", "contactless, no verification", "4761739001010119", "VISA");
  tap.entry = CardEntry::kTap;
  tap.cvm = QL_CVM_NONE;
  tap.available_spend = "7500";
  tap.app_label = "VISA DEBIT";
  cards.push_back(tap);

  SimCard tap_pin = Card("mc_contactless_pin", "contactless above the limit, PIN",
                         "5413330089020011", "MASTERCARD");
  tap_pin.entry = CardEntry::kTap;
  tap_pin.cvm = QL_CVM_PIN;
  cards.push_back(tap_pin);

  SimCard swipe = Card("visa_swipe", "magnetic stripe only, signature", "4111111111111111", "VISA");
  swipe.entry = CardEntry::kSwipe;
  swipe.cvm = QL_CVM_SIGNATURE;
  swipe.start_date = "2101";
  swipe.issue_number = "01";
  cards.push_back(swipe);

  SimCard keyed = Card("amex_keyed", "keyed (customer not present): expiry and CV2 asked",
                       "374245455400126", "AMEX");
  keyed.entry = CardEntry::kKeyed;
  keyed.cvm = QL_CVM_NONE;
  keyed.entry_prompts = {1, 0, 0, 1, 2, 2, 2};
  keyed.cv2_length = 4;
  cards.push_back(keyed);

  SimCard fallback = Card("mc_fallback", "chip unreadable: fall back to the stripe",
                          "5555555555554444", "MASTERCARD");
  fallback.needs_fallback = true;
  fallback.cvm = QL_CVM_SIGNATURE;
  cards.push_back(fallback);

  SimCard refused = Card("discover_not_accepted", "the reader does not accept the card",
                         "6011000990139424", "DISCOVER");
  refused.not_accepted = true;
  cards.push_back(refused);

  SimCard must_swipe = Card("mc_must_swipe", "the reader asks for a swipe on the till",
                            "2223000048400011", "MASTERCARD");
  must_swipe.must_swipe_on_till = true;
  must_swipe.entry = CardEntry::kSwipe;
  must_swipe.cvm = QL_CVM_SIGNATURE;
  cards.push_back(must_swipe);

  SimCard dcc = Card("visa_dcc_usd", "foreign (US) card offered conversion to dollars",
                     "4012888888881881", "VISA");
  dcc.dcc_currency = "USD";
  dcc.dcc_currency_name = "US Dollar";
  dcc.dcc_rate = "1.2745";
  cards.push_back(dcc);

  SimCard bypass = Card("visa_pin_bypass", "chip card whose holder asks to bypass the PIN",
                        "4917610000000000", "VISA");
  bypass.pin_bypass = true;
  cards.push_back(bypass);

  SimCard referred =
      Card("visa_referred", "referred: voice authorisation needed", "4000056655665556", "VISA");
  referred.outcome = CardOutcome::kReferred;
  cards.push_back(referred);

  SimCard declined =
      Card("mc_declined", "declined by the issuer", "5105105105105100", "MASTERCARD");
  declined.outcome = CardOutcome::kDeclined;
  cards.push_back(declined);

  SimCard fuel = Card("fuel_card", "fuel card: registration and mileage asked", "7002900000000012",
                      "FUELCARD");
  fuel.fuel = true;
  fuel.cvm = QL_CVM_PIN;
  fuel.aid = "A0000000999001";
  fuel.app_label = "FUELCARD";
  fuel.fuel_prompts[2] = 1;
  fuel.fuel_prompts[3] = 1;
  fuel.fuel_prompts[6] = 2;
  fuel.allowed_products = "001,UNLEADED,002,DIESEL,003,SUPER UNLEADED";
  fuel.balance = 25000;
  fuel.cashback_allowed = false;
  cards.push_back(fuel);

  SimCard bunker = Card("fuel_bunker", "bunker fuel card: diesel only, supplier id asked",
                        "7002900000000020", "FUELCARD");
  bunker.fuel = true;
  bunker.bunker = true;
  bunker.cvm = QL_CVM_PIN;
  bunker.aid = "A0000000999001";
  bunker.app_label = "FUELCARD";
  bunker.fuel_prompts[2] = 1;
  bunker.fuel_prompts[13] = 1;
  bunker.allowed_products = "002,DIESEL";
  bunker.balance = 150000;
  bunker.bunker_balance = 40000;
  bunker.cashback_allowed = false;
  cards.push_back(bunker);

  SimCard token =
      Card("visa_token", "chip and PIN card that returns a token", "4988080000000000", "VISA");
  token.token = "TKN9F3A0C2D7E4B1186";
  cards.push_back(token);
  return cards;
}

}  // namespace

const std::vector<SimCard>& BuiltInCards() {
  static const std::vector<SimCard> cards = MakeCatalogue();
  return cards;
}

std::vector<int32_t> DefaultReaderStates(const SimCard& card) {
  if (card.not_accepted) return {QL_READER_WAITING, QL_READER_INSERTED, QL_READER_NOT_ACCEPTED};
  if (card.must_swipe_on_till) return {QL_READER_WAITING, QL_READER_SWIPE_ON_TILL};
  switch (card.entry) {
    case CardEntry::kChip:
      return {QL_READER_WAITING, QL_READER_INSERTED, QL_READER_OPENED};
    case CardEntry::kTap:
      return {QL_READER_WAITING, QL_READER_TAPPED};
    case CardEntry::kSwipe:
      return {QL_READER_WAITING, QL_READER_SWIPED_ON_DEVICE};
    case CardEntry::kKeyed:
      return {QL_READER_WAITING};
  }
  return {QL_READER_WAITING};
}

std::string MaskPan(const std::string& pan) {
  if (pan.size() <= 4) return std::string(pan.size(), '*');
  return std::string(pan.size() - 4, '*') + pan.substr(pan.size() - 4);
}

bool LuhnValid(const std::string& pan) {
  if (pan.size() < 12 || pan.size() > 19) return false;
  int sum = 0;
  bool twice = false;
  for (auto it = pan.rbegin(); it != pan.rend(); ++it) {
    if (!std::isdigit(static_cast<unsigned char>(*it))) return false;
    int d = *it - '0';
    if (twice) d = d * 2 > 9 ? d * 2 - 9 : d * 2;
    sum += d;
    twice = !twice;
  }
  return sum % 10 == 0;
}

SimCard GenericCard(const std::string& pan, CardEntry entry) {
  SimCard c;
  c.name = "keyed card";
  c.pan = pan;
  c.scheme = SchemeOf(pan);
  c.entry = entry;
  c.cvm = entry == CardEntry::kKeyed ? QL_CVM_NONE : QL_CVM_SIGNATURE;
  if (entry == CardEntry::kKeyed) c.entry_prompts = {1, 0, 0, 1, 2, 2, 0};
  return c;
}

std::string ForeignAmount(int32_t amount, const std::string& rate, int32_t exponent,
                          int32_t foreign_exponent) {
  const double r = std::strtod(rate.c_str(), nullptr);
  const double units = amount * r * std::pow(10.0, foreign_exponent - exponent);
  return std::to_string(static_cast<int64_t>(std::llround(units)));
}

}  // namespace ccaddin::sim
