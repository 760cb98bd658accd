// The outcomes that need the operator after the authorisation: the referral with its
// voice authorisation, the cardholder's request to bypass the PIN, the currency
// conversion offer and the re-print of the result's receipt; and what the window does
// when an answer from the server is lost after the server may have approved the sale.
#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "payment/credit_card_common.h"
#include "payment/tamberin_string.h"
#include "platform/addin_log.h"
#include "platform/text_box_format.h"
#include "qlclient/ql_codes.h"
#include "qlclient/ql_factory.h"
#include "ui/form_call_scope.h"
#include "ui/frm_dcc.h"
#include "ui/transaction/frm_transaction.h"

namespace ccaddin {

namespace {

// SendConfirmation's result when the server took the confirmation.
constexpr int32_t kConfirmed = frmTransaction::kPrintingReceipt;
// The longest voice authorisation code an authorisation centre gives.
constexpr int32_t kAuthCodeLength = 8;
// ReceiptInfo's reference of the server's most recent transaction.
constexpr int32_t kLastTransaction = -1;

void Journal(const std::string& text) {
  if (TAddinLog* journal = CurrentFormJournal()) journal->LogError(text);
}

// The server keeps card dates as YYMM; the operator reads them out as MMYY.
std::string MonthFirst(const std::string& yymm) {
  return yymm.size() == 4 ? yymm.substr(2) + yymm.substr(0, 2) : yymm;
}

bool AllDigits(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(),
                                      [](unsigned char c) { return std::isdigit(c) != 0; });
}

// The offer as the cardholder will see it, or why it cannot be shown: both amounts and
// the rate must be figures a person can check against each other, or the cardholder would
// be asked to agree to a charge nobody can state.
std::string ReadOffer(const QlDccEnquiry& dcc, DccOffer& offer) {
  const std::string& rate = dcc.strExchangeRate;
  const size_t point = rate.find('.');
  const bool decimal = point == std::string::npos
                           ? AllDigits(rate)
                           : AllDigits(rate.substr(0, point)) && AllDigits(rate.substr(point + 1));
  if (!decimal || std::strtod(rate.c_str(), nullptr) <= 0)
    return "the exchange rate \"" + rate + "\" is not a number";
  const std::string& amount = dcc.strForeignAmount;
  if (!AllDigits(amount) || amount.size() > 9 || std::stol(amount) == 0)
    return "the amount in the card's currency \"" + amount + "\" is not a number";
  if (dcc.lForeignCurrencyExponent < 0 || dcc.lForeignCurrencyExponent > 4)
    return "the card currency has " + std::to_string(dcc.lForeignCurrencyExponent) + " decimals";
  if (dcc.strForeignCurrencyCode.empty()) return "it names no currency";
  offer.strExchangeRate = rate;
  offer.lForeignAmount = static_cast<int32_t>(std::stol(amount));
  offer.lForeignCurrencyExponent = dcc.lForeignCurrencyExponent;
  offer.strForeignCurrencyCode = dcc.strForeignCurrencyCode;
  offer.strForeignCurrencyName = dcc.strForeignCurrencyName;
  offer.strOfferText = dcc.strOfferText;
  return "";
}

}  // namespace

void frmTransaction::BindOutcomes() {
  OnClick(cmdAuthorise, &frmTransaction::cmdAuthorise_Click);
  OnClick(cmdDecline, &frmTransaction::cmdDecline_Click);
  OnChange(txtAuthCode, &frmTransaction::txtAuthCode_Change);
  OnKeyPress(txtAuthCode, &frmTransaction::txtAuthCode_KeyPress);
  txtAuthCode.SetMaxLength(kAuthCodeLength);
  for (Control* box : {&txtVoicePhone, &txtMerchId, &txTVoicePan, &txtVoiceExpDate,
                       &txtVoiceStartDate, &txtVoiceIssueNo, &txtVoiceAmount, &txtStatus})
    OnKeyPress(*box, &frmTransaction::ReadOnly_KeyPress);
  OnClick(cmdAllowPinBypass, &frmTransaction::cmdAllowPinBypass_Click);
  OnClick(cmdDisallowPinBypass, &frmTransaction::cmdDisallowPinBypass_Click);
  OnClick(cmdReprint, &frmTransaction::cmdReprint_Click);
}

