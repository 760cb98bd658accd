// The card on the terminal: the enquiry that reads it, the start of a transaction, the
// currency conversion offer, and the fuel card's balance and product checks.
#include <algorithm>

#include "qlclient/sim/sim_objects.h"
#include "qlclient/sim/sim_terminal.h"

namespace ccaddin::sim {
namespace {

class SimCardEnquiry final : public QlCardEnquiry {
 public:
  int32_t Enquire(int32_t, const std::string& pan, const std::string& track, int32_t lDataEntry,
                  int32_t) override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return QL_ANSWER_FAILED;
    int32_t result = 0;
    if (Fault(t, "CardEnquiry.Enquire", result, &lErrorCode, strErrorText)) return result;
    const SimConfig& c = *t->config;
    SimCard card;
    std::string card_pan, expiry;
    const SimCard* stored = c.FindStoredCard(pan);
    if (stored != nullptr) {
      card = *stored;
      card.entry = CardEntry::kKeyed;
      card_pan = stored->pan;
      expiry = card.expiry;
    } else if (pan.starts_with("TOK:")) {
      return Fail(kInvalidCard, "UNKNOWN TOKEN");
    } else if (!pan.empty()) {
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
      if ((card.needs_fallback || card.must_swipe_on_till) && lDataEntry != QL_ENTRY_SWIPED) {
        t->status = "SWIPE CARD";
        return QL_ANSWER_FALLBACK;
      }
      // A card read from its stripe is a swiped card, whatever its chip could have done.
      if (lDataEntry == QL_ENTRY_SWIPED) card.entry = CardEntry::kSwipe;
    }
    t->card = card;
    t->card_pan = card_pan;
    t->card_expiry = expiry;
    t->pin_bypass_pending = false;
    t->pin_bypass_answered = false;
    switch (card.entry) {
      case CardEntry::kChip:
        t->entry_code = QL_ENTRY_CHIP;
        lCardDataType = QL_ENTRY_CHIP;
        break;
      case CardEntry::kTap:
        t->entry_code = QL_ENTRY_TAPPED;
        lCardDataType = QL_ENTRY_TAPPED;
        break;
      case CardEntry::kSwipe:
        t->entry_code = QL_ENTRY_SWIPED;
        lCardDataType = QL_ENTRY_SWIPED;
        break;
      case CardEntry::kKeyed:
        t->entry_code = QL_ENTRY_KEYED;
        lCardDataType = QL_ENTRY_KEYED;
        break;
    }
    // The server never gives the card number behind a stored card back to the till.
    strPan = stored != nullptr ? pan : card.entry == CardEntry::kKeyed ? card_pan : "";
    strExpiryDate = card.entry == CardEntry::kKeyed ? expiry : "";
    strTrack =
        card.entry == CardEntry::kSwipe ? ";" + card_pan + "=" + expiry + "1011234567890?" : "";
    strSchemeName = card.scheme;
    lCardType = card.fuel ? QL_CARD_FUEL : QL_CARD_PAYMENT;
    strAllowedProducts = card.allowed_products;
    bBunkerCard = card.bunker;
    Show(*t, "PLEASE WAIT");
    return QL_ANSWER_DONE;
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
                int32_t type, const std::string&, const std::string&, const std::string&,
                bool keyed, bool swipe, bool, bool tap) override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return QL_ANSWER_FAILED;
    int32_t result = 0;
    if (Fault(t, "TransactionStart.Start", result, &lErrorCode, strErrorText)) return result;
    if (amount < 0 || cashback < 0 || gratuity < 0 || type < QL_TT_SALE ||
        type > QL_TT_FINAL_REFUND) {
      lErrorCode = kBadRequest;
      strErrorText = "INVALID TRANSACTION DATA";
      return 1;
    }
    t->started = true;
    t->keyed_entry_allowed = keyed;
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

class SimDccEnquiry final : public QlDccEnquiry {
 public:
  int32_t Enquire() override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return QL_ANSWER_FAILED;
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
    strForeignAmount = !card.dcc_foreign_amount.empty()
                           ? card.dcc_foreign_amount
                           : ForeignAmount(lAmount > 0 ? lAmount : TotalOf(*t), card.dcc_rate,
                                           lCurrencyExponent, card.dcc_exponent);
    if (!card.dcc_offer_text.empty()) {
      strOfferText.clear();
      for (int32_t i = 0; i < card.dcc_offer_repeat; ++i) strOfferText += card.dcc_offer_text;
      return 0;
    }
    strOfferText = "<html><body><p>Your card is issued in " + card.dcc_currency_name +
                   ". You may pay in " + card.dcc_currency + " at a rate of " + card.dcc_rate +
                   ", which includes a 3.5% margin on the wholesale rate. Make sure you understand"
                   " the costs of currency conversion; they may differ if you pay in the till's"
                   " currency.</p></body></html>";
    return 0;
  }
};

class SimFuelBalance final : public QlFuelBalance {
 public:
  int32_t Enquire(const std::string& details, const std::string&) override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return QL_ANSWER_FAILED;
    int32_t result = 0;
    if (Fault(t, "FuelBalance.Enquire", result, &lErrorCode, strErrorText)) return result;
    Show(*t, "READING CARD");
    const SimCard* card = nullptr;
    if (!details.empty() && LuhnValid(details)) card = t->config->FindCardByPan(details);
    if (!card) card = &PresentedCard(*t);
    strPan = card->pan;
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

class SimFuelProductEnquiry final : public QlFuelProductEnquiry {
 public:
  int32_t Request() override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return QL_ANSWER_FAILED;
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

}  // namespace

std::unique_ptr<QlCardEnquiry> MakeCardEnquiry() {
  return std::make_unique<SimCardEnquiry>();
}

std::unique_ptr<QlTransactionStart> MakeTransactionStart() {
  return std::make_unique<SimTransactionStart>();
}

std::unique_ptr<QlDccEnquiry> MakeDccEnquiry() {
  return std::make_unique<SimDccEnquiry>();
}

std::unique_ptr<QlFuelBalance> MakeFuelBalance() {
  return std::make_unique<SimFuelBalance>();
}

std::unique_ptr<QlFuelProductEnquiry> MakeFuelProductEnquiry() {
  return std::make_unique<SimFuelProductEnquiry>();
}

}  // namespace ccaddin::sim
