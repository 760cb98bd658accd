#include "qlclient/sim/sim_config.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

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

template <typename T>
void Take(const json& j, const char* key, T& into) {
  if (j.contains(key)) into = j.at(key).get<T>();
}

SimCard ParseCard(const std::string& path, const json& j, const SimConfig& config) {
  SimCard card;
  if (j.contains("basedOn")) {
    const auto base = j.at("basedOn").get<std::string>();
    const SimCard* found = config.FindCard(base);
    if (!found) Bad(path, "card \"" + base + "\" named in basedOn is not known");
    card = *found;
  }
  Take(j, "name", card.name);
  if (card.name.empty()) Bad(path, "a card in \"cards\" has no name");
  Take(j, "description", card.description);
  Take(j, "pan", card.pan);
  if (!LuhnValid(card.pan)) Bad(path, "card \"" + card.name + "\" has no valid card number (pan)");
  Take(j, "expiry", card.expiry);
  Take(j, "scheme", card.scheme);
  if (j.contains("entry")) card.entry = ParseEntry(path, j.at("entry").get<std::string>());
  if (j.contains("outcome")) card.outcome = ParseOutcome(path, j.at("outcome").get<std::string>());
  Take(j, "cvm", card.cvm);
  Take(j, "pinBypass", card.pin_bypass);
  Take(j, "fallback", card.needs_fallback);
  Take(j, "notAccepted", card.not_accepted);
  Take(j, "mustSwipeOnTill", card.must_swipe_on_till);
  Take(j, "cashbackAllowed", card.cashback_allowed);
  Take(j, "availableSpend", card.available_spend);
  Take(j, "token", card.token);
  Take(j, "dccCurrency", card.dcc_currency);
  Take(j, "dccCurrencyName", card.dcc_currency_name);
  Take(j, "dccRate", card.dcc_rate);
  Take(j, "dccExponent", card.dcc_exponent);
  Take(j, "dccForeignAmount", card.dcc_foreign_amount);
  Take(j, "dccOfferText", card.dcc_offer_text);
  Take(j, "dccOfferRepeat", card.dcc_offer_repeat);
  if (card.dcc_offer_repeat < 1 || card.dcc_offer_repeat > 100'000)
    Bad(path, "card \"" + card.name + "\" needs dccOfferRepeat from 1 to 100000");
  Take(j, "fuel", card.fuel);
  Take(j, "bunker", card.bunker);
  Take(j, "allowedProducts", card.allowed_products);
  Take(j, "balance", card.balance);
  Take(j, "bunkerBalance", card.bunker_balance);
  Take(j, "readerStates", card.reader_states);
  if (j.contains("entryPrompts")) {
    auto v = j.at("entryPrompts").get<std::vector<int32_t>>();
    for (size_t i = 0; i < v.size() && i < card.entry_prompts.size(); ++i)
      card.entry_prompts[i] = v[i];
  }
  if (j.contains("fuelPrompts")) {
    for (auto& [index, value] : j.at("fuelPrompts").items()) {
      const int i = std::stoi(index);
      if (i < 0 || i >= static_cast<int>(card.fuel_prompts.size()))
        Bad(path, "fuel prompt index " + index + " is out of range");
      card.fuel_prompts[i] = value.get<int32_t>();
    }
  }
  return card;
}

void Parse(const std::string& path, const json& j, SimConfig& c) {
  if (!j.is_object()) Bad(path, "the file must hold one JSON object");
  const auto folder = std::filesystem::path(path).parent_path();
  std::string store = "qlsim-server.sqlite";
  Take(j, "store", store);
  c.store_path = std::filesystem::path(store).is_absolute() ? store : (folder / store).string();
  if (j.contains("terminal")) {
    const auto& t = j.at("terminal");
    Take(t, "terminalId", c.terminal_id);
    Take(t, "merchantNo", c.merchant_no);
    Take(t, "referralPhone", c.referral_phone);
    Take(t, "contactless", c.contactless);
    Take(t, "currencyText", c.currency_text);
  }
  if (j.contains("login")) {
    const auto& l = j.at("login");
    if (l.contains("merchantId")) c.merchant_id = l.at("merchantId").get<std::string>();
    if (l.contains("clientId")) c.client_id = l.at("clientId").get<std::string>();
    if (l.contains("password")) c.password = l.at("password").get<std::string>();
  }
  Take(j, "online", c.online);
  Take(j, "terminalReadsCard", c.terminal_reads_card);
  Take(j, "terminalSettles", c.terminal_settles);
  Take(j, "delayMs", c.delay_ms);
  if (c.delay_ms < 0) Bad(path, "delayMs must not be negative");
  Take(j, "magicAmounts", c.magic_amounts);
  Take(j, "readerStates", c.reader_states);
  if (j.contains("cards")) {
    for (const auto& card : j.at("cards")) {
      SimCard parsed = ParseCard(path, card, c);
      auto same = std::find_if(c.cards.begin(), c.cards.end(),
                               [&](const SimCard& k) { return k.name == parsed.name; });
      if (same != c.cards.end())
        *same = parsed;
      else
        c.cards.push_back(parsed);
    }
  }
  Take(j, "card", c.card);
  if (!c.FindCard(c.card)) Bad(path, "unknown card \"" + c.card + "\"");
  if (j.contains("faults")) {
    for (const auto& f : j.at("faults")) {
      SimFault fault;
      Take(f, "operation", fault.operation);
      const auto& ops = FaultOperations();
      if (std::find(ops.begin(), ops.end(), fault.operation) == ops.end())
        Bad(path, "unknown fault operation \"" + fault.operation + "\"");
      Take(f, "call", fault.call);
      Take(f, "count", fault.count);
      Take(f, "result", fault.result);
      Take(f, "errorCode", fault.error_code);
      Take(f, "errorText", fault.error_text);
      Take(f, "raise", fault.raise);
      Take(f, "lostReply", fault.lost_reply);
      if (fault.lost_reply && fault.operation != "Processor.Process" &&
          fault.operation != "Processor.AnswerPinBypass" && fault.operation != "Confirm.Confirm")
        Bad(path,
            "lostReply applies to Processor.Process, Processor.AnswerPinBypass and "
            "Confirm.Confirm, not \"" +
                fault.operation + "\"");
      if (fault.call < 1 || fault.count < 0)
        Bad(path, "fault \"" + fault.operation + "\" needs call >= 1 and count >= 0");
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
  } catch (const json::exception& e) {
    Bad(path, std::string("has a value of the wrong type (") + e.what() + ")");
  } catch (const std::invalid_argument&) {
    Bad(path, "has a fuel prompt index that is not a number");
  }
  return config;
}

}  // namespace ccaddin::sim