// ---- referral ----

void frmTransaction::ShowReferral() {
  const CreditCardCommon& shared = Shared();
  const QlTransaction& t = *oTrans;
  txtVoicePhone.SetText(t.strReferralPhoneNo);
  txtMerchId.SetText(t.strReferralMerchantId);
  txTVoicePan.SetText(t.strReferralPan);
  txtVoiceExpDate.SetText(MonthFirst(t.strReferralExpiryDate));
  txtVoiceStartDate.SetText(MonthFirst(t.strReferralStartDate));
  txtVoiceIssueNo.SetText(t.strReferralIssueNo);
  const int64_t amount = int64_t{TamberinString::StrToLong(t.strAmount)} +
                         TamberinString::StrToLong(t.strCashbackAmount);
  txtVoiceAmount.SetText(TextBoxFormat::FormatCurrencyDown(
      static_cast<int32_t>(std::clamp<int64_t>(amount, INT32_MIN, INT32_MAX)),
      static_cast<int16_t>(shared.lBaseCurrencyExponent)));
  txtAuthCode.SetText("");
  cmdAuthorise.SetEnabled(false);
  cmdDecline.SetEnabled(true);
  (void)SetFocus(txtAuthCode);
}

void frmTransaction::txtAuthCode_Change() {
  cmdAuthorise.SetEnabled(!txtAuthCode.Text().empty());
}

void frmTransaction::txtAuthCode_KeyPress(int16_t& KeyAscii) {
  // Enter moves on to "Authorised" rather than pressing a button the operator did not
  // look at. Codes are letters and digits; letters as capitals, as the centre reads them.
  if (KeyAscii == kKeyEnter) {
    KeyAscii = kKeyTab;
    return;
  }
  KeyAscii = TextBoxFormat::UCAlphaNumericBox(
      KeyAscii, static_cast<int16_t>(txtAuthCode.SelLength()),
      static_cast<int16_t>(txtAuthCode.Text().size()), static_cast<int16_t>(kAuthCodeLength));
}

void frmTransaction::ReadOnly_KeyPress(int16_t& KeyAscii) {
  KeyAscii = 0;
}

void frmTransaction::cmdAuthorise_Click() {
  const std::string code = txtAuthCode.Text();
  if (bVoiceAnswering || code.empty()) return;
  bVoiceAnswering = true;
  oTrans->strAuthCode = code;
  oTrans->lStatus = QL_STATUS_AUTHORISED;
  oTrans->lAuthSource = oRequest.bConnectedOnline() ? QL_AUTHSRC_VOICE : QL_AUTHSRC_VOICE_OFFLINE;
  oTrans->strResponseText = "AUTH CODE: " + code;
  (void)Ledger().UpdateAuthCode(Shared().lTenderIndex, code);
  PrintTransactionReceipt(true, false);
  // The voice approval is settled like any other: by the operator, or automatically
  // where the settings allow it for this card.
  FinishAuthorisation(kResult);
  bVoiceAnswering = false;
}

void frmTransaction::cmdDecline_Click() {
  if (bVoiceAnswering) return;
  bVoiceAnswering = true;
  oTrans->lStatus = QL_STATUS_DECLINED;
  oTrans->lAuthSource = QL_AUTHSRC_VOICE;
  oTrans->strResponseText = "VOICE DECLINED";
  int32_t result = kError;
  SendConfirmation(result);
  if (result == kConfirmed) {
    PrintTransactionReceipt(true, false);
    PrintTransactionReceipt(false, false);
    AfterConfirmation();
  } else {
    SetState(kError);
    ShowState();
  }
  bVoiceAnswering = false;
}

// ---- PIN bypass ----

void frmTransaction::cmdAllowPinBypass_Click() {
  if (bAnsweringPinBypass) return;
  bAnsweringPinBypass = true;
  int32_t next = kError;
  RunPinBypass(true, next);
  FinishAuthorisation(next);
  bAnsweringPinBypass = false;
}

void frmTransaction::cmdDisallowPinBypass_Click() {
  if (bAnsweringPinBypass) return;
  bAnsweringPinBypass = true;
  int32_t next = kError;
  RunPinBypass(false, next);
  FinishAuthorisation(next);
  bAnsweringPinBypass = false;
}

