// The C entry points of include/ccaddin/ccaddin.h. Every one is noexcept with a catch-all:
// a C caller (or Python through ctypes) cannot receive a C++ exception, so every failure
// becomes a status and a per-thread message.
#include "ccaddin/ccaddin.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "abi/class_registry.h"
#include "ccaddin/simulator.h"
#include "platform/dispatch.h"
#include "platform/text_encoding.h"
#include "qlclient/ql_codes.h"
#include "qlclient/sim/sim_terminal.h"
#include "qlclient/sim/simulator.h"

struct ccaddin_object {
  explicit ccaddin_object(ccaddin::DispatchPtr t) : target(std::move(t)) {}
  std::atomic<int32_t> refs{1};
  ccaddin::DispatchPtr target;  // never null
};

namespace ccaddin {
namespace {

thread_local std::string last_error;

// A failure of the call itself (before or around the member), with its status.
struct AbiError {
  ccaddin_status status;
  std::string message;  // UTF-8
};

void SetError(std::string_view message) noexcept {
  try {
    last_error.assign(message);
  } catch (...) {
    last_error.clear();  // out of memory: the status still tells the caller
  }
}

// Runs an entry point. A call that succeeds leaves "" as the last error, even if a host
// callback set one on the way; a failure leaves its reason.
template <typename F>
ccaddin_status Guard(F&& body) noexcept {
  try {
    last_error.clear();
    const ccaddin_status status = body();
    if (status == CCADDIN_OK) last_error.clear();
    return status;
  } catch (const AbiError& e) {
    SetError(e.message);
    return e.status;
  } catch (...) {
    try {
      SetError(Windows1252ToUtf8(DescribeCurrentException()));
    } catch (...) {
      last_error.clear();  // no memory for the text: the status still tells the caller
    }
    return CCADDIN_E_FAILED;
  }
}

char* DupString(std::string_view text) {
  auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
  if (copy == nullptr) throw std::bad_alloc();
  std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  return copy;
}

ccaddin_object* NewHandle(DispatchPtr target) {
  return new ccaddin_object(std::move(target));
}

// A C text (UTF-8) as the component's Windows-1252; `what` names it in the error.
std::string TextIn(const char* utf8, const std::string& what) {
  if (utf8 == nullptr) throw AbiError{CCADDIN_E_INVALID_ARG, what + " is NULL"};
  const std::string_view text(utf8);
  if (!IsValidUtf8(text)) throw AbiError{CCADDIN_E_INVALID_ARG, what + " is not valid UTF-8"};
  return Utf8ToWindows1252(text);
}

Variant VariantIn(const ccaddin_variant& v, const std::string& what) {
  switch (v.type) {
    case CCADDIN_VT_EMPTY:
      return Variant();
    case CCADDIN_VT_NULL:
      return Variant::Null();
    case CCADDIN_VT_BOOL:
      return Variant(v.u.boolean != 0);
    case CCADDIN_VT_INT32:
      return Variant(v.u.i32);
    case CCADDIN_VT_DOUBLE:
      return Variant(v.u.dbl);
    case CCADDIN_VT_STRING:
      return Variant(TextIn(v.u.str, what));
    case CCADDIN_VT_OBJECT:
      return v.u.obj == nullptr ? Variant(nullptr) : Variant(v.u.obj->target);
    default:
      throw AbiError{CCADDIN_E_INVALID_ARG,
                     what + " has an unknown variant type " + std::to_string(v.type)};
  }
}

// The library-owned C form of a value. Types a C caller has no tag for take the nearest
// one it has: Integer as Long, Currency and Date as Double, an error code as Empty.
ccaddin_variant VariantOut(const Variant& value, uint16_t flags) {
  ccaddin_variant out{};
  out.flags = flags;
  switch (value.type()) {
    case VariantType::kEmpty:
    case VariantType::kError:
      out.type = CCADDIN_VT_EMPTY;
      break;
    case VariantType::kNull:
      out.type = CCADDIN_VT_NULL;
      break;
    case VariantType::kBoolean:
      out.type = CCADDIN_VT_BOOL;
      out.u.boolean = value.ToBool().value() ? -1 : 0;
      break;
    case VariantType::kInteger:
    case VariantType::kLong:
      out.type = CCADDIN_VT_INT32;
      out.u.i32 = value.ToInt32().value();
      break;
    case VariantType::kDouble:
    case VariantType::kCurrency:
    case VariantType::kDate:
      out.type = CCADDIN_VT_DOUBLE;
      out.u.dbl = value.ToDouble().value();
      break;
    case VariantType::kString:
      out.type = CCADDIN_VT_STRING;
      out.u.str = DupString(Windows1252ToUtf8(value.ToString().value()));
      out.flags |= CCADDIN_OWNED;
      break;
    case VariantType::kObject: {
      out.type = CCADDIN_VT_OBJECT;
      DispatchPtr object = value.ToObject().value();
      if (object != nullptr) {
        out.u.obj = NewHandle(std::move(object));
        out.flags |= CCADDIN_OWNED;
      }
      break;
    }
  }
  return out;
}

ccaddin_status StatusOf(DispatchStatus status) {
  switch (status) {
    case DispatchStatus::kOk:
      return CCADDIN_OK;
    case DispatchStatus::kUnknownMember:
      return CCADDIN_E_UNKNOWN_MEMBER;
    case DispatchStatus::kWrongArgumentCount:
      return CCADDIN_E_ARG_COUNT;
    case DispatchStatus::kTypeMismatch:
      return CCADDIN_E_TYPE_MISMATCH;
    case DispatchStatus::kFailed:
      break;
  }
  return CCADDIN_E_FAILED;
}

DispatchStatus DispatchStatusOf(ccaddin_status status) {
  switch (status) {
    case CCADDIN_OK:
      return DispatchStatus::kOk;
    case CCADDIN_E_UNKNOWN_MEMBER:
      return DispatchStatus::kUnknownMember;
    case CCADDIN_E_ARG_COUNT:
      return DispatchStatus::kWrongArgumentCount;
    case CCADDIN_E_TYPE_MISMATCH:
      return DispatchStatus::kTypeMismatch;
    default:
      return DispatchStatus::kFailed;
  }
}

// The text a late-bound caller would see for a status the host gave no reason for.
std::string_view DefaultText(DispatchStatus status) {
  switch (status) {
    case DispatchStatus::kUnknownMember:
      return kUnknownMemberText;
    case DispatchStatus::kWrongArgumentCount:
      return kWrongArgumentCountText;
    case DispatchStatus::kTypeMismatch:
      return kTypeMismatchText;
    default:
      return "The host object's call failed";
  }
}

bool IsCallKind(int32_t kind) {
  return kind == CCADDIN_METHOD || kind == CCADDIN_GET || kind == CCADDIN_PUT;
}

// Whether a host replaced an argument: its tag or its payload differ from what was sent.
bool Replaced(const ccaddin_variant& sent, const ccaddin_variant& now) {
  return sent.type != now.type || std::memcmp(&sent.u, &now.u, sizeof sent.u) != 0;
}

// Values the library handed to a host callback, freed however the callback ends.
class SentValues {
 public:
  explicit SentValues(size_t n) { values_.reserve(n); }
  SentValues(const SentValues&) = delete;
  SentValues& operator=(const SentValues&) = delete;
  ~SentValues() {
    for (auto& v : values_) ccaddin_variant_clear(&v);
  }
  std::vector<ccaddin_variant>& values() { return values_; }

