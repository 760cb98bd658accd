// Money is never left authorised without the till knowing: a sale run by ccaddin-till is
// killed (SIGKILL), or finds the disk full, at every step that changes a file; then the
// till comes back and confirms what it was told was saved, the help desk cancels the
// authorisations no saved record names, and the server reverses what stays unconfirmed.
// Afterwards no authorisation is open and everything the till was told stands.
// CCADDIN_SWEEP_LONG=1 (scripts/fault-sweep.sh) sweeps every write, over more sales.
#include <sys/wait.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include <gtest/gtest.h>

#include "hooks/t_non_gui_transaction_hook2.h"
#include "payment/credit_card_common.h"
#include "platform/virtual_env.h"
#include "qlclient/sim/simulator.h"
#include "support/leak_scan.h"
#include "support/temp_dir.h"
#include "support_command.h"
#include "till_command.h"

namespace ccaddin {
namespace {

namespace fs = std::filesystem;

bool Long() {
  return std::getenv("CCADDIN_SWEEP_LONG") != nullptr;
}

std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

// Runs `ccaddin-till <sale> --dir <site>` under the fault injector, stopped at step `at`
// (0: not stopped); the wait status, with standard output and error.
struct Child {
  int status;
  std::string out, err;
};
Child RunTill(const std::string& sale, const fs::path& site, const std::string& mode, long at) {
  // The short sweep leaves the journal out and takes a file's consecutive writes as one
  // step. A full disk is the till's: the server's store lies on another machine.
  const std::string skip = std::string(Long() ? "" : "tamberincreditcard") +
                           (mode == "disk-full" ? ":qlsim-server" : "");
  const std::string command =
      "exec env LD_PRELOAD=" CCADDIN_FAULT_INJECTOR " ASAN_OPTIONS=verify_asan_link_order=0" +
      std::string(Long() ? " CCADDIN_FAULT_EVERY_WRITE=1" : "") +
      " CCADDIN_FAULT_ROOT=" + site.string() + "/ CCADDIN_FAULT_MODE=" + mode +
      " CCADDIN_FAULT_AT=" + std::to_string(at) + " CCADDIN_FAULT_SKIP=" + skip +
      " " CCADDIN_TILL_BINARY " " + sale + " --dir " + site.string() + " >" + site.string() +
      ".out 2>" + site.string() + ".err";
  const int status = std::system(command.c_str());
  return {status, ReadFile(site.string() + ".out"), ReadFile(site.string() + ".err")};
}

class FaultSweep : public ::testing::Test {
 protected:
  // A demo site of its own; the card is in the reader at the first poll (no pauses).
  fs::path MakeSite(const std::string& name) {
    const fs::path site = work_.path() / name;
    std::ostringstream ignored;
    (void)PrepareDemoSite(site.string(), ignored);
    std::ofstream(site / "config" / "qlclient.json") << R"({"readerStates":[3]})";
    return site;
  }

