// TReceiptDataInterpreter: turns a till's customer receipt start or end text, marked up with
// <B> (bold) and <N> (normal), into printable segments, and can swap the till's "no change"
// segment for a cashback line once the cashback is known. One instance per text, owned by
// the shared session state until the till replaces it. Nothing here blocks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ccaddin {

class TReceiptDataInterpreter {
 public:
  static constexpr int32_t kControlNormal = 0;
  static constexpr int32_t kControlBold = 1;

  // Replaces the segments by the parse of strReceiptData and keeps the two other texts for
  // SetCashback. CR and LF are dropped (each segment prints as a line of its own), "</B>" and
  // "</N>" are dropped (only a <N> ends bold), tags are case-sensitive and any other text in
  // angle brackets is printed as it stands.
  void ParseReceiptData(const std::string& strReceiptData, const std::string& strNoChangeText,
                        const std::string& strCashbackText);

  // Replaces the first segment that reads as the no-change text (blanks around it and
  // letter case ignored) by cashback text & " " & strAmount, centred on the old segment's
  // width. Does nothing when the no-change text is empty or no segment matches.
  void SetCashback(const std::string& strAmount);

  // Any index that is not a segment (negative or past the end) gives 0 and "0" respectively,
  // so a caller looping to lReceiptLineCount never meets a failure.
  [[nodiscard]] int32_t GetControlType(int32_t lIndex);
  [[nodiscard]] std::string GetText(int32_t lIndex);
  [[nodiscard]] int32_t lReceiptLineCount() const { return static_cast<int32_t>(segments_.size()); }

  [[nodiscard]] const std::string& strErrorMessage() const { return error_message_; }

 private:
  struct Segment {
    int32_t control_type = kControlNormal;
    std::string text;
  };

  const Segment* SegmentAt(int32_t lIndex) const;

  std::vector<Segment> segments_;
  std::string no_change_text_;
  std::string cashback_text_;
  std::string error_message_;
};

}  // namespace ccaddin
