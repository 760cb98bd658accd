// The headless keypad: an amount typed and deleted on frmKeypad's buttons, 1,000 presses
// a run, each through the operator script, the form's click handling, ExpFormat and the
// model's change announcement, on the virtual clock. Reported as CPU time per run, that
// is per 1,000 presses.
#include <benchmark/benchmark.h>

#include <string>

#include "payment/credit_card_common.h"
#include "ui/form_catalogue.h"
#include "ui/frm_keypad.h"
#include "ui/headless/headless_loop.h"

namespace {

void BM_HeadlessKeypadThousandPresses(benchmark::State& state) {
  using namespace ccaddin;
  VirtualEnv env;
  ScopedEnv scoped_env(&env);
  ScopedSharedState shared_state;
  CreditCardCommon& shared = Shared();
  shared.bKeypadNumeric = true;
  shared.bKeypadDecimal = true;
  shared.lKeypadExponent = 2;
  shared.lKeypadMaxLength = 10;
  // Six digits in, six out, over and over: the amount stays short, as at a till.
  std::string text;
  for (int press = 0; press < 1000; ++press) {
    text += press % 12 < 6 ? "click cmdNumeric(" + std::to_string(press % 10) + ")\n"
                           : "click cmdDel\n";
  }
  text += "click cmdOK\n";
  std::string error;
  const auto script = OperatorScript::Parse(text, "bench", FormCatalogue().Forms(), error);
  if (!script) return state.SkipWithError(error.c_str());
  for (auto _ : state) {
    state.PauseTiming();
    HeadlessLoop loop(ScriptRunner(*script, {}));
    frmKeypad keypad;
    state.ResumeTiming();
    if (!loop.ShowModal(keypad, error) || !loop.Runner().Finished() || !shared.bKeypadOk) {
      return state.SkipWithError("the keypad did not take the presses");
    }
  }
}
BENCHMARK(BM_HeadlessKeypadThousandPresses)->Unit(benchmark::kMicrosecond);

}  // namespace
