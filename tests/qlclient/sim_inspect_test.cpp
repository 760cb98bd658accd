#include "qlclient/sim/sim_inspect.h"

#include <sstream>

#include <gtest/gtest.h>

#include "qlclient/sim/sim_store.h"
#include "support/temp_dir.h"

namespace ccaddin::sim {
namespace {

using ccaddin::testing::TempDir;

struct Output {
  int code;
  std::string out, err;
};

Output Inspect(const std::vector<std::string>& args) {
  std::ostringstream out, err;
  const int code = InspectStore(args, out, err);
  return {code, out.str(), err.str()};
}

TEST(SimInspect, ListsTransactionsAndBatchesThroughTheConfigurationFile) {
  TempDir dir;
  dir.Write("ql.json", R"({"store":"server.sqlite"})");
  {
    SimStore store(dir.file("server.sqlite"));
    QlTransaction t;
    t.strPan = "5413330089010434";
    t.strAmount = "1250";
    t.lTransactionTypeCode = 6;
    t.lStatus = 1;
    t.strSchemeName = "MASTERCARD";
    store.Add(t, true);
    store.CloseBatch();
    t.lTransactionTypeCode = 1;
    store.Add(t, false);
  }
  const Output all = Inspect({dir.file("ql.json")});
  ASSERT_EQ(all.code, 0) << all.err;
  EXPECT_NE(all.out.find("REFUND"), std::string::npos);
  EXPECT_NE(all.out.find("************0434"), std::string::npos);
  EXPECT_NE(all.out.find("offline, not uploaded"), std::string::npos);
  EXPECT_NE(all.out.find("2 transaction(s)"), std::string::npos);
  EXPECT_EQ(all.out.find("5413330089010434"), std::string::npos);

  const Output second = Inspect({dir.file("server.sqlite"), "transactions", "2"});
  EXPECT_NE(second.out.find("1 transaction(s)"), std::string::npos);
  const Output batches = Inspect({dir.file("server.sqlite"), "batches"});
  EXPECT_NE(batches.out.find("(open)"), std::string::npos);
  const Output show = Inspect({dir.file("server.sqlite"), "show", "-1"});
  ASSERT_EQ(show.code, 0);
  EXPECT_NE(show.out.find("ref 2, batch 2"), std::string::npos);
}

TEST(SimInspect, BadArgumentsAndFilesFailWithoutTouchingThem) {
  TempDir dir;
  EXPECT_EQ(Inspect({}).code, 2);
  EXPECT_EQ(Inspect({dir.file("none.sqlite")}).code, 1);
  EXPECT_EQ(Inspect({dir.file("none.sqlite")}).err,
            "No simulator store at " + dir.file("none.sqlite") + "\n");
  const std::string text = "plain text\n";
  dir.Write("text.sqlite", text);
  const Output bad = Inspect({dir.file("text.sqlite")});
  EXPECT_EQ(bad.code, 1);
  EXPECT_NE(bad.err.find("is not usable"), std::string::npos);
  EXPECT_EQ(dir.Read("text.sqlite"), text);
  dir.Write("ql.json", "{oops");
  EXPECT_NE(Inspect({dir.file("ql.json")}).err.find("is not valid JSON"), std::string::npos);
  { SimStore store(dir.file("s.sqlite")); }
  EXPECT_EQ(Inspect({dir.file("s.sqlite"), "frobnicate"}).code, 2);
  EXPECT_EQ(Inspect({dir.file("s.sqlite"), "show", "7"}).code, 1);
  EXPECT_EQ(Inspect({dir.file("s.sqlite"), "transactions", "x"}).code, 2);
}

}  // namespace
}  // namespace ccaddin::sim
