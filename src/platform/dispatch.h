// Objects called by member name: the till's own objects (its session, sale, tenders,
// printer) as the component reads and writes them, and the component's classes as the
// C ABI exposes them. Objects are shared by std::shared_ptr; a call never throws and
// reports its outcome in a DispatchResult. A call blocks only as long as the member.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/trap.h"
#include "platform/variant.h"

namespace ccaddin {

// How a member is reached; the values are the late-binding invoke flags. A get and a
// method call reach the same members, because late-bound callers ask for "either"
// (`a.B` may be a property or a method without arguments).
enum class CallKind : uint16_t { kMethod = 1, kGet = 2, kPut = 4 };

enum class DispatchStatus {
  kOk,
  kUnknownMember,       // no such member, or not for this kind of call (put on a read-only)
  kWrongArgumentCount,  // too few or too many arguments
  kTypeMismatch,        // an argument or put value that does not convert to what is needed
  kFailed,              // the member ran and failed; the error says why
};

// Run-time error texts of late-bound calls, as they reach strErrorMessage.
inline constexpr std::string_view kUnknownMemberText =
    "Object doesn't support this property or method";
inline constexpr std::string_view kWrongArgumentCountText =
    "Wrong number of arguments or invalid property assignment";
inline constexpr std::string_view kObjectRequiredText = "Object required";
inline constexpr std::string_view kObjectNotSetText =
    "Object variable or With block variable not set";
inline constexpr std::string_view kSubscriptOutOfRangeText = "Subscript out of range";

struct [[nodiscard]] DispatchResult {
  DispatchStatus status = DispatchStatus::kOk;
  Variant value;      // the member's result; Empty for a put or a method without one
  std::string error;  // why, when status is not kOk

  [[nodiscard]] bool ok() const { return status == DispatchStatus::kOk; }
  [[nodiscard]] static DispatchResult Ok(Variant value = {}) {
    return DispatchResult{DispatchStatus::kOk, std::move(value), {}};
  }
  [[nodiscard]] static DispatchResult Fail(DispatchStatus status, std::string_view error) {
    return DispatchResult{status, {}, std::string(error)};
  }
};

// Thrown inside a member to end the call with a particular outcome. Any other
// exception ends it as kFailed with the exception's description.
class DispatchError : public Failure {
 public:
  DispatchError(DispatchStatus status, std::string_view error)
      : Failure(std::string(error)), status_(status) {}
  [[nodiscard]] DispatchStatus status() const { return status_; }

 private:
  DispatchStatus status_;
};

// Member names match ignoring (ASCII) case, as late binding matches them.
[[nodiscard]] bool MemberNamesEqual(std::string_view a, std::string_view b);
// The key under which a member is found: the name in lower case.
[[nodiscard]] std::string FoldMemberName(std::string_view name);

class Dispatch {
 public:
  virtual ~Dispatch() = default;

  // Calls member `name`. Arguments are positional, first first; a put's value is the
  // last argument. The member may assign to any argument: that is how by-reference
  // parameters return values, and the caller copies back the ones it passed by
  // reference. An omitted optional argument is Variant::Missing().
  [[nodiscard]] DispatchResult Invoke(std::string_view name, CallKind kind,
                                      std::span<Variant> args) noexcept;

  // Conveniences for arguments passed by value.
  [[nodiscard]] DispatchResult Get(std::string_view name, std::vector<Variant> args = {}) noexcept;
  [[nodiscard]] DispatchResult Put(std::string_view name, Variant value) noexcept;
  [[nodiscard]] DispatchResult Call(std::string_view name, std::vector<Variant> args = {}) noexcept;

 protected:
  // Implementations may throw (DispatchError for a specific outcome); Invoke traps.
  virtual DispatchResult DoInvoke(std::string_view name, CallKind kind,
                                  std::span<Variant> args) = 0;
};

// The arguments as a member body sees them. The typed readers coerce and end the call
// with kTypeMismatch (and the coercion's text) when they cannot.
class DispatchArgs {
 public:
  explicit DispatchArgs(std::span<Variant> args) : args_(args) {}

  [[nodiscard]] size_t size() const { return args_.size(); }
  // Writable, for by-reference parameters. An index beyond the end ends the call with
  // kWrongArgumentCount.
  [[nodiscard]] Variant& operator[](size_t i);
  // Omitted by the caller: beyond the end, or the missing marker.
  [[nodiscard]] bool IsMissing(size_t i) const;

  [[nodiscard]] bool Bool(size_t i);
  [[nodiscard]] int16_t Int16(size_t i);
  [[nodiscard]] int32_t Int32(size_t i);
  [[nodiscard]] double Double(size_t i);
  [[nodiscard]] Currency Cy(size_t i);
  [[nodiscard]] DateTime Date(size_t i);
  [[nodiscard]] std::string String(size_t i);
  // An object or Nothing (a null pointer).
  [[nodiscard]] DispatchPtr Object(size_t i);

