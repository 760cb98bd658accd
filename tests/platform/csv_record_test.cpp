#include "platform/csv_record.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/virtual_env.h"

namespace ccaddin {
namespace {

using Fields = std::vector<std::string>;

TEST(CSVRecord, BuildPacketQuotesWhatNeedsItAndTrimsTheRest) {
  struct Case {
    Fields fields;
    bool enclose;
    std::string record;
    Fields written;  // the array after the call
  };
  const Case cases[] = {
      {{"abc", "x,y", "say \"hi\""},
       false,
       R"(abc,"x,y","say ""hi""")",
       {"abc", "\"x,y\"", R"("say ""hi""")"}},
      {{"abc", "x,y", "say \"hi\""},
       true,
       R"("abc","x,y","say ""hi""")",
       {"\"abc\"", "\"x,y\"", R"("say ""hi""")"}},
      {{"  pad  ", "\"lead", " ", " in\"side "},
       false,
       R"(pad,"""lead",," in""side ")",
       {"pad", R"("""lead")", "", R"(" in""side ")"}},
      {{" a, b "}, false, "\" a, b \"", {"\" a, b \""}},
      {{"", ""}, true, R"("","")", {"\"\"", "\"\""}},
  };
  for (const Case& c : cases) {
    CSVRecord csv;
    csv.bEncloseFields = c.enclose;
    Fields fields = c.fields;
    std::string record = "stale";
    ASSERT_EQ(csv.BuildPacket(fields, static_cast<int16_t>(fields.size()), record), 0);
    EXPECT_EQ(record, c.record);
    EXPECT_EQ(fields, c.written);
  }
}

TEST(CSVRecord, BuildPacketWithTooFewElementsFailsAndChangesNothing) {
  CSVRecord csv;
  Fields fields = {" a ", "b,c", "d"};
  std::string record = "previous";
  EXPECT_EQ(csv.BuildPacket(fields, 4, record), 1);
  EXPECT_EQ(csv.strErrorMessage(), "Invalid number of fields : 4");
  EXPECT_EQ(record, "previous");
  EXPECT_EQ(fields, (Fields{" a ", "b,c", "d"}));
  // Only the first iNoFields are joined (and trimmed); a later success leaves the last
  // failure readable.
  EXPECT_EQ(csv.BuildPacket(fields, 2, record), 0);
  EXPECT_EQ(record, "a,\"b,c\"");
  EXPECT_EQ(fields, (Fields{"a", "\"b,c\"", "d"}));
  EXPECT_EQ(csv.strErrorMessage(), "Invalid number of fields : 4");
}

TEST(CSVRecord, BreakOutFieldsScenarios) {
  const std::pair<std::string, Fields> cases[] = {
      {"a,b,", {"a", "b", ""}},
      {R"(a, "b,c" , d)", {"a", "b,c", "d"}},
      {R"("x"y)", {"\"x\"", "y"}},
      {R"("a""b"c)", {R"("a""b")", "c"}},  // quotes kept as written
      {R"("say ""hi""",2)", {"say \"hi\"", "2"}},
      {R"("")", {""}},
      {R"("a" ,)", {"a", ""}},
      {R"("a"   )", {"a"}},
      {"   ", {""}},
      {"a,,b", {"a", "", "b"}},
      {"  x  ,  y  ", {"x", "y"}},
      {R"("never closed, b)", {R"("never closed, b)"}},
      {R"("never closed,)", {R"("never closed,)", ""}},
      {R"(a,"b""")", {"a", "b\""}},
      // Records of sixteen bytes and more, with the "," at each end of such a block.
      {"0123456789abcdef,x", {"0123456789abcdef", "x"}},
      {"0123456789abcdefghi,jk  ,  lmnopqrstuvw ,",
       {"0123456789abcdefghi", "jk", "lmnopqrstuvw", ""}},
      {",123456789abcdef", {"", "123456789abcdef"}},
      {"0123456789abcdefghijklmnopqrstu", {"0123456789abcdefghijklmnopqrstu"}},
  };
  for (const auto& [record, expected] : cases) {
    CSVRecord csv;
    Fields fields = {"old"};
    int16_t count = -1;
    ASSERT_EQ(csv.BreakOutFields(fields, count, record), 0) << record;
    EXPECT_EQ(fields, expected) << record;
    EXPECT_EQ(count, static_cast<int16_t>(expected.size())) << record;
  }
}

TEST(CSVRecord, BreakOutFieldsFailuresLeaveTheOutputsAlone) {
  CSVRecord csv;
  Fields fields = {"keep"};
  int16_t count = 1;
  EXPECT_EQ(csv.BreakOutFields(fields, count, ""), 1);
  EXPECT_EQ(csv.strErrorMessage(), "Cannot extract fields from a blank record");

  // The field count is 16-bit: 32767 fields is the most a record can have.
  ASSERT_EQ(csv.BreakOutFields(fields, count, std::string(32766, ',')), 0);
  EXPECT_EQ(count, 32767);
  fields = {"keep"};
  count = 1;
  EXPECT_EQ(csv.BreakOutFields(fields, count, std::string(32767, ',')), 1);
  EXPECT_EQ(csv.strErrorMessage(), "CSVRecord::BreakOutPacket() - Overflow");
  EXPECT_EQ(fields, Fields{"keep"});
  EXPECT_EQ(count, 1);
}

TEST(CSVRecord, RecordsRoundTripWhateverTheQuotingChoice) {
  const Fields original = {"TXN0001",          "20260115", "************1234", "1250",
                           "Smith, J \"Jr\"",  "",         "\"quoted start",   "a\"b",
                           "VISA DEBIT,CONT.", "0",        " \"spaced quote"};
  for (bool enclose : {false, true}) {
    CSVRecord csv;
    csv.bEncloseFields = enclose;
    Fields fields = original;
    std::string record;
    ASSERT_EQ(csv.BuildPacket(fields, static_cast<int16_t>(fields.size()), record), 0);
    Fields back;
    int16_t count = 0;
    ASSERT_EQ(csv.BreakOutFields(back, count, record), 0);
    EXPECT_EQ(back, original) << record;
  }
}

TEST(CSVRecord, QuotedFieldsLetTheMessageLoopRunAndParseTheirOwnCopy) {
  VirtualEnv env;
  ScopedEnv scoped(&env);
  CSVRecord csv;
  Fields fields;
  int16_t count = 0;

  ASSERT_EQ(csv.BreakOutFields(fields, count, "1250,0,VISA"), 0);
  EXPECT_EQ(env.do_events_calls(), 0);

  // A click handled while the record is read rewrites the caller's text.
  std::string record = R"(A,"long quoted text",B)";
  bool handler_ran = false;
  env.RunAfter(0, [&] {
    handler_ran = true;
    record = "changed";
  });
  ASSERT_EQ(csv.BreakOutFields(fields, count, record), 0);
  EXPECT_TRUE(handler_ran);
  EXPECT_GE(env.do_events_calls(), 17);  // at least once per quoted character
  EXPECT_EQ(fields, (Fields{"A", "long quoted text", "B"}));
}

}  // namespace
}  // namespace ccaddin
