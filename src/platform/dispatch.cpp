#include "platform/dispatch.h"
#include "platform/text_rules.h"

#include <new>

namespace ccaddin {

namespace {

template <typename T>
T Checked(const Coerced<T>& converted) {
  if (!converted.ok()) throw DispatchError(DispatchStatus::kTypeMismatch, converted.error());
  return converted.value();
}

}  // namespace

std::string FoldMemberName(std::string_view name) {
  return LowerAscii(std::string(name));
}

bool MemberNamesEqual(std::string_view a, std::string_view b) {
  return EqualsIgnoringAsciiCase(a, b);
}

DispatchResult Dispatch::Invoke(std::string_view name, CallKind kind,
                                std::span<Variant> args) noexcept {
  try {
    try {
      return DoInvoke(name, kind, args);
    } catch (const DispatchError& e) {
      return DispatchResult::Fail(e.status(), e.what());
    } catch (...) {
      return DispatchResult::Fail(DispatchStatus::kFailed, DescribeCurrentException());
    }
  } catch (...) {
    // No memory even for the error text: the status still tells the caller.
    DispatchResult result;
    result.status = DispatchStatus::kFailed;
    return result;
  }
}

DispatchResult Dispatch::Get(std::string_view name, std::vector<Variant> args) noexcept {
  return Invoke(name, CallKind::kGet, args);
}

DispatchResult Dispatch::Put(std::string_view name, Variant value) noexcept {
  return Invoke(name, CallKind::kPut, std::span<Variant>(&value, 1));
}

DispatchResult Dispatch::Call(std::string_view name, std::vector<Variant> args) noexcept {
  return Invoke(name, CallKind::kMethod, args);
}

Variant& DispatchArgs::operator[](size_t i) {
  if (i >= args_.size()) {
    throw DispatchError(DispatchStatus::kWrongArgumentCount, kWrongArgumentCountText);
  }
  return args_[i];
}

bool DispatchArgs::IsMissing(size_t i) const {
  return i >= args_.size() || args_[i].IsMissing();
}

bool DispatchArgs::Bool(size_t i) {
  return Checked((*this)[i].ToBool());
}
int16_t DispatchArgs::Int16(size_t i) {
  return Checked((*this)[i].ToInt16());
}
int32_t DispatchArgs::Int32(size_t i) {
  return Checked((*this)[i].ToInt32());
}
double DispatchArgs::Double(size_t i) {
  return Checked((*this)[i].ToDouble());
}
Currency DispatchArgs::Cy(size_t i) {
  return Checked((*this)[i].ToCurrency());
}
DateTime DispatchArgs::Date(size_t i) {
  return Checked((*this)[i].ToDate());
}
std::string DispatchArgs::String(size_t i) {
  return Checked((*this)[i].ToString());
}
DispatchPtr DispatchArgs::Object(size_t i) {
  return Checked((*this)[i].ToObject());
}

namespace detail {

void MemberTable::Add(Member member) {
  std::string key = FoldMemberName(member.name);
  members_.insert_or_assign(std::move(key), std::move(member));
}

DispatchResult MemberTable::Invoke(void* self, std::string_view name, CallKind kind,
                                   std::span<Variant> args) const {
  const auto it = members_.find(FoldMemberName(name));
  if (it == members_.end()) {
    return DispatchResult::Fail(DispatchStatus::kUnknownMember, kUnknownMemberText);
  }
  const Member& m = it->second;
  const auto wrong_count = [] {
    return DispatchResult::Fail(DispatchStatus::kWrongArgumentCount, kWrongArgumentCountText);
  };
  if (m.method) {
    // A method cannot be assigned to.
    if (kind == CallKind::kPut) {
      return DispatchResult::Fail(DispatchStatus::kUnknownMember, kUnknownMemberText);
    }
    const auto count = static_cast<int>(args.size());
    if (count < m.min_args || count > m.max_args) return wrong_count();
    DispatchArgs call_args(args);
    return DispatchResult::Ok(m.method(self, call_args));
  }
  if (kind == CallKind::kPut) {
    if (!m.put) return DispatchResult::Fail(DispatchStatus::kUnknownMember, kUnknownMemberText);
    if (args.size() != 1) return wrong_count();
    m.put(self, args[0]);
    return DispatchResult::Ok();
  }
  if (!m.get) return DispatchResult::Fail(DispatchStatus::kUnknownMember, kUnknownMemberText);
  if (!args.empty()) return wrong_count();
  return DispatchResult::Ok(m.get(self));
}

}  // namespace detail

LateObject LateObject::From(const Variant& value) {
  const auto object = value.ToObject();
  if (!object.ok()) throw Failure(std::string(kObjectRequiredText));
  return LateObject(object.value());
}

Variant LateObject::Run(std::string_view name, CallKind kind, std::vector<Variant> args) const {
  if (object_ == nullptr) throw Failure(std::string(kObjectNotSetText));
  DispatchResult result = object_->Invoke(name, kind, args);
  if (!result.ok()) throw Failure(result.error);
  return std::move(result.value);
}

Variant LateObject::Get(std::string_view name, std::vector<Variant> args) const {
  return Run(name, CallKind::kGet, std::move(args));
}

LateObject LateObject::Object(std::string_view name, std::vector<Variant> args) const {
  LateObject object = From(Get(name, std::move(args)));
  if (object.IsNothing()) throw Failure(std::string(kObjectNotSetText));
  return object;
}

void LateObject::Put(std::string_view name, Variant value) const {
  Run(name, CallKind::kPut, {std::move(value)});
}

Variant LateObject::Call(std::string_view name, std::vector<Variant> args) const {
  return Run(name, CallKind::kMethod, std::move(args));
}

std::vector<Variant> LateObject::Items() const {
  const int32_t count = Get("Count").ToInt32().OrThrow();
  std::vector<Variant> items;
  items.reserve(count > 0 ? static_cast<size_t>(count) : 0);
  for (int32_t i = 1; i <= count; ++i) items.push_back(Get("Item", {i}));
  return items;
}

}  // namespace ccaddin
