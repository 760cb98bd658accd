// The details frame (fraTransInfo) and the cashback frame (fraCashback): the key filters
// of their fields, the rules that enable the details frame's Continue, and the two
// Continue buttons, which put what was typed on the payment transaction and send it.
#include <algorithm>
#include <cctype>

#include "payment/credit_card_common.h"
#include "payment/tamberin_string.h"
#include "platform/text_box_format.h"
#include "qlclient/ql_codes.h"
#include "ui/transaction/card_prompts.h"
#include "ui/transaction/frm_transaction.h"

namespace ccaddin {

namespace {

using namespace card_prompts;

// Cashback amounts take at most seven digits, so that whole pounds times 100 still fit
// the 32-bit amount the server takes.
constexpr int16_t kCashbackDigits = 7;

std::string Trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool Digits(const std::string& text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c); });
}

int16_t Length(const Control& box) {
  return static_cast<int16_t>(std::min<size_t>(box.Text().size(), INT16_MAX));
}

// Clears a re-entry guard however the handler ends.
class Guard {
 public:
  explicit Guard(bool& flag) : flag_(flag) { flag_ = true; }
  ~Guard() { flag_ = false; }
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;

 private:
  bool& flag_;
};

}  // namespace

void frmTransaction::BindDetailsChecks() {
  OnClick(cmdContinueTransInfo, &frmTransaction::cmdContinueTransInfo_Click);
  OnClick(cmdContinueCashback, &frmTransaction::cmdContinueCashback_Click);
  for (Control* field : {&txtExpDate, &txtStartDate, &txtIssue, &txtCV2, &txtAddress, &txtPostCode,
                         &txtRefText, &txtReg, &txtMileage, &txtProductRestrict, &txtSuppId})
    OnChange(*field, &frmTransaction::UpdateContinueTransInfo);
  for (Control* digits : {&txtExpDate, &txtStartDate, &txtIssue, &txtCV2, &txtAddress, &txtMileage,
                          &txtProductRestrict})
    OnKeyPress(*digits, &frmTransaction::txtDigits_KeyPress);
  OnKeyPress(txtReg, &frmTransaction::txtReg_KeyPress);
  OnKeyPress(txtPostCode, &frmTransaction::txtFreeText_KeyPress);
  OnKeyPress(txtRefText, &frmTransaction::txtFreeText_KeyPress);
  OnKeyPress(txtCashAmount, &frmTransaction::txtCashAmount_KeyPress);
  // A card date is MMYY: a fifth digit is a typing slip.
  txtExpDate.SetMaxLength(4);
  txtStartDate.SetMaxLength(4);
}

void frmTransaction::UpdateContinueTransInfo() {
  auto passes = [](const Control& field, bool rule) { return !field.Enabled() || rule; };
  bool ok = false;
  if (!Shared().bCardEnquiry) {
    // Without an enquiry nothing says a detail is needed; what is typed must still fit.
    const auto& expiry = txtExpDate.Text();
    const auto& start = txtStartDate.Text();
    ok = passes(txtExpDate, expiry.empty() || expiry.size() == 4) &&
         passes(txtStartDate, start.empty() || start.size() == 4) &&
         passes(txtIssue, txtIssue.Text().size() <= 2);
  } else {
    auto required = [](int32_t prompt) { return prompt == kRequired; };
    const std::string cv2 = Trimmed(txtCV2.Text());
    const std::string mileage = Trimmed(txtMileage.Text());
    const std::string reg = Trimmed(txtReg.Text());
    ok = passes(txtExpDate, txtExpDate.Text().size() == 4) &&
         passes(txtStartDate, txtStartDate.Text().size() == 4) &&
         passes(txtIssue, !txtIssue.Text().empty()) &&
         passes(txtCV2, !required(lEntryPrompts[kCv2]) ||
                            (Digits(cv2) && static_cast<int32_t>(cv2.size()) == lCv2Length)) &&
         passes(txtPostCode, !required(lEntryPrompts[kPostcode]) || !txtPostCode.Text().empty()) &&
         passes(txtAddress,
                !required(lEntryPrompts[kAddress]) || Digits(Trimmed(txtAddress.Text()))) &&
         passes(txtMileage, !required(lFuelPrompts[kFuelMileage]) ||
                                (Digits(mileage) && TamberinString::StrToLong(mileage) >= 2)) &&
         passes(txtReg, !required(lFuelPrompts[kFuelReg]) || (!reg.empty() && reg != "0")) &&
         passes(txtSuppId,
                !required(lFuelPrompts[kFuelSuppId]) || !Trimmed(txtSuppId.Text()).empty());
  }
  cmdContinueTransInfo.SetEnabled(ok);
}

