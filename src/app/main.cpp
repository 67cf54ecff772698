#include <iostream>
#include <string>
#include <vector>

#include "app/command_line.h"

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  return tavrix::RunCommandLine(args, std::cout, std::cerr);
}
