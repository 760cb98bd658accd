// The C ABI as a till calls it, through libccaddin_abitest.so (the product library plus
// the TAbiProbe class, which writes by-reference arguments and calls host objects).
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "ccaddin/ccaddin.h"

namespace {

// A variant that frees what the library gave it.
struct Var {
  ccaddin_variant v{};
  Var() = default;
  Var(const Var&) = delete;
  Var& operator=(const Var&) = delete;
  ~Var() { ccaddin_variant_clear(&v); }
};

ccaddin_variant Str(const char* s, uint16_t flags = 0) {
  ccaddin_variant v{};
  v.type = CCADDIN_VT_STRING;
  v.flags = flags;
  v.u.str = const_cast<char*>(s);
  return v;
}
ccaddin_variant I32(int32_t i) {
  ccaddin_variant v{};
  v.type = CCADDIN_VT_INT32;
  v.u.i32 = i;
  return v;
}
ccaddin_variant Bool(int16_t b) {
  ccaddin_variant v{};
  v.type = CCADDIN_VT_BOOL;
  v.u.boolean = b;
  return v;
}
ccaddin_variant Obj(ccaddin_object* o, uint16_t flags = 0) {
  ccaddin_variant v{};
  v.type = CCADDIN_VT_OBJECT;
  v.flags = flags;
  v.u.obj = o;
  return v;
}

class Handle {
 public:
  explicit Handle(const char* progid) {
    EXPECT_EQ(ccaddin_create(progid, &obj_), CCADDIN_OK) << ccaddin_last_error();
  }
  explicit Handle(ccaddin_object* adopted) : obj_(adopted) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() { ccaddin_release(obj_); }
  ccaddin_object* get() const { return obj_; }

  ccaddin_status Get(const char* name, Var& out) const {
    return ccaddin_invoke(obj_, name, CCADDIN_GET, nullptr, 0, &out.v);
  }
  ccaddin_status Put(const char* name, ccaddin_variant value) const {
    return ccaddin_invoke(obj_, name, CCADDIN_PUT, &value, 1, nullptr);
  }
  std::string GetString(const char* name) const {
    Var out;
    EXPECT_EQ(Get(name, out), CCADDIN_OK) << ccaddin_last_error();
    EXPECT_EQ(out.v.type, CCADDIN_VT_STRING);
    return out.v.type == CCADDIN_VT_STRING ? out.v.u.str : "";
  }

