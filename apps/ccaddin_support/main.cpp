#include <iostream>
#include <string>
#include <vector>

#include "support_command.h"

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  return ccaddin::RunSupportCommand(args, std::cout, std::cerr);
}
