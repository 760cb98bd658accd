// One process from start to exit, as a till calls the add-in: load libccaddin.so, tender a
// sale of 12.50 through TTransactionHook.Process, and end. The transaction window shows
// through Qt (offscreen) and the operator script the environment names answers it
// (CCADDIN_OPERATOR_SCRIPT with CCADDIN_OPERATOR_DISPLAY=1). Only the C entry points are
// used. Exit 0 when the sale completed. Timed by window_start.py against bare_qt_dialog.
#include <ccaddin/ccaddin.h>

#include <cstdio>

namespace {

ccaddin_variant Int(int32_t value) {
  ccaddin_variant v{};
  v.type = CCADDIN_VT_INT32;
  v.u.i32 = value;
  return v;
}

ccaddin_variant ByRef(ccaddin_object* object) {
  ccaddin_variant v{};
  v.type = CCADDIN_VT_OBJECT;
  v.flags = CCADDIN_BYREF;
  v.u.obj = object;
  return v;
}

}  // namespace

int main() {
  ccaddin_object* till = nullptr;
  ccaddin_object* info = nullptr;
  ccaddin_object* hook = nullptr;
  if (ccaddin_create("TamberinCcAddin.TTillInformation", &till) != CCADDIN_OK ||
      ccaddin_create("TamberinCcAddin.TTransactionInfo", &info) != CCADDIN_OK ||
      ccaddin_create("TamberinCcAddin.TTransactionHook", &hook) != CCADDIN_OK) {
    std::fprintf(stderr, "%s\n", ccaddin_last_error());
    return 2;
  }
  // Process(transaction type 0 = sale, amount in pence, till, info)
  ccaddin_variant args[] = {Int(0), Int(1250), ByRef(till), ByRef(info)};
  ccaddin_variant paid{};
  const ccaddin_status status = ccaddin_invoke(hook, "Process", CCADDIN_METHOD, args, 4, &paid);
  const bool complete = status == CCADDIN_OK && paid.type == CCADDIN_VT_BOOL && paid.u.boolean;
  if (!complete) std::fprintf(stderr, "not paid: %s\n", ccaddin_last_error());
  for (ccaddin_variant& arg : args) ccaddin_variant_clear(&arg);
  ccaddin_variant_clear(&paid);
  ccaddin_release(hook);
  ccaddin_release(info);
  ccaddin_release(till);
  return complete ? 0 : 1;
}
