// Throughput of CSVRecord on the two kinds of data it handles: a saved payment
// transaction (one 102-field record with masked card numbers, dates and quoted texts)
// and a report data file of about 1 MB read line by line. Each benchmark runs with the
// real Env (the quoted reader's DoEvents is a sched_yield), with a VirtualEnv (what
// tests and the headless driver use), and with an Env whose DoEvents does nothing, so
// that the cost of yielding to the message loop can be read off the difference.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "platform/csv_record.h"
#include "platform/env.h"
#include "platform/virtual_env.h"

namespace ccaddin {
namespace {

enum class Yield { kRealEnv, kVirtualEnv, kNone };

class NoYieldEnv : public VirtualEnv {
 public:
  void DoEvents() override {}
};

// Installs the Env a benchmark asks for, for the benchmark's lifetime.
class EnvChoice {
 public:
  explicit EnvChoice(Yield yield) {
    if (yield == Yield::kVirtualEnv) env_ = std::make_unique<VirtualEnv>();
    if (yield == Yield::kNone) env_ = std::make_unique<NoYieldEnv>();
    if (env_) scoped_ = std::make_unique<ScopedEnv>(env_.get());
  }
  // Message-loop turns so far; counted only by the VirtualEnv.
  [[nodiscard]] int64_t yields() const { return env_ ? env_->do_events_calls() : 0; }

 private:
  std::unique_ptr<VirtualEnv> env_;
  std::unique_ptr<ScopedEnv> scoped_;
};

// The fields of a saved sale: references, amounts, dates and times, a masked card
// number, scheme texts, receipt lines with commas and quotes, and many empty fields.
std::vector<std::string> TransactionFields() {
  std::vector<std::string> fields = {"TXN000123456",
                                     "1",
                                     "1250",
                                     "0",
                                     "826",
                                     "2",
                                     "20260115",
                                     "103045",
                                     "************1234",
                                     "0427",
                                     "VISA DEBIT",
                                     "A0000000031010",
                                     "ICC",
                                     "PIN VERIFIED",
                                     "123456",
                                     "00",
                                     "AUTH CODE: 123456",
                                     "Thank you, please call again",
                                     "SMITH, JOHN",
                                     "Card \"VISA\" Debit, contactless",
                                     "TID 12345678",
                                     "MID 000000001234567"};
  int i = 0;
  while (fields.size() < 102) {
    switch (i++ % 6) {
      case 0:
        fields.push_back(std::to_string(1000 + i * 37));
        break;
      case 1:
        fields.push_back("");
        break;
      case 2:
        fields.push_back("2026011" + std::to_string(i % 10));
        break;
      case 3:
        fields.push_back("************" + std::to_string(1000 + i));
        break;
      case 4:
        fields.push_back("Receipt line " + std::to_string(i) + ", with comma");
        break;
      default:
        fields.push_back("0");
        break;
    }
  }
  return fields;
}

std::string TransactionRecord() {
  std::vector<std::string> fields = TransactionFields();
  std::string record;
  CSVRecord csv;
  if (csv.BuildPacket(fields, static_cast<int16_t>(fields.size()), record) != 0) std::abort();
  return record;
}

// A report data file of about 1 MB: a heading line, then one line per transaction.
std::vector<std::string> ReportLines() {
  static const char* const kSchemes[] = {"VISA", "MASTERCARD", "MAESTRO", "AMEX", "FUEL CARD"};
  std::vector<std::string> lines = {"Type,Amount,Cashback,Scheme"};
  size_t bytes = lines.front().size() + 1;
  for (int i = 0; bytes < 1'000'000; ++i) {
    std::string line = std::string(1, "ARV"[i % 3]) + "," +
                       std::to_string(100 + (i * 7919) % 99900) + "," +
                       (i % 11 == 0 ? "2000" : "0") + "," + kSchemes[i % 5];
    bytes += line.size() + 1;
    lines.push_back(std::move(line));
  }
  return lines;
}

void BM_BreakOutFields_Transaction(benchmark::State& state, Yield yield) {
  EnvChoice env(yield);
  const std::string record = TransactionRecord();
  CSVRecord csv;
  std::vector<std::string> fields;
  int16_t count = 0;
  for (auto _ : state) {
    if (csv.BreakOutFields(fields, count, record) != 0 || count != 102)
      state.SkipWithError("split");
    benchmark::DoNotOptimize(fields.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * record.size()));
  state.counters["record_bytes"] = static_cast<double>(record.size());
  if (yield == Yield::kVirtualEnv) {
    state.counters["yields_per_record"] =
        static_cast<double>(env.yields()) / static_cast<double>(state.iterations());
  }
}

void BM_BuildPacket_Transaction(benchmark::State& state) {
  const std::vector<std::string> original = TransactionFields();
  const size_t record_size = TransactionRecord().size();
  CSVRecord csv;
  std::vector<std::string> fields;
  std::string record;
  for (auto _ : state) {
    fields = original;  // BuildPacket rewrites the array; each run starts from the raw fields
    if (csv.BuildPacket(fields, 102, record) != 0) state.SkipWithError("build");
    benchmark::DoNotOptimize(record.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * record_size));
}

void BM_BreakOutFields_ReportFile(benchmark::State& state, Yield yield) {
  EnvChoice env(yield);
  const std::vector<std::string> lines = ReportLines();
  int64_t bytes = 0;
  for (const std::string& line : lines) bytes += static_cast<int64_t>(line.size()) + 1;
  CSVRecord csv;
  std::vector<std::string> fields;
  int16_t count = 0;
  for (auto _ : state) {
    for (const std::string& line : lines) {
      if (csv.BreakOutFields(fields, count, line) != 0) state.SkipWithError("split");
      benchmark::DoNotOptimize(fields.data());
    }
  }
  state.SetBytesProcessed(state.iterations() * bytes);
  state.counters["lines"] = static_cast<double>(lines.size());
}

void BM_BuildPacket_ReportFile(benchmark::State& state) {
  const std::vector<std::string> lines = ReportLines();
  std::vector<std::vector<std::string>> split;
  int64_t bytes = 0;
  CSVRecord csv;
  for (const std::string& line : lines) {
    std::vector<std::string> fields;
    int16_t count = 0;
    if (csv.BreakOutFields(fields, count, line) != 0) std::abort();
    split.push_back(std::move(fields));
    bytes += static_cast<int64_t>(line.size()) + 1;
  }
  std::vector<std::string> fields;
  std::string record;
  for (auto _ : state) {
    for (const auto& line_fields : split) {
      fields = line_fields;
      if (csv.BuildPacket(fields, static_cast<int16_t>(fields.size()), record) != 0) {
        state.SkipWithError("build");
      }
      benchmark::DoNotOptimize(record.data());
    }
  }
  state.SetBytesProcessed(state.iterations() * bytes);
}

BENCHMARK_CAPTURE(BM_BreakOutFields_Transaction, real_env, Yield::kRealEnv);
BENCHMARK_CAPTURE(BM_BreakOutFields_Transaction, virtual_env, Yield::kVirtualEnv);
BENCHMARK_CAPTURE(BM_BreakOutFields_Transaction, no_yield, Yield::kNone);
BENCHMARK(BM_BuildPacket_Transaction);
BENCHMARK_CAPTURE(BM_BreakOutFields_ReportFile, real_env, Yield::kRealEnv)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_BreakOutFields_ReportFile, no_yield, Yield::kNone)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BuildPacket_ReportFile)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace ccaddin
