#include "qlclient/sim/simulator.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>

#include "platform/env.h"
#include "platform/trap.h"
#include "qlclient/sim/sim_config.h"
#include "qlclient/sim/sim_store.h"

namespace ccaddin::sim {
namespace {

// Library error codes the simulator reports of its own accord (faults may use any).
constexpr int32_t kNotConnected = 30001;
constexpr int32_t kNotLoggedIn = 10101;
constexpr int32_t kBadRequest = 10120;
constexpr int32_t kInvalidCard = 10300;
constexpr int32_t kBadTrack = 10301;
constexpr int32_t kCardNotAccepted = 10302;
constexpr int32_t kNoPinBypass = 10400;
constexpr int32_t kUnknownReference = 10500;
constexpr int32_t kAlreadySettled = 10501;
constexpr int32_t kProductNotAllowed = 10600;
constexpr int32_t kServerError = 10100;
constexpr int32_t kReportFile = 10700;

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
  int32_t start_amount = 0, start_cashback = 0, start_gratuity = 0, start_type = 0;
  std::optional<SimCard> card;  // read by the last enquiry; full number in memory only
  std::string card_pan;
  std::string card_expiry;
  int32_t entry_code = 4;
  bool pin_bypass_pending = false;
  bool pin_bypass_answered = false;
  bool reenquiry_asked = false;
  std::string status = "WELCOME";
};

struct State {
  std::map<std::string, std::unique_ptr<Terminal>> terminals;
  Terminal* current = nullptr;
};

State& Sim() {
  static State* state = new State();  // process lifetime; never destroyed mid-call
  return *state;
}

// Waits the configured per-request delay, letting the till's loop run, so demos show
// the terminal's texts changing.
void Show(Terminal& t, const std::string& text) {
  t.status = text;
  if (!t.config || t.config->delay_ms <= 0) return;
  int32_t left = t.config->delay_ms;
  while (left > 0) {
    const int32_t slice = std::min<int32_t>(left, 50);
    CurrentEnv()->Sleep(slice);
    CurrentEnv()->DoEvents();
    left -= slice;
  }
}

// Applies an injected fault to the call being counted. True when it fired.
bool Fault(Terminal* t, const std::string& op, int32_t& result, int32_t* code, std::string& text) {
  if (!t || !t->config) return false;
  const int32_t n = ++t->calls[op];
  for (const auto& f : t->config->faults) {
    if (f.operation != op || n < f.call) continue;
    if (f.count != 0 && n >= f.call + f.count) continue;
    if (f.raise)
      throw Failure(f.error_text.empty() ? "Simulated library error in " + op : f.error_text);
    result = f.result;
    if (code) *code = f.error_code;
    text = f.error_text.empty() ? "SIMULATED FAULT IN " + op : f.error_text;
    return true;
  }
  return false;
}

// Request objects fail the same way when the session is not ready.
bool Ready(Terminal* t, QlRequestError& e, bool need_login = true) {
  if (!t || !t->connected) {
    e.lErrorCode = kNotConnected;
    e.strErrorText = "NOT CONNECTED TO THE PAYMENT SERVER";
    return false;
  }
  if (need_login && !t->logged_in) {
    e.lErrorCode = kNotLoggedIn;
    e.strErrorText = "NOT LOGGED IN";
    return false;
  }
  return true;
}

int32_t ToInt(const std::string& text) {
  if (text.empty()) return 0;
  size_t used = 0;
  long long v = 0;
  try {
    v = std::stoll(text, &used);
  } catch (...) {
    throw Failure("Amount is not a number: " + text);
  }
  if (used != text.size() || v < 0 || v > 2147483647LL)
    throw Failure("Amount is not a number: " + text);
  return static_cast<int32_t>(v);
}

const SimCard& PresentedCard(const Terminal& t) {
  if (!t.presented.empty()) {
    if (const SimCard* c = t.config->FindCard(t.presented)) return *c;
  }
  return *t.config->FindCard(t.config->card);
}

std::vector<int32_t> ReaderStates(const Terminal& t) {
  if (!t.reader_override.empty()) return t.reader_override;
  if (!t.config->reader_states.empty()) return t.config->reader_states;
  const SimCard& card = PresentedCard(t);
  if (!card.reader_states.empty()) return card.reader_states;
  return DefaultReaderStates(card);
}

std::string ReaderText(int32_t state) {
  switch (state) {
    case 0:
      return "READER UNAVAILABLE";
    case 1:
      return "INSERT CARD";
    case 2:
      return "CARD INSERTED";
    case 3:
      return "PLEASE WAIT";
    case 7:
      return "PROCESSING";
    case 8:
      return "REMOVE CARD";
    case 9:
    case 12:
      return "CARD SWIPED";
    case 10:
      return "SWIPE CARD ON TILL";
    case 11:
      return "CARD NOT ACCEPTED";
    case 13:
      return "CARD TAPPED";
    default:
      return "PLEASE WAIT";
  }
}

std::string CurrencyText(const Terminal& t, const std::string& code) {
  if (!t.config->currency_text.empty()) return t.config->currency_text;
  if (code == "826" || code == "GBP") return "\xA3";
  if (code == "978" || code == "EUR") return "\x80";
  if (code == "840" || code == "USD") return "$";
  return code;
}

std::string SchemeOf(const std::string& pan) {
  if (pan.empty()) return "UNKNOWN";
  if (pan[0] == '4') return "VISA";
  if (pan[0] == '5' || pan[0] == '2') return "MASTERCARD";
  if (pan.rfind("34", 0) == 0 || pan.rfind("37", 0) == 0) return "AMEX";
  if (pan.rfind("70", 0) == 0) return "FUELCARD";
  return "CARD";
}

// A card the till keyed or swiped that is not in the catalogue: an ordinary card of
// its scheme that the server authorises.
SimCard GenericCard(const std::string& pan, CardEntry entry) {
  SimCard c;
  c.name = "keyed card";
  c.pan = pan;
  c.scheme = SchemeOf(pan);
  c.entry = entry;
  c.cvm = entry == CardEntry::kKeyed ? 0 : 3;
  if (entry == CardEntry::kKeyed) c.entry_prompts = {1, 0, 0, 1, 2, 2, 0};
  return c;
}

std::string TwoDigits(int v) {
  char buf[8];
  std::snprintf(buf, sizeof buf, "%02d", v % 100);
  return buf;
}

Terminal* Current() {
  return Sim().current;
}

// Loads (or reloads, when the file changed) the configuration of `path`.
Terminal& TerminalFor(const std::string& path) {
  auto& slot = Sim().terminals[path];
  if (!slot) {
    slot = std::make_unique<Terminal>();
    slot->path = path;
  }
  Terminal& t = *slot;
  std::error_code ec;
  const auto time = std::filesystem::last_write_time(path, ec);
  const auto size = ec ? 0 : std::filesystem::file_size(path, ec);
  const bool changed = ec || !t.config || time != t.loaded_time || size != t.loaded_size;
  if (changed) {
    try {
      SimConfig loaded = LoadSimConfig(path);
      if (!t.store || t.store->path() != loaded.store_path) t.store.reset();
      t.config = std::move(loaded);
      t.load_error.clear();
      t.calls.clear();
      t.presented.clear();
      t.loaded_time = time;
      t.loaded_size = size;
    } catch (const std::exception& e) {
      t.config.reset();
      t.store.reset();
      t.load_error = e.what();
    }
  }
  return t;
}

// ---- objects ----

class SimParameters final : public QlParameters {
 public:
  void SetConfigFile(const std::string& folder, const std::string& name) override {
    if (folder.empty())
      path = name;
    else
      path = (std::filesystem::path(folder) / name).string();
  }
  std::string path;
};

class SimSession final : public QlSession {
 public:
  int32_t Connect(QlParameters& oParms, bool, int32_t) override {
    auto* parms = dynamic_cast<SimParameters*>(&oParms);
    if (!parms) {
      strErrorText = "PARAMETERS DO NOT BELONG TO THE SIMULATOR";
      return 1;
    }
    if (parms->path.empty()) {
      strErrorText = "NO CONFIGURATION FILE SET";
      return 1;
    }
    Terminal& t = TerminalFor(parms->path);
    terminal_ = &t;
    Sim().current = &t;
    if (!t.config) {
      strErrorText = t.load_error;
      return 1;
    }
    int32_t result = 0;
    std::string text;
    if (Fault(&t, "Session.Connect", result, nullptr, text)) {
      strErrorText = text;
      return result;
    }
    try {
      if (!t.store) t.store = std::make_unique<SimStore>(t.config->store_path);
    } catch (const std::exception& e) {
      strErrorText = e.what();
      return 1;
    }
    Show(t, "CONNECTING");
    t.connected = true;
    t.logged_in = false;
    t.online = t.config->online;
    if (!t.online) {
      Show(t, "OFFLINE");
      return 2;
    }
    try {
      t.store->UploadOffline();
    } catch (const std::exception& e) {
      strErrorText = e.what();
      return 1;
    }
    Show(t, "WELCOME");
    return 0;
  }
  int32_t Disconnect() override {
    if (terminal_) {
      terminal_->connected = false;
      terminal_->logged_in = false;
      terminal_->status = "CLOSED";
    }
    return 0;
  }
  std::string GetStatusText() override { return terminal_ ? terminal_->status : "NOT CONNECTED"; }

