// Time to generate an X/Z report from a report data file of one million records, as a
// busy forecourt's batch might leave it: eight card groups, sales, sales with cashback
// and refunds, plain (unquoted) fields as the server writes them. Measures reading and
// totalling alone, and the whole report with the RPT_ file written, on the real Env.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "receipts/generate_report.h"

namespace ccaddin {
namespace {

constexpr int kRecords = 1'000'000;
constexpr const char* kDataFile = "TMP_20260115_173042.txt";

// The data file, written once for every benchmark of the run and removed at exit.
class DataFolder {
 public:
  DataFolder() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "ccaddin-report-bench-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    folder_ = pattern + "/";
    std::ofstream out(folder_ + kDataFile, std::ios::binary);
    const char* groups[] = {"Visa",       "Mastercard", "Maestro",   "Amex",
                            "Visa Debit", "Diners",     "Fuel Card", "JCB"};
    out << "REFERENCE,DATE,KIND,AMOUNT,CASHBACK,CARD GROUP\r\n";
    for (int i = 1; i <= kRecords; ++i) {
      const char* kind = i % 10 == 0 ? "F" : i % 3 == 0 ? "B" : "A";
      // Amounts average 10.00, so that the batch's totals stay within the 32-bit range
      // the report's figures have.
      out << i << ",20260115," << kind << "," << (i % 2000) + 1 << ","
          << (kind[0] == 'B' ? 2000 : 0) << "," << groups[i % 8] << "\r\n";
    }
  }
  ~DataFolder() {
    std::error_code ec;
    std::filesystem::remove_all(folder_, ec);
  }
  [[nodiscard]] const std::string& folder() const { return folder_; }

 private:
  std::string folder_;
};

const DataFolder& Data() {
  static const DataFolder data;
  return data;
}

void BM_PopulateTotalStructure(benchmark::State& state) {
  const std::string path = Data().folder() + kDataFile;
  for (auto _ : state) {
    TGenerateReport report;
    std::vector<TReportTotals> totals;
    if (report.PopulateTotalStructure(path, totals) != 0)
      state.SkipWithError(report.strErrorMessage().c_str());
    benchmark::DoNotOptimize(totals);
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
}
BENCHMARK(BM_PopulateTotalStructure)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_WriteReportFile(benchmark::State& state) {
  TTillInformation till;
  till.strMerchantName = "HILLTOP SERVICE STATION";
  till.strTillNumber = "3";
  for (auto _ : state) {
    TGenerateReport report;
    if (report.WriteReportFile(till, Data().folder(), kDataFile, "", false, 2, false) != 0) {
      state.SkipWithError(report.strErrorMessage().c_str());
    }
    benchmark::DoNotOptimize(report.strReport());
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
}
BENCHMARK(BM_WriteReportFile)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace ccaddin
