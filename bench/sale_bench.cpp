// A whole programmatic card sale (start, card enquiry, authorise, confirm, end) through
// TNonGuiTransactionHook2 against the built-in simulator with no added latency: the card
// is in the reader at the first poll, so no 300 ms pause is measured. The site (registry,
// simulator store, receipts, journal) lives in a fresh folder under $TMPDIR (default /tmp),
// which picks the file system measured. Reported as the
// median CPU time of repeated runs.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "ccaddin/records.h"
#include "hooks/t_non_gui_transaction_hook2.h"
#include "till_command.h"

namespace {

void BM_ProgrammaticSale(benchmark::State& state) {
  const char* tmp = std::getenv("TMPDIR");
  std::string pattern =
      std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/ccaddin-sale-bench-XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) {
    state.SkipWithError("cannot make a folder for the site");
    return;
  }
  const std::string folder = pattern;
  std::ostringstream ignored;
  const std::string db = ccaddin::PrepareDemoSite(folder, ignored);
  std::ofstream(folder + "/config/qlclient.json") << R"({"readerStates":[3]})";
  ::setenv("CCADDIN_REGISTRY", db.c_str(), 1);

  ccaddin::TTillInformation till;
  till.strMerchantName = "BENCH SHOP";
  till.strStoreNumber = "1";
  till.strTillNumber = "1";
  for (auto _ : state) {
    ccaddin::TNonGuiTransactionHook2 hook;
    ccaddin::TTransactionInfo info;
    bool ok = hook.StartTransaction() == 0;
    ok = ok && hook.CardEnquiry(ccaddin::TAM_TT_SALE, ccaddin::DATAENTRY_CHIPORTAP, 1250, till) !=
                   ccaddin::RETURNCODE_FAILED;
    ok = ok && hook.AuthoriseTransaction(ccaddin::TAM_TT_SALE, 1250, 0, till, info) ==
                   ccaddin::RETURNCODE_SUCCESS;
    ok = ok && hook.ConfirmTransaction(ccaddin::CONFIRMTYPE_AUTHORISED,
                                       hook.strTransactionReference(), "", till, info);
    hook.EndTransaction();
    if (!ok) {
      state.SkipWithError(hook.strErrorMessage().c_str());
      break;
    }
  }
  std::filesystem::remove_all(folder);
}

BENCHMARK(BM_ProgrammaticSale)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(9)
    ->ReportAggregatesOnly(true);

}  // namespace