 private:
  Terminal* terminal_ = nullptr;
};

class SimLogin final : public QlLogin {
 public:
  int32_t Login(const std::string& merchant, const std::string& client, const std::string& password,
                int32_t) override {
    Terminal* t = Current();
    if (!t || !t->connected) {
      strErrorText = "NOT CONNECTED TO THE PAYMENT SERVER";
      return 0;
    }
    int32_t result = 0;
    std::string text;
    if (Fault(t, "Login.Login", result, nullptr, text)) {
      strErrorText = text;
      return result;
    }
    const SimConfig& c = *t->config;
    if (c.merchant_id && *c.merchant_id != merchant) return 2;
    if (c.client_id && *c.client_id != client) return 3;
    if (c.password && *c.password != password) return 4;
    t->logged_in = true;
    return 1;
  }
  int32_t Logout() override {
    Terminal* t = Current();
    int32_t result = 0;
    std::string text;
    if (Fault(t, "Login.Logout", result, nullptr, text)) {
      strErrorText = text;
      return result;
    }
    if (!t || !t->logged_in) {
      strErrorText = "NOT LOGGED IN";
      return 1;
    }
    t->logged_in = false;
    return 0;
  }
};

class SimCardReader final : public QlCardReader {
 public:
  int32_t Reset() override {
    if (Terminal* t = Current()) {
      t->reader_index = 0;
      t->status = "INSERT CARD";
    }
    return 0;
  }
};

class SimCardReaderStatus final : public QlCardReaderStatus {
 public:
  int32_t Poll() override {
    Terminal* t = Current();
    if (!t || !t->connected) return 1;
    int32_t result = 0;
    std::string text;
    if (Fault(t, "CardReaderStatus.Poll", result, nullptr, text)) {
      t->status = text;
      return result;
    }
    const auto states = ReaderStates(*t);
    lReaderState = states[std::min(t->reader_index, states.size() - 1)];
    ++t->reader_index;
    t->status = ReaderText(lReaderState);
    return 0;
  }
};

class SimCardEnquiry final : public QlCardEnquiry {
 public:
  int32_t Enquire(int32_t, const std::string& pan, const std::string& track, int32_t lDataEntry,
                  int32_t) override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return 1;
    int32_t result = 0;
    if (Fault(t, "CardEnquiry.Enquire", result, &lErrorCode, strErrorText)) return result;
    const SimConfig& c = *t->config;
    SimCard card;
    std::string card_pan, expiry;
    if (!pan.empty()) {
      if (!LuhnValid(pan)) return Fail(kInvalidCard, "INVALID CARD NUMBER");
      const SimCard* known = c.FindCardByPan(pan);
      card = known ? *known : GenericCard(pan, CardEntry::kKeyed);
      card.entry = CardEntry::kKeyed;
      card_pan = pan;
      expiry = card.expiry;
    } else if (!track.empty()) {
      // ";PAN=YYMM...?" as the till's stripe reader delivers it.
      const auto sep = track.find('=');
      const size_t begin = track[0] == ';' ? 1 : 0;
      if (sep == std::string::npos || sep <= begin || sep + 5 > track.size())
        return Fail(kBadTrack, "INVALID TRACK DATA");
      card_pan = track.substr(begin, sep - begin);
      if (!LuhnValid(card_pan)) return Fail(kBadTrack, "INVALID TRACK DATA");
      const SimCard* known = c.FindCardByPan(card_pan);
      card = known ? *known : GenericCard(card_pan, CardEntry::kSwipe);
      card.entry = CardEntry::kSwipe;
      card.needs_fallback = false;
      expiry = track.substr(sep + 1, 4);
    } else {
      card = PresentedCard(*t);
      card_pan = card.pan;
      expiry = card.expiry;
      Show(*t, "READING CARD");
      if (card.not_accepted) return Fail(kCardNotAccepted, "CARD NOT ACCEPTED");
      if ((card.needs_fallback || card.must_swipe_on_till) && lDataEntry != 1) {
        t->status = "SWIPE CARD";
        return 2;
      }
    }
    t->card = card;
    t->card_pan = card_pan;
    t->card_expiry = expiry;
    t->pin_bypass_pending = false;
    t->pin_bypass_answered = false;
    switch (card.entry) {
      case CardEntry::kChip:
        t->entry_code = 2;
        lCardDataType = 2;
        break;
      case CardEntry::kTap:
        t->entry_code = 3;
        lCardDataType = 3;
        break;
      case CardEntry::kSwipe:
        t->entry_code = 1;
        lCardDataType = 1;
        break;
      case CardEntry::kKeyed:
        t->entry_code = 0;
        lCardDataType = 0;
        break;
    }
    strPan = card.entry == CardEntry::kKeyed ? card_pan : "";
    strExpiryDate = card.entry == CardEntry::kKeyed ? expiry : "";
    strTrack =
        card.entry == CardEntry::kSwipe ? ";" + card_pan + "=" + expiry + "1011234567890?" : "";
    strSchemeName = card.scheme;
    lCardType = card.fuel ? 1 : 0;
    strAllowedProducts = card.allowed_products;
    bBunkerCard = card.bunker;
    Show(*t, "PLEASE WAIT");
    return 0;
  }
  bool IsCashbackAllowed(int32_t) override {
    Terminal* t = Current();
    return t && t->card && t->card->cashback_allowed && t->card->entry != CardEntry::kKeyed;
  }
  int32_t GetEntryPrompt(int32_t i) override {
    Terminal* t = Current();
    if (!t || !t->card || t->card->fuel || i < 0 || i >= 7) return 0;
    return t->card->entry_prompts[i];
  }
  int32_t GetFuelPrompt(int32_t i) override {
    Terminal* t = Current();
    if (!t || !t->card || !t->card->fuel || i < 0 || i >= 14) return 0;
    return t->card->fuel_prompts[i];
  }
  int32_t GetFuelPromptType(int32_t i) override { return GetFuelPrompt(i) != 0 ? 4 : 0; }
  int32_t GetCv2Length() override {
    Terminal* t = Current();
    return t && t->card ? t->card->cv2_length : 3;
  }

