/* A till written in C: one card sale through libccaddin.so's C ABI, the way a till that does
 * not use the add-in's window takes a card (TamberinCcAddin.TNonGuiTransactionHook2): start
 * the session, ask for the card (the stripe when the chip cannot be read), authorise,
 * confirm by the reference the authorisation published, end the session. Then it prints the
 * outcome and both receipts.
 *
 *   cc -o c_till c_till.c $(pkg-config --cflags --libs ccaddin)
 *   ./c_till 12.50
 *
 * Settings come from the registry the add-in always reads: $CCADDIN_REGISTRY, else
 * /var/lib/ccaddin/registry.db (`ccaddin-till setup` makes one for the built-in simulator).
 * Exit status: 0 paid, 1 no payment taken, 2 usage error. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "ccaddin/ccaddin.h"

/* The published enumeration values this till uses (C++ tills get them from records.h). */
#define TAM_TT_SALE 0
#define DATAENTRY_CHIPORTAP 0
#define DATAENTRY_SWIPE 1
#define RETURNCODE_SUCCESS 0
#define RETURNCODE_MAGSTRIPEFALLBACK 2
#define RETURNCODE_CASHBACKALLOWED 3
#define CONFIRMTYPE_AUTHORISED 0
#define CONFIRMTYPE_DECLINED 1
#define TRANSINFO_RC_AUTHORISED 1

static ccaddin_variant Long(int32_t value) {
  ccaddin_variant v;
  memset(&v, 0, sizeof v);
  v.type = CCADDIN_VT_INT32;
  v.u.i32 = value;
  return v;
}

static ccaddin_variant Text(const char* value) {
  ccaddin_variant v;
  memset(&v, 0, sizeof v);
  v.type = CCADDIN_VT_STRING;
  v.u.str = (char*)value;
  return v;
}

/* The hooks take the till's records by reference. The library hands each one back as a
 * reference of its own, which is released at once: this till keeps using its own handle. */
static ccaddin_variant ByRef(ccaddin_object* record) {
  ccaddin_variant v;
  memset(&v, 0, sizeof v);
  v.type = CCADDIN_VT_OBJECT;
  v.flags = CCADDIN_BYREF;
  v.u.obj = record;
  return v;
}

/* Calls a member and frees what the library wrote back into the arguments. The member's
 * value lands in `result` (NULL to discard it). Returns 0 when the call could not be made,
 * after saying why. */
static int Call(ccaddin_object* obj, const char* name, int32_t kind, ccaddin_variant* args,
                int32_t nargs, ccaddin_variant* result) {
  ccaddin_status status = ccaddin_invoke(obj, name, kind, args, nargs, result);
  int32_t i;
  if (status != CCADDIN_OK) fprintf(stderr, "c_till: %s: %s\n", name, ccaddin_last_error());
  for (i = 0; i < nargs; ++i) {
    if (args[i].flags & CCADDIN_BYREF) ccaddin_variant_clear(&args[i]);
  }
  return status == CCADDIN_OK;
}

/* A Long result of a member call or property; -1 when the call could not be made. */
static int32_t GetLong(ccaddin_object* obj, const char* name, int32_t kind, ccaddin_variant* args,
                       int32_t nargs) {
  ccaddin_variant result;
  int32_t value = -1;
  if (Call(obj, name, kind, args, nargs, &result) && result.type == CCADDIN_VT_INT32) {
    value = result.u.i32;
  }
  ccaddin_variant_clear(&result);
  return value;
}

/* A Boolean member's result: 1 True, 0 False or not called. */
static int GetBool(ccaddin_object* obj, const char* name, ccaddin_variant* args, int32_t nargs) {
  ccaddin_variant result;
  int value = 0;
  if (Call(obj, name, CCADDIN_METHOD, args, nargs, &result) && result.type == CCADDIN_VT_BOOL) {
    value = result.u.boolean != 0;
  }
  ccaddin_variant_clear(&result);
  return value;
}

/* A text property, as a copy the caller frees ("" when it cannot be read). */
static char* GetText(ccaddin_object* obj, const char* name) {
  ccaddin_variant result;
  const char* text = "";
  char* copy;
  if (Call(obj, name, CCADDIN_GET, NULL, 0, &result) && result.type == CCADDIN_VT_STRING) {
    text = result.u.str;
  }
  copy = malloc(strlen(text) + 1);
  if (copy != NULL) strcpy(copy, text);
  ccaddin_variant_clear(&result);
  return copy;
}

static void PrintText(const char* title, ccaddin_object* obj, const char* name) {
  char* text = GetText(obj, name);
  char* from;
  char* to;
  if (text == NULL) return;
  /* The add-in ends receipt lines with CR LF (or a lone CR); a terminal wants LF. */
  for (from = to = text; *from != '\0'; ++from) {
    if (*from != '\r') {
      *to++ = *from;
    } else if (from[1] != '\n') {
      *to++ = '\n';
    }
  }
  *to = '\0';
  printf("--- %s ---\n%s\n", title, text);
  free(text);
}

/* Says why the hook refused a step; the hook keeps its reason in strErrorMessage. */
static int Refused(ccaddin_object* hook, const char* step) {
  char* why = GetText(hook, "strErrorMessage");
  fprintf(stderr, "c_till: %s refused: %s\n", step, why != NULL ? why : "");
  free(why);
  return 0;
}

