// The 40-column text builders of TReceipt and its file names: pure functions of their
// arguments (amounts also of the locale's decimal separator), so that both receipt copies,
// reports and tests get the same columns.
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/pad_extract.h"
#include "platform/text_box_format.h"
#include "platform/text_rules.h"
#include "receipts/receipt.h"

namespace ccaddin {

namespace {

// Store and till numbers: seven digits and "_", or "UNKNOWN_" when the till gave none.
std::string NumberPart(const std::string& number) {
  if (number.empty()) return "UNKNOWN_";
  return PadExtract::PadString(number, 2, 7) + "_";
}

}  // namespace

std::string TReceipt::CentreText(const std::string& strText) {
  int32_t k = kWidth - static_cast<int32_t>(strText.size());
  if (k % 2 != 0) k -= 1;
  const std::string blanks(static_cast<size_t>(std::abs(k) / 2), ' ');
  return blanks + strText + blanks;
}

std::string TReceipt::JoinLeftRight(const std::string& strLeft, const std::string& strRight) {
  const std::string left(TrimSpaces(std::string_view(strLeft).substr(0, kWidth)));
  const size_t width = kWidth - left.size();
  std::string right = strRight.substr(0, width);
  return left + std::string(width - right.size(), ' ') + right;
}

std::string TReceipt::RightJustify40(const std::string& strText) {
  if (strText.size() >= static_cast<size_t>(kWidth)) return strText.substr(0, kWidth);
  return std::string(kWidth - strText.size(), ' ') + strText;
}

std::string TReceipt::FormatCardDate(const std::string& strDate) {
  if (strDate.size() == 4) return strDate.substr(2, 2) + "/" + strDate.substr(0, 2);
  if (strDate.size() == 6) {
    return strDate.substr(4, 2) + "/" + strDate.substr(2, 2) + "/" + strDate.substr(0, 2);
  }
  return strDate;
}

std::string TReceipt::MaskKeepLast(const std::string& strText, int32_t lKeep) {
  const size_t keep = lKeep < 0 ? 0 : static_cast<size_t>(lKeep);
  if (strText.size() > keep) {
    return std::string(strText.size() - keep, '*') + strText.substr(strText.size() - keep);
  }
  return std::string(strText.size(), '*');
}

std::vector<std::string> TReceipt::WrapWords(const std::string& strText) {
  std::vector<std::string> lines;
  std::string line;
  size_t pos = 0;
  while (pos < strText.size()) {
    const size_t start = strText.find_first_not_of(' ', pos);
    if (start == std::string::npos) break;
    size_t end = strText.find(' ', start);
    if (end == std::string::npos) end = strText.size();
    const std::string word = strText.substr(start, end - start);
    pos = end;
    if (line.size() + 1 + word.size() < 39) {
      line += " " + word;
    } else {
      // A word that does not fit starts the next line without the leading blank.
      lines.push_back(line);
      line = word;
    }
  }
  if (!line.empty()) lines.push_back(line);
  return lines;
}

std::string TReceipt::FormatAmount(int32_t lAmount, int32_t lExponent) {
  if (lAmount == 0) {
    switch (lExponent) {
      case 0:
        return "0";
      case 1:
        return "0.0";
      case 2:
        return "0.00";
      case 3:
        return "0.000";
      default:
        return "";
    }
  }
  return TextBoxFormat::FormatCurrencyDown(lAmount, static_cast<int16_t>(lExponent));
}

std::string TReceipt::MakeShortFileName(const TTillInformation& oTillInfo, int32_t lTransRefNo,
                                        const DateTime& now) {
  return NumberPart(oTillInfo.strStoreNumber) + NumberPart(oTillInfo.strTillNumber) +
         PadExtract::PadString(std::to_string(lTransRefNo), 2, 10) + "_" + now.Yyyymmdd() + "_" +
         now.Hhmmss() + ".rcpt";
}

std::string TReceipt::MakeLongFileName(const std::string& strShortName, bool bMerchantCopy,
                                       bool bDuplicate) {
  return std::string(bDuplicate ? "DUP_" : "") + (bMerchantCopy ? "M_" : "C_") + strShortName;
}

}  // namespace ccaddin
