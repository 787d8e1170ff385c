// The configuration file of the service modes, `warden serve` and `warden drive`. Its keys are the
// long option names of warden and its values their arguments (agent = "/path", cell = 2, quiet =
// true, trace = ["Pinlamp/3"]), handed to the same option parser as the command line, so every
// option warden learns is configurable here without a change to this file. The command line comes
// after the file and so overrides it.
#pragma once

#include <string>
#include <vector>

#include "host/run/Options.h"

namespace Host {

// One option from the file, in the parser's `--name=value` form, and the line of its key.
struct ConfigArgument {
  std::string argument;
  int line = 0;
};

struct ConfigRead {
  std::vector<ConfigArgument> arguments;
  std::string error;  // "FILE:LINE: what is wrong"; empty when the file was understood
};

// Reads and checks every key of the file; the first wrong key, value or syntax is the error.
ConfigRead readConfig(std::string const& path);

// The options of a service: those of `commandLine` (which starts with "serve" or "drive"), on
// top of those of its --config file when it names one. An error names the file and line at fault.
ParsedOptions loadServiceOptions(std::vector<std::string> const& commandLine);

// Where the option `name` ("db") that `commandLine` runs with was given: "FILE:LINE: " for a key
// of its configuration file, so that a value refused later is located; empty when the command
// line gives it.
std::string optionPlace(std::vector<std::string> const& commandLine, std::string const& name);

// The options of `read` that a restart is needed to change: all but those a running service
// takes up at once, the trace levels and the lamp test's length.
std::vector<std::string> restartOnlyArguments(ConfigRead const& read);

}  // namespace Host
