#include "support/host_model.h"

#include <utility>

namespace ccaddin::testing {

HostObject::HostObject(std::string name, std::shared_ptr<HostLog> log)
    : name_(std::move(name)), log_(log != nullptr ? std::move(log) : std::make_shared<HostLog>()) {}

std::shared_ptr<HostObject> HostObject::Create(std::string name, std::shared_ptr<HostLog> log) {
  return std::make_shared<HostObject>(std::move(name), std::move(log));
}

HostObject::Member& HostObject::Declare(std::string_view member) {
  Member& m = members_[FoldMemberName(member)];
  m = Member{};
  return m;
}

HostObject& HostObject::Set(std::string_view member, Variant value) {
  Member& m = Declare(member);
  m.declared = value.type();
  m.value = std::move(value);
  return *this;
}

HostObject& HostObject::SetUntyped(std::string_view member, Variant value) {
  Declare(member).value = std::move(value);
  return *this;
}

HostObject& HostObject::SetReadOnly(std::string_view member, Variant value) {
  Member& m = Declare(member);
  m.value = std::move(value);
  m.read_only = true;
  return *this;
}

HostObject& HostObject::AddMethod(std::string_view member, int arg_count, Variant result) {
  return AddMethod(member, arg_count, [result](DispatchArgs&) { return result; });
}

HostObject& HostObject::AddMethod(std::string_view member, int arg_count,
                                  std::function<Variant(DispatchArgs&)> body) {
  Member& m = Declare(member);
  m.method = std::move(body);
  m.arg_count = arg_count;
  return *this;
}

HostObject& HostObject::FailOn(std::string_view member, std::string_view error,
                               DispatchStatus status) {
  members_[FoldMemberName(member)].fault = DispatchResult::Fail(status, error);
  return *this;
}

HostObject& HostObject::Remove(std::string_view member) {
  members_.erase(FoldMemberName(member));
  return *this;
}

Variant HostObject::Value(std::string_view member) const {
  const auto it = members_.find(FoldMemberName(member));
  return it != members_.end() ? it->second.value : Variant();
}

std::vector<HostCall> HostObject::calls() const {
  std::vector<HostCall> mine;
  for (const HostCall& call : *log_) {
    if (call.object == name_) mine.push_back(call);
  }
  return mine;
}

std::vector<HostCall> HostObject::CallsTo(std::string_view member) const {
  std::vector<HostCall> matching;
  for (const HostCall& call : calls()) {
    if (MemberNamesEqual(call.member, member)) matching.push_back(call);
  }
  return matching;
}

DispatchResult HostObject::DoInvoke(std::string_view member, CallKind kind,
                                    std::span<Variant> args) {
  log_->push_back(HostCall{name_, std::string(member), kind, {args.begin(), args.end()}});
  const auto it = members_.find(FoldMemberName(member));
  if (it == members_.end()) {
    return DispatchResult::Fail(DispatchStatus::kUnknownMember, kUnknownMemberText);
  }
  Member& m = it->second;
  if (m.fault) return *m.fault;
  const auto wrong_count = [] {
    return DispatchResult::Fail(DispatchStatus::kWrongArgumentCount, kWrongArgumentCountText);
  };
  if (m.method) {
    if (kind == CallKind::kPut) {
      return DispatchResult::Fail(DispatchStatus::kUnknownMember, kUnknownMemberText);
    }
    if (m.arg_count >= 0 && args.size() != static_cast<size_t>(m.arg_count)) return wrong_count();
    DispatchArgs call_args(args);
    return DispatchResult::Ok(m.method(call_args));
  }
  if (kind != CallKind::kPut) {
    if (!args.empty()) return wrong_count();
    return DispatchResult::Ok(m.value);
  }
  if (m.read_only) return DispatchResult::Fail(DispatchStatus::kUnknownMember, kUnknownMemberText);
  if (args.size() != 1) return wrong_count();
  if (!m.declared) {
    m.value = args[0];
    return DispatchResult::Ok();
  }
  const auto converted = args[0].ChangeType(*m.declared);
  if (!converted.ok())
    return DispatchResult::Fail(DispatchStatus::kTypeMismatch, converted.error());
  m.value = converted.value();
  return DispatchResult::Ok();
}

RmsSession MakeRmsSession(const RmsSessionSetup& setup) {
  RmsSession rms;
  rms.log = std::make_shared<HostLog>();
  const auto make = [&](std::string name) { return HostObject::Create(std::move(name), rms.log); };

  rms.configuration = make("Configuration");
  rms.configuration->Set("StoreName", setup.store_name)
      .Set("StoreAddress1", setup.store_address1)
      .Set("StoreAddress2", setup.store_address2)
      .Set("StoreCity", setup.store_city)
      .Set("StoreState", setup.store_state)
      .Set("StoreZip", setup.store_zip)
      .Set("StorePhone", setup.store_phone);

  rms.co = make("ActivePrinter.co");
  HostObject* co = rms.co.get();  // the control owns the method that flips its flag
  rms.co->AddMethod("Open", 1)
      .Set("Claimed", false)
      .AddMethod("ClaimDevice", 1,
                 [co](DispatchArgs&) {
                   co->Set("Claimed", true);
                   return Variant(int32_t{0});
                 })
      .Set("DeviceEnabled", false)
      .AddMethod("PrintNormal", 2, Variant(int32_t{0}))
      .AddMethod("CutPaper", 1, Variant(int32_t{0}))
      .AddMethod("ReleaseDevice", 0, Variant(int32_t{0}))
      .AddMethod("Close", 0, Variant(int32_t{0}));
  rms.printer = make("ActivePrinter");
  rms.printer->SetReadOnly("Name", setup.printer_name)
      .SetReadOnly("co", rms.co)
      .AddMethod("Release", 0);

  rms.register_ = make("Register");
  rms.register_->Set("Number", setup.register_number)
      .AddMethod("SetActivePrinterNumber", 1)
      .SetReadOnly("ActivePrinter", rms.printer);

  rms.session = make("Session");
  rms.session->SetReadOnly("Configuration", rms.configuration)
      .SetReadOnly("Register", rms.register_);
  return rms;
}

}  // namespace ccaddin::testing
