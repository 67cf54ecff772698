#pragma once
#include <iosfwd>
#include <string>
#include <vector>

namespace tavrix {

// Runs the command line (the words after the program name). Returns the exit status.
int RunCommandLine(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

std::string UsageText();

}  // namespace tavrix
