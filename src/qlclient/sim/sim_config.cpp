#include "qlclient/sim/sim_config.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <type_traits>

#include <nlohmann/json.hpp>

#include "platform/trap.h"

namespace ccaddin::sim {
namespace {

using nlohmann::json;

[[noreturn]] void Bad(const std::string& path, const std::string& what) {
  throw Failure("Payment client configuration file " + path + ": " + what);
}

CardEntry ParseEntry(const std::string& path, const std::string& text) {
  if (text == "chip") return CardEntry::kChip;
  if (text == "tap") return CardEntry::kTap;
  if (text == "swipe") return CardEntry::kSwipe;
  if (text == "keyed") return CardEntry::kKeyed;
  Bad(path, "unknown card entry \"" + text + "\" (chip, tap, swipe or keyed)");
}

CardOutcome ParseOutcome(const std::string& path, const std::string& text) {
  if (text == "authorised") return CardOutcome::kAuthorised;
  if (text == "referred") return CardOutcome::kReferred;
  if (text == "declined") return CardOutcome::kDeclined;
  Bad(path, "unknown card outcome \"" + text + "\" (authorised, referred or declined)");
}

// A value of the wrong type or out of range, named by its place in the file
// ("cards[2].cvm"); LoadSimConfig turns it into the file's error text.
struct BadValue {
  std::string key;
  std::string what;
};

std::string At(const std::string& prefix, const std::string& key) {
  return prefix.empty() ? key : prefix + "." + key;
}

// Checked before any conversion: a fraction or a number beyond 64 bits would be converted
// with undefined behaviour, and a large whole number would wrap into a plausible one.
int32_t Whole(const json& v, const std::string& key, int64_t lo, int64_t hi) {
  bool ok = v.is_number_integer();
  if (ok && v.is_number_unsigned()) {
    const uint64_t u = v.get<uint64_t>();
    ok = hi >= 0 && u <= static_cast<uint64_t>(hi) && (lo <= 0 || u >= static_cast<uint64_t>(lo));
  } else if (ok) {
    const int64_t n = v.get<int64_t>();
    ok = n >= lo && n <= hi;
  }
  if (!ok) {
    throw BadValue{
        key, "must be a whole number from " + std::to_string(lo) + " to " + std::to_string(hi)};
  }
  return static_cast<int32_t>(v.get<int64_t>());
}

constexpr int64_t kMaxLong = INT32_MAX;
constexpr int64_t kMinLong = INT32_MIN;

void TakeWhole(const json& j, const std::string& prefix, const char* key, int32_t& into, int64_t lo,
               int64_t hi) {
  if (j.contains(key)) into = Whole(j.at(key), At(prefix, key), lo, hi);
}

std::vector<int32_t> Wholes(const json& v, const std::string& key, int64_t lo, int64_t hi) {
  if (!v.is_array()) throw BadValue{key, "must be a list of whole numbers"};
  std::vector<int32_t> out;
  for (size_t i = 0; i < v.size(); ++i) {
    out.push_back(Whole(v[i], key + "[" + std::to_string(i) + "]", lo, hi));
  }
  return out;
}

// Text and switches: another type refuses the file with the key named.
template <typename T>
void Take(const json& j, const std::string& prefix, const char* key, T& into) {
  if (!j.contains(key)) return;
  const json& v = j.at(key);
  if constexpr (std::is_same_v<T, bool>) {
    if (!v.is_boolean()) throw BadValue{At(prefix, key), "must be true or false"};
  } else {
    if (!v.is_string()) throw BadValue{At(prefix, key), "must be text"};
  }
  into = v.get<T>();
}

const json& Object(const json& j, const std::string& key) {
  if (!j.is_object()) throw BadValue{key, "must be a JSON object"};
  return j;
}

SimCard ParseCard(const std::string& path, const json& j, const std::string& at,
                  const SimConfig& config) {
  Object(j, at);
  SimCard card;
  std::string base;
  Take(j, at, "basedOn", base);
  if (!base.empty()) {
    const SimCard* found = config.FindCard(base);
    if (!found) Bad(path, "card \"" + base + "\" named in basedOn is not known");
    card = *found;
  }
  Take(j, at, "name", card.name);
  if (card.name.empty()) Bad(path, "a card in \"cards\" has no name");
  Take(j, at, "description", card.description);
  Take(j, at, "pan", card.pan);
  if (!LuhnValid(card.pan)) Bad(path, "card \"" + card.name + "\" has no valid card number (pan)");
  Take(j, at, "expiry", card.expiry);
  Take(j, at, "scheme", card.scheme);
  std::string text;
  if (j.contains("entry")) {
    Take(j, at, "entry", text);
    card.entry = ParseEntry(path, text);
  }
  if (j.contains("outcome")) {
    Take(j, at, "outcome", text);
    card.outcome = ParseOutcome(path, text);
  }
  TakeWhole(j, at, "cvm", card.cvm, 0, 4);
  Take(j, at, "pinBypass", card.pin_bypass);
  Take(j, at, "fallback", card.needs_fallback);
  Take(j, at, "notAccepted", card.not_accepted);
  Take(j, at, "mustSwipeOnTill", card.must_swipe_on_till);
  Take(j, at, "cashbackAllowed", card.cashback_allowed);
  Take(j, at, "availableSpend", card.available_spend);
  Take(j, at, "token", card.token);
  Take(j, at, "dccCurrency", card.dcc_currency);
  Take(j, at, "dccCurrencyName", card.dcc_currency_name);
  Take(j, at, "dccRate", card.dcc_rate);
  TakeWhole(j, at, "dccExponent", card.dcc_exponent, 0, 9);
  Take(j, at, "dccForeignAmount", card.dcc_foreign_amount);
  Take(j, at, "dccOfferText", card.dcc_offer_text);
  TakeWhole(j, at, "dccOfferRepeat", card.dcc_offer_repeat, 1, 100'000);
  Take(j, at, "fuel", card.fuel);
  Take(j, at, "bunker", card.bunker);
  Take(j, at, "allowedProducts", card.allowed_products);
  TakeWhole(j, at, "balance", card.balance, 0, kMaxLong);
  TakeWhole(j, at, "bunkerBalance", card.bunker_balance, 0, kMaxLong);
  if (j.contains("readerStates")) {
    card.reader_states = Wholes(j.at("readerStates"), At(at, "readerStates"), 0, kMaxReaderState);
  }
  if (j.contains("entryPrompts")) {
    const auto v = Wholes(j.at("entryPrompts"), At(at, "entryPrompts"), 0, 2);
    for (size_t i = 0; i < v.size() && i < card.entry_prompts.size(); ++i)
      card.entry_prompts[i] = v[i];
  }
  if (j.contains("fuelPrompts")) {
    const std::string prompts = At(at, "fuelPrompts");
    for (auto& [index, value] : Object(j.at("fuelPrompts"), prompts).items()) {
      const size_t i =
          index.size() <= 2 && index.find_first_not_of("0123456789") == std::string::npos
              ? std::stoul(index)
              : card.fuel_prompts.size();
      if (i >= card.fuel_prompts.size())
        Bad(path, "fuel prompt index " + index + " is out of range");
      card.fuel_prompts[i] = Whole(value, prompts + "." + index, 0, 2);
    }
  }
  return card;
}

void Parse(const std::string& path, const json& j, SimConfig& c) {
  if (!j.is_object()) Bad(path, "the file must hold one JSON object");
  const auto folder = std::filesystem::path(path).parent_path();
  std::string store = "qlsim-server.sqlite";
  Take(j, "", "store", store);
  c.store_path = std::filesystem::path(store).is_absolute() ? store : (folder / store).string();
  if (j.contains("terminal")) {
    const auto& t = Object(j.at("terminal"), "terminal");
    Take(t, "terminal", "terminalId", c.terminal_id);
    Take(t, "terminal", "merchantNo", c.merchant_no);
    Take(t, "terminal", "referralPhone", c.referral_phone);
    Take(t, "terminal", "contactless", c.contactless);
    Take(t, "terminal", "currencyText", c.currency_text);
  }
  if (j.contains("login")) {
    const auto& l = Object(j.at("login"), "login");
    for (auto [key, into] :
         {std::pair{"merchantId", &c.merchant_id}, std::pair{"clientId", &c.client_id},
          std::pair{"password", &c.password}}) {
      std::string value;
      Take(l, "login", key, value);
      if (l.contains(key)) *into = value;
    }
  }
  Take(j, "", "online", c.online);
  Take(j, "", "terminalReadsCard", c.terminal_reads_card);
  TakeWhole(j, "", "delayMs", c.delay_ms, 0, kMaxDelayMs);
  TakeWhole(j, "", "reverseAfterMinutes", c.reverse_after_minutes, 0, kMaxReverseAfterMinutes);
  Take(j, "", "magicAmounts", c.magic_amounts);
  if (j.contains("readerStates")) {
    c.reader_states = Wholes(j.at("readerStates"), "readerStates", 0, kMaxReaderState);
  }
  Take(j, "", "terminalSettles", c.terminal_settles);
  if (j.contains("cards")) {
    const json& cards = j.at("cards");
    if (!cards.is_array()) throw BadValue{"cards", "must be a list of cards"};
    for (size_t i = 0; i < cards.size(); ++i) {
      SimCard parsed = ParseCard(path, cards[i], "cards[" + std::to_string(i) + "]", c);
      auto same = std::find_if(c.cards.begin(), c.cards.end(),
                               [&](const SimCard& k) { return k.name == parsed.name; });
      if (same != c.cards.end())
        *same = parsed;
      else
        c.cards.push_back(parsed);
    }
  }
  Take(j, "", "card", c.card);
  if (!c.FindCard(c.card)) Bad(path, "unknown card \"" + c.card + "\"");
  if (j.contains("faults")) {
    const json& faults = j.at("faults");
    if (!faults.is_array()) throw BadValue{"faults", "must be a list of faults"};
    for (size_t i = 0; i < faults.size(); ++i) {
      const std::string at = "faults[" + std::to_string(i) + "]";
      const json& f = Object(faults[i], at);
      SimFault fault;
      Take(f, at, "operation", fault.operation);
      const auto& ops = FaultOperations();
      if (std::find(ops.begin(), ops.end(), fault.operation) == ops.end())
        Bad(path, "unknown fault operation \"" + fault.operation + "\"");
      TakeWhole(f, at, "call", fault.call, 1, kMaxLong);
      TakeWhole(f, at, "count", fault.count, 0, kMaxLong);
      TakeWhole(f, at, "result", fault.result, kMinLong, kMaxLong);
      TakeWhole(f, at, "errorCode", fault.error_code, kMinLong, kMaxLong);
      Take(f, at, "errorText", fault.error_text);
      Take(f, at, "raise", fault.raise);
      Take(f, at, "lostReply", fault.lost_reply);
      if (fault.lost_reply && fault.operation != "Processor.Process" &&
          fault.operation != "Processor.AnswerPinBypass" && fault.operation != "Confirm.Confirm")
        Bad(path,
            "lostReply applies to Processor.Process, Processor.AnswerPinBypass and "
            "Confirm.Confirm, not \"" +
                fault.operation + "\"");
      c.faults.push_back(fault);
    }
  }
}

}  // namespace

const SimCard* SimConfig::FindCard(const std::string& name) const {
  for (const auto& card : cards)
    if (card.name == name) return &card;
  return nullptr;
}

const SimCard* SimConfig::FindCardByPan(const std::string& pan) const {
  for (const auto& card : cards)
    if (card.pan == pan) return &card;
  return nullptr;
}

const SimCard* SimConfig::FindStoredCard(const std::string& pan) const {
  constexpr std::string_view kStored = "TOK:";
  if (!pan.starts_with(kStored) || pan.size() == kStored.size()) return nullptr;
  for (const auto& card : cards)
    if (card.token == pan.substr(kStored.size())) return &card;
  return nullptr;
}

const std::vector<std::string>& FaultOperations() {
  static const std::vector<std::string> ops = {
      "Session.Connect",       "Login.Login",         "Login.Logout",
      "CardReaderStatus.Poll", "CardEnquiry.Enquire", "TransactionStart.Start",
      "DccEnquiry.Enquire",    "Processor.Process",   "Processor.AnswerPinBypass",
      "Confirm.Confirm",       "FuelBalance.Enquire", "ReceiptInfo.Request",
      "CloseBatch.Request",    "Report.Request",      "FuelProductEnquiry.Request"};
  return ops;
}

SimConfig LoadSimConfig(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) Bad(path, "cannot be opened");
  std::stringstream text;
  text << in.rdbuf();
  SimConfig config;
  config.config_path = path;
  config.cards = BuiltInCards();
  json j;
  try {
    j = json::parse(text.str());
  } catch (const json::exception& e) {
    Bad(path, std::string("is not valid JSON (") + e.what() + ")");
  }
  try {
    Parse(path, j, config);
  } catch (const BadValue& e) {
    Bad(path, e.key + " " + e.what);
  }
  return config;
}

}  // namespace ccaddin::sim
