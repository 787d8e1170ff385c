// What every run of warden sets up before its first command, live or in virtual time: the cell
// id, the trace sink with the levels asked for on the command line, and the agent plug-in. Made
// once per run; the trace sink is the process's until the set-up goes.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

#include "host/run/AgentPlugin.h"
#include "host/run/Options.h"
#include "host/run/Session.h"
#include "host/run/TraceCollector.h"

namespace Host {

class RunSetup {
 public:
  // A plug-in that cannot be opened does not throw: the run decides whether that ends it
  // (live) or fails each script (check); loadError() tells why.
  RunSetup(Options const& options, std::ostream& traceOut);
  ~RunSetup();
  RunSetup(RunSetup const&) = delete;
  RunSetup& operator=(RunSetup const&) = delete;

  TraceCollector& traces() noexcept { return traces_; }
  // Turns on, for one script, the levels printed as the command line asked and the agent's
  // levels that its expectations need recorded (the collector's reset turns them off again).
  void traceLevelsIs(std::uint32_t recordedAgentLevels);
  bool hasPlugin() const noexcept { return plugin_.has_value(); }
  AgentPlugin const& plugin() const { return plugin_.value(); }
  std::string const& loadError() const noexcept { return loadError_; }

  // The factory that starts the agent of this run in a session.
  AgentFactory agentFactory() const;

 private:
  Options const& options_;
  TraceCollector traces_;
  std::optional<AgentPlugin> plugin_;
  std::string loadError_;
};

}  // namespace Host
