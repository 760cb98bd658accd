// libccaddin.so as any till loads it: dlopen, the C entry points looked up by name, and
// objects created and called by program identifier and member name. Nothing of the
// component is linked into the demo till.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ccaddin/ccaddin.h"

namespace ccaddin::demo {

// Argument builders; the till keeps what it passes (by-reference records included).
ccaddin_variant LongArg(int32_t value);
ccaddin_variant TextArg(const char* value);
ccaddin_variant ByRefArg(ccaddin_object* record);

class Addin {
 public:
  // nullptr with the reason when the library, or one of its entry points, is missing.
  static std::unique_ptr<Addin> Load(const std::string& path, std::string& error);
  // The library stays loaded: its windows and its Qt objects live as long as the process.
  ~Addin() = default;

  // A new object of TamberinCcAddin.<class_name>; nullptr with the library's reason.
  ccaddin_object* Create(const std::string& class_name, std::string& error);
  void Release(ccaddin_object* obj);
  // Calls a member and frees what the library wrote back into by-reference arguments (the
  // till keeps using its own handles). `result` may be null; the caller clears it.
  bool Call(ccaddin_object* obj, const char* name, int32_t kind, std::vector<ccaddin_variant> args,
            ccaddin_variant* result, std::string& error);
  // A Boolean method's result: false when False or when the call failed (with the reason).
  bool CallBool(ccaddin_object* obj, const char* name, std::vector<ccaddin_variant> args,
                std::string& error);
  // A property as text (numbers and Booleans too); "" when it cannot be read.
  std::string Get(ccaddin_object* obj, const char* name);
  bool Put(ccaddin_object* obj, const char* name, ccaddin_variant value, std::string& error);
  void Clear(ccaddin_variant& v) { variant_clear_(&v); }

  // The simulator's run-time controls (ccaddin/simulator.h).
  bool PresentCard(const std::string& name, std::string& error);
  std::string TerminalStatus() { return sim_terminal_status_(); }

 private:
  Addin() = default;

  decltype(&ccaddin_create) create_ = nullptr;
  decltype(&ccaddin_invoke) invoke_ = nullptr;
  decltype(&ccaddin_release) release_ = nullptr;
  decltype(&ccaddin_variant_clear) variant_clear_ = nullptr;
  decltype(&ccaddin_last_error) last_error_ = nullptr;
  ccaddin_status (*sim_present_card_)(const char*) = nullptr;
  const char* (*sim_terminal_status_)() = nullptr;
};

}  // namespace ccaddin::demo
