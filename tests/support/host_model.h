// An in-memory stand-in for the till's own objects, called by member name: objects
// whose members a test declares (values, nested objects, collections, methods), that
// record every call made on them and fail or misbehave on demand. Objects share one
// call log so that a test can check the order of calls across objects. Never blocks.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/dispatch.h"
#include "platform/variant.h"

namespace ccaddin::testing {

struct HostCall {
  std::string object;  // the name the test gave the object, e.g. "Tenders(1)"
  std::string member;  // as the caller spelled it
  CallKind kind;
  std::vector<Variant> args;  // as passed in; for a put, the value
};
using HostLog = std::vector<HostCall>;

class HostObject : public Dispatch {
 public:
  explicit HostObject(std::string name, std::shared_ptr<HostLog> log = nullptr);
  HostObject(const HostObject&) = delete;
  HostObject& operator=(const HostObject&) = delete;
  [[nodiscard]] static std::shared_ptr<HostObject> Create(std::string name,
                                                          std::shared_ptr<HostLog> log = nullptr);

  // A property declared with the type of `value`: a put converts to that type, and a
  // value that does not convert is refused with kTypeMismatch, as a typed host
  // property refuses it.
  HostObject& Set(std::string_view member, Variant value);
  // A property declared as Variant: it takes any value as it comes, and so can hand the
  // component a value of the wrong type.
  HostObject& SetUntyped(std::string_view member, Variant value);
  HostObject& SetReadOnly(std::string_view member, Variant value);
  // A method returning `result`; it takes exactly arg_count arguments (any number when
  // negative). A body sees the arguments and may write to them (by reference).
  HostObject& AddMethod(std::string_view member, int arg_count = -1, Variant result = {});
  HostObject& AddMethod(std::string_view member, int arg_count,
                        std::function<Variant(DispatchArgs&)> body);
  // From now on every call of the member ends with `status` and `error`.
  HostObject& FailOn(std::string_view member, std::string_view error,
                     DispatchStatus status = DispatchStatus::kFailed);
  HostObject& Remove(std::string_view member);

  // A property's current value (Empty when there is none), e.g. after the component
  // wrote to it.
  [[nodiscard]] Variant Value(std::string_view member) const;
  [[nodiscard]] const std::string& name() const { return name_; }
  [[nodiscard]] const std::shared_ptr<HostLog>& log() const { return log_; }
  // The calls made on this object, in order; CallsTo filters by member (any case).
  [[nodiscard]] std::vector<HostCall> calls() const;
  [[nodiscard]] std::vector<HostCall> CallsTo(std::string_view member) const;

 protected:
  DispatchResult DoInvoke(std::string_view member, CallKind kind, std::span<Variant> args) override;

 private:
  struct Member {
    Variant value;
    std::optional<VariantType> declared;  // none: a Variant property
    bool read_only = false;
    std::function<Variant(DispatchArgs&)> method;
    int arg_count = -1;
    std::optional<DispatchResult> fault;
  };
  Member& Declare(std::string_view member);

  std::string name_;
  std::shared_ptr<HostLog> log_;
  std::map<std::string, Member> members_;  // by lower-case name
};

// The retail management host's session as the component reads it: Configuration.StoreName,
//   StoreAddress1, StoreAddress2, StoreCity, StoreState, StoreZip, StorePhone;
//   Register.Number (Long), .SetActivePrinterNumber(n), .ActivePrinter with Name,
//   Release() and its printer control co (Open, Claimed, ClaimDevice, DeviceEnabled,
//   PrintNormal, CutPaper, ReleaseDevice, Close).
struct RmsSessionSetup {
  std::string store_name = "Harbour Road Stores";
  std::string store_address1 = "12 Harbour Road";
  std::string store_address2;
  std::string store_city = "Portwick";
  std::string store_state = "Kent";
  std::string store_zip = "PW1 4RD";
  std::string store_phone = "01632 960123";
  int32_t register_number = 3;
  std::string printer_name = "ReceiptPrinter";
};

struct RmsSession {
  std::shared_ptr<HostLog> log;
  std::shared_ptr<HostObject> session;
  std::shared_ptr<HostObject> configuration;
  std::shared_ptr<HostObject> register_;
  std::shared_ptr<HostObject> printer;
  std::shared_ptr<HostObject> co;
};

[[nodiscard]] RmsSession MakeRmsSession(const RmsSessionSetup& setup);

}  // namespace ccaddin::testing
