// The terminals of this process: loading and reloading their configuration, the delay
// and faults every request goes through, and the operator panel's steering calls.
#include "qlclient/sim/sim_terminal.h"

#include <algorithm>

#include "platform/env.h"
#include "platform/trap.h"
#include "qlclient/sim/simulator.h"

namespace ccaddin::sim {
namespace {

struct State {
  std::map<std::string, std::unique_ptr<Terminal>> terminals;
  Terminal* current = nullptr;
};

State& Sim() {
  static State* state = new State();  // process lifetime; never destroyed mid-call
  return *state;
}

}  // namespace

Terminal* Current() {
  return Sim().current;
}

void MakeCurrent(Terminal* terminal) {
  Sim().current = terminal;
}

void ForgetTerminals() {
  Sim().current = nullptr;
  Sim().terminals.clear();
}

void ReverseStale(SimStore& store, const SimConfig& config) {
  if (config.reverse_after_minutes <= 0) return;
  const DateTime cutoff = DateTime::FromSerialMs(CurrentEnv()->Now().ToSerialMs() -
                                                 int64_t{config.reverse_after_minutes} * 60'000);
  (void)store.ReversePendingBefore(cutoff.Yyyymmdd() + " " + cutoff.Hhmmss());
}

Terminal& TerminalFor(const std::string& path) {
  auto& slot = Sim().terminals[path];
  if (!slot) {
    slot = std::make_unique<Terminal>();
    slot->path = path;
  }
  Terminal& t = *slot;
  std::error_code ec;
  const auto time = std::filesystem::last_write_time(path, ec);
  const auto size = ec ? 0 : std::filesystem::file_size(path, ec);
  const bool changed = ec || !t.config || time != t.loaded_time || size != t.loaded_size;
  if (changed) {
    try {
      SimConfig loaded = LoadSimConfig(path);
      if (!t.store || t.store->path() != loaded.store_path) t.store.reset();
      t.config = std::move(loaded);
      t.load_error.clear();
      t.calls.clear();
      t.presented.clear();
      t.loaded_time = time;
      t.loaded_size = size;
    } catch (const std::exception& e) {
      t.config.reset();
      t.store.reset();
      t.load_error = e.what();
    }
  }
  return t;
}

void Show(Terminal& t, const std::string& text) {
  t.status = text;
  if (!t.config || t.config->delay_ms <= 0) return;
  int32_t left = t.config->delay_ms;
  while (left > 0) {
    const int32_t slice = std::min<int32_t>(left, 50);
    CurrentEnv()->Sleep(slice);
    CurrentEnv()->DoEvents();
    left -= slice;
  }
}

namespace {

bool Fire(Terminal* t, const std::string& op, int32_t n, bool lost_reply, int32_t& result,
          int32_t* code, std::string& text) {
  for (const auto& f : t->config->faults) {
    if (f.operation != op || f.lost_reply != lost_reply || n < f.call) continue;
    if (f.count != 0 && n >= f.call + f.count) continue;
    if (f.raise)
      throw Failure(f.error_text.empty() ? "Simulated library error in " + op : f.error_text);
    result = f.result;
    if (code) *code = f.error_code;
    text = f.error_text.empty() ? "SIMULATED FAULT IN " + op : f.error_text;
    return true;
  }
  return false;
}

}  // namespace

bool Fault(Terminal* t, const std::string& op, int32_t& result, int32_t* code, std::string& text) {
  if (!t || !t->config) return false;
  return Fire(t, op, ++t->calls[op], false, result, code, text);
}

bool LostReply(Terminal* t, const std::string& op, int32_t& result, int32_t* code,
               std::string& text) {
  if (!t || !t->config) return false;
  return Fire(t, op, t->calls[op], true, result, code, text);
}

bool Ready(Terminal* t, QlRequestError& e, bool need_login) {
  if (!t || !t->connected) {
    e.lErrorCode = kNotConnected;
    e.strErrorText = "NOT CONNECTED TO THE PAYMENT SERVER";
    return false;
  }
  if (need_login && !t->logged_in) {
    e.lErrorCode = kNotLoggedIn;
    e.strErrorText = "NOT LOGGED IN";
    return false;
  }
  return true;
}

int32_t ToInt(const std::string& text) {
  if (text.empty()) return 0;
  size_t used = 0;
  long long v = 0;
  try {
    v = std::stoll(text, &used);
  } catch (...) {
    throw Failure("Amount is not a number: " + text);
  }
  if (used != text.size() || v < 0 || v > 2147483647LL)
    throw Failure("Amount is not a number: " + text);
  return static_cast<int32_t>(v);
}

const SimCard& PresentedCard(const Terminal& t) {
  if (!t.presented.empty()) {
    if (const SimCard* c = t.config->FindCard(t.presented)) return *c;
  }
  return *t.config->FindCard(t.config->card);
}

bool PresentCard(const std::string& name, std::string* error) {
  Terminal* t = Current();
  if (!t || !t->config) {
    if (error) *error = "No payment client session has connected yet";
    return false;
  }
  if (!t->config->FindCard(name)) {
    if (error) *error = "Unknown test card \"" + name + "\"";
    return false;
  }
  t->presented = name;
  t->reader_index = 0;
  return true;
}

std::optional<CardEntry> PresentedCardEntry() {
  const Terminal* t = Current();
  if (t == nullptr || !t->config) return std::nullopt;
  return PresentedCard(*t).entry;
}

std::vector<StoredTransaction> PendingAuthorisations(const std::string& config_path) {
  const SimConfig config = LoadSimConfig(config_path);
  if (!std::filesystem::exists(config.store_path)) return {};
  SimStore store(config.store_path);
  ReverseStale(store, config);
  std::vector<StoredTransaction> pending;
  for (StoredTransaction& row : store.List(0)) {
    if (row.state == StoreState::kPending && !row.offline) pending.push_back(std::move(row));
  }
  return pending;
}

void SetReaderStates(const std::vector<int32_t>& states) {
  if (Terminal* t = Current()) {
    t->reader_override = states;
    t->reader_index = 0;
  }
}

void ResetSimulator() {
  ForgetTerminals();
}

std::string CurrentTerminalStatus() {
  Terminal* t = Current();
  return t ? t->status : "";
}

std::optional<QlTransaction> LastTransactionSent() {
  Terminal* t = Current();
  return t ? t->last_sent : std::nullopt;
}

}  // namespace ccaddin::sim
