// The authorisation: what the server answers for a card and an amount (the magic
// amounts force an outcome whatever the card), the receipt data it fills in, and the
// PIN bypass question.
#include <cmath>
#include <cstdio>

#include "platform/env.h"
#include "qlclient/sim/sim_objects.h"
#include "qlclient/sim/sim_terminal.h"

namespace ccaddin::sim {
namespace {

std::string CurrencyText(const Terminal& t, const std::string& code) {
  if (!t.config->currency_text.empty()) return t.config->currency_text;
  if (code == "826" || code == "GBP") return "\xA3";
  if (code == "978" || code == "EUR") return "\x80";
  if (code == "840" || code == "USD") return "$";
  return code;
}

std::string TwoDigits(int v) {
  char buf[8];
  std::snprintf(buf, sizeof buf, "%02d", v % 100);
  return buf;
}

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
      m.process_result = QL_ANSWER_FALLBACK;
      break;
    case 10005:
      m.outcome = CardOutcome::kDeclined;
      break;
    case 10006:
      m.process_result = QL_ANSWER_PASSED_ON;
      break;
    case 10009:
      m.reenquiry = true;
      break;
    case 10010:
      m.offline = true;
      break;
    case 10051:
      m.process_result = QL_ANSWER_FAILED;
      m.error_code = kServerError;
      break;
    case QL_ERR_NO_HOST_RESPONSE:
    case QL_ERR_CONNECTION_LOST:
    case QL_ERR_CONNECTION_CLOSED:
    case QL_ERR_TIMEOUT:
    case QL_ERR_CONNECTION_RESET:
      m.process_result = QL_ANSWER_FAILED;
      m.error_code = amount;
      break;
    default:
      break;
  }
  return m;
}

