#pragma once
#include <iosfwd>
#include <string>
#include <vector>

namespace tavrix {

// Runs the command line (the words after the program name). Returns the exit status.
int RunCommandLine(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

std::string UsageText();

// True when the words name a command (export, render, snapshot, --help, --version)
// rather than the viewer.
bool IsCommand(const std::vector<std::string>& args);

}  // namespace tavrix