static int SetText(ccaddin_object* obj, const char* name, const char* value) {
  ccaddin_variant v = Text(value);
  return Call(obj, name, CCADDIN_PUT, &v, 1, NULL);
}

/* "12.50" or "12" in minor units; 0 when it is not an amount a till would take. */
static int32_t ParseAmount(const char* text) {
  char* end;
  long whole = strtol(text, &end, 10);
  long minor = 0;
  if (end == text || *text < '0' || *text > '9' || whole > 9999999) return 0;
  if (*end == '.') {
    if (end[1] < '0' || end[1] > '9' || end[2] < '0' || end[2] > '9' || end[3] != '\0') return 0;
    minor = (end[1] - '0') * 10 + (end[2] - '0');
  } else if (*end != '\0') {
    return 0;
  }
  return (int32_t)(whole * 100 + minor);
}

/* Runs the sale on a started session; 1 when the card was charged. */
static int Sale(ccaddin_object* hook, ccaddin_object* till, ccaddin_object* info, int32_t amount) {
  ccaddin_variant enquiry[4];
  ccaddin_variant authorise[5];
  ccaddin_variant confirm[5];
  char* reference;
  int32_t rc;
  int approved;

  enquiry[0] = Long(TAM_TT_SALE);
  enquiry[1] = Long(DATAENTRY_CHIPORTAP);
  enquiry[2] = Long(amount);
  enquiry[3] = ByRef(till);
  rc = GetLong(hook, "CardEnquiry", CCADDIN_METHOD, enquiry, 4);
  if (rc == RETURNCODE_MAGSTRIPEFALLBACK) {
    puts("Chip not read: swipe the card");
    enquiry[1] = Long(DATAENTRY_SWIPE);
    enquiry[3] = ByRef(till);
    rc = GetLong(hook, "CardEnquiry", CCADDIN_METHOD, enquiry, 4);
  }
  if (rc != RETURNCODE_SUCCESS && rc != RETURNCODE_CASHBACKALLOWED) {
    return Refused(hook, "CardEnquiry");
  }

  authorise[0] = Long(TAM_TT_SALE);
  authorise[1] = Long(amount);
  authorise[2] = Long(0); /* no cashback */
  authorise[3] = ByRef(till);
  authorise[4] = ByRef(info);
  if (GetLong(hook, "AuthoriseTransaction", CCADDIN_METHOD, authorise, 5) != RETURNCODE_SUCCESS) {
    return Refused(hook, "AuthoriseTransaction");
  }

  /* The request went through; the issuer's verdict is in the record. A till confirms an
   * authorised sale once the goods are handed over, and records anything else as declined
   * (this till takes no voice authorisation for a referral). */
  approved = GetLong(info, "lResponseCode", CCADDIN_GET, NULL, 0) == TRANSINFO_RC_AUTHORISED;
  reference = GetText(hook, "strTransactionReference");
  if (reference == NULL) return 0;
  printf("Transaction reference: %s\n", reference);
  confirm[0] = Long(approved ? CONFIRMTYPE_AUTHORISED : CONFIRMTYPE_DECLINED);
  confirm[1] = Text(reference);
  confirm[2] = Text("");
  confirm[3] = ByRef(till);
  confirm[4] = ByRef(info);
  if (GetBool(hook, "ConfirmTransaction", confirm, 5) == 0)
    approved = Refused(hook, "ConfirmTransaction");
  free(reference);

  puts(approved ? "Outcome: AUTHORISED" : "Outcome: NOT AUTHORISED");
  PrintText("MERCHANT RECEIPT", hook, "strMerchantReceipt");
  PrintText("CUSTOMER RECEIPT", info, "strCustomerReceipt");
  return approved;
}

int main(int argc, char** argv) {
  static const char* const kTill[][2] = {
      {"strMerchantName", "C TILL DEMO"},
      {"strAddressLine1", "1 High Street"},
      {"strTillNumber", "1"},
      {"strStoreNumber", "1"},
      {"strReceiptNumber", "1"},
  };
  ccaddin_object* till = NULL;
  ccaddin_object* info = NULL;
  ccaddin_object* hook = NULL;
  int32_t amount = argc == 2 ? ParseAmount(argv[1]) : 0;
  int paid = 0;
  size_t i;

  if (amount <= 0) {
    fputs("usage: c_till AMOUNT   (pounds and pence, e.g. 12.50)\n", stderr);
    return 2;
  }
  if (ccaddin_create("TamberinCcAddin.TTillInformation", &till) != CCADDIN_OK ||
      ccaddin_create("TamberinCcAddin.TTransactionInfo", &info) != CCADDIN_OK ||
      ccaddin_create("TamberinCcAddin.TNonGuiTransactionHook2", &hook) != CCADDIN_OK) {
    fprintf(stderr, "c_till: %s\n", ccaddin_last_error());
  } else {
    int ready = 1;
    for (i = 0; i < sizeof kTill / sizeof kTill[0]; ++i)
      ready &= SetText(till, kTill[i][0], kTill[i][1]);
    if (ready && GetLong(hook, "StartTransaction", CCADDIN_METHOD, NULL, 0) == RETURNCODE_SUCCESS) {
      paid = Sale(hook, till, info, amount);
      Call(hook, "EndTransaction", CCADDIN_METHOD, NULL, 0, NULL);
    } else if (ready) {
      Refused(hook, "StartTransaction");
    }
  }
  ccaddin_release(hook);
  ccaddin_release(info);
  ccaddin_release(till);
  return paid ? 0 : 1;
}