void frmTransaction::RunPinBypass(bool bAllow, int32_t& lNextState) {
  lNextState = kError;
  cmdCancel.SetEnabled(false);
  SetState(kProcessing);
  ShowState();
  int32_t result = 0;
  oRequest.ProcessPinBypass(*oProcessor, *oTrans, bAllow, result);
  switch (result) {
    case QL_REQ_DONE:
      lNextState = RecordAuthorisation();
      break;
    case QL_REQ_FAILED:
      bServerError = true;
      strStatusText = oRequest.strErrorMessage();
      break;
    case QL_REQ_CONNECTION_LOST:
    case QL_REQ_UNEXPECTED:
      ServerFailed(result);
      ReverseLostAuthorisation();
      break;
    case QL_REQ_FALLBACK:
      lNextState = kSwipeOnTill;
      break;
    case QL_REQ_PASSED_ON:
      lNextState = kExternalSwipe;
      break;
    default:
      break;
  }
  cmdCancel.SetEnabled(true);
}

// ---- re-print ----

void frmTransaction::cmdReprint_Click() {
  CreditCardCommon& shared = Shared();
  if (bReprinting || !shared.bRePrintReceipt || !oTrans) return;
  bReprinting = true;
  const bool merchant_last = bLastCopyMerchant;
  SetState(kPrintingReceipt);
  ShowState();
  // After an automatic acceptance nobody looked at the printer between the merchant's
  // copy and the customer's, so a jam may have taken both: both come again, where the
  // print rules print them. Otherwise the operator held the merchant's copy when settling
  // the sale, and only the copy printed last is repeated.
  if (bAcceptedAutomatically && !merchant_last &&
      shared.ShouldPrintReceipt(TransactionReceipts::ReceiptKind(*oTrans, true), *oTrans, false)) {
    PrintTransactionReceipt(true, true);
  }
  PrintTransactionReceipt(merchant_last, true);
  SetState(kResult);
  ShowState();
  bReprinting = false;
}

// ---- currency conversion offer ----

void frmTransaction::RunCurrencyConversionOffer() {
  const CreditCardCommon& shared = Shared();
  TTender& ledger = Ledger();
  const int32_t part = shared.lTenderIndex;
  auto dcc = CurrentQlFactory().CreateDccEnquiry();
  dcc->strCurrencyCode = shared.strbaseCurrency;
  dcc->lCurrencyExponent = shared.lBaseCurrencyExponent;
  dcc->lAmount =
      ledger.GetSaleAmount(part) + ledger.GetGratuityAmount(part) + ledger.GetCashAmount(part);
  int32_t result = 0;
  oRequest.ProcessDccEnquiry(*dcc, result);
  if (result != QL_REQ_DONE) {
    Journal("Currency conversion enquiry failed (" + oRequest.strErrorMessage() +
            "): the sale goes on in the till's currency");
    return;
  }
  if (!dcc->bOfferAvailable) return;
  DccOffer offer;
  if (const std::string fault = ReadOffer(*dcc, offer); !fault.empty()) {
    Journal("Currency conversion offer ignored: " + fault +
            "; the sale goes on in the till's currency");
    return;
  }
  offer.lBaseAmount = dcc->lAmount;
  offer.strBaseCurrencyCode = shared.strbaseCurrency;
  offer.strBaseCurrencyName = shared.strBaseCurrencyName;
  const std::string rate = offer.strExchangeRate;
  const int32_t exponent = offer.lForeignCurrencyExponent;

  frmDcc form;
  form.SetOffer(std::move(offer));
  if (!ShowModal(form)) {
    Journal(strErrorMessage() + ": the sale goes on in the till's currency");
    return;
  }
  // The server converts the amounts when it authorises; the transaction carries the
  // cardholder's choice and the offer it was made on.
  if (form.bAccepted()) {
    oTrans->lConversionState = QL_DCC_ACCEPTED;
    oTrans->strExchangeRate = rate;
    oTrans->lTransCurrencyExponent = exponent;
  } else {
    oTrans->lConversionState = QL_DCC_REFUSED;
  }
}

// ---- lost answers ----

