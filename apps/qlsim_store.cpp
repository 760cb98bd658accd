// ccaddin-qlsim-store: lists what the payment simulator's server store holds, for
// integrators checking what a till did. Read-only.
#include <iostream>
#include <string>
#include <vector>

#include "qlclient/sim/sim_inspect.h"

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  return ccaddin::sim::InspectStore(args, std::cout, std::cerr);
}