 private:
  int32_t Fail(int32_t code, const std::string& text) {
    lErrorCode = code;
    strErrorText = text;
    if (Terminal* t = Current()) t->status = text;
    return 1;
  }
};

class SimTransactionStart final : public QlTransactionStart {
 public:
  int32_t Start(const std::string&, int32_t amount, int32_t cashback, int32_t gratuity,
                int32_t type, const std::string&, const std::string&, const std::string&, bool,
                bool swipe, bool, bool tap) override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return 1;
    int32_t result = 0;
    if (Fault(t, "TransactionStart.Start", result, &lErrorCode, strErrorText)) return result;
    if (amount < 0 || cashback < 0 || gratuity < 0 || type < 1 || type > 9) {
      lErrorCode = kBadRequest;
      strErrorText = "INVALID TRANSACTION DATA";
      return 1;
    }
    t->started = true;
    t->start_amount = amount;
    t->start_cashback = cashback;
    t->start_gratuity = gratuity;
    t->start_type = type;
    t->card.reset();
    t->card_pan.clear();
    // reenquiry_asked survives a new start: a till that answers "card enquiry needed" by
    // starting again on the device must then be authorised, not asked once more.
    t->reader_index = 0;
    bContactlessCapable = t->config->contactless;
    const bool contactless = bContactlessCapable && tap;
    t->status = contactless ? (swipe ? "INSERT, TAP OR SWIPE" : "INSERT OR TAP CARD")
                            : (swipe ? "INSERT OR SWIPE CARD" : "INSERT CARD");
    return 0;
  }
};

