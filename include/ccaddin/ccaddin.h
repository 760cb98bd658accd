/* The C ABI of libccaddin.so: create the add-in's public classes by program identifier
 * and call their members by name with variant arguments, as a late-bound COM client
 * would. The caller owns what it passes in; the library owns what it hands back until the
 * caller frees it (ccaddin_variant_clear, ccaddin_release). A call blocks as long as the
 * member it runs (a card transaction waits for the card); nothing here starts a thread. */
#ifndef CCADDIN_CCADDIN_H
#define CCADDIN_CCADDIN_H

#include <stdint.h>

#if defined(CCADDIN_BUILDING_LIBRARY)
#define CCADDIN_API __attribute__((visibility("default")))
#else
#define CCADDIN_API
#endif

/* No entry point lets an exception out: every failure is a status. */
#ifdef __cplusplus
#define CCADDIN_NOEXCEPT noexcept
#else
#define CCADDIN_NOEXCEPT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Results ------------------------------------------------------------------------
 * Every entry point returns one of these. After a failure, ccaddin_last_error() gives a
 * UTF-8 text saying why; after a success it gives "". */
typedef int32_t ccaddin_status;
#define CCADDIN_OK 0
#define CCADDIN_E_UNKNOWN_CLASS 1  /* no class of that program identifier */
#define CCADDIN_E_UNKNOWN_MEMBER 2 /* no such member, or not for this kind of call */
#define CCADDIN_E_ARG_COUNT 3      /* too few or too many arguments */
#define CCADDIN_E_TYPE_MISMATCH 4  /* an argument that does not convert to what is needed */
#define CCADDIN_E_INVALID_ARG 5    /* NULL where a value is needed, bad UTF-8, bad type tag */
#define CCADDIN_E_FAILED 6         /* the member ran and failed */

/* ---- Objects --------------------------------------------------------------------------
 * An opaque, reference-counted handle. Every handle the library gives out (ccaddin_create,
 * an object result, a by-reference object written back, ccaddin_host_object_create)
 * carries one reference for the caller, who ends it with ccaddin_release. Two handles may
 * stand for the same object: compare them with ccaddin_same_object. */
typedef struct ccaddin_object ccaddin_object;

/* ---- Variants -------------------------------------------------------------------------
 * Type tags are the COM variant type numbers. Text is UTF-8 at this boundary; inside the
 * add-in it is Windows-1252, so a character that code page lacks arrives as "?". */
#define CCADDIN_VT_EMPTY 0 /* also what an error value (an omitted argument) comes out as */
#define CCADDIN_VT_NULL 1
#define CCADDIN_VT_INT32 3  /* a Long; Integers (16-bit) come out as this too */
#define CCADDIN_VT_DOUBLE 5 /* also Currency amounts and dates (days since 30 Dec 1899) */
#define CCADDIN_VT_STRING 8 /* NUL-terminated UTF-8 */
#define CCADDIN_VT_OBJECT 9 /* a handle; NULL is Nothing */
#define CCADDIN_VT_BOOL 11  /* COM boolean: True is -1, False 0; any non-zero in is True */

/* Flags of a variant. */
#define CCADDIN_BYREF 0x1 /* an argument passed by reference: the member may replace it */
#define CCADDIN_OWNED 0x2 /* set by the library: the string or handle is the library's */

typedef struct ccaddin_variant {
  uint16_t type;  /* CCADDIN_VT_* */
  uint16_t flags; /* CCADDIN_BYREF | CCADDIN_OWNED */
  union {
    int16_t boolean;     /* CCADDIN_VT_BOOL */
    int32_t i32;         /* CCADDIN_VT_INT32 */
    double dbl;          /* CCADDIN_VT_DOUBLE */
    char* str;           /* CCADDIN_VT_STRING */
    ccaddin_object* obj; /* CCADDIN_VT_OBJECT */
  } u;
} ccaddin_variant;

/* Frees what the library owns in `v` (a string, or a reference on a handle) when
 * CCADDIN_OWNED is set, and leaves `v` empty. Safe on a caller-owned or empty variant
 * (nothing is freed) and on NULL. */
CCADDIN_API void ccaddin_variant_clear(ccaddin_variant* v) CCADDIN_NOEXCEPT;

/* ---- Creating and calling ---------------------------------------------------------------
 * Program identifiers are "TamberinCcAddin." followed by the class name, e.g.
 * "TamberinCcAddin.TTillInformation"; the match ignores case. */
CCADDIN_API ccaddin_status ccaddin_create(const char* progid,
                                          ccaddin_object** out) CCADDIN_NOEXCEPT;

