/* The built-in payment simulator's run-time controls, for the tools that play the
 * cardholder at the simulated terminal: the demo till's operator panel, a till vendor's
 * tests. They act on the terminal of the payment-client configuration that connected last
 * in this process and change nothing a vendor's payment-client adapter does. Call them on
 * the thread that calls the hooks (a Qt till: its GUI thread, from a timer or a slot while
 * the component's window is up). The rest of the simulator is set through its
 * configuration file, which it reads again at each connect when it changed. */
#ifndef CCADDIN_SIMULATOR_H
#define CCADDIN_SIMULATOR_H

#include "ccaddin/ccaddin.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Presents the named test card (README: "Test cards") to the terminal: its reader states
 * start again from the card's own first one, whatever the configuration file says, so a
 * window already waiting reads it at its next poll. NULL or "" takes the card away: the
 * reader reports "waiting" until a card is presented. Fails (CCADDIN_E_FAILED, with the
 * reason in ccaddin_last_error) for an unknown card or before any session has connected;
 * the configuration file's "card" then decides at the next connect. */
CCADDIN_API ccaddin_status ccaddin_sim_present_card(const char* name) CCADDIN_NOEXCEPT;

/* The text the simulated PIN pad shows now ("INSERT CARD", "ENTER PIN", "APPROVED" ...),
 * as the component reads it when it polls; "" before any session has connected. Valid
 * until the next call of this function on the same thread; never NULL. */
CCADDIN_API const char* ccaddin_sim_terminal_status(void) CCADDIN_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* CCADDIN_SIMULATOR_H */
