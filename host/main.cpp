// warden: loads an agent plug-in into this process, plays the agents that publish its inputs,
// and shows what the agent does with its pins, live or in virtual time.
#include <iostream>
#include <string>
#include <vector>

#include "host/live/LiveRun.h"
#include "host/run/ExitStatus.h"
#include "host/run/Options.h"
#include "host/script/CheckRun.h"
#include "host/serve/DriveRun.h"
#include "host/serve/ServeRun.h"

int main(int argc, char** argv) {
  std::vector<std::string> const arguments(argv + 1, argv + argc);
  Host::ParsedOptions const parsed = Host::parseOptions(arguments);
  if (parsed.error.empty() && parsed.options.mode == Host::Options::Mode::help) {
    std::cout << Host::usageText();
    return Host::kExitDone;
  }
  // The services read their configuration file first, which may hold what the command line
  // lacks, and report what is wrong in their log.
  if (!arguments.empty() && arguments[0] == "serve") return Host::runServe(arguments);
  if (!arguments.empty() && arguments[0] == "drive") return Host::runDrive(arguments);
  if (!parsed.error.empty()) {
    std::cerr << "warden: " << parsed.error << "\n\n" << Host::usageText();
    return Host::kExitWrongInput;
  }
  switch (parsed.options.mode) {
    case Host::Options::Mode::check:
      return Host::runCheck(parsed.options, std::cout, std::cerr);
    case Host::Options::Mode::run:
      return Host::runLive(parsed.options);
    case Host::Options::Mode::help:
    case Host::Options::Mode::serve:
    case Host::Options::Mode::drive:
      break;
  }
  return Host::kExitWrongInput;
}