 private:
  std::vector<ccaddin_variant> values_;
};

// A till's object implemented by C callbacks, as the component calls it by name.
class HostDispatch : public Dispatch {
 public:
  HostDispatch(const ccaddin_host_vtable& vtable, void* user_data)
      : vtable_(vtable), user_data_(user_data) {}
  HostDispatch(const HostDispatch&) = delete;
  HostDispatch& operator=(const HostDispatch&) = delete;
  ~HostDispatch() override {
    if (vtable_.destroy != nullptr) vtable_.destroy(user_data_);
  }

 protected:
  DispatchResult DoInvoke(std::string_view name, CallKind kind, std::span<Variant> args) override {
    SentValues sent(args.size());
    // Arguments go to the host as writable values that stay the library's.
    for (const Variant& arg : args) {
      ccaddin_variant v = VariantOut(arg, 0);
      sent.values().push_back(v);
    }
    std::vector<ccaddin_variant> seen = sent.values();
    for (auto& v : seen) v.flags = CCADDIN_BYREF;
    ccaddin_variant result{};
    const std::string utf8_name = Windows1252ToUtf8(name);

    last_error.clear();
    const ccaddin_status status =
        vtable_.invoke(user_data_, utf8_name.c_str(), static_cast<int32_t>(kind), seen.data(),
                       static_cast<int32_t>(seen.size()), &result);
    const std::string host_error = last_error;

    // Take back what the host wrote before anything can fail, so its owned values are freed.
    std::vector<std::pair<size_t, ccaddin_variant>> written;
    for (size_t i = 0; i < seen.size(); ++i) {
      if (Replaced(sent.values()[i], seen[i])) written.emplace_back(i, seen[i]);
    }
    struct Release {
      std::vector<std::pair<size_t, ccaddin_variant>>& written;
      ccaddin_variant& result;
      ~Release() {
        for (auto& [i, v] : written) ccaddin_variant_clear(&v);
        ccaddin_variant_clear(&result);
      }
    } release{written, result};

    if (status != CCADDIN_OK) {
      const DispatchStatus failed = DispatchStatusOf(status);
      return DispatchResult::Fail(failed, host_error.empty() ? std::string(DefaultText(failed))
                                                             : Utf8ToWindows1252(host_error));
    }
    try {
      for (auto& [i, v] : written) args[i] = VariantIn(v, "argument " + std::to_string(i + 1));
      return DispatchResult::Ok(VariantIn(result, "the result"));
    } catch (const AbiError& e) {
      return DispatchResult::Fail(DispatchStatus::kFailed,
                                  "Host object " + Utf8ToWindows1252(e.message));
    }
  }