int32_t TotalOf(const Terminal& t) {
  return t.start_amount + t.start_cashback + t.start_gratuity;
}

std::string ForeignAmount(int32_t amount, const std::string& rate) {
  const double r = std::strtod(rate.c_str(), nullptr);
  return std::to_string(static_cast<int64_t>(std::llround(amount * r)));
}

class SimDccEnquiry final : public QlDccEnquiry {
 public:
  int32_t Enquire() override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return 1;
    int32_t result = 0;
    if (Fault(t, "DccEnquiry.Enquire", result, &lErrorCode, strErrorText)) return result;
    if (!t->card) {
      lErrorCode = kBadRequest;
      strErrorText = "NO CARD - CARD ENQUIRY REQUIRED";
      return 1;
    }
    const SimCard& card = *t->card;
    bOfferAvailable = !card.dcc_currency.empty();
    if (!bOfferAvailable) return 0;
    strExchangeRate = card.dcc_rate;
    strForeignCurrencyCode = card.dcc_currency;
    strForeignCurrencyName = card.dcc_currency_name;
    lForeignCurrencyExponent = card.dcc_exponent;
    strForeignAmount = ForeignAmount(TotalOf(*t), card.dcc_rate);
    strOfferText = "<html><body><p>Your card is issued in " + card.dcc_currency_name +
                   ". You may pay in " + card.dcc_currency + " at a rate of " + card.dcc_rate +
                   ", which includes a 3.5% margin on the wholesale rate. Make sure you understand"
                   " the costs of currency conversion; they may differ if you pay in the till's"
                   " currency.</p></body></html>";
    return 0;
  }
};

struct Magic {
  std::optional<CardOutcome> outcome;
  int32_t process_result = 0;  // non-zero: the library answer to give instead
  int32_t error_code = 0;
  bool pin_bypass = false;
  bool offline = false;
  bool reenquiry = false;
};

// Amounts that force an outcome whatever the card (listed in the README).
Magic MagicFor(int32_t amount) {
  Magic m;
  switch (amount) {
    case 10002:
      m.outcome = CardOutcome::kReferred;
      break;
    case 10003:
      m.pin_bypass = true;
      break;
    case 10004:
      m.process_result = 2;
      break;
    case 10005:
      m.outcome = CardOutcome::kDeclined;
      break;
    case 10006:
      m.process_result = 4;
      break;
    case 10009:
      m.reenquiry = true;
      break;
    case 10010:
      m.offline = true;
      break;
    case 10051:
      m.process_result = 1;
      m.error_code = kServerError;
      break;
    case 10200:
    case 30001:
    case 30003:
    case 30006:
    case 30056:
      m.process_result = 1;
      m.error_code = amount;
      break;
    default:
      break;
  }
  return m;
}

std::string ErrorTextFor(int32_t code) {
  switch (code) {
    case 10100:
      return "SERVER ERROR - TRANSACTION NOT PROCESSED";
    case 10200:
      return "NO RESPONSE FROM AUTHORISATION HOST";
    case 30001:
      return "CONNECTION TO SERVER LOST";
    case 30003:
      return "SERVER CLOSED THE CONNECTION";
    case 30006:
      return "TIMEOUT WAITING FOR SERVER";
    case 30056:
      return "CONNECTION RESET BY SERVER";
    default:
      return "ERROR " + std::to_string(code);
  }
}

std::string Hex(uint64_t v, int digits) {
  static const char* d = "0123456789ABCDEF";
  std::string s(digits, '0');
  for (int i = digits - 1; i >= 0; --i, v >>= 4) s[i] = d[v & 15];
  return s;
}