 private:
  std::span<Variant> args_;
};

// Converts a put value to a member's C++ type; DispatchError(kTypeMismatch) if it can't.
template <typename M>
M FromVariant(const Variant& value) {
  const auto convert = [&] {
    if constexpr (std::is_same_v<M, bool>)
      return value.ToBool();
    else if constexpr (std::is_same_v<M, int16_t>)
      return value.ToInt16();
    else if constexpr (std::is_same_v<M, int32_t>)
      return value.ToInt32();
    else if constexpr (std::is_same_v<M, double>)
      return value.ToDouble();
    else if constexpr (std::is_same_v<M, Currency>)
      return value.ToCurrency();
    else if constexpr (std::is_same_v<M, DateTime>)
      return value.ToDate();
    else if constexpr (std::is_same_v<M, std::string>)
      return value.ToString();
    else if constexpr (std::is_same_v<M, DispatchPtr>)
      return value.ToObject();
    else
      static_assert(!sizeof(M), "no late-bound type for this member");
  };
  const auto converted = convert();
  if (!converted.ok()) throw DispatchError(DispatchStatus::kTypeMismatch, converted.error());
  return converted.value();
}

namespace detail {

// The untyped core of DispatchTable: name lookup, call-kind and argument-count rules.
class MemberTable {
 public:
  struct Member {
    std::string name;
    std::function<Variant(void*)> get;                    // property
    std::function<void(void*, const Variant&)> put;       // property
    std::function<Variant(void*, DispatchArgs&)> method;  // method
    int min_args = 0;
    int max_args = 0;
  };
  void Add(Member member);
  DispatchResult Invoke(void* self, std::string_view name, CallKind kind,
                        std::span<Variant> args) const;

 private:
  std::map<std::string, Member> members_;  // by lower-case name
};

}  // namespace detail

// A table of members for C++ class T, built once (a function-local static) and shared
// by every instance, so that exposing a class by name takes one line per member:
//
//   static const auto table = DispatchTable<TFoo>()
//       .Field("lCount", &TFoo::lCount)
//       .Method("Reset", 0, 0, [](TFoo& f, DispatchArgs&) { f.Reset(); return Variant(); });
//
// A later entry with the same name (in any case) replaces the earlier one.
template <typename T>
class DispatchTable {
 public:
  using Getter = std::function<Variant(T&)>;
  using Setter = std::function<void(T&, const Variant&)>;
  using Body = std::function<Variant(T&, DispatchArgs&)>;

  // A property; without a setter it is read-only, without a getter write-only.
  DispatchTable& Property(std::string_view name, Getter get, Setter put = {}) {
    detail::MemberTable::Member m{std::string(name), {}, {}, {}, 0, 0};
    if (get) m.get = [get](void* self) { return get(*static_cast<T*>(self)); };
    if (put) m.put = [put](void* self, const Variant& v) { put(*static_cast<T*>(self), v); };
    table_.Add(std::move(m));
    return *this;
  }

  // A data member exposed as a property; puts are coerced to its type.
  template <typename M>
  DispatchTable& Field(std::string_view name, M T::*field) {
    return Property(
        name, [field](T& self) { return Variant(self.*field); },
        [field](T& self, const Variant& v) { self.*field = FromVariant<M>(v); });
  }
  template <typename M>
  DispatchTable& ReadOnlyField(std::string_view name, M T::*field) {
    return Property(name, [field](T& self) { return Variant(self.*field); });
  }

  // A method taking min_args to max_args arguments (optional ones may be omitted).
  DispatchTable& Method(std::string_view name, int min_args, int max_args, Body body) {
    table_.Add(
        {std::string(name),
         {},
         {},
         [body](void* self, DispatchArgs& args) { return body(*static_cast<T*>(self), args); },
         min_args,
         max_args});
    return *this;
  }

  // May throw; call it from Dispatch::DoInvoke, whose caller traps.
  DispatchResult Invoke(T& self, std::string_view name, CallKind kind,
                        std::span<Variant> args) const {
    return table_.Invoke(&self, name, kind, args);
  }

 private:
  detail::MemberTable table_;
};

// Exposes an object of a class that does not derive from Dispatch through a table. The
// adapter shares ownership of the object; the table must outlive it (make it static).
template <typename T>
class TableDispatch : public Dispatch {
 public:
  TableDispatch(std::shared_ptr<T> object, const DispatchTable<T>& table)
      : object_(std::move(object)), table_(table) {}
  [[nodiscard]] T& object() { return *object_; }

 protected:
  DispatchResult DoInvoke(std::string_view name, CallKind kind, std::span<Variant> args) override {
    return table_.Invoke(*object_, name, kind, args);
  }

 private:
  std::shared_ptr<T> object_;
  const DispatchTable<T>& table_;
};

template <typename T>
[[nodiscard]] DispatchPtr ExposeByName(std::shared_ptr<T> object, const DispatchTable<T>& table) {
  return std::make_shared<TableDispatch<T>>(std::move(object), table);
}

// A late-bound object reference for code that runs inside Trap, written the way the
// till's developers chain member accesses (session."Transaction"."TransactionType"):
// every failure throws a Failure whose text is the call's error, which Trap turns into
// the operation's strErrorMessage.
class LateObject {
 public:
  LateObject() = default;  // Nothing
  explicit LateObject(DispatchPtr object) : object_(std::move(object)) {}
  // "Object required" unless the value is an object (Nothing is one).
  [[nodiscard]] static LateObject From(const Variant& value);

  [[nodiscard]] Variant Get(std::string_view name, std::vector<Variant> args = {}) const;
  // Get, requiring an object that is not Nothing.
  [[nodiscard]] LateObject Object(std::string_view name, std::vector<Variant> args = {}) const;
  void Put(std::string_view name, Variant value) const;
  Variant Call(std::string_view name, std::vector<Variant> args = {}) const;

  // The elements of a host collection, in order: "Count", then "Item" from 1 to Count,
  // the form the till's collections take (1-based, like its own Collection).
  [[nodiscard]] std::vector<Variant> Items() const;

  [[nodiscard]] bool IsNothing() const { return object_ == nullptr; }
  [[nodiscard]] const DispatchPtr& ptr() const { return object_; }

 private:
  Variant Run(std::string_view name, CallKind kind, std::vector<Variant> args) const;
  DispatchPtr object_;
};

}  // namespace ccaddin
