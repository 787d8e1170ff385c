// The command line of warden: a subcommand (run, check, serve or drive), its options and its
// scripts.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "host/run/AgentProfile.h"

namespace Host {

// The state database on a server instead of the in-memory one.
struct DatabaseOptions {
  std::string url;           // empty: the in-memory database
  std::string passwordFile;  // overrides the URL's password-file
  bool allowInsecure = false;
};

struct Options {
  enum class Mode { run, check, serve, drive, help };

  Mode mode = Mode::help;
  std::string agentPath;  // empty: the plug-in built or installed with warden
  std::string agentName = kDefaultAgentName;
  std::uint32_t cell = 1;
  std::vector<std::pair<std::string, std::uint32_t>> traces;  // facility, levels
  bool quiet = false;
  std::string pinMap;           // run, serve, drive: drive the pins this map names
  bool pinsPartial = false;     // drive the pins that can be claimed, report the others
  double lampTestSeconds = 10;  // serve, drive: how long SIGUSR2 lights every mapped pin
  DatabaseOptions database;
  std::string httpAddress;       // run, serve, drive: the read-only panel, JSON and metrics
  bool httpAllowRemote = false;  // listen on other than loopback
  std::vector<std::string> scripts;
  std::string configPath;  // serve, drive: the configuration file whose keys are these options
};

struct ParsedOptions {
  Options options;
  std::string error;  // empty when the command line was understood
};

// `arguments` excludes the program name.
ParsedOptions parseOptions(std::vector<std::string> const& arguments);

std::string usageText();

}  // namespace Host
