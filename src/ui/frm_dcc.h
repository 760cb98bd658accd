// frmDcc: the payment server's offer to charge a foreign card in the card's own currency.
// The cardholder sees both amounts, the exchange rate and the server's offer text, and
// chooses: "Pay in <card currency>" accepts the conversion, "Pay in <till currency>"
// keeps the sale in the till's currency. That second button has the focus and is the
// Escape key, so Enter, Escape and closing the window all pay in the till's currency:
// nothing converts a sale but the cardholder's own choice. The transaction window checks
// the offer, sets it before showing the form modally and reads bAccepted once it closed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "ui/form.h"

namespace ccaddin {

struct DccOffer {
  std::string strExchangeRate;  // units of the card's currency for one of the till's
  int32_t lForeignAmount = 0;   // minor units of the card's currency
  int32_t lForeignCurrencyExponent = 2;
  std::string strForeignCurrencyCode;  // "USD"
  std::string strForeignCurrencyName;  // "US Dollar"
  int32_t lBaseAmount = 0;             // minor units of the till's currency
  std::string strBaseCurrencyCode;
  std::string strBaseCurrencyName;
  std::string strOfferText;  // HTML, as the server sent it
};

class frmDcc final : public Form {
 public:
  // The most of the offer text the browser is given: an offer is a few sentences, and a
  // server that sends megabytes must not stall the till while the view lays them out.
  static constexpr size_t kMaxOfferText = 64 * 1024;

  frmDcc();

  void SetOffer(DccOffer offer) { offer_ = std::move(offer); }
  [[nodiscard]] bool bAccepted() const { return accepted_; }

 private:
  void Form_Load() override;
  void cmdAccept_Click();
  void cmdReject_Click();
  // The offer's figures are for reading only.
  void ReadOnly_KeyPress(int16_t& KeyAscii);

  Control& capTitle;
  Control& WebBrowser1;
  Control& lblExRate;
  Control& txtExRate;
  Control& lblCustAmount;
  Control& txtCustAmount;
  Control& lblMerchAmount;
  Control& txtMerchAmount;
  Control& txtDcc;
  Control& cmdAccept;
  Control& cmdReject;

  DccOffer offer_;
  bool accepted_ = false;
};

}  // namespace ccaddin
