// The transaction window's scenario cases (tests/data/ui/transaction), headless on the
// virtual clock against the simulator: each case's script drives the window through one
// path, and the case's outcome says where it must end.
#include "ui/transaction/frm_transaction.h"

#include <gtest/gtest.h>

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
  ScopedFormLoop scoped_loop(&loop);
  frmTransaction window;
  std::string error;
  ASSERT_TRUE(loop.ShowModal(window, error)) << error;
  EXPECT_FALSE(loop.Runner().Failed()) << loop.Runner().Failure();
  EXPECT_TRUE(loop.Runner().Finished());
  c.Check(window);
}

INSTANTIATE_TEST_SUITE_P(Cases, TransactionCaseTest,
                         ::testing::ValuesIn(testing::CaseNames(testing::TransactionCase::kFolder)),
                         [](const auto& info) { return info.param; });

}  // namespace
}  // namespace ccaddin