 private:
  ccaddin_host_vtable vtable_;
  void* user_data_;
};

}  // namespace
}  // namespace ccaddin

using ccaddin::AbiError;
using ccaddin::Guard;

extern "C" {

CCADDIN_API void ccaddin_variant_clear(ccaddin_variant* v) CCADDIN_NOEXCEPT {
  if (v == nullptr) return;
  if ((v->flags & CCADDIN_OWNED) != 0) {
    if (v->type == CCADDIN_VT_STRING) std::free(v->u.str);
    if (v->type == CCADDIN_VT_OBJECT) ccaddin_release(v->u.obj);
  }
  *v = ccaddin_variant{};
}

CCADDIN_API ccaddin_status ccaddin_create(const char* progid,
                                          ccaddin_object** out) CCADDIN_NOEXCEPT {
  return Guard([&] {
    if (out == nullptr) throw AbiError{CCADDIN_E_INVALID_ARG, "the object pointer is NULL"};
    *out = nullptr;
    const std::string id = ccaddin::TextIn(progid, "the program identifier");
    ccaddin::DispatchPtr object = ccaddin::ClassRegistry::Builtin().Create(id);
    if (object == nullptr) {
      throw AbiError{CCADDIN_E_UNKNOWN_CLASS,
                     "No class has the program identifier \"" + std::string(progid) + "\""};
    }
    *out = ccaddin::NewHandle(std::move(object));
    return CCADDIN_OK;
  });
}

CCADDIN_API ccaddin_status ccaddin_invoke(ccaddin_object* obj, const char* name, int32_t kind,
                                          ccaddin_variant* args, int32_t nargs,
                                          ccaddin_variant* result) CCADDIN_NOEXCEPT {
  if (result != nullptr) *result = ccaddin_variant{};
  return Guard([&] {
    if (obj == nullptr) throw AbiError{CCADDIN_E_INVALID_ARG, "the object is NULL"};
    const std::string member = ccaddin::TextIn(name, "the member name");
    if (!ccaddin::IsCallKind(kind)) {
      throw AbiError{CCADDIN_E_INVALID_ARG, "unknown call kind " + std::to_string(kind)};
    }
    if (nargs < 0 || (nargs > 0 && args == nullptr)) {
      throw AbiError{CCADDIN_E_INVALID_ARG, "the argument array is NULL or its count negative"};
    }
    std::vector<ccaddin::Variant> values;
    values.reserve(static_cast<size_t>(nargs));
    for (int32_t i = 0; i < nargs; ++i) {
      values.push_back(ccaddin::VariantIn(args[i], "argument " + std::to_string(i + 1)));
    }

    ccaddin::DispatchResult outcome =
        obj->target->Invoke(member, static_cast<ccaddin::CallKind>(kind), values);

    for (int32_t i = 0; i < nargs; ++i) {
      if ((args[i].flags & CCADDIN_BYREF) != 0) {
        args[i] =
            ccaddin::VariantOut(values[static_cast<size_t>(i)], CCADDIN_BYREF | CCADDIN_OWNED);
      }
    }
    if (!outcome.ok()) {
      std::string message = ccaddin::Windows1252ToUtf8(outcome.error);
      if (outcome.status != ccaddin::DispatchStatus::kFailed) {
        message += " (" + std::string(name) + ")";
      }
      throw AbiError{ccaddin::StatusOf(outcome.status), std::move(message)};
    }
    if (result != nullptr) *result = ccaddin::VariantOut(outcome.value, 0);
    return CCADDIN_OK;
  });
}

// Reference counting leaves the last error alone: a till clears its arguments and
// releases its handles after a failed call and only then asks why it failed.
CCADDIN_API ccaddin_status ccaddin_addref(ccaddin_object* obj) CCADDIN_NOEXCEPT {
  if (obj == nullptr) {
    ccaddin::SetError("the object is NULL");
    return CCADDIN_E_INVALID_ARG;
  }
  obj->refs.fetch_add(1, std::memory_order_relaxed);
  return CCADDIN_OK;
}

CCADDIN_API ccaddin_status ccaddin_release(ccaddin_object* obj) CCADDIN_NOEXCEPT {
  if (obj != nullptr && obj->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    // The last reference may end a host object, whose destroy callback is the till's code.
    std::string kept;
    kept.swap(ccaddin::last_error);
    delete obj;
    ccaddin::last_error.swap(kept);
  }
  return CCADDIN_OK;
}

CCADDIN_API int32_t ccaddin_same_object(const ccaddin_object* a,
                                        const ccaddin_object* b) CCADDIN_NOEXCEPT {
  if (a == nullptr || b == nullptr) return a == b ? 1 : 0;
  return a->target == b->target ? 1 : 0;
}

CCADDIN_API const char* ccaddin_last_error(void) CCADDIN_NOEXCEPT {
  return ccaddin::last_error.c_str();
}

CCADDIN_API ccaddin_status ccaddin_host_object_create(const ccaddin_host_vtable* vtable,
                                                      void* user_data,
                                                      ccaddin_object** out) CCADDIN_NOEXCEPT {
  return Guard([&] {
    if (out == nullptr) throw AbiError{CCADDIN_E_INVALID_ARG, "the object pointer is NULL"};
    *out = nullptr;
    if (vtable == nullptr || vtable->invoke == nullptr) {
      throw AbiError{CCADDIN_E_INVALID_ARG, "the host vtable or its invoke callback is NULL"};
    }
    *out = ccaddin::NewHandle(std::make_shared<ccaddin::HostDispatch>(*vtable, user_data));
    return CCADDIN_OK;
  });
}

CCADDIN_API void ccaddin_set_error(const char* message) CCADDIN_NOEXCEPT {
  ccaddin::SetError(message == nullptr ? std::string_view() : std::string_view(message));
}

CCADDIN_API char* ccaddin_string_dup(const char* text) CCADDIN_NOEXCEPT {
  if (text == nullptr) return nullptr;
  try {
    return ccaddin::DupString(text);
  } catch (...) {
    return nullptr;
  }
}

CCADDIN_API ccaddin_status ccaddin_sim_present_card(const char* name) CCADDIN_NOEXCEPT {
  return Guard([&] {
    namespace sim = ccaddin::sim;
    if (name == nullptr || *name == '\0') {
      sim::SetReaderStates({ccaddin::QL_READER_WAITING});
      return CCADDIN_OK;
    }
    std::string why;
    if (!sim::PresentCard(ccaddin::TextIn(name, "the card name"), &why)) {
      throw AbiError{CCADDIN_E_FAILED, why};
    }
    // A card handed over while the window waits is read from its own first state on,
    // even when the configuration file fixed the reader's states.
    const sim::SimCard& card = sim::PresentedCard(*sim::Current());
    sim::SetReaderStates(card.reader_states.empty() ? sim::DefaultReaderStates(card)
                                                    : card.reader_states);
    return CCADDIN_OK;
  });
}

CCADDIN_API const char* ccaddin_sim_terminal_status(void) CCADDIN_NOEXCEPT {
  thread_local std::string status;
  try {
    status = ccaddin::Windows1252ToUtf8(ccaddin::sim::CurrentTerminalStatus());
  } catch (...) {
    status.clear();
  }
  return status.c_str();
}

}  // extern "C"
