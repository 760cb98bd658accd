/* A till written in C: the header compiles as C99 and a record's properties cross as
 * the header says (UTF-8 text, COM booleans). Exits non-zero on the first surprise. */
#include <stdio.h>
#include <string.h>

#include "ccaddin/ccaddin.h"

static int fail(const char* what) {
  fprintf(stderr, "%s: %s\n", what, ccaddin_last_error());
  return 1;
}

int main(void) {
  ccaddin_object* info = NULL;
  ccaddin_variant arg;
  ccaddin_variant result;

  if (ccaddin_create("TamberinCcAddin.TTransactionInfo", &info) != CCADDIN_OK)
    return fail("create");

  memset(&arg, 0, sizeof arg);
  arg.type = CCADDIN_VT_STRING;
  arg.u.str = (char*)"Caf\xC3\xA9 \xC2\xA3" "5"; /* "Café £5" */
  if (ccaddin_invoke(info, "strSchemeName", CCADDIN_PUT, &arg, 1, NULL) != CCADDIN_OK)
    return fail("put");
  if (ccaddin_invoke(info, "strSchemeName", CCADDIN_GET, NULL, 0, &result) != CCADDIN_OK)
    return fail("get");
  if (result.type != CCADDIN_VT_STRING || strcmp(result.u.str, arg.u.str) != 0)
    return fail("text round trip");
  ccaddin_variant_clear(&result);

  if (ccaddin_invoke(info, "bFuelBunkerCard", CCADDIN_GET, NULL, 0, &result) != CCADDIN_OK ||
      result.type != CCADDIN_VT_BOOL || result.u.boolean != 0)
    return fail("boolean");

  if (ccaddin_invoke(info, "NoSuchMember", CCADDIN_GET, NULL, 0, &result) !=
      CCADDIN_E_UNKNOWN_MEMBER)
    return fail("unknown member");
  if (strstr(ccaddin_last_error(), "NoSuchMember") == NULL) return fail("message");

  ccaddin_release(info);
  puts("ok");
  return 0;
}