void frmTransaction::cmdContinueTransInfo_Click() {
  if (bContinuingDetails) return;
  Guard guard(bContinuingDetails);
  QlTransaction& t = *oTrans;
  // A short expiry leaves the card's own (the enquiry's) in place.
  if (txtExpDate.Text().size() == 4) t.strExpiryDate = CardDate(txtExpDate.Text());
  t.strStartDate = CardDate(txtStartDate.Text());
  t.strIssueNumber = txtIssue.Text();
  t.strCv2 = txtCV2.Text();
  t.lCv2Present = t.strCv2.empty() ? 0 : 1;
  t.strAddressDigits = txtAddress.Text();
  t.strPostcode = txtPostCode.Text();
  std::erase(t.strPostcode, ' ');
  // The till's own reference stays unless the card asked the operator for one.
  if (txtRefText.Enabled()) t.strReferenceText = txtRefText.Text();

  // A fuel value goes with the transaction when the card asked for it to be passed on;
  // without an enquiry, whatever the operator typed goes.
  const bool enquired = Shared().bCardEnquiry;
  auto sent = [&](int32_t prompt, const Control& field) {
    if (!enquired) return !field.Text().empty();
    return lFuelPrompts[prompt] != 0 && lFuelPromptTypes[prompt] == kTypeSentWithTransaction;
  };
  if (sent(kFuelReg, txtReg)) t.strRegNo = txtReg.Text().empty() ? "0" : txtReg.Text();
  if (sent(kFuelMileage, txtMileage)) {
    t.lMileage = txtMileage.Text().empty() ? 1 : TamberinString::StrToLong(txtMileage.Text());
  }
  if (sent(kFuelProduct, txtProductRestrict))
    t.strProductRestriction = Trimmed(txtProductRestrict.Text());
  if (sent(kFuelSuppId, txtSuppId)) t.strSupplierId = Trimmed(txtSuppId.Text());

  int32_t next = kError;
  RunAuthorisation(next);
  FinishAuthorisation(next);
}

void frmTransaction::cmdContinueCashback_Click() {
  if (bContinuingCashback) return;
  Guard guard(bContinuingCashback);
  CreditCardCommon& shared = Shared();
  const std::string typed = txtCashAmount.Text();
  const auto exponent = static_cast<int16_t>(shared.lBaseCurrencyExponent);
  int64_t amount = 0;
  if (TamberinString::StrToDouble(typed) > 0) {
    switch (shared.lCashbackEntryType) {
      case 0:  // minor units
        amount = TamberinString::StrToLong(typed);
        break;
      case 1:  // a decimal amount
        amount = TextBoxFormat::FormatCurrencyUp(TamberinString::StrToDouble(typed), exponent);
        break;
      default:  // whole pounds
        amount = int64_t{TamberinString::StrToLong(typed)} * 100;
        break;
    }
  }
  if (amount <= 0 || amount > INT32_MAX) {
    oTrans->lTransactionTypeCode = QL_TT_SALE;
    oTrans->strCashbackAmount.clear();
  } else {
    oTrans->lTransactionTypeCode = QL_TT_SALE_CASHBACK;
    oTrans->strCashbackAmount = std::to_string(amount);
    // The till's "no change" line on the customer receipt becomes the cashback line.
    const std::string text =
        TextBoxFormat::FormatCurrencyDown(static_cast<int32_t>(amount), exponent);
    for (auto* interpreter :
         {shared.oCustomerReceiptStartText.get(), shared.oCustomerReceiptEndText.get()}) {
      if (interpreter != nullptr) interpreter->SetCashback(text);
    }
  }

  if (std::none_of(lEntryPrompts.begin(), lEntryPrompts.begin() + kPostcode,
                   [](int32_t p) { return p == kRequired; })) {
    int32_t next = kError;
    RunAuthorisation(next);
    FinishAuthorisation(next);
    return;
  }
  EnableEntryPromptFields();
  SetState(kDetails);
  ShowState();
}

void frmTransaction::txtDigits_KeyPress(int16_t& KeyAscii) {
  const Control& box = *Focused();
  KeyAscii = TextBoxFormat::NumericBox(KeyAscii, static_cast<int16_t>(box.SelLength()), Length(box),
                                       static_cast<int16_t>(box.MaxLength()));
}

void frmTransaction::txtReg_KeyPress(int16_t& KeyAscii) {
  KeyAscii = TextBoxFormat::AlphaNumericBox(KeyAscii, static_cast<int16_t>(txtReg.SelLength()),
                                            Length(txtReg), 0);
}

void frmTransaction::txtFreeText_KeyPress(int16_t& KeyAscii) {
  if (KeyAscii == kKeyEnter) KeyAscii = kKeyTab;
}

void frmTransaction::txtCashAmount_KeyPress(int16_t& KeyAscii) {
  if (KeyAscii == kKeyEnter) {
    KeyAscii = kKeyTab;
    return;
  }
  const CreditCardCommon& shared = Shared();
  if (shared.lCashbackEntryType != 1) {
    KeyAscii = TextBoxFormat::NumericBox(KeyAscii, static_cast<int16_t>(txtCashAmount.SelLength()),
                                         Length(txtCashAmount), kCashbackDigits);
    return;
  }
  // A decimal amount is typed as on a till keypad: each digit shifts in from the right.
  const std::string amount =
      TextBoxFormat::ExpFormat(static_cast<int16_t>(shared.lBaseCurrencyExponent),
                               txtCashAmount.Text(), KeyAscii, kCashbackDigits);
  KeyAscii = 0;
  txtCashAmount.SetText(amount);
  txtCashAmount.SetSelStart(static_cast<int32_t>(amount.size()));
}

}  // namespace ccaddin
