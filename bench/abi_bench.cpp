// The C ABI's per-call overhead: a property get on a TTransactionInfo through
// ccaddin_invoke, as a till calls it (name lookup, variant conversion, result freed).
// Reported as the median of repeated runs.
#include <benchmark/benchmark.h>

#include "ccaddin/ccaddin.h"

namespace {

void PropertyGet(benchmark::State& state, const char* name) {
  ccaddin_object* info = nullptr;
  if (ccaddin_create("TamberinCcAddin.TTransactionInfo", &info) != CCADDIN_OK) {
    state.SkipWithError(ccaddin_last_error());
    return;
  }
  for (auto _ : state) {
    ccaddin_variant result{};
    if (ccaddin_invoke(info, name, CCADDIN_GET, nullptr, 0, &result) != CCADDIN_OK) {
      state.SkipWithError(ccaddin_last_error());
      break;
    }
    benchmark::DoNotOptimize(result);
    ccaddin_variant_clear(&result);
  }
  ccaddin_release(info);
}

void BM_AbiPropertyGetLong(benchmark::State& state) {
  PropertyGet(state, "lTransactionRefNo");
}
void BM_AbiPropertyGetString(benchmark::State& state) {
  PropertyGet(state, "strSchemeName");
}

BENCHMARK(BM_AbiPropertyGetLong)->Repetitions(9)->ReportAggregatesOnly(true);
BENCHMARK(BM_AbiPropertyGetString)->Repetitions(9)->ReportAggregatesOnly(true);

}  // namespace