  // One sale stopped at step `at`, then the recovery, then the checks.
  void Sweep(const std::string& sale, const std::string& mode, long at) {
    const fs::path site = MakeSite(mode + std::to_string(at));
    const Child child = RunTill(sale, site, mode, at);
    const std::string where = sale + ": " + mode + " at step " + std::to_string(at) + "\n";
    if (mode == "kill") {
      ASSERT_TRUE(WIFSIGNALED(child.status) && WTERMSIG(child.status) == SIGKILL) << where;
    } else {  // A full disk is a failure like any other: reported, never a crash.
      ASSERT_TRUE(WIFEXITED(child.status) && WEXITSTATUS(child.status) != kTillExitUsage)
          << where << child.err;
    }
    std::smatch saved;
    const bool told_saved = std::regex_search(
        child.out, saved,
        std::regex(R"(Saved for confirmation: ((\d{10})_\d{8}_\d{4}) \((not )?authorised\))"));
    const bool approved = told_saved && !saved[3].matched;
    const int32_t ref = told_saved ? std::stoi(saved[2]) : 0;
    const std::string config = (site / "config" / "qlclient.json").string();
    if (mode != "kill") {  // A till that lives through it leaves open only what it holds.
      for (const sim::StoredTransaction& left : sim::PendingAuthorisations(config))
        EXPECT_EQ(left.ref, ref) << where << "left open";
    }

    const std::string db = (site / "registry.db").string();
    ::setenv("CCADDIN_REGISTRY", db.c_str(), 1);
    sim::ResetSimulator();
    if (told_saved && child.out.find("Outcome: ") == std::string::npos) {
      // The till comes back and gives its verdict on the sale it was told was saved.
      const ScopedSharedState state;
      TNonGuiTransactionHook2 till;
      ASSERT_EQ(till.StartTransaction(), 0) << where;
      TTransactionInfo info;
      EXPECT_TRUE(till.ConfirmTransaction(approved ? CONFIRMTYPE_AUTHORISED : CONFIRMTYPE_DECLINED,
                                          saved[1], "", {}, info))
          << where << till.strErrorMessage();
    }
    std::ostringstream out, err;
    EXPECT_EQ(RunSupportCommand({"--db", db, "pending", "--cancel-orphans"}, out, err), 0)
        << where << out.str() << err.str();
    // Left to the server: only a sale saved just before the kill, the till not yet told.
    for (const sim::StoredTransaction& left : sim::PendingAuthorisations(config)) {
      char name[16];
      std::snprintf(name, sizeof name, "%010d_", left.ref);
      EXPECT_NE(out.str().find(name), std::string::npos) << where << "unheld: " << left.ref;
    }
    VirtualEnv later(LocalDateTimeFromUnix(std::time(nullptr) + 31 * 60, 0));
    const ScopedEnv scoped(&later);
    EXPECT_TRUE(sim::PendingAuthorisations(config).empty()) << where;
    if (told_saved) {
      const auto row = sim::SimStore((site / "config" / "qlsim-server.sqlite").string()).Find(ref);
      ASSERT_TRUE(row.has_value()) << where;
      EXPECT_EQ(row->state, approved ? sim::StoreState::kConfirmed : sim::StoreState::kDeclined)
          << where;
    }
    EXPECT_EQ(testing::CardNumbersInFiles(site.string()), std::vector<std::string>{}) << where;
    fs::remove_all(site);
  }

  void SweepEveryStep(const std::string& sale) {
    const Child whole = RunTill(sale, MakeSite("count"), "kill", 0);
    std::smatch steps;
    ASSERT_TRUE(std::regex_search(whole.err, steps, std::regex("fault-injector steps=(\\d+)")));
    for (const char* mode : {"kill", "disk-full"}) {
      for (long at = 1; at <= std::stol(steps[1]); ++at) Sweep(sale, mode, at);
    }
  }

  // Sites live in memory where the system has a RAM folder: a kill is a crash of the
  // process, not of the machine, and a sweep's thousands of syncs then cost nothing.
  static bool InMemory() {
    if (fs::is_directory("/dev/shm")) ::setenv("CCADDIN_TEST_TMP", "/dev/shm", 1);
    return true;
  }
  bool in_memory_ = InMemory();
  testing::TempDir work_;
};

TEST_F(FaultSweep, NoAuthorisationStaysOpenAndNothingToldIsLost) {
  SweepEveryStep("sale 12.50 --card visa-chip-pin");
  if (!Long()) return;
  SweepEveryStep("sale 20.00 --card mc-fallback --cashback 5.00");
  SweepEveryStep("sale 9.99 --card visa-swipe --type refund");
  SweepEveryStep("sale 42.00 --card amex-keyed --type preauth");
  SweepEveryStep("sale 100.09 --card mc-declined");
}

}  // namespace
}  // namespace ccaddin
