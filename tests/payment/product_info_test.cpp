#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "payment/product_info.h"

namespace ccaddin {
namespace {

constexpr const char* kAllowed = R"(001,UNLEADED,002,"DIESEL, PREMIUM",512,CAR WASH)";

// Unleaded and diesel by the litre, a car wash by quantity.
void AddForecourtSale(TProductInfo& products) {
  products.AddProductInfo("001", "2450", "2000", 0);
  products.AddProductInfo("002", "1575", "1050", 0);
  products.AddProductInfo("512", "500", "", 1);
}

std::vector<std::string> Block(TProductInfo& products, bool merchant) {
  std::vector<std::string> lines;
  for (int32_t i = 0; i < products.lReceiptLines(); ++i) {
    lines.push_back(products.GetReceiptLine(i, merchant));
  }
  return lines;
}

TEST(ProductInfo, ValidationReportsTheFirstFailingRuleInOrder) {
  const struct {
    const char* code;
    const char* amount;
    const char* litres;
    int32_t quantity;
    const char* message;
  } cases[] = {
      {"A12", "100", "100", 0, "Product code is not numeric (A12)"},
      {"12", "100", "100", 0, "Product code is not 3 digits in length (12)"},
      {"", "100", "100", 0, "Product code is not numeric ()"},
      {"-12", "100", "100", 0, "Product code is not numeric (-12)"},
      {"1.2", "100", "100", 0, "Product code is not numeric (1.2)"},
      {"0001", "abc", "100", 0, "Product code is not 3 digits in length (0001)"},
      {"001", "", "100", 0, "Product amount is not numeric ()"},
      {"001", "1e3", "100", 0, "Product amount is not numeric (1e3)"},
      {"001", " 100", "100", 0, "Product amount is not numeric ( 100)"},
      {"001", "0", "100", 0, "Product amount is less than or equal to sero (0)"},
      {"001", "-5", "100", 0, "Product amount is less than or equal to sero (-5)"},
      {"001", "0.00", "100", 0, "Product amount is less than or equal to sero (0.00)"},
      {"001", "12.50", "100", 0,
       "Product amount must by in lowest denomination (no decimal point) (12.50)"},
      {"001", "99999999999", "100", 0, "Product amount is too large (99999999999)"},
      {"001", "100", "100", 2, "Litres value and quantity specified (Litres=100, Quantity=2)"},
      {"001", "100", "", 0, "Neither litres value or quantity specified (Litres=, Quantity=0)"},
      {"001", "100", "", -1, "Neither litres value or quantity specified (Litres=, Quantity=-1)"},
      {"001", "100", "ten", 0, "Litres value is not numeric (ten)"},
      {"001", "100", "0", 0, "Litres is less than or equal to sero (0)"},
      {"001", "100", "20.5", 0,
       "Litres amount must by in lowest denomination (no decimal point) (20.5)"},
      {"001", "100", "4294967296", 0, "Litres value is too large (4294967296)"},
  };
  for (const auto& c : cases) {
    TProductInfo products;
    products.AddProductInfo("512", "500", "", 1);  // a valid product first: the check walks on
    products.AddProductInfo(c.code, c.amount, c.litres, c.quantity);
    products.AddProductInfo("xyz", "", "", 0);  // never reached
    EXPECT_EQ(products.ValidateProductInfo(), 1) << c.message;
    EXPECT_EQ(products.strErrorMessage(), c.message);
  }

  TProductInfo valid;
  AddForecourtSale(valid);
  valid.AddProductInfo("003", "2147483647", "2147483647", 0);  // the largest that fits
  EXPECT_EQ(valid.ValidateProductInfo(), 0);
  EXPECT_EQ(valid.strErrorMessage(), "");
}

TEST(ProductInfo, AllowedCheckWithoutExclusionStopsAtTheFirstUnknownCode) {
  TProductInfo products;
  AddForecourtSale(products);
  EXPECT_EQ(products.AreTillProductsAllowed(kAllowed, false), 0);
  EXPECT_EQ(products.GetProductsText(),
            "001 UNLEADED 20.00L 2450; 002 DIESEL, PREMIUM 10.50L 1575; 512 CAR WASH QTY 1 500");

  // A code that appears only as a description does not count as allowed.
  EXPECT_EQ(products.AreTillProductsAllowed("001,UNLEADED,999,512", false), 1);
  EXPECT_EQ(products.strExcludedProducts(), "");
  EXPECT_EQ(products.GetTotalAmount(), 2450 + 1575 + 500);
  EXPECT_EQ(products.AreTillProductsAllowed("", false), 1);
}

TEST(ProductInfo, ExcludedProductsLeaveTotalStringAndReceiptButShowInText) {
  TProductInfo products;
  AddForecourtSale(products);
  products.AddProductInfo("513", "300", "", 2);
  EXPECT_EQ(products.AreTillProductsAllowed("001,UNLEADED,002,DIESEL", true), 0);
  EXPECT_EQ(products.strExcludedProducts(), "512513");
  EXPECT_EQ(products.GetTotalAmount(), 2450 + 1575);
  EXPECT_EQ(products.BuildQlPetrolProductInfo(), std::string("001\x1c"
                                                             "2450\x1c"
                                                             "2000\x1c"
                                                             "0\x1e"
                                                             "002\x1c"
                                                             "1575\x1c"
                                                             "1050\x1c"
                                                             "0\x1e"));
  ASSERT_TRUE(products.BuildReceiptLines());
  EXPECT_EQ(products.lReceiptLines(), 6);  // heading, dashes, two products, dashes, total
  EXPECT_EQ(products.GetProductsText(),
            "001 UNLEADED 20.00L 2450; 002 DIESEL 10.50L 1575; 512 QTY 1 500 EXCLUDED; "
            "513 QTY 2 300 EXCLUDED");

  // Every product unknown to the card: nothing left to sell.
  EXPECT_EQ(products.AreTillProductsAllowed("100,GAS OIL", true), 1);
  EXPECT_EQ(products.strExcludedProducts(), "001002512513");
  EXPECT_EQ(products.BuildQlPetrolProductInfo(), "");

  // A later check against a card that allows everything brings them all back.
  EXPECT_EQ(products.AreTillProductsAllowed(kAllowed + std::string(",513,VALET"), true), 0);
  EXPECT_EQ(products.strExcludedProducts(), "");
  EXPECT_EQ(products.GetTotalAmount(), 2450 + 1575 + 500 + 300);
}

TEST(ProductInfo, ProductStringSendsLitresOrQuantityAsGiven) {
  TProductInfo products;
  EXPECT_EQ(products.BuildQlPetrolProductInfo(), "");
  AddForecourtSale(products);
  EXPECT_EQ(products.BuildQlPetrolProductInfo(), std::string("001\x1c"
                                                             "2450\x1c"
                                                             "2000\x1c"
                                                             "0\x1e"
                                                             "002\x1c"
                                                             "1575\x1c"
                                                             "1050\x1c"
                                                             "0\x1e"
                                                             "512\x1c"
                                                             "500\x1c"
                                                             "1\x1c"
                                                             "0\x1e"));
  products.InitProductInfo();
  EXPECT_EQ(products.lProductCount(), 0);
  EXPECT_EQ(products.BuildQlPetrolProductInfo(), "");
}

TEST(ProductInfo, LitresDisplayHasTwoImpliedDecimals) {
  EXPECT_EQ(TProductInfo::FormatLitres("5"), "0.05");
  EXPECT_EQ(TProductInfo::FormatLitres("50"), "0.50");
  EXPECT_EQ(TProductInfo::FormatLitres("100"), "1.00");
  EXPECT_EQ(TProductInfo::FormatLitres("1234"), "12.34");
  EXPECT_EQ(TProductInfo::FormatLitres("-5"), "-0.05");
  EXPECT_EQ(TProductInfo::FormatLitres(""), "0.00");
}

TEST(ProductInfo, BunkerCardHidesFuelValuesOnTheCustomerCopyOnly) {
  TProductInfo products;
  AddForecourtSale(products);
  ASSERT_EQ(products.AreTillProductsAllowed(kAllowed, false), 0);
  products.strCurrencyCode = "GBP";
  products.bBunkerCard = true;
  ASSERT_TRUE(products.BuildReceiptLines());

  const std::vector<std::string> merchant = {
      "CODE DESCRIPTION         LTR/QTY   VALUE", "----------------------------------------",
      "001  UNLEADED              20.00   24.50", "002  DIESEL, PREMIUM       10.50   15.75",
      "512  CAR WASH                  1    5.00", "----------------------------------------",
      "TOTAL                          GBP 45.25",
  };
  std::vector<std::string> customer = merchant;
  customer[2] = "001  UNLEADED              20.00  BUNKER";
  customer[3] = "002  DIESEL, PREMIUM       10.50  BUNKER";
  customer[6] = "TOTAL                         GBP BUNKER";
  EXPECT_EQ(Block(products, true), merchant);
  EXPECT_EQ(Block(products, false), customer);

  // With bunker totals printed, or on an ordinary card, both copies show the values.
  for (const bool print_total : {true, false}) {
    products.bPrintBunkerTotal = print_total;
    products.bBunkerCard = print_total;  // bunker card printing totals, or an ordinary card
    ASSERT_TRUE(products.BuildReceiptLines());
    EXPECT_EQ(Block(products, false), merchant);
  }

  // A bunker sale of shop items only shows their values.
  TProductInfo shop;
  shop.AddProductInfo("512", "500", "", 1);
  shop.bBunkerCard = true;
  ASSERT_TRUE(shop.BuildReceiptLines());
  EXPECT_EQ(shop.GetReceiptLine(2, false), "512                            1    5.00");
  EXPECT_EQ(shop.GetReceiptLine(4, false), "TOTAL                               5.00");
}

TEST(ProductInfo, FiguresWiderThanTheirColumnsAreNeverCut) {
  TProductInfo products;
  products.AddProductInfo("001", "2000000000", "2147483647", 0);
  products.AddProductInfo("002", "9999999", "2000", 0);  // a value that fills its column
  ASSERT_EQ(products.AreTillProductsAllowed("001,ULTRA LOW SULPHUR DIESEL,002,DIESEL", false), 0);
  ASSERT_TRUE(products.BuildReceiptLines());
  EXPECT_EQ(products.GetReceiptLine(2, true), "001  ULTRA LOW S 21474836.47 20000000.00");
  EXPECT_EQ(products.GetReceiptLine(3, true), "002  DIESEL               20.00 99999.99");
}

TEST(ProductInfo, BadAmountsAndIndexesGiveClearFailures) {
  TProductInfo products;
  products.AddProductInfo("001", "12x", "100", 0);
  EXPECT_EQ(products.GetTotalAmount(), 0);
  EXPECT_EQ(products.strErrorMessage(), "TProductInfo.GetTotalAmount() Failed - Type mismatch");
  EXPECT_FALSE(products.BuildReceiptLines());
  EXPECT_EQ(products.strErrorMessage(), "TproductInfo.BuildReceiptLines() Failed - Type mismatch");
  EXPECT_EQ(products.lReceiptLines(), 0);

  products.InitProductInfo();
  products.AddProductInfo("001", "2147483647", "100", 0);
  products.AddProductInfo("002", "1", "100", 0);
  EXPECT_EQ(products.GetTotalAmount(), 0);
  EXPECT_EQ(products.strErrorMessage(), "TProductInfo.GetTotalAmount() Failed - Overflow");

  products.InitProductInfo();
  products.AddProductInfo("001", "100", "100", 0);
  ASSERT_TRUE(products.BuildReceiptLines());
  EXPECT_EQ(products.GetReceiptLine(5, true), "");
  EXPECT_EQ(products.strErrorMessage(),
            "TProductInfo.GetReceiptLine() Failed - Subscript out of range");
  EXPECT_EQ(products.GetReceiptLine(-1, false), "");
}

}  // namespace
}  // namespace ccaddin
