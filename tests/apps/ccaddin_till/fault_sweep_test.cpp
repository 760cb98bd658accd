// Money is never left authorised without the till knowing: a sale run by ccaddin-till is
// killed (SIGKILL), or finds the disk full, at every step that changes a file; then the
// till comes back and confirms what it was told was saved, the help desk cancels the
// authorisations no saved record names, and the server reverses what stays unconfirmed.
// Afterwards no authorisation is open and everything the till was told stands.
// CCADDIN_SWEEP_LONG=1 (scripts/fault-sweep.sh) sweeps more cards and kinds of sale.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <optional>
#include <regex>
#include <sstream>

#include <gtest/gtest.h>

#include "hooks/t_non_gui_transaction_hook2.h"
#include "payment/credit_card_common.h"
#include "platform/virtual_env.h"
#include "qlclient/sim/simulator.h"
#include "support/temp_dir.h"
#include "support_command.h"
#include "till_command.h"

extern char** environ;

namespace ccaddin {
namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

bool Long() {
  return std::getenv("CCADDIN_SWEEP_LONG") != nullptr;
}

struct Child {
  int status = 0;
  std::string out, err;
};

// Runs ccaddin-till with the fault injector loaded, its output in files beside the site.
Child RunTill(const std::vector<std::string>& args, const fs::path& site, const std::string& mode,
              long at) {
  std::vector<std::string> env = {
      "LD_PRELOAD=" CCADDIN_FAULT_INJECTOR, "CCADDIN_FAULT_ROOT=" + site.string() + "/",
      "CCADDIN_FAULT_MODE=" + mode, "CCADDIN_FAULT_AT=" + std::to_string(at),
      "ASAN_OPTIONS=verify_asan_link_order=0",
      // The short sweep leaves the journal's lines out and takes each file's pieces as one
      // step; the long one stops at every piece written anywhere. A full disk is the
      // till's: the server's store lies on another machine.
      "CCADDIN_FAULT_SKIP=" + std::string(Long() ? "" : "tamberincreditcard") +
          (mode == "disk-full" ? ":qlsim-server" : "")};
  if (Long()) env.push_back("CCADDIN_FAULT_EVERY_WRITE=1");
  for (char** e = environ; *e != nullptr; ++e) {
    const std::string entry = *e;
    if (!entry.starts_with("LD_PRELOAD=") && !entry.starts_with("ASAN_OPTIONS="))
      env.push_back(entry);
  }
  std::vector<std::string> argv = {CCADDIN_TILL_BINARY};
  argv.insert(argv.end(), args.begin(), args.end());
  std::vector<char*> c_argv, c_env;
  for (auto& a : argv) c_argv.push_back(a.data());
  for (auto& e : env) c_env.push_back(e.data());
  c_argv.push_back(nullptr);
  c_env.push_back(nullptr);
  const std::string out = site.string() + ".out", err = site.string() + ".err";
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&files, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  pid_t pid = 0;
  Child child;
  EXPECT_EQ(posix_spawn(&pid, c_argv[0], &files, nullptr, c_argv.data(), c_env.data()), 0);
  posix_spawn_file_actions_destroy(&files);
  EXPECT_EQ(waitpid(pid, &child.status, 0), pid);
  child.out = ReadFile(out);
  child.err = ReadFile(err);
  return child;
}

class FaultSweep : public ::testing::Test {
 protected:
  // A demo site of its own (its settings name its own folders); the card is in the
  // reader at the first poll, so no pauses come between the steps.
  fs::path MakeSite(const std::string& name) {
    const fs::path site = work_.path() / name;
    std::ostringstream ignored;
    (void)PrepareDemoSite(site.string(), ignored);
    std::ofstream(site / "config" / "qlclient.json") << R"({"readerStates":[3]})";
    return site;
  }

  // The state the site's server keeps for reference number `ref`.
  static std::optional<sim::StoreState> ServerState(const fs::path& site, int32_t ref) {
    const auto row = sim::SimStore((site / "config" / "qlsim-server.sqlite").string()).Find(ref);
    if (!row) return std::nullopt;
    return row->state;
  }

