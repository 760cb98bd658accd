#include "payment/product_info.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>

#include "platform/trap.h"

namespace ccaddin {
namespace {

constexpr size_t kLineWidth = 40;
constexpr size_t kCodeWidth = 5;
constexpr size_t kDescriptionWidth = 19;
constexpr size_t kQuantityWidth = 8;
constexpr size_t kValueWidth = 8;
constexpr size_t kTotalWidth = 35;

constexpr char kFieldSeparator = 28;
constexpr char kRecordSeparator = 30;

constexpr std::string_view kHeading = "CODE DESCRIPTION         LTR/QTY   VALUE";
constexpr std::string_view kBunker = "BUNKER";

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

bool AllDigits(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), IsDigit);
}

// A number as a till writes one: an optional minus sign, digits, and at most one decimal
// point. Blanks, plus signs, exponents, separators and currency signs make a text
// non-numeric, so what passes can go to the payment server as it stands.
bool IsNumeric(std::string_view text) {
  if (text.starts_with('-')) text.remove_prefix(1);
  bool digit_seen = false;
  bool point_seen = false;
  for (char c : text) {
    if (IsDigit(c)) {
      digit_seen = true;
    } else if (c == '.' && !point_seen) {
      point_seen = true;
    } else {
      return false;
    }
  }
  return digit_seen;
}

// True when a numeric text stands for a value above zero ("0.00", "-3" and "-0" do not).
bool IsAboveZero(std::string_view numeric) {
  if (numeric.starts_with('-')) return false;
  return std::any_of(numeric.begin(), numeric.end(), [](char c) { return c >= '1' && c <= '9'; });
}

// A whole, positive number of digits that still fits a signed 32-bit value.
bool FitsInLong(std::string_view digits) {
  const size_t first = digits.find_first_not_of('0');
  if (first == std::string_view::npos) return true;
  digits.remove_prefix(first);
  constexpr std::string_view kMax = "2147483647";
  return digits.size() < kMax.size() || (digits.size() == kMax.size() && digits <= kMax);
}

// A whole number (optional minus sign) as a 64-bit value; anything else is the error a
// conversion of such a text has always reported.
int64_t WholeNumber(std::string_view text) {
  std::string_view digits = text.starts_with('-') ? text.substr(1) : text;
  if (!AllDigits(digits)) throw Failure("Type mismatch");
  int64_t value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size()) throw Failure("Overflow");
  return value;
}

// Blank-padded and cut to width. To be replaced by PadExtract::PadString (space, right).
std::string LeftAligned(std::string_view text, size_t width) {
  std::string out(text.substr(0, width));
  out.resize(width, ' ');
  return out;
}

// Blank-padded on the left, to be replaced by PadExtract::PadString (space, left) where a
// cut cannot happen. A figure that fills or passes its column is kept whole behind one
// blank: a receipt must never show a cut amount, nor two figures run together. The caller
// takes the extra columns from the description.
std::string RightAligned(std::string_view text, size_t width) {
  std::string out(text.size() < width ? width - text.size() : 1, ' ');
  out.append(text);
  return out;
}

// Splits a comma-separated record: fields are trimmed of blanks, a field in double quotes
// may hold commas ("" stands for a quote), a trailing comma ends with an empty field. To be
// replaced by CSVRecord::BreakOutFields once that is available here.
std::vector<std::string> SplitRecord(std::string_view record) {
  std::vector<std::string> fields;
  const size_t n = record.size();
  if (n == 0) return fields;
  auto trim = [](std::string_view s) {
    const size_t first = s.find_first_not_of(' ');
    if (first == std::string_view::npos) return std::string();
    return std::string(s.substr(first, s.find_last_not_of(' ') - first + 1));
  };
  size_t p = 0;
  while (p < n) {
    while (p + 1 < n && record[p] == ' ') ++p;
    if (record[p] == '"') {
      std::string value;
      size_t j = p + 1;
      bool closed = false;
      while (j < n) {
        if (record[j] == '"') {
          if (j + 1 < n && record[j + 1] == '"') {
            value.push_back('"');
            j += 2;
            continue;
          }
          closed = true;
          ++j;
          break;
        }
        value.push_back(record[j++]);
      }
      if (!closed) {
        fields.emplace_back(record.substr(p));
        p = n;
      } else {
        size_t k = j;
        while (k < n && record[k] == ' ') ++k;
        if (k >= n) {
          fields.push_back(std::move(value));
          p = n;
        } else if (record[k] == ',') {
          fields.push_back(std::move(value));
          p = k + 1;
        } else {
          fields.emplace_back(record.substr(p, j - p));
          p = k;
        }
      }
    } else {
      const size_t comma = record.find(',', p);
      const size_t end = comma == std::string_view::npos ? n : comma;
      fields.push_back(trim(record.substr(p, end - p)));
      p = comma == std::string_view::npos ? n : comma + 1;
    }
  }
  if (record.back() == ',') fields.emplace_back();
  return fields;
}

}  // namespace

