// Cost of one journal line as a till call pays it: archive check (three file queries),
// open, one append, close. The journal grows past the archive limit during a run, so
// the occasional move into "old" is part of the figure, as it is in the shop.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "platform/addin_log.h"
#include "platform/logging.h"

namespace {

class ScratchFolder {
 public:
  ScratchFolder() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "journal-bench-XXXXXX").string();
    if (mkdtemp(pattern.data()) != nullptr) path_ = pattern;
  }
  ~ScratchFolder() {
    std::error_code ec;
    if (!path_.empty()) std::filesystem::remove_all(path_, ec);
  }
  [[nodiscard]] std::string folder() const { return path_ + "/"; }

 private:
  std::string path_;
};

// A labelled journal line of typical length (about 90 characters).
void BM_JournalLine(benchmark::State& state) {
  ScratchFolder dir;
  ccaddin::TAddinLog journal;
  journal.StartLog(dir.folder(), true);
  for (auto _ : state) {
    journal.LogConfirm(0, "000123456789", "A1B2C3");
  }
  journal.EndLog(true);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_JournalLine)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(9)
    ->ReportAggregatesOnly(true);

// The writer alone, with digit masking on, for a line holding a card-number-like run.
void BM_LogitMasked(benchmark::State& state) {
  ScratchFolder dir;
  ccaddin::Logging log;
  log.strLogPath(dir.folder());
  log.strLogFile("bench.log");
  log.bLoggingEnabled(true);
  log.bArchiveLogFile(true);
  log.bObscureNumericStrings(true);
  const std::string text = "Card read 4111111111111111 entry chip\r\nreference 000123456789";
  for (auto _ : state) log.Logit(text);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LogitMasked)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(9)
    ->ReportAggregatesOnly(true);

}  // namespace
