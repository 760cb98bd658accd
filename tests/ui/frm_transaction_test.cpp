// The transaction window's scenario cases (tests/data/ui/transaction), headless on the
// virtual clock against the simulator: each case's script drives the window through one
// path, and the case's outcome says where it must end.
#include "ui/transaction/frm_transaction.h"

#include <gtest/gtest.h>

#include <set>

#include "platform/virtual_env.h"
#include "support/case_files.h"
#include "transaction_case.h"
#include "ui/headless/headless_loop.h"

namespace ccaddin {
namespace {

class TransactionCaseTest : public ::testing::TestWithParam<std::string> {};

TEST_P(TransactionCaseTest, RunsHeadless) {
  VirtualEnv env;
  ScopedEnv scoped_env(&env);
  testing::TransactionCase c(GetParam());
  HeadlessLoop loop(
      ScriptRunner(c.TakeScript(), [&](const std::string& line) { c.Journal(line); }));
  frmTransaction window;
  c.Run(loop, loop.Runner(), window);
}

INSTANTIATE_TEST_SUITE_P(Cases, TransactionCaseTest,
                         ::testing::ValuesIn(testing::CaseNames(testing::TransactionCase::kFolder)),
                         [](const auto& info) { return info.param; });

// Each case's trail is held to the states the window really showed, so the trails of all
// cases together are the states the scenarios reach: every state of the table, but
// printing a report (19, with the auxiliary frames), whose work is still to come.
TEST(TransactionCases, ReachEveryStateOfTheTable) {
  std::set<int32_t> unreached(std::begin(frmTransaction::kStates),
                              std::end(frmTransaction::kStates));
  for (const std::string folder : {testing::TransactionCase::kFolder, "ui/transaction_qt"}) {
    for (const std::string& name : testing::CaseNames(folder)) {
      const nlohmann::json c = testing::ReadCase(folder, name);
      for (const int32_t state : c.at("outcome").at("states")) unreached.erase(state);
    }
  }
  EXPECT_EQ(unreached, (std::set<int32_t>{frmTransaction::kPrintingReport}));
}

}  // namespace
}  // namespace ccaddin
