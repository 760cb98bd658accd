#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "payment/receipt_data_interpreter.h"

namespace ccaddin {
namespace {

using Segments = std::vector<std::pair<int32_t, std::string>>;

Segments SegmentsOf(TReceiptDataInterpreter& interpreter) {
  Segments out;
  for (int32_t i = 0; i < interpreter.lReceiptLineCount(); ++i) {
    out.emplace_back(interpreter.GetControlType(i), interpreter.GetText(i));
  }
  return out;
}

TEST(ReceiptDataInterpreter, ParsesMarkUpIntoSegments) {
  const struct {
    std::string text;
    Segments expected;
  } cases[] = {
      {"<B>WELCOME<N>Thank you", {{1, "WELCOME"}, {0, "Thank you"}}},
      {"Visit us\r\nagain\n", {{0, "Visit usagain"}}},
      {"<B><N>  two tags  ", {{0, "  two tags  "}}},
      {"<B>bold</B>still bold<N>normal</N>", {{1, "boldstill bold"}, {0, "normal"}}},
      {"<b>lower <I>x</I> <B", {{0, "<b>lower <I>x</I> <B"}}},
      {"A</</N>B>C", {{0, "AC"}}},  // "</N>" goes first, which leaves a "</B>" to remove
      {"<B>\r\n<N>\r\n<B>", {}},
      {"\r\n\r\n", {}},
      {"", {}},
  };
  for (const auto& c : cases) {
    TReceiptDataInterpreter interpreter;
    interpreter.ParseReceiptData(c.text, "", "");
    EXPECT_EQ(SegmentsOf(interpreter), c.expected) << c.text;
  }
}

TEST(ReceiptDataInterpreter, IndexesOutsideTheSegmentsReadAsZero) {
  TReceiptDataInterpreter interpreter;
  interpreter.ParseReceiptData("<B>ONLY", "", "");
  EXPECT_EQ(interpreter.GetText(0), "ONLY");
  EXPECT_EQ(interpreter.GetControlType(0), 1);
  EXPECT_EQ(interpreter.GetText(1), "0");
  EXPECT_EQ(interpreter.GetText(-1), "0");
  EXPECT_EQ(interpreter.GetControlType(1), 0);

  // A new parse replaces the segments.
  interpreter.ParseReceiptData("a<B>b", "", "");
  EXPECT_EQ(SegmentsOf(interpreter), (Segments{{0, "a"}, {1, "b"}}));
}

TEST(ReceiptDataInterpreter, CashbackReplacesTheFirstNoChangeSegmentCentred) {
  TReceiptDataInterpreter interpreter;
  interpreter.ParseReceiptData("<B>THANK YOU<N>   no cashback   <B>NO CASHBACK", "NO CASHBACK",
                               "CASHBACK");
  interpreter.SetCashback("10.00");
  // Width 17, new text 14: the odd difference loses a column, one blank each side.
  EXPECT_EQ(SegmentsOf(interpreter),
            (Segments{{1, "THANK YOU"}, {0, " CASHBACK 10.00 "}, {1, "NO CASHBACK"}}));

  // A new text longer than the old segment is padded by half its excess each side.
  for (const std::string& old_segment : {std::string("NC"), std::string("NC ")}) {
    interpreter.ParseReceiptData(old_segment, "nc", "CASHBACK");
    interpreter.SetCashback("10.00");
    EXPECT_EQ(interpreter.GetText(0), std::string(6, ' ') + "CASHBACK 10.00" + std::string(6, ' '))
        << '"' << old_segment << '"';
  }
}

TEST(ReceiptDataInterpreter, CashbackWithoutNoChangeTextOrMatchChangesNothing) {
  TReceiptDataInterpreter interpreter;
  interpreter.ParseReceiptData("NO CASHBACK", "", "CASHBACK");
  interpreter.SetCashback("5.00");
  EXPECT_EQ(interpreter.GetText(0), "NO CASHBACK");

  interpreter.ParseReceiptData("NO CASHBACK TODAY", "NO CASHBACK", "CASHBACK");
  interpreter.SetCashback("5.00");
  EXPECT_EQ(interpreter.GetText(0), "NO CASHBACK TODAY");
  EXPECT_TRUE(interpreter.strErrorMessage().empty());
}

}  // namespace
}  // namespace ccaddin
