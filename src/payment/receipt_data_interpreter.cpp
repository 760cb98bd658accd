#include "payment/receipt_data_interpreter.h"

#include <cstdlib>
#include <string_view>

#include "platform/trap.h"

namespace ccaddin {
namespace {

constexpr std::string_view kBoldTag = "<B>";
constexpr std::string_view kNormalTag = "<N>";

// One left-to-right pass, as the till's texts have always been cleaned.
std::string ReplaceAll(std::string text, std::string_view from, std::string_view to) {
  std::string out;
  out.reserve(text.size());
  size_t pos = 0;
  for (size_t hit = text.find(from); hit != std::string::npos; hit = text.find(from, pos)) {
    out.append(text, pos, hit - pos);
    out.append(to);
    pos = hit + from.size();
  }
  out.append(text, pos, std::string::npos);
  return out;
}

// Blanks only: a tab in a till's text is deliberate.
std::string_view TrimSpaces(std::string_view text) {
  const size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// Upper case in Windows-1252, where the accented letters and the few letters at 0x9A-0x9F
// have capitals of their own.
unsigned char Upper1252(unsigned char c) {
  if (c >= 'a' && c <= 'z') return static_cast<unsigned char>(c - 32);
  if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return static_cast<unsigned char>(c - 32);
  switch (c) {
    case 0x9A:
      return 0x8A;  // s caron
    case 0x9C:
      return 0x8C;  // oe
    case 0x9E:
      return 0x8E;  // z caron
    case 0xFF:
      return 0x9F;  // y diaeresis
    default:
      return c;
  }
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (Upper1252(static_cast<unsigned char>(a[i])) !=
        Upper1252(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

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