std::string ErrorTextFor(int32_t code) {
  switch (code) {
    case kServerError:
      return "SERVER ERROR - TRANSACTION NOT PROCESSED";
    case QL_ERR_NO_HOST_RESPONSE:
      return "NO RESPONSE FROM AUTHORISATION HOST";
    case QL_ERR_CONNECTION_LOST:
      return "CONNECTION TO SERVER LOST";
    case QL_ERR_CONNECTION_CLOSED:
      return "SERVER CLOSED THE CONNECTION";
    case QL_ERR_TIMEOUT:
      return "TIMEOUT WAITING FOR SERVER";
    case QL_ERR_CONNECTION_RESET:
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

// Fills the server's answer into `trans` and stores it (in the caller's write: the
// record is added before its reference can go into the answer, then completed).
void Authorise(Terminal& t, QlTransaction& trans, CardOutcome outcome, int32_t cvm,
               bool offline_by_device) {
  const SimConfig& c = *t.config;
  const SimCard& card = *t.card;
  const DateTime now = CurrentEnv()->Now();
  trans.lEntryMethodCode = t.entry_code;
  // The card number goes to the till as the card number: the till masks it where its
  // rules say, and the server's store keeps it masked.
  trans.strPan = t.card_pan;
  trans.strTrack.clear();
  trans.strExpiryDate = t.card_expiry;
  trans.strStartDate = card.start_date;
  trans.strIssueNumber = card.issue_number;
  trans.strSchemeName = card.scheme;
  trans.strTerminalId = c.terminal_id;
  trans.strMerchantNo = c.merchant_no;
  trans.lCardType = card.fuel ? QL_CARD_FUEL : QL_CARD_PAYMENT;
  trans.lCvmCode = cvm;
  trans.strToken = card.token;
  trans.strTransDate = TwoDigits(now.year) + TwoDigits(now.month) + TwoDigits(now.day);
  trans.strTransTime = now.Hhmmss();
  trans.strCurrencyText = CurrencyText(t, trans.strCurrencyCode);
  const bool chip = t.entry_code == QL_ENTRY_CHIP || t.entry_code == QL_ENTRY_TAPPED;
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
  trans.strAvailableSpend = t.entry_code == QL_ENTRY_TAPPED ? card.available_spend : "";
  if (t.entry_code == QL_ENTRY_KEYED)
    trans.strCv2AvsResult =
        trans.strCv2.empty() ? "CV2 NOT CHECKED" : "CV2 MATCHED ADDRESS MATCHED";
  trans.strCv2.clear();
  trans.lCv2Present = 0;
  const bool offline = offline_by_device || !t.online;
  trans.lProcessingState = offline ? QL_PROCESSED_OFFLINE : QL_PROCESSED_ONLINE;
  trans.lAuthSource = offline ? QL_AUTHSRC_DEVICE : QL_AUTHSRC_ONLINE;
  trans.lStatus = outcome == CardOutcome::kAuthorised ? QL_STATUS_AUTHORISED
                  : outcome == CardOutcome::kReferred ? QL_STATUS_REFERRED
                                                      : QL_STATUS_DECLINED;
  trans.bCancelled = false;
  trans.strResponseText = trans.lStatus == QL_STATUS_AUTHORISED ? "AUTHORISED"
                          : trans.lStatus == QL_STATUS_REFERRED ? "REFERRAL - CALL AUTH CENTRE"
                                                                : "DECLINED";
  if (trans.lStatus == QL_STATUS_REFERRED) {
    trans.strReferralPhoneNo = c.referral_phone;
    trans.strReferralMerchantId = c.merchant_no;
    trans.strReferralPan = t.card_pan;
    trans.strReferralExpiryDate = t.card_expiry;
    trans.strReferralStartDate = card.start_date;
    trans.strReferralIssueNo = card.issue_number;
  }
  const int32_t ref = t.store->Add(trans, offline);
  if (trans.lStatus == QL_STATUS_AUTHORISED) {
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
    e[QL_EMV_TVR] = trans.lStatus == QL_STATUS_DECLINED ? "0000048000" : "0000008000";
    e[QL_EMV_RESPONSECODE] = trans.lStatus == QL_STATUS_AUTHORISED ? "00"
                             : trans.lStatus == QL_STATUS_REFERRED ? "01"
                                                                   : "05";
    e[QL_EMV_CRYPTOAMT] = trans.strAmount;
    e[QL_EMV_CRYPTOTYPE] = trans.lStatus == QL_STATUS_DECLINED ? "AAC" : "TC";
    e[QL_EMV_TERMTRANSDATE] = trans.strTransDate;
    e[QL_EMV_UNPREDICTABLENO] = Hex(seed >> 32, 8);
    e[QL_EMV_IAD] = "06010A03A0B800";
    e[QL_EMV_AUC] = "FF00";
    e[QL_EMV_CID] = trans.lStatus == QL_STATUS_DECLINED ? "00" : "40";
    e[QL_EMV_CVNR] = IsPinCvm(cvm) ? "420300" : cvm == QL_CVM_NONE ? "1F0302" : "5E0300";
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
    if (!Ready(t, *this)) return QL_ANSWER_FAILED;
    t->last_sent = oTrans;
    int32_t result = 0;
    if (Fault(t, "Processor.Process", result, &lErrorCode, strErrorText)) return result;
    const QlTransaction sent = oTrans;
    const bool read_by_terminal = !t->card && oTrans.strPan.empty() && oTrans.strTrack.empty();
    if (!t->card && !TakeTillCard(*t, oTrans)) {
      if (oTrans.strPan.starts_with("TOK:")) {
        lErrorCode = kInvalidCard;
        strErrorText = "UNKNOWN TOKEN";
        return 1;
      }
      // The terminal has no card for this transaction: the till must enquire first.
      return QL_ANSWER_ENQUIRY_NEEDED;
    }
    const int32_t amount = ToInt(oTrans.strAmount);
    (void)ToInt(oTrans.strCashbackAmount);  // a malformed cashback fails like a malformed amount
    if (oTrans.lTransactionTypeCode < QL_TT_SALE ||
        oTrans.lTransactionTypeCode > QL_TT_FINAL_REFUND) {
      lErrorCode = kBadRequest;
      strErrorText = "INVALID TRANSACTION TYPE";
      return 1;
    }
    const Magic m = t->config->magic_amounts ? MagicFor(amount) : Magic{};
    if (m.process_result != QL_ANSWER_DONE) {
      if (m.process_result == QL_ANSWER_FAILED) {
        lErrorCode = m.error_code;
        strErrorText = ErrorTextFor(m.error_code);
        t->status = "COMMUNICATIONS ERROR";
      }
      return m.process_result;
    }
    if (m.reenquiry && !t->reenquiry_asked) {
      t->reenquiry_asked = true;
      t->card.reset();
      return QL_ANSWER_ENQUIRY_NEEDED;
    }
    t->reenquiry_asked = false;
    const SimCard& card = *t->card;
    if ((card.pin_bypass || m.pin_bypass) && !t->pin_bypass_answered && IsPinCvm(card.cvm)) {
      t->pin_bypass_pending = true;
      Show(*t, "PIN BYPASS?");
      return QL_ANSWER_PIN_BYPASS;
    }
    if (IsPinCvm(card.cvm)) Show(*t, "ENTER PIN");
    Show(*t, "PROCESSING");
    if (oTrans.lConversionState == QL_DCC_ACCEPTED && !card.dcc_currency.empty())
      Convert(*t, oTrans);
    const CardOutcome outcome = m.outcome ? *m.outcome : card.outcome;
    SimStore::Write write(*t->store);
    Authorise(*t, oTrans, outcome, card.cvm, m.offline);
    if (read_by_terminal && t->config->terminal_settles) {
      t->store->Update(oTrans.lTransRefNo,
                       oTrans.lStatus == QL_STATUS_AUTHORISED ? StoreState::kConfirmed
                       : oTrans.lStatus == QL_STATUS_DECLINED ? StoreState::kDeclined
                                                              : StoreState::kPending,
                       oTrans);
    }
    write.Commit();
    Finish(*t, oTrans);
    return Answer(t, "Processor.Process", sent, oTrans);
  }

  int32_t AnswerPinBypass(int32_t lAnswer, QlTransaction& oTrans) override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return QL_ANSWER_FAILED;
    int32_t result = 0;
    if (Fault(t, "Processor.AnswerPinBypass", result, &lErrorCode, strErrorText)) return result;
    const QlTransaction sent = oTrans;
    if (!t->pin_bypass_pending || !t->card) {
      lErrorCode = kNoPinBypass;
      strErrorText = "NO PIN BYPASS REQUEST PENDING";
      return 1;
    }
    t->pin_bypass_pending = false;
    t->pin_bypass_answered = true;
    Show(*t, "PROCESSING");
    // A bypassed PIN falls back to a signature; a refused bypass ends the card's go.
    SimStore::Write write(*t->store);
    if (lAnswer == QL_PIN_BYPASS_ACCEPT) {
      Authorise(*t, oTrans, t->card->outcome, QL_CVM_SIGNATURE, false);
    } else {
      Authorise(*t, oTrans, CardOutcome::kDeclined, QL_CVM_NONE, false);
      oTrans.strResponseText = "PIN REQUIRED - DECLINED";
      t->store->Update(oTrans.lTransRefNo, StoreState::kPending, oTrans);
    }
    write.Commit();
    Finish(*t, oTrans);
    return Answer(t, "Processor.AnswerPinBypass", sent, oTrans);
  }

 private:
  // The answer to a call whose work is done; a lost reply leaves the till's transaction
  // as it was sent.
  int32_t Answer(Terminal* t, const char* op, const QlTransaction& sent, QlTransaction& oTrans) {
    int32_t result = QL_ANSWER_DONE;
    if (LostReply(t, op, result, &lErrorCode, strErrorText)) oTrans = sent;
    return result;
  }

  // A card the till read itself and put on the transaction (programmatic swipe or key).
  static bool TakeTillCard(Terminal& t, const QlTransaction& trans) {
    std::string pan = trans.strPan;
    std::string expiry = trans.strExpiryDate;
    CardEntry entry = CardEntry::kKeyed;
    if (const SimCard* stored = t.config->FindStoredCard(pan)) {
      t.card = *stored;
      t.card->entry = entry;
      t.card_pan = stored->pan;
      t.card_expiry = expiry;
      t.entry_code = QL_ENTRY_KEYED;
      return true;
    }
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
      t.entry_code = entry == CardEntry::kSwipe ? QL_ENTRY_SWIPED : QL_ENTRY_KEYED;
      return true;
    }
    if (t.config->terminal_reads_card) {
      t.card = PresentedCard(t);
      t.card_pan = t.card->pan;
      t.card_expiry = t.card->expiry;
      t.entry_code = t.card->entry == CardEntry::kTap     ? QL_ENTRY_TAPPED
                     : t.card->entry == CardEntry::kSwipe ? QL_ENTRY_SWIPED
                     : t.card->entry == CardEntry::kKeyed ? QL_ENTRY_KEYED
                                                          : QL_ENTRY_CHIP;
      return true;
    }
    return false;
  }

  static void Convert(Terminal& t, QlTransaction& trans) {
    const SimCard& card = *t.card;
    trans.strBaseAmount = trans.strAmount;
    trans.strBaseCurrencyText = CurrencyText(t, trans.strCurrencyCode);
    const auto convert = [&](const std::string& amount) {
      return ForeignAmount(ToInt(amount), card.dcc_rate, trans.lCurrencyExponent,
                           card.dcc_exponent);
    };
    trans.strAmount = convert(trans.strAmount);
    trans.strCashbackAmount =
        trans.strCashbackAmount.empty() ? "" : convert(trans.strCashbackAmount);
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
    Show(t, trans.lStatus == QL_STATUS_AUTHORISED ? "APPROVED"
            : trans.lStatus == QL_STATUS_REFERRED ? "REFERRAL"
                                                  : "DECLINED");
    if (t.entry_code == QL_ENTRY_CHIP) Show(t, "REMOVE CARD");
    t.card.reset();
    t.card_pan.clear();
    t.pin_bypass_answered = false;
    t.status = "WELCOME";
  }
};

}  // namespace

std::unique_ptr<QlTransactionProcessor> MakeTransactionProcessor() {
  return std::make_unique<SimTransactionProcessor>();
}

}  // namespace ccaddin::sim
