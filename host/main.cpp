// warden: loads an agent plug-in into this process, plays the agents that publish its inputs,
// and shows what the agent does with its pins, live or in virtual time.
#include <iostream>
#include <string>
#include <vector>

#include "host/live/LiveRun.h"
#include "host/run/Options.h"
#include "host/script/CheckRun.h"
#include "host/serve/DriveRun.h"
#include "host/serve/ServeRun.h"

int main(int argc, char** argv) {
  std::vector<std::string> const arguments(argv + 1, argv + argc);
  Host::ParsedOptions const parsed = Host::parseOptions(arguments);
  if (!parsed.error.empty()) {
    std::cerr << "warden: " << parsed.error << "\n\n" << Host::usageText();
    return 2;
  }
  switch (parsed.options.mode) {
    case Host::Options::Mode::help:
      std::cout << Host::usageText();
      return 0;
    case Host::Options::Mode::check:
      return Host::runCheck(parsed.options, std::cout, std::cerr);
    case Host::Options::Mode::run:
      return Host::runLive(parsed.options);
    case Host::Options::Mode::serve:
      return Host::runServe(arguments);
    case Host::Options::Mode::drive:
      return Host::runDrive(parsed.options);
  }
  return 2;
}