  // One sale stopped at step `at`, then the recovery, then the checks.
  void Sweep(const std::vector<std::string>& sale, const std::string& mode, long at) {
    const fs::path site = MakeSite("site-" + mode + "-" + std::to_string(at));
    std::vector<std::string> args = sale;
    args.insert(args.end(), {"--dir", site.string()});
    const Child child = RunTill(args, site, mode, at);
    const std::string where = mode + " at step " + std::to_string(at) + "\n" + child.err;
    if (mode == "kill") {
      ASSERT_TRUE(WIFSIGNALED(child.status) && WTERMSIG(child.status) == SIGKILL) << where;
    } else {
      // A full disk is a failure like any other: reported, never a crash.
      ASSERT_TRUE(WIFEXITED(child.status)) << where;
      EXPECT_NE(WEXITSTATUS(child.status), kTillExitUsage) << where;
    }
    std::smatch saved;
    const bool told_saved = std::regex_search(
        child.out, saved,
        std::regex("Saved for confirmation: ((\\d{10})_\\d{8}_\\d{4}) \\((not )?authorised\\)"));
    const bool told_confirmed = child.out.find("Outcome: ") != std::string::npos;
    const int32_t ref = told_saved ? std::stoi(saved[2]) : 0;
    const bool approved = told_saved && !saved[3].matched;

    const std::string config = (site / "config" / "qlclient.json").string();
    if (mode != "kill") {
      // A till that lives through the failure leaves open only what it was told it holds.
      for (const sim::StoredTransaction& left : sim::PendingAuthorisations(config)) {
        EXPECT_TRUE(told_saved && left.ref == ref) << where << "left open: " << left.ref;
      }
    }
    const std::string db = (site / "registry.db").string();
    ::setenv("CCADDIN_REGISTRY", db.c_str(), 1);
    sim::ResetSimulator();
    if (told_saved && !told_confirmed) {
      // The till comes back and confirms the sale it was told was saved.
      const ScopedSharedState state;
      TNonGuiTransactionHook2 till;
      ASSERT_EQ(till.StartTransaction(), 0) << where;
      TTransactionInfo info;
      EXPECT_TRUE(till.ConfirmTransaction(approved ? CONFIRMTYPE_AUTHORISED : CONFIRMTYPE_DECLINED,
                                          saved[1], "", {}, info))
          << where << till.strErrorMessage();
      till.EndTransaction();
    }
    std::ostringstream out, err;
    EXPECT_EQ(RunSupportCommand({"--db", db, "pending", "--cancel-orphans"}, out, err), 0)
        << where << out.str() << err.str();
    for (const sim::StoredTransaction& left : sim::PendingAuthorisations(config)) {
      // Only a sale whose record was saved just before the kill is left to the server.
      char name[16];
      std::snprintf(name, sizeof name, "%010d_", left.ref);
      bool held = false;
      for (const auto& entry : fs::directory_iterator(site / "receipts"))
        held = held || entry.path().filename().string().starts_with(name);
      EXPECT_TRUE(held) << where << "authorisation " << left.ref << " left open unheld";
    }
    {
      VirtualEnv later(LocalDateTimeFromUnix(std::time(nullptr) + 31 * 60, 0));
      const ScopedEnv scoped(&later);
      EXPECT_TRUE(sim::PendingAuthorisations(config).empty()) << where;
    }
    if (told_saved) {
      EXPECT_EQ(ServerState(site, ref),
                approved ? sim::StoreState::kConfirmed : sim::StoreState::kDeclined)
          << where;
    }
    fs::remove_all(site);
  }

  void SweepEveryStep(const std::vector<std::string>& sale) {
    const fs::path site = MakeSite("count");
    std::vector<std::string> args = sale;
    args.insert(args.end(), {"--dir", site.string()});
    const Child whole = RunTill(args, site, "kill", 0);
    ASSERT_TRUE(WIFEXITED(whole.status)) << whole.err;
    std::smatch steps;
    ASSERT_TRUE(std::regex_search(whole.err, steps, std::regex("fault-injector steps=(\\d+)")));
    const long count = std::stol(steps[1]);
    EXPECT_GT(count, 10);
    for (const char* mode : {"kill", "disk-full"}) {
      for (long at = 1; at <= count; ++at) Sweep(sale, mode, at);
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
  SweepEveryStep({"sale", "12.50", "--card", "visa-chip-pin"});
  if (!Long()) return;
  SweepEveryStep({"sale", "20.00", "--card", "mc-fallback", "--cashback", "5.00"});
  SweepEveryStep({"sale", "9.99", "--card", "visa-swipe", "--type", "refund"});
  SweepEveryStep({"sale", "42.00", "--card", "amex-keyed", "--type", "preauth"});
  SweepEveryStep({"sale", "100.09", "--card", "mc-declined"});
}

}  // namespace
}  // namespace ccaddin
