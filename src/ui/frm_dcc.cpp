#include "ui/frm_dcc.h"

#include <algorithm>

#include "payment/credit_card_common.h"
#include "platform/text_box_format.h"
#include "ui/html_text.h"
#include "ui/t_windws_form.h"

namespace ccaddin {

namespace {

constexpr int32_t kWidth = 7200;
constexpr int32_t kHeight = 6240;
constexpr int32_t kInner = kWidth - 480;

Twips Figure(int32_t row, bool label) {
  const int32_t top = 3300 + row * 540;
  return label ? Twips{240, top, 2280, 420} : Twips{2580, top, kInner - 2340, 420};
}

std::string Amount(int32_t lAmount, int32_t lExponent, const std::string& strCode,
                   const std::string& strName) {
  return TextBoxFormat::FormatCurrencyDown(lAmount, static_cast<int16_t>(lExponent)) + " " +
         strCode + " (" + strName + ")";
}

}  // namespace

frmDcc::frmDcc()
    : Form("frmDcc", "Currency Conversion", {0, 0, kWidth, kHeight}),
      capTitle(AddLabel("capTitle", {240, 120, kInner, 480}, "")),
      WebBrowser1(AddBrowser("WebBrowser1", {240, 720, kInner, 2400})),
      lblExRate(AddLabel("lblExRate", Figure(0, true), "Exchange Rate")),
      txtExRate(AddTextBox("txtExRate", Figure(0, false), "Exchange Rate")),
      lblCustAmount(AddLabel("lblCustAmount", Figure(1, true), "Card Currency")),
      txtCustAmount(AddTextBox("txtCustAmount", Figure(1, false), "Card Currency")),
      lblMerchAmount(AddLabel("lblMerchAmount", Figure(2, true), "Till Currency")),
      txtMerchAmount(AddTextBox("txtMerchAmount", Figure(2, false), "Till Currency")),
      // Kept for tills whose scripts name it; it shows nothing.
      txtDcc(AddTextBox("txtDcc", {240, 4920, 240, 420}, "")),
      cmdAccept(AddButton("cmdAccept", {240, 5040, 3240, 900}, "")),
      cmdReject(AddButton("cmdReject", {kWidth - 240 - 3240, 5040, 3240, 900}, "")) {
  capTitle.SetFont({12, true, Alignment::Centre});
  for (Control* label : {&lblExRate, &lblCustAmount, &lblMerchAmount})
    label->SetFont({10, true, Alignment::Left});
  for (Control* figure : {&txtExRate, &txtCustAmount, &txtMerchAmount}) {
    figure->SetFont({10, false, Alignment::Left});
    figure->SetBackColor(BackColour::ButtonFace);
    figure->SetTabStop(false);
    OnKeyPress(*figure, &frmDcc::ReadOnly_KeyPress);
  }
  txtDcc.SetVisible(false);
  for (Control* button : {&cmdAccept, &cmdReject}) button->SetFont({12, true, Alignment::Centre});
  SetCancelButton(cmdReject);
  DeclareSafeWayOut({&cmdReject});
  OnClick(cmdAccept, &frmDcc::cmdAccept_Click);
  OnClick(cmdReject, &frmDcc::cmdReject_Click);
}

void frmDcc::Form_Load() {
  const CreditCardCommon& shared = Shared();
  if (shared.bAlwaysOnTop) (void)TWindwsForm::SetTopMostWindow(*this, true);
  const ScreenTwips screen = Screen();
  Move({std::max(0, (screen.width - kWidth) / 2), std::max(0, (screen.height - kHeight) / 2),
        kWidth, kHeight});
  accepted_ = false;
  txtDcc.SetText("");
  capTitle.SetCaption(shared.strDccFormTitle.empty() ? "DYNAMIC CURRENCY CONVERSION OFFERING"
                                                     : shared.strDccFormTitle);
  const DccOffer& o = offer_;
  txtExRate.SetText(" 1 " + o.strBaseCurrencyCode + " = " + o.strExchangeRate + " " +
                    o.strForeignCurrencyCode + " (" + o.strForeignCurrencyName + ")");
  txtCustAmount.SetText(Amount(o.lForeignAmount, o.lForeignCurrencyExponent,
                               o.strForeignCurrencyCode, o.strForeignCurrencyName));
  txtMerchAmount.SetText(Amount(o.lBaseAmount, shared.lBaseCurrencyExponent, o.strBaseCurrencyCode,
                                o.strBaseCurrencyName));
  cmdAccept.SetCaption("Pay in " + o.strForeignCurrencyCode);
  cmdReject.SetCaption("Pay in " + o.strBaseCurrencyCode);
  // The offer is the server's text, shown as it was sent, but never run: its scripts are
  // left out here and the view loads nothing it names.
  WebBrowser1.SetText(HtmlWithoutScripts(o.strOfferText, kMaxOfferText));
  (void)SetFocus(cmdReject);
}

void frmDcc::cmdAccept_Click() {
  accepted_ = true;
  (void)Unload();
}

void frmDcc::cmdReject_Click() {
  accepted_ = false;
  (void)Unload();
}

void frmDcc::ReadOnly_KeyPress(int16_t& KeyAscii) {
  KeyAscii = 0;
}

}  // namespace ccaddin
