// The classes a till can create through the C ABI, by program identifier
// ("TamberinCcAddin." and the class name, matched ignoring case as COM matches them).
// A factory returns a new object exposed by name; the registry owns only the factories.
// Filled once, at first use, by RegisterBuiltinClasses; nothing blocks.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/dispatch.h"

namespace ccaddin {

using ClassFactory = std::function<DispatchPtr()>;

inline constexpr std::string_view kProgIdPrefix = "TamberinCcAddin.";

class ClassRegistry {
 public:
  // Makes "TamberinCcAddin.<class_name>" creatable; a later registration of the same
  // name replaces the earlier one.
  void Register(std::string_view class_name, ClassFactory factory);

  // A new object, or nullptr when no class has that program identifier. The factory may
  // throw; callers trap.
  [[nodiscard]] DispatchPtr Create(std::string_view progid) const;

  // The program identifiers, as registered, in alphabetical order of their folded form.
  [[nodiscard]] std::vector<std::string> ProgIds() const;

  // The registry the C ABI uses, with every built-in class registered. A library built
  // for tests registers its probe classes here too, from a static initialiser.
  [[nodiscard]] static ClassRegistry& Builtin();

 private:
  struct Entry {
    std::string progid;
    ClassFactory factory;
  };
  std::map<std::string, Entry> classes_;  // by folded program identifier
};

// The one list of creatable public classes; each new public class adds its line here.
void RegisterBuiltinClasses(ClassRegistry& registry);

}  // namespace ccaddin