/* The kinds of call; a member name matches ignoring case. A get and a method call reach
 * the same members (a property or a method without arguments). */
#define CCADDIN_METHOD 1
#define CCADDIN_GET 2
#define CCADDIN_PUT 4 /* the value to assign is the last (usually only) argument */

/* Calls member `name` of `obj` with `nargs` arguments, first first (`args` may be NULL
 * when `nargs` is 0). Omit trailing optional arguments by passing fewer.
 *
 * Arguments are the caller's and are only read, except those flagged CCADDIN_BYREF: once
 * the call has reached the object (any result but CCADDIN_E_INVALID_ARG), each of those
 * is overwritten with the value the member left in it, owned by the library
 * (CCADDIN_OWNED) even when unchanged. The caller keeps its own pointer to anything it
 * passed by reference, and passes every by-reference argument to ccaddin_variant_clear
 * afterwards.
 *
 * `result` (may be NULL to discard it) receives the member's value, owned by the library;
 * it is overwritten without being freed, and is empty after a failure. */
CCADDIN_API ccaddin_status ccaddin_invoke(ccaddin_object* obj, const char* name, int32_t kind,
                                          ccaddin_variant* args, int32_t nargs,
                                          ccaddin_variant* result) CCADDIN_NOEXCEPT;

CCADDIN_API ccaddin_status ccaddin_addref(ccaddin_object* obj) CCADDIN_NOEXCEPT;
/* Ends one reference; the handle is invalid once its last reference is gone. The object
 * itself lives on while the add-in still holds it. NULL is ignored. */
CCADDIN_API ccaddin_status ccaddin_release(ccaddin_object* obj) CCADDIN_NOEXCEPT;
/* 1 when both handles stand for the same object, else 0. */
CCADDIN_API int32_t ccaddin_same_object(const ccaddin_object* a,
                                        const ccaddin_object* b) CCADDIN_NOEXCEPT;

/* The UTF-8 text of the last failure on the calling thread, "" after a success. Valid
 * until the next call into the library on this thread, except that ccaddin_addref,
 * ccaddin_release, ccaddin_variant_clear and ccaddin_same_object leave it as it is (so a
 * till can free its arguments before asking why a call failed); never NULL. */
CCADDIN_API const char* ccaddin_last_error(void) CCADDIN_NOEXCEPT;

/* ---- Host objects -------------------------------------------------------------------------
 * An object of the till's, called by the add-in by member name (a session, a sale, a
 * printer). `invoke` receives the same calling convention as ccaddin_invoke, seen from
 * the other side:
 *   - `args` are the library's for the duration of the callback; strings are UTF-8.
 *     Handles in them are lent: ccaddin_addref one to keep it after the callback.
 *     Every argument may be replaced by writing a new value into it (that is how
 *     by-reference parameters return values); the library reads it after the callback.
 *   - `result` starts empty; write the member's value into it.
 *   - Values written into `args` or `result` stay the host's unless the host sets
 *     CCADDIN_OWNED on a string it allocated with ccaddin_string_dup or a handle whose
 *     reference it hands over; the library copies them as soon as the callback returns,
 *     so a host buffer need only live until then.
 *   - Return CCADDIN_OK, or a failure code after calling ccaddin_set_error with the
 *     reason (it becomes the add-in's error text).
 * `destroy` (may be NULL) runs once, when neither the till nor the add-in holds the
 * object any longer; it receives `user_data`. Callbacks run on the thread that called
 * into the library. */
typedef struct ccaddin_host_vtable {
  ccaddin_status (*invoke)(void* user_data, const char* name, int32_t kind, ccaddin_variant* args,
                           int32_t nargs, ccaddin_variant* result);
  void (*destroy)(void* user_data);
} ccaddin_host_vtable;

/* The vtable is copied; `user_data` is passed back unchanged. */
CCADDIN_API ccaddin_status ccaddin_host_object_create(const ccaddin_host_vtable* vtable,
                                                      void* user_data,
                                                      ccaddin_object** out) CCADDIN_NOEXCEPT;

/* For a host callback: the reason for the failure it is about to return (UTF-8). */
CCADDIN_API void ccaddin_set_error(const char* message) CCADDIN_NOEXCEPT;

/* A library-owned copy of a UTF-8 text, to hand over with CCADDIN_OWNED; NULL when out of
 * memory or `text` is NULL. */
CCADDIN_API char* ccaddin_string_dup(const char* text) CCADDIN_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* CCADDIN_CCADDIN_H */