void TProductInfo::InitProductInfo() {
  products_.clear();
  merchant_lines_.clear();
  customer_lines_.clear();
  excluded_products_.clear();
}

void TProductInfo::AddProductInfo(const std::string& strProductCode, const std::string& strAmount,
                                  const std::string& strLitres, int32_t lQuantity) {
  TrapVoid(error_message_, "TProductInfo.AddProductInfo() Failed - ", [&] {
    products_.push_back({strProductCode, strAmount, strLitres, lQuantity, {}, false});
  });
}

int32_t TProductInfo::ValidateProductInfo() {
  return Trap(error_message_, "TProductInfo.ValidateProductInfo() Failed - ", 1, [&] {
    auto fail = [&](std::string message) {
      error_message_ = std::move(message);
      return 1;
    };
    for (const Product& p : products_) {
      if (!AllDigits(p.code)) return fail("Product code is not numeric (" + p.code + ")");
      if (p.code.size() != 3) {
        return fail("Product code is not 3 digits in length (" + p.code + ")");
      }
      if (!IsNumeric(p.amount)) return fail("Product amount is not numeric (" + p.amount + ")");
      if (!IsAboveZero(p.amount)) {
        return fail("Product amount is less than or equal to sero (" + p.amount + ")");
      }
      if (p.amount.find('.') != std::string::npos) {
        return fail("Product amount must by in lowest denomination (no decimal point) (" +
                    p.amount + ")");
      }
      if (!FitsInLong(p.amount)) return fail("Product amount is too large (" + p.amount + ")");

      const bool has_litres = !p.litres.empty();
      const bool has_quantity = p.quantity > 0;
      const std::string both =
          "(Litres=" + p.litres + ", Quantity=" + std::to_string(p.quantity) + ")";
      if (has_litres && has_quantity) return fail("Litres value and quantity specified " + both);
      if (!has_litres && !has_quantity) {
        return fail("Neither litres value or quantity specified " + both);
      }
      if (has_litres) {
        if (!IsNumeric(p.litres)) return fail("Litres value is not numeric (" + p.litres + ")");
        if (!IsAboveZero(p.litres)) {
          return fail("Litres is less than or equal to sero (" + p.litres + ")");
        }
        if (p.litres.find('.') != std::string::npos) {
          return fail("Litres amount must by in lowest denomination (no decimal point) (" +
                      p.litres + ")");
        }
        if (!FitsInLong(p.litres)) return fail("Litres value is too large (" + p.litres + ")");
      }
    }
    return 0;
  });
}

int32_t TProductInfo::AreTillProductsAllowed(const std::string& strAllowedProducts,
                                             bool bAllowExclusion) {
  return Trap(error_message_, "TProductInfo.AreTillProductsAllowed() Failed - ", 1, [&] {
    excluded_products_.clear();
    // An earlier check against another card must not leave its verdicts behind.
    for (Product& p : products_) {
      p.excluded = false;
      p.description.clear();
    }
    const std::vector<std::string> allowed = SplitRecord(strAllowedProducts);
    size_t excluded = 0;
    for (Product& p : products_) {
      bool found = false;
      // Codes sit at the even positions; a description that happens to read like a code
      // must not make a product allowed.
      for (size_t i = 0; i < allowed.size(); i += 2) {
        if (allowed[i] != p.code) continue;
        p.description = i + 1 < allowed.size() ? allowed[i + 1] : std::string();
        found = true;
        break;
      }
      if (found) continue;
      if (!bAllowExclusion) return 1;
      p.excluded = true;
      excluded_products_ += p.code;
      ++excluded;
    }
    if (bAllowExclusion) return excluded == products_.size() ? 1 : 0;
    return 0;
  });
}

int32_t TProductInfo::TotalOfIncluded() const {
  int64_t total = 0;
  for (const Product& p : products_) {
    if (p.excluded) continue;
    total += WholeNumber(p.amount);
    if (total > std::numeric_limits<int32_t>::max() ||
        total < std::numeric_limits<int32_t>::min()) {
      throw Failure("Overflow");
    }
  }
  return static_cast<int32_t>(total);
}

int32_t TProductInfo::GetTotalAmount() {
  return Trap(error_message_, "TProductInfo.GetTotalAmount() Failed - ", 0,
              [&] { return TotalOfIncluded(); });
}