// Fills the server's answer into `trans` and stores it.
void Authorise(Terminal& t, QlTransaction& trans, CardOutcome outcome, int32_t cvm,
               bool offline_by_device) {
  const SimConfig& c = *t.config;
  const SimCard& card = *t.card;
  const DateTime now = CurrentEnv()->Now();
  trans.lEntryMethodCode = t.entry_code;
  trans.strPan = MaskPan(t.card_pan);
  trans.strTrack.clear();
  trans.strExpiryDate = t.card_expiry;
  trans.strStartDate = card.start_date;
  trans.strIssueNumber = card.issue_number;
  trans.strSchemeName = card.scheme;
  trans.strTerminalId = c.terminal_id;
  trans.strMerchantNo = c.merchant_no;
  trans.lCardType = card.fuel ? 1 : 0;
  trans.lCvmCode = cvm;
  trans.strToken = card.token;
  trans.strTransDate = TwoDigits(now.year) + TwoDigits(now.month) + TwoDigits(now.day);
  trans.strTransTime = now.Hhmmss();
  trans.strCurrencyText = CurrencyText(t, trans.strCurrencyCode);
  const bool chip = t.entry_code == 2 || t.entry_code == 3;
  trans.strAid = chip ? card.aid : "";
  trans.strAppLabel = chip ? card.app_label : "";
  trans.strAppPreferredName = chip ? card.app_label : "";
  trans.strPanSeqNo = chip ? "01" : "";
  trans.bMerchPrintExpiry = !chip;
  trans.bMerchPrintStartDate = !chip && !card.start_date.empty();
  trans.bMerchPrintIssueNo = !chip && !card.issue_number.empty();
  trans.bMerchPrintAuthSource = true;
  trans.bMerchPrintCvm = true;
  trans.bCustPrintCvm = true;
  trans.strAvailableSpend = t.entry_code == 3 ? card.available_spend : "";
  if (t.entry_code == 0)
    trans.strCv2AvsResult =
        trans.strCv2.empty() ? "CV2 NOT CHECKED" : "CV2 MATCHED ADDRESS MATCHED";
  trans.strCv2.clear();
  trans.lCv2Present = 0;
  const bool offline = offline_by_device || !t.online;
  trans.lProcessingState = offline ? 2 : 1;
  trans.lAuthSource = offline ? 1 : 2;
  trans.lStatus = outcome == CardOutcome::kAuthorised ? 1
                  : outcome == CardOutcome::kReferred ? 2
                                                      : 3;
  trans.bCancelled = false;
  trans.strResponseText = trans.lStatus == 1   ? "AUTHORISED"
                          : trans.lStatus == 2 ? "REFERRAL - CALL AUTH CENTRE"
                                               : "DECLINED";
  if (trans.lStatus == 2) {
    trans.strReferralPhoneNo = c.referral_phone;
    trans.strReferralMerchantId = c.merchant_no;
    trans.strReferralPan = MaskPan(t.card_pan);
    trans.strReferralExpiryDate = t.card_expiry;
    trans.strReferralStartDate = card.start_date;
    trans.strReferralIssueNo = card.issue_number;
  }
  const int32_t ref = t.store->Add(trans, offline);
  if (trans.lStatus == 1) {
    char code[8];
    std::snprintf(code, sizeof code, "%06d",
                  static_cast<int>((static_cast<int64_t>(ref) * 7919 + 104729) % 1000000));
    trans.strAuthCode = code;
  } else {
    trans.strAuthCode.clear();
  }
  if (chip) {
    const uint64_t seed = static_cast<uint64_t>(ref) * 0x9E3779B97F4A7C15ULL;
    trans.strCryptogram = Hex(seed, 16);
    auto& e = trans.strEmvValues;
    e[QL_EMV_APPLABEL] = card.app_label;
    e[QL_EMV_PREFAPPLABEL] = card.app_label;
    e[QL_EMV_TRANSCRYPTOGRAM] = trans.strCryptogram;
    e[QL_EMV_TVR] = trans.lStatus == 3 ? "0000048000" : "0000008000";
    e[QL_EMV_RESPONSECODE] = trans.lStatus == 1 ? "00" : trans.lStatus == 2 ? "01" : "05";
    e[QL_EMV_CRYPTOAMT] = trans.strAmount;
    e[QL_EMV_CRYPTOTYPE] = trans.lStatus == 3 ? "AAC" : "TC";
    e[QL_EMV_TERMTRANSDATE] = trans.strTransDate;
    e[QL_EMV_UNPREDICTABLENO] = Hex(seed >> 32, 8);
    e[QL_EMV_IAD] = "06010A03A0B800";
    e[QL_EMV_AUC] = "FF00";
    e[QL_EMV_CID] = trans.lStatus == 3 ? "00" : "40";
    e[QL_EMV_CVNR] = cvm == 1 || cvm == 2 ? "420300" : cvm == 0 ? "1F0302" : "5E0300";
    e[QL_EMV_APPVERSION] = "0096";
    e[QL_EMV_TSI] = "E800";
    e[QL_EMV_TERMTYPE] = "22";
    e[QL_EMV_TERMCAPS] = "E0B8C8";
    e[QL_EMV_IACDENIAL] = "0010000000";
    e[QL_EMV_IACONLINE] = "DC4004F800";
    e[QL_EMV_IACDEFAULT] = "DC4000A800";
    e[QL_EMV_DFNAME] = card.aid;
    e[QL_EMV_PANSEQNO] = "01";
    e[QL_EMV_APPID] = card.aid;
  }
  t.store->Update(ref, StoreState::kPending, trans);
}

