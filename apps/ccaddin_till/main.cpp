#include <iostream>
#include <string>
#include <vector>

#include "till_command.h"

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  return ccaddin::RunTillCommand(args, std::cout, std::cerr);
}
