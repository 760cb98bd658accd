#include <iostream>
#include <string>
#include <vector>

#include "reg_admin.h"

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  return ccaddin::RunRegAdmin(args, std::cout, std::cerr);
}