class SimTransactionProcessor final : public QlTransactionProcessor {
 public:
  int32_t Process(QlTransaction& oTrans) override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return 1;
    int32_t result = 0;
    if (Fault(t, "Processor.Process", result, &lErrorCode, strErrorText)) return result;
    if (!t->card && !TakeTillCard(*t, oTrans)) {
      // The terminal has no card for this transaction: the till must enquire first.
      return 5;
    }
    const int32_t amount = ToInt(oTrans.strAmount);
    (void)ToInt(oTrans.strCashbackAmount);  // a malformed cashback fails like a malformed amount
    if (oTrans.lTransactionTypeCode < 1 || oTrans.lTransactionTypeCode > 9) {
      lErrorCode = kBadRequest;
      strErrorText = "INVALID TRANSACTION TYPE";
      return 1;
    }
    const Magic m = t->config->magic_amounts ? MagicFor(amount) : Magic{};
    if (m.process_result != 0) {
      if (m.process_result == 1) {
        lErrorCode = m.error_code;
        strErrorText = ErrorTextFor(m.error_code);
        t->status = "COMMUNICATIONS ERROR";
      }
      return m.process_result;
    }
    if (m.reenquiry && !t->reenquiry_asked) {
      t->reenquiry_asked = true;
      t->card.reset();
      return 5;
    }
    t->reenquiry_asked = false;
    const SimCard& card = *t->card;
    if ((card.pin_bypass || m.pin_bypass) && !t->pin_bypass_answered &&
        (card.cvm == 1 || card.cvm == 2)) {
      t->pin_bypass_pending = true;
      Show(*t, "PIN BYPASS?");
      return 3;
    }
    if (card.cvm == 1 || card.cvm == 2) Show(*t, "ENTER PIN");
    Show(*t, "PROCESSING");
    if (oTrans.lConversionState == 2 && !card.dcc_currency.empty()) Convert(*t, oTrans);
    const CardOutcome outcome = m.outcome ? *m.outcome : card.outcome;
    Authorise(*t, oTrans, outcome, card.cvm, m.offline);
    Finish(*t, oTrans);
    return 0;
  }

  int32_t AnswerPinBypass(int32_t lAnswer, QlTransaction& oTrans) override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return 1;
    int32_t result = 0;
    if (Fault(t, "Processor.AnswerPinBypass", result, &lErrorCode, strErrorText)) return result;
    if (!t->pin_bypass_pending || !t->card) {
      lErrorCode = kNoPinBypass;
      strErrorText = "NO PIN BYPASS REQUEST PENDING";
      return 1;
    }
    t->pin_bypass_pending = false;
    t->pin_bypass_answered = true;
    Show(*t, "PROCESSING");
    // A bypassed PIN falls back to a signature; a refused bypass ends the card's go.
    if (lAnswer == 0) {
      Authorise(*t, oTrans, t->card->outcome, 3, false);
    } else {
      Authorise(*t, oTrans, CardOutcome::kDeclined, 0, false);
      oTrans.strResponseText = "PIN REQUIRED - DECLINED";
      t->store->Update(oTrans.lTransRefNo, StoreState::kPending, oTrans);
    }
    Finish(*t, oTrans);
    return 0;
  }

 private:
  // A card the till read itself and put on the transaction (programmatic swipe or key).
  static bool TakeTillCard(Terminal& t, const QlTransaction& trans) {
    std::string pan = trans.strPan;
    std::string expiry = trans.strExpiryDate;
    CardEntry entry = CardEntry::kKeyed;
    if (pan.empty() && !trans.strTrack.empty()) {
      const auto sep = trans.strTrack.find('=');
      const size_t begin = trans.strTrack[0] == ';' ? 1 : 0;
      if (sep == std::string::npos || sep <= begin) return false;
      pan = trans.strTrack.substr(begin, sep - begin);
      expiry = trans.strTrack.substr(sep + 1, 4);
      entry = CardEntry::kSwipe;
    }
    if (!pan.empty()) {
      if (!LuhnValid(pan)) return false;
      const SimCard* known = t.config->FindCardByPan(pan);
      t.card = known ? *known : GenericCard(pan, entry);
      t.card->entry = entry;
      t.card_pan = pan;
      t.card_expiry = expiry;
      t.entry_code = entry == CardEntry::kSwipe ? 1 : 0;
      return true;
    }
    if (t.started && t.config->terminal_reads_card) {
      t.card = PresentedCard(t);
      t.card_pan = t.card->pan;
      t.card_expiry = t.card->expiry;
      t.entry_code = t.card->entry == CardEntry::kTap     ? 3
                     : t.card->entry == CardEntry::kSwipe ? 1
                     : t.card->entry == CardEntry::kKeyed ? 0
                                                          : 2;
      return true;
    }
    return false;
  }

  static void Convert(Terminal& t, QlTransaction& trans) {
    const SimCard& card = *t.card;
    trans.strBaseAmount = trans.strAmount;
    trans.strBaseCurrencyText = CurrencyText(t, trans.strCurrencyCode);
    trans.strAmount = ForeignAmount(ToInt(trans.strAmount), card.dcc_rate);
    trans.strCashbackAmount = trans.strCashbackAmount.empty()
                                  ? ""
                                  : ForeignAmount(ToInt(trans.strCashbackAmount), card.dcc_rate);
    trans.strExchangeRate = card.dcc_rate;
    trans.lTransCurrencyExponent = card.dcc_exponent;
    trans.strConversionStatement =
        "I have been offered a choice of currencies and have chosen to pay in " +
        card.dcc_currency + ". Exchange rate " + card.dcc_rate +
        " includes a 3.5% margin. This currency conversion service is"
        " provided by the merchant.";
    trans.strCurrencyCode = card.dcc_currency;
    trans.strCurrencyText = card.dcc_currency;
  }

  static void Finish(Terminal& t, QlTransaction& trans) {
    Show(t, trans.lStatus == 1 ? "APPROVED" : trans.lStatus == 2 ? "REFERRAL" : "DECLINED");
    if (t.entry_code == 2) Show(t, "REMOVE CARD");
    t.card.reset();
    t.card_pan.clear();
    t.pin_bypass_answered = false;
    t.status = "WELCOME";
  }
};