 private:
  ccaddin_object* obj_ = nullptr;
};

constexpr const char* kTill = "TamberinCcAddin.TTillInformation";
constexpr const char* kTrans = "TamberinCcAddin.TTransactionInfo";
constexpr const char* kProbe = "TamberinCcAddin.TAbiProbe";

TEST(AbiCreate, EveryRegisteredClassByProgramIdentifierIgnoringCase) {
  for (const char* id :
       {kTill, kTrans, "TamberinCcAddin.TNonGuiTransactionHook",
        "TamberinCcAddin.TNonGuiTransactionHook2", "tamberinccaddin.ttillinformation"}) {
    ccaddin_object* obj = nullptr;
    EXPECT_EQ(ccaddin_create(id, &obj), CCADDIN_OK) << id;
    EXPECT_NE(obj, nullptr);
    EXPECT_STREQ(ccaddin_last_error(), "");
    ccaddin_release(obj);
  }
  ccaddin_object* obj = reinterpret_cast<ccaddin_object*>(&obj);
  EXPECT_EQ(ccaddin_create("TamberinCcAddin.TNoSuchHook", &obj), CCADDIN_E_UNKNOWN_CLASS);
  EXPECT_EQ(obj, nullptr);
  EXPECT_NE(std::string(ccaddin_last_error()).find("TamberinCcAddin.TNoSuchHook"),
            std::string::npos);
  EXPECT_EQ(ccaddin_create("TTillInformation", &obj), CCADDIN_E_UNKNOWN_CLASS);
  EXPECT_EQ(ccaddin_create(nullptr, &obj), CCADDIN_E_INVALID_ARG);
  EXPECT_EQ(ccaddin_create(kTill, nullptr), CCADDIN_E_INVALID_ARG);
  EXPECT_EQ(ccaddin_create("TamberinCcAddin.T\xC3", &obj), CCADDIN_E_INVALID_ARG);
  EXPECT_NE(std::string(ccaddin_last_error()).find("UTF-8"), std::string::npos);
}

TEST(AbiRecords, TransactionInfoPropertiesKeepTheirTypes) {
  Handle info(kTrans);
  ASSERT_EQ(info.Put("LTRANSACTIONREFNO", Str("1234")), CCADDIN_OK);  // text coerces
  Var ref;
  ASSERT_EQ(info.Get("lTransactionRefNo", ref), CCADDIN_OK);
  EXPECT_EQ(ref.v.type, CCADDIN_VT_INT32);
  EXPECT_EQ(ref.v.u.i32, 1234);

  // Booleans leave as COM booleans; any non-zero coming in is True.
  Var b;
  ASSERT_EQ(info.Put("bFuelBunkerCard", Bool(1)), CCADDIN_OK);
  ASSERT_EQ(info.Get("bFuelBunkerCard", b), CCADDIN_OK);
  EXPECT_EQ(b.v.type, CCADDIN_VT_BOOL);
  EXPECT_EQ(b.v.u.boolean, -1);
  ASSERT_EQ(info.Put("bPrintFuelBunkerTotal", I32(0)), CCADDIN_OK);
  Var f;
  ASSERT_EQ(info.Get("bPrintFuelBunkerTotal", f), CCADDIN_OK);
  EXPECT_EQ(f.v.type, CCADDIN_VT_BOOL);
  EXPECT_EQ(f.v.u.boolean, 0);

  EXPECT_EQ(info.Put("lCustomerMileage", Str("many")), CCADDIN_E_TYPE_MISMATCH);
  EXPECT_NE(std::string(ccaddin_last_error()).find("Type mismatch"), std::string::npos);
  ccaddin_object* till = nullptr;
  ASSERT_EQ(ccaddin_create(kTill, &till), CCADDIN_OK);
  EXPECT_EQ(info.Put("lCashbackAmount", Obj(till)), CCADDIN_E_TYPE_MISMATCH);
  ccaddin_release(till);
}

TEST(AbiRecords, TillInformationHasEveryPropertyAndTextCrossesAsUtf8) {
  Handle till(kTill);
  for (const char* name :
       {"strMerchantName", "strAddressLine1", "strAddressLine2", "strAddressLine3",
        "strSitePhoneNumber", "strTillNumber", "strStoreNumber", "strReceiptNumber"}) {
    EXPECT_EQ(till.GetString(name), "") << name;
  }
  ASSERT_EQ(till.Put("strMerchantName", Str("Caf\xC3\xA9 \xC2\xA3"
                                            "2 \xE2\x82\xAC")),
            CCADDIN_OK);
  EXPECT_EQ(till.GetString("strMerchantName"),
            "Caf\xC3\xA9 \xC2\xA3"
            "2 \xE2\x82\xAC");
  // A character Windows-1252 lacks becomes "?"; bytes that are not UTF-8 are refused.
  ASSERT_EQ(till.Put("strAddressLine1", Str("\xE6\x97\xA5 St")), CCADDIN_OK);
  EXPECT_EQ(till.GetString("strAddressLine1"), "? St");
  EXPECT_EQ(till.Put("strAddressLine1", Str("bad \xC3(")), CCADDIN_E_INVALID_ARG);
  EXPECT_EQ(till.GetString("strAddressLine1"), "? St");
}

TEST(AbiErrors, EachFailureHasItsOwnCodeAndMessage) {
  Handle hook("TamberinCcAddin.TNonGuiTransactionHook");
  Var out;
  EXPECT_EQ(hook.Get("strNoSuch", out), CCADDIN_E_UNKNOWN_MEMBER);
  EXPECT_EQ(std::string(ccaddin_last_error()),
            "Object doesn't support this property or method (strNoSuch)");
  EXPECT_EQ(hook.Put("strErrorMessage", Str("x")), CCADDIN_E_UNKNOWN_MEMBER);  // read-only

  Handle till(kTill);
  Handle trans(kTrans);
  ccaddin_variant three[] = {I32(0), I32(100), Obj(till.get())};
  EXPECT_EQ(ccaddin_invoke(hook.get(), "AuthoriseTransaction", CCADDIN_METHOD, three, 3, &out.v),
            CCADDIN_E_ARG_COUNT);
  EXPECT_EQ(out.v.type, CCADDIN_VT_EMPTY);
  ccaddin_variant arg = I32(1);
  EXPECT_EQ(ccaddin_invoke(till.get(), "strTillNumber", CCADDIN_GET, &arg, 1, &out.v),
            CCADDIN_E_ARG_COUNT);
  ccaddin_variant mismatch[] = {Str("sale"), I32(100), Obj(till.get()), Obj(trans.get())};
  EXPECT_EQ(ccaddin_invoke(hook.get(), "AuthoriseTransaction", CCADDIN_METHOD, mismatch, 4, &out.v),
            CCADDIN_E_TYPE_MISMATCH);

  // Freeing by-reference arguments after a failure keeps its reason for the till to read.
  ccaddin_variant refs[] = {Str("sale"), I32(100), Obj(till.get(), CCADDIN_BYREF),
                            Obj(trans.get(), CCADDIN_BYREF)};
  EXPECT_EQ(ccaddin_invoke(hook.get(), "AuthoriseTransaction", CCADDIN_METHOD, refs, 4, nullptr),
            CCADDIN_E_TYPE_MISMATCH);
  EXPECT_EQ(refs[2].flags, CCADDIN_BYREF | CCADDIN_OWNED);
  ccaddin_variant_clear(&refs[2]);
  ccaddin_variant_clear(&refs[3]);
  EXPECT_NE(std::string(ccaddin_last_error()).find("Type mismatch"), std::string::npos);

  Handle probe(kProbe);
  ccaddin_variant why = Str("Printer jammed \xC2\xA3");
  EXPECT_EQ(ccaddin_invoke(probe.get(), "Fail", CCADDIN_METHOD, &why, 1, &out.v), CCADDIN_E_FAILED);
  EXPECT_STREQ(ccaddin_last_error(), "Printer jammed \xC2\xA3");
}

TEST(AbiErrors, BadInputIsRefusedWithoutCrashing) {
  Handle till(kTill);
  Var out;
  const auto invalid = [&](ccaddin_object* obj, const char* name, int32_t kind,
                           ccaddin_variant* args, int32_t n) {
    EXPECT_EQ(ccaddin_invoke(obj, name, kind, args, n, &out.v), CCADDIN_E_INVALID_ARG)
        << (name ? name : "NULL");
    EXPECT_STRNE(ccaddin_last_error(), "");
    EXPECT_EQ(out.v.type, CCADDIN_VT_EMPTY);
  };
  invalid(nullptr, "strTillNumber", CCADDIN_GET, nullptr, 0);
  invalid(till.get(), nullptr, CCADDIN_GET, nullptr, 0);
  invalid(till.get(), "strTill\xFF", CCADDIN_GET, nullptr, 0);
  invalid(till.get(), "strTillNumber", 3, nullptr, 0);
  invalid(till.get(), "strTillNumber", CCADDIN_PUT, nullptr, 1);
  invalid(till.get(), "strTillNumber", CCADDIN_GET, nullptr, -1);
  ccaddin_variant null_text = Str(nullptr);
  invalid(till.get(), "strTillNumber", CCADDIN_PUT, &null_text, 1);
  ccaddin_variant bad_tag{};
  bad_tag.type = 77;
  invalid(till.get(), "strTillNumber", CCADDIN_PUT, &bad_tag, 1);

  EXPECT_EQ(ccaddin_addref(nullptr), CCADDIN_E_INVALID_ARG);
  EXPECT_EQ(ccaddin_release(nullptr), CCADDIN_OK);
  ccaddin_variant_clear(nullptr);
  ccaddin_object* host = nullptr;
  EXPECT_EQ(ccaddin_host_object_create(nullptr, nullptr, &host), CCADDIN_E_INVALID_ARG);
  ccaddin_host_vtable no_invoke{nullptr, nullptr};
  EXPECT_EQ(ccaddin_host_object_create(&no_invoke, nullptr, &host), CCADDIN_E_INVALID_ARG);
  EXPECT_EQ(host, nullptr);

  // A success clears the last failure's text.
  EXPECT_EQ(till.Get("strTillNumber", out), CCADDIN_OK);
  EXPECT_STREQ(ccaddin_last_error(), "");
}

TEST(AbiVariants, EveryTypeRoundTripsAndByReferenceArgumentsComeBack) {
  Handle probe(kProbe);
  Handle till(kTill);
  ccaddin_variant dbl{};
  dbl.type = CCADDIN_VT_DOUBLE;
  dbl.u.dbl = 2.675;
  ccaddin_variant null{};
  null.type = CCADDIN_VT_NULL;
  const std::vector<std::pair<ccaddin_variant, int32_t>> cases = {
      {ccaddin_variant{}, 0}, {null, 1},         {I32(-7), 3},  {dbl, 5}, {Str("\xC3\xA9"), 8},
      {Obj(till.get()), 9},   {Obj(nullptr), 9}, {Bool(-1), 11}};
  for (const auto& [in, internal_type] : cases) {
    ccaddin_variant arg = in;
    Var type;
    ASSERT_EQ(ccaddin_invoke(probe.get(), "TypeOf", CCADDIN_METHOD, &arg, 1, &type.v), CCADDIN_OK);
    EXPECT_EQ(type.v.u.i32, internal_type);
    Var back;
    ASSERT_EQ(ccaddin_invoke(probe.get(), "Echo", CCADDIN_METHOD, &arg, 1, &back.v), CCADDIN_OK);
    ASSERT_EQ(back.v.type, in.type);
    switch (in.type) {
      case CCADDIN_VT_INT32:
        EXPECT_EQ(back.v.u.i32, -7);
        break;
      case CCADDIN_VT_DOUBLE:
        EXPECT_EQ(back.v.u.dbl, 2.675);
        break;
      case CCADDIN_VT_BOOL:
        EXPECT_EQ(back.v.u.boolean, -1);
        break;
      case CCADDIN_VT_STRING:
        EXPECT_STREQ(back.v.u.str, "\xC3\xA9");
        EXPECT_NE(back.v.u.str, in.u.str);  // the library's own copy
        EXPECT_TRUE(back.v.flags & CCADDIN_OWNED);
        break;
      case CCADDIN_VT_OBJECT:
        EXPECT_TRUE(ccaddin_same_object(back.v.u.obj, in.u.obj));
        break;
    }
    EXPECT_EQ(arg.u.i32, in.u.i32) << "a by-value argument is never written";
  }

  // Swap writes both arguments; only the one passed by reference comes back.
  char mine[] = "mine";
  ccaddin_variant two[] = {Str(mine, CCADDIN_BYREF), Obj(till.get())};
  ASSERT_EQ(ccaddin_invoke(probe.get(), "Swap", CCADDIN_METHOD, two, 2, nullptr), CCADDIN_OK);
  ASSERT_EQ(two[0].type, CCADDIN_VT_OBJECT);
  EXPECT_EQ(two[0].flags, CCADDIN_BYREF | CCADDIN_OWNED);
  EXPECT_TRUE(ccaddin_same_object(two[0].u.obj, till.get()));
  EXPECT_EQ(two[1].u.obj, till.get());
  EXPECT_STREQ(mine, "mine");
  ccaddin_variant_clear(&two[0]);
  ccaddin_variant_clear(&two[1]);                  // caller-owned: nothing freed
  EXPECT_EQ(till.GetString("strTillNumber"), "");  // the till record is still alive
}

// A till object implemented by callbacks: a sale with a total, a by-reference "Round"
// and failures on demand.
struct Sale {
  std::vector<std::string> calls;
  int destroyed = 0;
  std::string last_text;
};

ccaddin_status SaleInvoke(void* user, const char* name, int32_t kind, ccaddin_variant* args,
                          int32_t nargs, ccaddin_variant* result) {
  auto* sale = static_cast<Sale*>(user);
  sale->calls.push_back(std::string(name) + "/" + std::to_string(kind) + "/" +
                        std::to_string(nargs));
  const std::string member = name;
  if (member == "Total" && nargs == 0) {
    result->type = CCADDIN_VT_INT32;
    result->u.i32 = 1250;
    return CCADDIN_OK;
  }
  if (member == "Describe" && nargs == 1 && args[0].type == CCADDIN_VT_STRING) {
    sale->last_text = args[0].u.str;
    result->type = CCADDIN_VT_STRING;
    result->flags = CCADDIN_OWNED;
    result->u.str = ccaddin_string_dup("Sale \xC2\xA3");
    return CCADDIN_OK;
  }
  if (member == "Round" && nargs == 1) {  // writes its by-reference argument
    args[0] = ccaddin_variant{};
    args[0].type = CCADDIN_VT_INT32;
    args[0].u.i32 = 1300;
    return CCADDIN_OK;
  }
  if (member == "Broken") {
    ccaddin_set_error("Till offline \xC3\xA9");
    return CCADDIN_E_FAILED;
  }
  if (member == "Garbage") {
    result->type = CCADDIN_VT_STRING;
    result->u.str = const_cast<char*>("\xFF");
    return CCADDIN_OK;
  }
  // strMerchantName and the other record properties: the till's own record object.
  if (member.rfind("str", 0) == 0 && kind == CCADDIN_GET) {
    result->type = CCADDIN_VT_STRING;
    result->u.str = const_cast<char*>(member == "strMerchantName" ? "Fuel \xC2\xA3td" : "");
    return CCADDIN_OK;
  }
  if (kind == CCADDIN_PUT) {
    const ccaddin_variant& v = args[nargs - 1];
    sale->calls.back() += "=" + std::to_string(v.type) + ":" +
                          (v.type == CCADDIN_VT_STRING
                               ? std::string(v.u.str)
                               : std::to_string(v.type == CCADDIN_VT_BOOL ? v.u.boolean : v.u.i32));
    return CCADDIN_OK;
  }
  return CCADDIN_E_UNKNOWN_MEMBER;
}

void SaleDestroy(void* user) {
  ++static_cast<Sale*>(user)->destroyed;
}

const ccaddin_host_vtable kSaleVtable{SaleInvoke, SaleDestroy};

ccaddin_status ProbeInvoke(const Handle& probe, ccaddin_object* host, const char* member,
                           int32_t kind, std::vector<ccaddin_variant> rest, Var& out,
                           std::vector<ccaddin_variant>* back = nullptr) {
  std::vector<ccaddin_variant> args = {Obj(host), Str(member), I32(kind)};
  args.insert(args.end(), rest.begin(), rest.end());
  const ccaddin_status s = ccaddin_invoke(probe.get(), "Invoke", CCADDIN_METHOD, args.data(),
                                          static_cast<int32_t>(args.size()), &out.v);
  if (back != nullptr) back->assign(args.begin() + 3, args.end());
  return s;
}

TEST(AbiHostObjects, TheComponentCallsTheTillsObjectByName) {
  Sale sale;
  ccaddin_object* raw = nullptr;
  ASSERT_EQ(ccaddin_host_object_create(&kSaleVtable, &sale, &raw), CCADDIN_OK);
  Handle host(raw);
  Handle probe(kProbe);

  Var total;
  ASSERT_EQ(ProbeInvoke(probe, host.get(), "Total", CCADDIN_GET, {}, total), CCADDIN_OK);
  EXPECT_EQ(total.v.type, CCADDIN_VT_INT32);
  EXPECT_EQ(total.v.u.i32, 1250);

  Var text;
  ASSERT_EQ(
      ProbeInvoke(probe, host.get(), "Describe", CCADDIN_METHOD, {Str("\xC3\xA9t\xC3\xA9")}, text),
      CCADDIN_OK);
  EXPECT_EQ(sale.last_text, "\xC3\xA9t\xC3\xA9");
  EXPECT_STREQ(text.v.u.str, "Sale \xC2\xA3");

  // The host's write to its by-reference parameter reaches the till's own argument.
  Var none;
  std::vector<ccaddin_variant> back;
  ASSERT_EQ(ProbeInvoke(probe, host.get(), "Round", CCADDIN_METHOD, {I32(1250)}, none, &back),
            CCADDIN_OK);
  ASSERT_EQ(back.size(), 1u);
  EXPECT_EQ(back[0].u.i32, 1250);  // passed by value: untouched
  ccaddin_variant byref[] = {Obj(host.get()), Str("Round"), I32(CCADDIN_METHOD), I32(1250)};
  byref[3].flags = CCADDIN_BYREF;
  ASSERT_EQ(ccaddin_invoke(probe.get(), "Invoke", CCADDIN_METHOD, byref, 4, nullptr), CCADDIN_OK);
  EXPECT_EQ(byref[3].u.i32, 1300);
  EXPECT_EQ(byref[3].flags, CCADDIN_BYREF | CCADDIN_OWNED);

  Var failed;
  EXPECT_EQ(ProbeInvoke(probe, host.get(), "Broken", CCADDIN_METHOD, {}, failed), CCADDIN_E_FAILED);
  EXPECT_STREQ(ccaddin_last_error(), "Till offline \xC3\xA9");
  EXPECT_EQ(ProbeInvoke(probe, host.get(), "Nope", CCADDIN_METHOD, {}, failed),
            CCADDIN_E_UNKNOWN_MEMBER);
  EXPECT_NE(std::string(ccaddin_last_error()).find("Object doesn't support"), std::string::npos);
  EXPECT_EQ(ProbeInvoke(probe, host.get(), "Garbage", CCADDIN_GET, {}, failed), CCADDIN_E_FAILED);
  EXPECT_NE(std::string(ccaddin_last_error()).find("UTF-8"), std::string::npos);

  EXPECT_EQ(sale.calls.front(), "Total/2/0");
  EXPECT_EQ(sale.destroyed, 0);
}

TEST(AbiHostObjects, RecordsAreReadAndWrittenOnTheTillsOwnObjectsByName) {
  Sale sale;
  ccaddin_object* raw = nullptr;
  ASSERT_EQ(ccaddin_host_object_create(&kSaleVtable, &sale, &raw), CCADDIN_OK);
  Handle host(raw);
  Handle probe(kProbe);

  ccaddin_variant arg = Obj(host.get());
  Var merchant;
  ASSERT_EQ(ccaddin_invoke(probe.get(), "ReadTillMerchant", CCADDIN_METHOD, &arg, 1, &merchant.v),
            CCADDIN_OK)
      << ccaddin_last_error();
  EXPECT_STREQ(merchant.v.u.str, "Fuel \xC2\xA3td");
  EXPECT_EQ(sale.calls.size(), 8u);  // every till property, once

  sale.calls.clear();
  ASSERT_EQ(ccaddin_invoke(probe.get(), "WriteTransInfo", CCADDIN_METHOD, &arg, 1, nullptr),
            CCADDIN_OK)
      << ccaddin_last_error();
  ASSERT_EQ(sale.calls.size(), 22u);
  EXPECT_EQ(sale.calls[0],
            "strAuthorisationCode/4/1=8:A\xC2\xA3"
            "1");
  EXPECT_EQ(sale.calls[1], "lTransactionRefNo/4/1=3:4321");
  EXPECT_EQ(sale.calls[15], "bFuelBunkerCard/4/1=11:-1");

  // One of our own records is filled directly.
  Handle trans(kTrans);
  ccaddin_variant ours = Obj(trans.get());
  ASSERT_EQ(ccaddin_invoke(probe.get(), "WriteTransInfo", CCADDIN_METHOD, &ours, 1, nullptr),
            CCADDIN_OK);
  EXPECT_EQ(trans.GetString("strAuthorisationCode"),
            "A\xC2\xA3"
            "1");

  ccaddin_variant nothing = Obj(nullptr);
  EXPECT_EQ(ccaddin_invoke(probe.get(), "ReadTillMerchant", CCADDIN_METHOD, &nothing, 1, nullptr),
            CCADDIN_E_FAILED);
  EXPECT_STREQ(ccaddin_last_error(), "Object variable or With block variable not set");
}

TEST(AbiReferences, AHostObjectLivesWhileTheTillOrTheComponentHoldsIt) {
  Sale sale;
  ccaddin_object* host = nullptr;
  ASSERT_EQ(ccaddin_host_object_create(&kSaleVtable, &sale, &host), CCADDIN_OK);
  {
    Handle probe(kProbe);
    ccaddin_variant arg = Obj(host);
    ASSERT_EQ(ccaddin_invoke(probe.get(), "Keep", CCADDIN_METHOD, &arg, 1, nullptr), CCADDIN_OK);

    ASSERT_EQ(ccaddin_addref(host), CCADDIN_OK);
    ccaddin_release(host);
    ccaddin_release(host);  // the till's last reference
    EXPECT_EQ(sale.destroyed, 0);
    ASSERT_EQ(ccaddin_invoke(probe.get(), "Drop", CCADDIN_METHOD, nullptr, 0, nullptr), CCADDIN_OK);
    EXPECT_EQ(sale.destroyed, 1);
  }
  EXPECT_EQ(sale.destroyed, 1);

  // An object handed out twice is two handles of one object, each with its own reference.
  Handle till(kTill);
  Handle probe(kProbe);
  ccaddin_variant arg = Obj(till.get());
  Var a;
  Var b;
  ASSERT_EQ(ccaddin_invoke(probe.get(), "Echo", CCADDIN_METHOD, &arg, 1, &a.v), CCADDIN_OK);
  ASSERT_EQ(ccaddin_invoke(probe.get(), "Echo", CCADDIN_METHOD, &arg, 1, &b.v), CCADDIN_OK);
  EXPECT_NE(a.v.u.obj, b.v.u.obj);
  EXPECT_TRUE(ccaddin_same_object(a.v.u.obj, b.v.u.obj));
  Handle other(kTill);
  EXPECT_FALSE(ccaddin_same_object(a.v.u.obj, other.get()));
}

}  // namespace
