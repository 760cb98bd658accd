#include "platform/dispatch.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/trap.h"
#include "platform/virtual_env.h"
#include "support/host_model.h"

namespace ccaddin {
namespace {

using testing::MakeRmsSession;
using testing::RmsSession;

// A small class exposed by name the way the component's records and hooks will be.
struct TTally {
  int32_t lCount = 0;
  std::string strName = "till";
  bool bOpen = true;
  int32_t lTaken = 0;

  static const DispatchTable<TTally>& Table() {
    static const auto table =
        DispatchTable<TTally>()
            .Field("lCount", &TTally::lCount)
            .Field("strName", &TTally::strName)
            .Field("bOpen", &TTally::bOpen)
            .ReadOnlyField("lTaken", &TTally::lTaken)
            // Add(lAmount, [lTimes = 1]) -> the new count
            .Method("Add", 1, 2,
                    [](TTally& t, DispatchArgs& args) {
                      t.lCount += args.Int32(0) * (args.IsMissing(1) ? 1 : args.Int32(1));
                      return Variant(t.lCount);
                    })
            // TryTake(lWanted, ByRef lGiven) -> Boolean: gives what there is.
            .Method("TryTake", 2, 2,
                    [](TTally& t, DispatchArgs& args) {
                      const int32_t given = std::min(args.Int32(0), t.lCount);
                      t.lCount -= given;
                      t.lTaken += given;
                      args[1] = given;
                      return Variant(given == args.Int32(0));
                    })
            .Method("Jam", 0, 0,
                    [](TTally&, DispatchArgs&) -> Variant { throw Failure("Tally jammed"); })
            .Method("Crash", 0, 0, [](TTally&, DispatchArgs&) -> Variant {
              throw std::out_of_range("drawer index");
            });
    return table;
  }
};

TEST(DispatchTable, MembersAreFoundWhateverTheCase) {
  auto tally = std::make_shared<TTally>();
  const DispatchPtr obj = ExposeByName(tally, TTally::Table());
  EXPECT_TRUE(obj->Put("LCOUNT", int32_t{5}).ok());
  EXPECT_EQ(obj->Call("add", {int32_t{2}, int32_t{3}}).value, Variant(int32_t{11}));
  EXPECT_EQ(obj->Get("StrName").value, Variant("till"));
  EXPECT_EQ(tally->lCount, 11);
  // A get reaches a method and a call reaches a property: late-bound callers ask for either.
  EXPECT_EQ(obj->Get("Add", {int32_t{1}}).value, Variant(int32_t{12}));
  EXPECT_EQ(obj->Call("lcount").value, Variant(int32_t{12}));
  // Puts are coerced to the member's type.
  EXPECT_TRUE(obj->Put("lCount", "40").ok());
  EXPECT_TRUE(obj->Put("bOpen", int32_t{0}).ok());
  EXPECT_EQ(tally->lCount, 40);
  EXPECT_FALSE(tally->bOpen);
}

TEST(DispatchTable, EachFailureHasItsOwnOutcomeAndText) {
  auto tally = std::make_shared<TTally>();
  const DispatchPtr obj = ExposeByName(tally, TTally::Table());
  struct Case {
    const char* what;
    DispatchResult result;
    DispatchStatus status;
    const char* error;
  };
  const Case cases[] = {
      {"unknown", obj->Get("lCounter"), DispatchStatus::kUnknownMember,
       "Object doesn't support this property or method"},
      {"read-only", obj->Put("lTaken", int32_t{1}), DispatchStatus::kUnknownMember,
       "Object doesn't support this property or method"},
      {"put to method", obj->Put("Add", int32_t{1}), DispatchStatus::kUnknownMember,
       "Object doesn't support this property or method"},
      {"too few", obj->Call("Add"), DispatchStatus::kWrongArgumentCount,
       "Wrong number of arguments or invalid property assignment"},
      {"too many", obj->Call("Add", {1, 2, 3}), DispatchStatus::kWrongArgumentCount,
       "Wrong number of arguments or invalid property assignment"},
      {"indexed property", obj->Get("lCount", {1}), DispatchStatus::kWrongArgumentCount,
       "Wrong number of arguments or invalid property assignment"},
      {"bad put", obj->Put("lCount", "ten"), DispatchStatus::kTypeMismatch, "Type mismatch"},
      {"bad argument", obj->Call("Add", {"ten"}), DispatchStatus::kTypeMismatch, "Type mismatch"},
      {"overflow", obj->Put("lCount", 3e10), DispatchStatus::kTypeMismatch, "Overflow"},
      {"member failure", obj->Call("Jam"), DispatchStatus::kFailed, "Tally jammed"},
      {"library exception", obj->Call("Crash"), DispatchStatus::kFailed, "drawer index"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.result.status, c.status) << c.what;
    EXPECT_EQ(c.result.error, c.error) << c.what;
    EXPECT_TRUE(c.result.value.IsEmpty()) << c.what;
  }
  EXPECT_EQ(tally->lCount, 0) << "a refused call changes nothing";
}

TEST(DispatchTable, ByReferenceArgumentsComeBackToTheCaller) {
  auto tally = std::make_shared<TTally>();
  tally->lCount = 7;
  const DispatchPtr obj = ExposeByName(tally, TTally::Table());
  std::vector<Variant> args = {int32_t{10}, Variant()};
  const DispatchResult r = obj->Invoke("TryTake", CallKind::kMethod, args);
  ASSERT_TRUE(r.ok()) << r.error;
  EXPECT_EQ(r.value, Variant(false));
  EXPECT_EQ(args[1], Variant(int32_t{7}));
  EXPECT_EQ(args[0], Variant(int32_t{10})) << "by-value arguments are left alone";
  // An explicitly omitted optional argument is the missing marker.
  EXPECT_EQ(obj->Call("Add", {int32_t{4}, Variant::Missing()}).value, Variant(int32_t{4}));
}

TEST(LateObject, ChainsMembersAndFailsWithTheTillsTexts) {
  const RmsSession rms = MakeRmsSession({});
  const LateObject session(rms.session);
  EXPECT_EQ(session.Object("register").Get("NUMBER"), Variant(int32_t{3}));

  const auto run = [&](auto body) {
    std::string error;
    const bool ok = Trap(error, "THook.Process() Failed - ", false, [&] {
      body();
      return true;
    });
    return ok ? std::string("ok") : error;
  };
  EXPECT_EQ(run([&] { (void)session.Object("Configuration").Get("StoreFax"); }),
            "THook.Process() Failed - Object doesn't support this property or method");
  EXPECT_EQ(run([&] { (void)session.Object("Configuration").Object("StoreName"); }),
            "THook.Process() Failed - Object required");
  EXPECT_EQ(run([&] { (void)LateObject().Get("Register"); }),
            "THook.Process() Failed - Object variable or With block variable not set");
  rms.session->SetReadOnly("Register", nullptr);
  EXPECT_EQ(run([&] { (void)session.Object("Register"); }),
            "THook.Process() Failed - Object variable or With block variable not set");
}

}  // namespace
}  // namespace ccaddin