class SimConfirm final : public QlConfirm {
 public:
  int32_t Confirm(const std::string&, int32_t ref, int32_t code, const std::string& auth_code, bool,
                  QlTransaction& oResult, int32_t) override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return 1;
    int32_t result = 0;
    if (Fault(t, "Confirm.Confirm", result, &lErrorCode, strErrorText)) return result;
    if (code < 0 || code > 2) return Fail(kBadRequest, "INVALID CONFIRMATION CODE");
    auto stored = t->store->Find(ref);
    if (!stored || ref <= 0)
      return Fail(kUnknownReference, "TRANSACTION " + std::to_string(ref) + " NOT FOUND");
    QlTransaction& trans = stored->trans;
    StoreState state = stored->state;
    if (state == StoreState::kCancelled)
      return Fail(kAlreadySettled, "TRANSACTION ALREADY CANCELLED");
    if (code == 2) {
      // Cancelling works on a pending or a confirmed transaction (a void).
      trans.bCancelled = true;
      state = StoreState::kCancelled;
    } else if (state != StoreState::kPending) {
      return Fail(kAlreadySettled, "TRANSACTION ALREADY CONFIRMED");
    } else if (code == 1) {
      state = StoreState::kDeclined;
    } else {
      if (trans.lStatus == 2) {
        if (auth_code.empty()) return Fail(kBadRequest, "AUTH CODE REQUIRED FOR A REFERRAL");
        trans.lStatus = 1;
        trans.strAuthCode = auth_code;
        trans.lAuthSource = 3;
        trans.strResponseText = "AUTH CODE: " + auth_code;
      } else if (trans.lStatus == 3) {
        return Fail(kAlreadySettled, "A DECLINED TRANSACTION CANNOT BE CONFIRMED");
      }
      state = StoreState::kConfirmed;
    }
    t->store->Update(stored->ref, state, trans);
    oResult = trans;
    return 0;
  }

 private:
  int32_t Fail(int32_t code, const std::string& text) {
    lErrorCode = code;
    strErrorText = text;
    return 1;
  }
};

class SimFuelBalance final : public QlFuelBalance {
 public:
  int32_t Enquire(const std::string& details, const std::string&) override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return 1;
    int32_t result = 0;
    if (Fault(t, "FuelBalance.Enquire", result, &lErrorCode, strErrorText)) return result;
    Show(*t, "READING CARD");
    const SimCard* card = nullptr;
    if (!details.empty() && LuhnValid(details)) card = t->config->FindCardByPan(details);
    if (!card) card = &PresentedCard(*t);
    strPan = MaskPan(card->pan);
    strSchemeName = card->scheme;
    if (!card->fuel) {
      lResponseCode = 1;
      lBalance = 0;
      lBunkerBalance = 0;
    } else {
      lResponseCode = 0;
      lBalance = card->balance;
      lBunkerBalance = card->bunker ? card->bunker_balance : 0;
    }
    t->status = "WELCOME";
    return 0;
  }
};

class SimReceiptInfo final : public QlReceiptInfo {
 public:
  int32_t Request(const std::string&, int32_t ref, QlTransaction& oTrans) override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return 1;
    int32_t result = 0;
    if (Fault(t, "ReceiptInfo.Request", result, &lErrorCode, strErrorText)) return result;
    auto stored = t->store->Find(ref);
    if (!stored || ref == 0 || ref < -1) {
      lErrorCode = kUnknownReference;
      strErrorText = ref == -1 ? "NO TRANSACTIONS ON FILE"
                               : "TRANSACTION " + std::to_string(ref) + " NOT FOUND";
      return 1;
    }
    oTrans = stored->trans;
    return 0;
  }
};

class SimCloseBatch final : public QlCloseBatch {
 public:
  int32_t Request() override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return 1;
    int32_t result = 0;
    if (Fault(t, "CloseBatch.Request", result, &lErrorCode, strErrorText)) return result;
    if (lRequestType != 2) {
      lErrorCode = kBadRequest;
      strErrorText = "INVALID BATCH REQUEST TYPE";
      return 1;
    }
    lBatchNo = t->store->CloseBatch();
    return 0;
  }
};

class SimReport final : public QlReport {
 public:
  int32_t Request(bool, const std::string& location, const std::string& option) override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return 1;
    int32_t result = 0;
    if (Fault(t, "Report.Request", result, &lErrorCode, strErrorText)) return result;
    // The till names the data file in the option (a name in the folder, or a full
    // path); a location that is itself a ".txt" file is taken as the file; otherwise
    // the file gets a TMP_ name of the current date and time.
    std::filesystem::path file;
    const auto is_file_name = [](const std::string& text) {
      return std::filesystem::path(text).extension() == ".txt";
    };
    if (is_file_name(option)) {
      file = std::filesystem::path(option).is_absolute() ? std::filesystem::path(option)
                                                         : std::filesystem::path(location) / option;
    } else if (is_file_name(location)) {
      file = location;
    } else {
      const DateTime now = CurrentEnv()->Now();
      file =
          std::filesystem::path(location) / ("TMP_" + now.Yyyymmdd() + "_" + now.Hhmmss() + ".txt");
    }
    const bool fuel_only = file.filename().string().rfind("TMP_FUEL_", 0) == 0;
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    if (!out) {
      lErrorCode = kReportFile;
      strErrorText = "CANNOT WRITE REPORT FILE " + file.string();
      return 1;
    }
    lCount = lSaleTotal = lCashbackTotal = lRefundTotal = 0;
    out << "REFERENCE,DATE,KIND,AMOUNT,CASHBACK,CARD GROUP\r\n";
    const int32_t batch = t->store->OpenBatch();
    for (const auto& row : t->store->List(batch)) {
      const QlTransaction& x = row.trans;
      if (x.lStatus != 1 || row.state == StoreState::kCancelled ||
          row.state == StoreState::kDeclined)
        continue;
      if (fuel_only && x.lCardType != 1) continue;
      const int32_t type = x.lTransactionTypeCode;
      const bool refund = type == 6 || type == 8 || type == 9;
      const bool cashback = type == 2;
      const std::string amount = x.strBaseAmount.empty() ? x.strAmount : x.strBaseAmount;
      const int32_t a = ToInt(amount);
      const int32_t cb = cashback ? ToInt(x.strCashbackAmount) : 0;
      out << row.ref << "," << row.created.substr(0, 8) << ","
          << (refund     ? "F"
              : cashback ? "B"
                         : "A")
          << "," << a << "," << cb << "," << x.strSchemeName << "\r\n";
      ++lCount;
      if (refund)
        lRefundTotal += a;
      else
        lSaleTotal += a;
      lCashbackTotal += cb;
    }
    out.close();
    if (!out) {
      lErrorCode = kReportFile;
      strErrorText = "CANNOT WRITE REPORT FILE " + file.string();
      return 1;
    }
    strDataFile = file.string();
    return 0;
  }
};