bool TProductInfo::BuildReceiptLines() {
  merchant_lines_.clear();
  customer_lines_.clear();
  return Trap(error_message_, "TproductInfo.BuildReceiptLines() Failed - ", false, [&] {
    std::vector<std::string> merchant;
    std::vector<std::string> customer;
    const std::string dashes(kLineWidth, '-');
    for (auto* lines : {&merchant, &customer}) {
      lines->emplace_back(kHeading);
      lines->push_back(dashes);
    }

    // A bunker card's fuel is settled on the card account: the customer copy shows the word
    // instead of the value unless the merchant prints bunker totals.
    const bool hide_fuel_value = bBunkerCard && !bPrintBunkerTotal;
    bool bunker_shown = false;
    for (const Product& p : products_) {
      if (p.excluded) continue;
      const bool has_litres = !p.litres.empty();
      const std::string quantity = RightAligned(
          has_litres ? FormatLitres(p.litres) : std::to_string(p.quantity), kQuantityWidth);
      const std::string value = RightAligned(FormatLitres(p.amount), kValueWidth);
      const bool bunker = has_litres && hide_fuel_value;
      bunker_shown = bunker_shown || bunker;
      const std::string customer_value = bunker ? RightAligned(kBunker, kValueWidth) : value;

      auto line = [&](const std::string& shown_value) {
        const size_t figures = quantity.size() + shown_value.size();
        const size_t excess =
            figures > kQuantityWidth + kValueWidth ? figures - kQuantityWidth - kValueWidth : 0;
        const size_t description_width =
            excess < kDescriptionWidth ? kDescriptionWidth - excess : 0;
        return LeftAligned(p.code, kCodeWidth) + LeftAligned(p.description, description_width) +
               quantity + shown_value;
      };
      merchant.push_back(line(value));
      customer.push_back(line(customer_value));
    }

    const std::string total = FormatLitres(std::to_string(TotalOfIncluded()));
    for (auto* lines : {&merchant, &customer}) lines->push_back(dashes);
    merchant.push_back("TOTAL" + RightAligned(strCurrencyCode + " " + total, kTotalWidth));
    customer.push_back(
        "TOTAL" + RightAligned(strCurrencyCode + " " + std::string(bunker_shown ? kBunker : total),
                               kTotalWidth));

    merchant_lines_ = std::move(merchant);
    customer_lines_ = std::move(customer);
    return true;
  });
}

std::string TProductInfo::GetReceiptLine(int32_t lIndex, bool bMerchantCopy) {
  return Trap(error_message_, "TProductInfo.GetReceiptLine() Failed - ", std::string(), [&] {
    const std::vector<std::string>& lines = bMerchantCopy ? merchant_lines_ : customer_lines_;
    if (lIndex < 0 || static_cast<size_t>(lIndex) >= lines.size()) {
      throw Failure("Subscript out of range");
    }
    return lines[static_cast<size_t>(lIndex)];
  });
}

std::string TProductInfo::BuildQlPetrolProductInfo() {
  return Trap(error_message_, "TProductInfo.BuildQlPetrolProductInfo() Failed - ", std::string(),
              [&] {
                std::string out;
                for (const Product& p : products_) {
                  if (p.excluded) continue;
                  out += p.code;
                  out += kFieldSeparator;
                  out += p.amount;
                  out += kFieldSeparator;
                  out += p.litres.empty() ? std::to_string(p.quantity) : p.litres;
                  out += kFieldSeparator;
                  out += '0';
                  out += kRecordSeparator;
                }
                return out;
              });
}

std::string TProductInfo::GetProductsText() {
  return Trap(error_message_, "TProductInfo.GetProductsText() Failed - ", std::string(), [&] {
    std::string out;
    for (const Product& p : products_) {
      std::vector<std::string> parts;
      parts.push_back(p.code);
      if (!p.description.empty()) parts.push_back(p.description);
      if (!p.litres.empty()) {
        // Only a plain count of hundredths reads well with a decimal point; anything else is
        // shown as the till sent it, so the journal records what really came in.
        parts.push_back((AllDigits(p.litres) ? FormatLitres(p.litres) : p.litres) + "L");
      } else {
        parts.push_back("QTY " + std::to_string(p.quantity));
      }
      parts.push_back(p.amount);
      if (p.excluded) parts.push_back("EXCLUDED");

      if (!out.empty()) out += "; ";
      bool first = true;
      for (const std::string& part : parts) {
        if (part.empty()) continue;
        if (!first) out += ' ';
        out += part;
        first = false;
      }
    }
    return out;
  });
}

std::string TProductInfo::FormatLitres(const std::string& strLitres) {
  std::string_view digits = strLitres;
  const bool negative = digits.starts_with('-');
  if (negative) digits.remove_prefix(1);
  std::string out;
  switch (digits.size()) {
    case 0:
      out = "0.00";
      break;
    case 1:
      out = "0.0" + std::string(digits);
      break;
    case 2:
      out = "0." + std::string(digits);
      break;
    default:
      out = std::string(digits.substr(0, digits.size() - 2)) + "." +
            std::string(digits.substr(digits.size() - 2));
  }
  return negative ? "-" + out : out;
}

}  // namespace ccaddin
