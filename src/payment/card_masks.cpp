// CreditCardCommon's text procedures: masks, grouping, folder ends and track extraction.
#include <string_view>

#include "payment/credit_card_common.h"
#include "platform/text_rules.h"
#include "platform/trap.h"

namespace ccaddin {
std::string CreditCardCommon::StarString(int32_t lCount) {
  return lCount > 0 ? std::string(static_cast<size_t>(lCount), '*') : std::string();
}

std::string CreditCardCommon::MaskCardNumber(const std::string& strPan) {
  if (strPan.size() > 4) {
    return StarString(static_cast<int32_t>(strPan.size() - 4)) + strPan.substr(strPan.size() - 4);
  }
  return StarString(4);
}

std::string CreditCardCommon::MaskCardNumberMiddle(const std::string& strPan, int32_t lKeepFirst,
                                                   int32_t lKeepLast) {
  if (lKeepFirst < 0 || lKeepLast < 0) return std::string();
  const auto length = static_cast<int64_t>(strPan.size());
  if (length > static_cast<int64_t>(lKeepFirst) + lKeepLast) {
    const auto first = static_cast<size_t>(lKeepFirst);
    const auto last = static_cast<size_t>(lKeepLast);
    return strPan.substr(0, first) +
           StarString(static_cast<int32_t>(length - lKeepFirst - lKeepLast)) +
           strPan.substr(strPan.size() - last);
  }
  return StarString(static_cast<int32_t>(length));
}

std::string CreditCardCommon::GroupInFours(const std::string& strText) {
  std::string grouped;
  grouped.reserve(strText.size() + strText.size() / 4);
  for (size_t i = 0; i < strText.size(); ++i) {
    grouped += strText[i];
    if ((i + 1) % 4 == 0) grouped += ' ';
  }
  const size_t begin = grouped.find_first_not_of(' ');
  if (begin == std::string::npos) return std::string();
  return grouped.substr(begin, grouped.find_last_not_of(' ') - begin + 1);
}

std::string CreditCardCommon::AddTrailingBackslash(const std::string& strPath) {
  return FolderWithSeparator(strPath);
}

std::string CreditCardCommon::ExtractTrack2(const std::string& strInput) {
  return Trap(error_message_, "CreditCardCommon.ExtractTrack2() Failed - ", std::string(), [&] {
    std::string track;
    if (strInput.size() < 21) return track;
    const std::string start = HexToControlString(strTrackStartId);
    const std::string end = HexToControlString(strTrackEndId);
    // A sentinel that is not configured (or not valid hex) cannot be found.
    if (start.empty() || end.empty()) return track;
    // Standard readers put the sentinels once, so the first of each frames track 2; other
    // readers send track 1 or 3 around it, so the last of each does.
    const bool standard = EqualsIgnoringAsciiCase(strTrackStartId, "3B") &&
                          EqualsIgnoringAsciiCase(strTrackEndId, "3F");
    const size_t start_at = standard ? strInput.find(start) : strInput.rfind(start);
    const size_t end_at = standard ? strInput.find(end) : strInput.rfind(end);
    if (start_at == std::string::npos || end_at == std::string::npos) return track;
    const size_t data_at = start_at + start.size();
    if (end_at < data_at) return track;
    track = ";" + strInput.substr(data_at, end_at - data_at) + "?";
    return track;
  });
}

}  // namespace ccaddin