void frmTransaction::ReverseLostAuthorisation() {
  const CreditCardCommon& shared = Shared();
  TTender& ledger = Ledger();
  const std::string lost =
      "The answer to the authorisation of " + oTrans->strReference + " was lost";
  auto receipt = CurrentQlFactory().CreateReceiptInfo();
  QlTransaction held;
  int32_t result = 0;
  oRequest.ProcessReceiptInfo(*receipt, held, "", kLastTransaction, result);
  if (result == QL_REQ_CONNECTION_LOST || result == QL_REQ_UNEXPECTED) {
    Journal(lost + " and the server could not be asked what it did (" + oRequest.strErrorMessage() +
            "): it may hold the sale as authorised; check it before taking the payment again");
    return;
  }
  // The server's latest transaction is this sale's when it carries the sale's reference,
  // type and amount and is not another part of the same tender.
  const std::string amount = held.strBaseAmount.empty() ? held.strAmount : held.strBaseAmount;
  bool ours =
      result == QL_REQ_DONE && held.lTransRefNo > 0 && held.strReference == oTrans->strReference &&
      held.lTransactionTypeCode == oTrans->lTransactionTypeCode && amount == oTrans->strAmount;
  for (int32_t other = 0; ours && other < TTender::kTenderCount; ++other)
    ours = other == shared.lTenderIndex || ledger.GetTransRefNo(other) != held.lTransRefNo;
  if (!ours || held.lStatus != QL_STATUS_AUTHORISED || held.bCancelled) {
    Journal(lost + "; the server holds no approval of it");
    return;
  }
  const std::string ref = std::to_string(held.lTransRefNo);
  (void)ledger.UpdateTransRefNo(shared.lTenderIndex, held.lTransRefNo);
  (void)ledger.UpdateAuthCode(shared.lTenderIndex, held.strAuthCode);
  std::string why;
  if (!CancelAtServer(held, why)) {
    // The till's record then names the approval, so the till can void it by reference.
    *oTrans = held;
    Journal(lost + "; the server approved it as transaction " + ref +
            ", which could not be cancelled (" + why + "): void transaction " + ref +
            " before taking the payment again");
    return;
  }
  *oTrans = held;
  oTrans->bCancelled = true;
  (void)ledger.UpdateState(shared.lTenderIndex, TTender::kStateCancelled);
  Journal(lost + "; the server had approved it as transaction " + ref +
          ", which has been cancelled there");
  PrintTransactionReceipt(true, false);
  PrintTransactionReceipt(false, false);
}

void frmTransaction::ReverseUnconfirmed() {
  const std::string ref = std::to_string(oTrans->lTransRefNo);
  const std::string unanswered =
      "The confirmation of transaction " + ref + " was not answered (" + strStatusText + ")";
  std::string why;
  if (CancelAtServer(*oTrans, why)) {
    oTrans->bCancelled = true;
    (void)Ledger().UpdateState(Shared().lTenderIndex, TTender::kStateCancelled);
    Journal(unanswered + "; the transaction has been cancelled at the server");
    PrintTransactionReceipt(true, false);
    PrintTransactionReceipt(false, false);
    return;
  }
  // Not cancelled after all: the till's record shows the approval with its reference.
  oTrans->bCancelled = false;
  Journal(unanswered + " and it could not be cancelled there (" + why + "): void transaction " +
          ref + " before taking the payment again");
}

bool frmTransaction::CancelAtServer(QlTransaction& oCancel, std::string& strWhy) {
  auto confirm = CurrentQlFactory().CreateConfirm();
  int32_t result = 0;
  oRequest.ProcessConfirm(*confirm, oCancel, Shared().strQuaylinkClientId, oCancel.lTransRefNo, "",
                          QL_CONFIRM_CANCELLED, result);
  strWhy = result != QL_REQ_DONE ? oRequest.strErrorMessage() : confirm->strErrorText;
  // The server's record says whether the cancellation took, whatever its answer said: that
  // answer may be lost too, and the request layer does not report every refusal.
  auto receipt = CurrentQlFactory().CreateReceiptInfo();
  QlTransaction held;
  int32_t checked = 0;
  oRequest.ProcessReceiptInfo(*receipt, held, "", oCancel.lTransRefNo, checked);
  if (checked == QL_REQ_DONE && held.lTransRefNo == oCancel.lTransRefNo) return held.bCancelled;
  return result == QL_REQ_DONE && confirm->lErrorCode == 0 && confirm->strErrorText.empty();
}

}  // namespace ccaddin