class SimFuelProductEnquiry final : public QlFuelProductEnquiry {
 public:
  int32_t Request() override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return 1;
    int32_t result = 0;
    if (Fault(t, "FuelProductEnquiry.Request", result, &lErrorCode, strErrorText)) return result;
    if (lEnquiryMode < 0 || lEnquiryMode > 2) {
      lErrorCode = kBadRequest;
      strErrorText = "INVALID ENQUIRY MODE";
      return 1;
    }
    const SimCard* card = t->card ? &*t->card : nullptr;
    if (!card || !card->fuel) {
      lErrorCode = kProductNotAllowed;
      strErrorText = "NOT A FUEL CARD";
      return 1;
    }
    if (lEnquiryMode == 1) return 0;
    // Product records: code FS amount FS quantity FS flag RS.
    std::vector<std::string> allowed;
    {
      std::string field;
      int index = 0;
      for (char ch : card->allowed_products + ",") {
        if (ch != ',') {
          field += ch;
          continue;
        }
        if (index++ % 2 == 0) allowed.push_back(field);
        field.clear();
      }
    }
    size_t pos = 0;
    const std::string& info = strProductInfo;
    while (pos < info.size()) {
      const size_t end = info.find('\x1E', pos);
      const std::string record =
          info.substr(pos, end == std::string::npos ? std::string::npos : end - pos);
      const std::string code = record.substr(0, record.find('\x1C'));
      if (!code.empty() && std::find(allowed.begin(), allowed.end(), code) == allowed.end()) {
        lErrorCode = kProductNotAllowed;
        strErrorText = "PRODUCT " + code + " NOT ALLOWED FOR THIS CARD";
        return 1;
      }
      if (end == std::string::npos) break;
      pos = end + 1;
    }
    return 0;
  }
};

class SimFactory final : public QlFactory {
 public:
  std::unique_ptr<QlSession> CreateSession() override { return std::make_unique<SimSession>(); }
  std::unique_ptr<QlParameters> CreateParameters() override {
    return std::make_unique<SimParameters>();
  }
  std::unique_ptr<QlLogin> CreateLogin() override { return std::make_unique<SimLogin>(); }
  std::unique_ptr<QlCardReader> CreateCardReader() override {
    return std::make_unique<SimCardReader>();
  }
  std::unique_ptr<QlCardReaderStatus> CreateCardReaderStatus() override {
    return std::make_unique<SimCardReaderStatus>();
  }
  std::unique_ptr<QlCardEnquiry> CreateCardEnquiry() override {
    return std::make_unique<SimCardEnquiry>();
  }
  std::unique_ptr<QlTransactionStart> CreateTransactionStart() override {
    return std::make_unique<SimTransactionStart>();
  }
  std::unique_ptr<QlDccEnquiry> CreateDccEnquiry() override {
    return std::make_unique<SimDccEnquiry>();
  }
  std::unique_ptr<QlTransactionProcessor> CreateTransactionProcessor() override {
    return std::make_unique<SimTransactionProcessor>();
  }
  std::unique_ptr<QlConfirm> CreateConfirm() override { return std::make_unique<SimConfirm>(); }
  std::unique_ptr<QlFuelBalance> CreateFuelBalance() override {
    return std::make_unique<SimFuelBalance>();
  }
  std::unique_ptr<QlReceiptInfo> CreateReceiptInfo() override {
    return std::make_unique<SimReceiptInfo>();
  }
  std::unique_ptr<QlCloseBatch> CreateCloseBatch() override {
    return std::make_unique<SimCloseBatch>();
  }
  std::unique_ptr<QlReport> CreateReport() override { return std::make_unique<SimReport>(); }
  std::unique_ptr<QlFuelProductEnquiry> CreateFuelProductEnquiry() override {
    return std::make_unique<SimFuelProductEnquiry>();
  }
};

}  // namespace

QlFactory& SimulatorFactory() {
  static SimFactory* factory = new SimFactory();
  return *factory;
}

bool PresentCard(const std::string& name, std::string* error) {
  Terminal* t = Current();
  if (!t || !t->config) {
    if (error) *error = "No payment client session has connected yet";
    return false;
  }
  if (!t->config->FindCard(name)) {
    if (error) *error = "Unknown test card \"" + name + "\"";
    return false;
  }
  t->presented = name;
  t->reader_index = 0;
  return true;
}

void SetReaderStates(const std::vector<int32_t>& states) {
  if (Terminal* t = Current()) {
    t->reader_override = states;
    t->reader_index = 0;
  }
}

void ResetSimulator() {
  Sim().current = nullptr;
  Sim().terminals.clear();
}

std::string CurrentTerminalStatus() {
  Terminal* t = Current();
  return t ? t->status : "";
}

}  // namespace ccaddin::sim
