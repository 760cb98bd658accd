#include "payment/receipt_data_interpreter.h"

#include <cstdlib>
#include <string_view>

#include "platform/text_rules.h"
#include "platform/trap.h"

namespace ccaddin {
namespace {

constexpr std::string_view kBoldTag = "<B>";
constexpr std::string_view kNormalTag = "<N>";

}  // namespace

void TReceiptDataInterpreter::ParseReceiptData(const std::string& strReceiptData,
                                               const std::string& strNoChangeText,
                                               const std::string& strCashbackText) {
  TrapVoid(error_message_, "TReceiptDataInterpreter.ParseReceiptData() Failed - ", [&] {
    std::string text = ReplaceAll(strReceiptData, "\r", "");
    text = ReplaceAll(std::move(text), "\n", "");
    text = ReplaceAll(std::move(text), "</N>", "");
    text = ReplaceAll(std::move(text), "</B>", "");

    std::vector<Segment> segments;
    int32_t current = kControlNormal;
    std::string collected;
    const std::string_view view = text;
    for (size_t pos = 0; pos < view.size();) {
      const std::string_view rest = view.substr(pos);
      const bool bold = rest.starts_with(kBoldTag);
      if (bold || rest.starts_with(kNormalTag)) {
        if (!collected.empty()) segments.push_back({current, std::move(collected)});
        collected.clear();
        current = bold ? kControlBold : kControlNormal;
        pos += kBoldTag.size();  // both tags are three characters
      } else {
        collected.push_back(view[pos]);
        ++pos;
      }
    }
    if (!collected.empty()) segments.push_back({current, std::move(collected)});

    segments_ = std::move(segments);
    no_change_text_ = strNoChangeText;
    cashback_text_ = strCashbackText;
  });
}

void TReceiptDataInterpreter::SetCashback(const std::string& strAmount) {
  TrapVoid(error_message_, "TReceiptDataInterpreter.SetCashback() Failed - ", [&] {
    if (no_change_text_.empty()) return;
    for (Segment& segment : segments_) {
      if (!EqualsIgnoringCase(TrimSpaces(segment.text), no_change_text_)) continue;
      const std::string line = cashback_text_ + " " + strAmount;
      // The receipt has always centred this way: an odd difference loses one column, and a
      // line longer than the old segment is padded by half its excess on each side.
      int64_t k = static_cast<int64_t>(segment.text.size()) - static_cast<int64_t>(line.size());
      if (k % 2 != 0) --k;
      const std::string pad(static_cast<size_t>(std::llabs(k) / 2), ' ');
      segment.text = pad + line + pad;
      return;
    }
  });
}

const TReceiptDataInterpreter::Segment* TReceiptDataInterpreter::SegmentAt(int32_t lIndex) const {
  if (lIndex < 0 || static_cast<size_t>(lIndex) >= segments_.size()) return nullptr;
  return &segments_[static_cast<size_t>(lIndex)];
}

int32_t TReceiptDataInterpreter::GetControlType(int32_t lIndex) {
  const Segment* segment = SegmentAt(lIndex);
  return segment ? segment->control_type : kControlNormal;
}

std::string TReceiptDataInterpreter::GetText(int32_t lIndex) {
  return Trap(error_message_, "TReceiptDataInterpreter.GetText() Failed - ", std::string("0"), [&] {
    const Segment* segment = SegmentAt(lIndex);
    return segment ? segment->text : std::string("0");
  });
}

}  // namespace ccaddin
