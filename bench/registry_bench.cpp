// ReadRegistry of all 91 settings from a populated database file: what every till call
// pays before it does anything else.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

#include "platform/cc_addin_registry.h"
#include "platform/cc_addin_settings.h"
#include "platform/registry_store.h"

namespace {

using namespace ccaddin;

// A database in a fresh temporary folder holding a value for every setting, made the
// current one through CCADDIN_REGISTRY; removed at the end.
class PopulatedRegistry {
 public:
  PopulatedRegistry() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "ccaddin-bench-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    folder_ = pattern;
    const std::string path = folder_ + "/registry.db";
    std::unique_ptr<RegistryStore> store;
    std::string error;
    int64_t key = 0;
    if (RegistryStore::Create(path, &store, &error) != RegStatus::kOk ||
        store->CreateKey(kHkeyLocalMachine, kCcAddinRegistryKey, &key) != RegStatus::kOk) {
      throw std::runtime_error("cannot create the registry: " + error);
    }
    for (const SettingDef& s : CcAddinSettings()) {
      const std::string text = std::holds_alternative<std::string CcAddinSettingValues::*>(s.field)
                                   ? "value of " + std::string(s.value_name)
                                   : "1";
      if (store->SetValue(key, RegistryValue{std::string(s.value_name), kRegSz,
                                             StringValueData(text)}) != RegStatus::kOk) {
        throw std::runtime_error(store->error());
      }
    }
    setenv(RegistryStore::kPathVariable, path.c_str(), 1);
  }
  ~PopulatedRegistry() {
    std::error_code ec;
    std::filesystem::remove_all(folder_, ec);
  }

 private:
  std::string folder_;
};

void BM_ReadRegistry(benchmark::State& state) {
  PopulatedRegistry registry;
  for (auto _ : state) {
    TCcAddinRegistry settings;
    settings.ReadRegistry();
    benchmark::DoNotOptimize(settings.strbaseCurrency);
  }
}
BENCHMARK(BM_ReadRegistry)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(9)
    ->ReportAggregatesOnly(true);

void BM_WriteRegistryOneSetting(benchmark::State& state) {
  PopulatedRegistry registry;
  TCcAddinRegistry settings;
  settings.ReadRegistry();
  for (auto _ : state) {
    settings.lLeftTwips += 1;
    settings.WriteRegistry(68);
  }
}
BENCHMARK(BM_WriteRegistryOneSetting)->Unit(benchmark::kMicrosecond);

}  // namespace
