#include <iostream>
#include <string>
#include <vector>

#include "app/command_line.h"
#include "app/viewer.h"

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  if (tavrix::IsCommand(args)) return tavrix::RunCommandLine(args, std::cout, std::cerr);
  return tavrix::RunViewer(argc, argv);
}
