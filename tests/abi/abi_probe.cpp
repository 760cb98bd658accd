// TAbiProbe: a class built only into the tests' copy of the library
// (libccaddin_abitest.so), so that tests can reach the parts of the C ABI that the
// product's classes do not exercise yet: by-reference write-back, calls into host
// objects, the records read and written by name on a till's own objects, and an object
// the component keeps after the till has released it.
#include "abi/class_registry.h"
#include "payment/records_dispatch.h"
#include "platform/dispatch.h"

namespace ccaddin {
namespace {

struct TAbiProbe {
  DispatchPtr kept;
};

DispatchPtr ExposeProbe() {
  using T = TAbiProbe;
  static const auto table =
      DispatchTable<T>()
          .Method("Echo", 1, 1, [](T&, DispatchArgs& a) { return a[0]; })
          .Method("TypeOf", 1, 1,
                  [](T&, DispatchArgs& a) { return Variant(static_cast<int32_t>(a[0].type())); })
          .Method("Swap", 2, 2,
                  [](T&, DispatchArgs& a) {
                    std::swap(a[0], a[1]);
                    return Variant();
                  })
          // Invoke(object, name, kind, args...): calls the object by name and hands back
          // its by-reference writes, as a hook calling the till's session would.
          .Method("Invoke", 3, 8,
                  [](T&, DispatchArgs& a) {
                    const DispatchPtr object = a.Object(0);
                    if (object == nullptr) throw Failure(std::string(kObjectNotSetText));
                    const std::string name = a.String(1);
                    const auto kind = static_cast<CallKind>(a.Int32(2));
                    std::vector<Variant> rest;
                    for (size_t i = 3; i < a.size(); ++i) rest.push_back(a[i]);
                    DispatchResult r = object->Invoke(name, kind, rest);
                    for (size_t i = 3; i < a.size(); ++i) a[i] = rest[i - 3];
                    if (!r.ok()) throw DispatchError(r.status, r.error);
                    return r.value;
                  })
          .Method("Keep", 1, 1,
                  [](T& p, DispatchArgs& a) {
                    p.kept = a.Object(0);
                    return Variant();
                  })
          .Method("Drop", 0, 0,
                  [](T& p, DispatchArgs&) {
                    p.kept.reset();
                    return Variant();
                  })
          .Method("ReadTillMerchant", 1, 1,
                  [](T&, DispatchArgs& a) {
                    return Variant(ReadTillInformation(a.Object(0)).strMerchantName);
                  })
          .Method("WriteTransInfo", 1, 1,
                  [](T&, DispatchArgs& a) {
                    TTransactionInfo info;
                    info.strAuthorisationCode =
                        "A\xA3"
                        "1";  // "A£1"
                    info.lTransactionRefNo = 4321;
                    info.lResponseCode = TRANSINFO_RC_AUTHORISED;
                    info.bFuelBunkerCard = true;
                    WriteTransactionInfo(info, a.Object(0));
                    return Variant();
                  })
          .Method("Fail", 1, 1, [](T&, DispatchArgs& a) -> Variant { throw Failure(a.String(0)); });
  return ExposeByName(std::make_shared<T>(), table);
}

const bool registered = [] {
  ClassRegistry::Builtin().Register("TAbiProbe", ExposeProbe);
  return true;
}();

}  // namespace
}  // namespace ccaddin
