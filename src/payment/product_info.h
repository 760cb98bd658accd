// TProductInfo: the fuel and shop products of one fuel-card sale, as the till passed them.
// It validates them, checks them against the products the card allows, totals the allowed
// ones, and builds the product string for the payment server, the 40-column product block of
// both receipt copies and a one-line text form. One instance lives for the whole till call,
// owned by the shared session state. Nothing here blocks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ccaddin {

class TProductInfo {
 public:
  void InitProductInfo();

  // Appends a product as given; nothing is checked until ValidateProductInfo.
  void AddProductInfo(const std::string& strProductCode, const std::string& strAmount,
                      const std::string& strLitres, int32_t lQuantity);

  // 0 when every product is valid, 1 at the first invalid one (the reason in
  // strErrorMessage). Codes are three digits; amounts and litres whole positive numbers of
  // minor units and hundredths, at most 2147483647; a product has litres or a quantity.
  [[nodiscard]] int32_t ValidateProductInfo();

  // strAllowedProducts is a comma-separated record alternating product code and description,
  // as the payment server lists what the card allows. Known products get their description.
  // Without exclusion: 0 when every product is allowed, else 1. With exclusion: unknown
  // products are excluded from the sale (their codes collected in strExcludedProducts) and
  // the result is 1 only when nothing is left.
  [[nodiscard]] int32_t AreTillProductsAllowed(const std::string& strAllowedProducts,
                                               bool bAllowExclusion);

  // Sum of the amounts of the products not excluded. 0, with the reason in strErrorMessage,
  // when an amount is not a whole number or the sum does not fit in 32 bits.
  [[nodiscard]] int32_t GetTotalAmount();

  // Builds the merchant and the customer product block and sets lReceiptLines. On failure
  // both blocks are empty and lReceiptLines is 0, so no receipt prints a wrong block.
  bool BuildReceiptLines();
  // Line lIndex (from 0) of the merchant or the customer block; "" for an index that is not
  // a line (with "TProductInfo.GetReceiptLine() Failed - Subscript out of range").
  [[nodiscard]] std::string GetReceiptLine(int32_t lIndex, bool bMerchantCopy);

  // For each product not excluded: code FS amount FS litres-or-quantity FS "0" RS, where FS
  // is byte 28 and RS byte 30. Empty when there is nothing to send.
  [[nodiscard]] std::string BuildQlPetrolProductInfo();

  // The product list on one line, for the journal and TTransactionInfo.strFuelProducts
  // (format documented there): "001 UNLEADED 20.00L 2450; 512 QTY 1 500 EXCLUDED".
  [[nodiscard]] std::string GetProductsText();

  // Litres (or an amount) in hundredths as a decimal text: "5" gives "0.05", "1234" "12.34".
  [[nodiscard]] static std::string FormatLitres(const std::string& strLitres);

  [[nodiscard]] int32_t lProductCount() const { return static_cast<int32_t>(products_.size()); }
  [[nodiscard]] int32_t lReceiptLines() const {
    return static_cast<int32_t>(merchant_lines_.size());
  }
  [[nodiscard]] const std::string& strExcludedProducts() const { return excluded_products_; }
  [[nodiscard]] const std::string& strErrorMessage() const { return error_message_; }

  bool bBunkerCard = false;
  bool bPrintBunkerTotal = false;
  std::string strCurrencyCode;  // printed in front of the receipt totals

 private:
  struct Product {
    std::string code;
    std::string amount;
    std::string litres;
    int32_t quantity = 0;
    std::string description;
    bool excluded = false;
  };

  int32_t TotalOfIncluded() const;

  std::vector<Product> products_;
  std::vector<std::string> merchant_lines_;
  std::vector<std::string> customer_lines_;
  std::string excluded_products_;
  std::string error_message_;
};

}  // namespace ccaddin
