// Where a command came from: a script file (or "<stdin>") and a line number, printed the way
// compilers print locations so that editors can jump to them.
#pragma once

#include <string>

namespace Host {

struct SourceLocation {
  std::string file;
  int line = 0;

  // Line 0 stands for the script as a whole (such as the agent's start-up before its first line).
  std::string text() const { return line == 0 ? file : file + ":" + std::to_string(line); }
};

}  // namespace Host
