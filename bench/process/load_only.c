/* The floor of a till's sale: a process that loads libccaddin.so, as a till does when it
 * starts, and does nothing with it. bench/peers.py times it against the C till's sale.
 * The entry point's address is taken so that the library stays a dependency of the
 * program however the linker treats unused libraries. */
#include <stddef.h>

#include "ccaddin/ccaddin.h"

int main(void) {
  ccaddin_status (*volatile create)(const char*, ccaddin_object**) = ccaddin_create;
  return create == NULL;
}
