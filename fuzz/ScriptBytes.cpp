#include "fuzz/ScriptBytes.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <string>
#include <variant>

#include "agent/AgentFactory.h"
#include "fuzz/AllocationBalance.h"
#include "fuzz/MappingReadiness.h"
#include "fuzz/WaitBudget.h"
#include "host/run/TraceCollector.h"
#include "host/script/Executor.h"
#include "platform/cell/Cell.h"

namespace WardenFuzz {

namespace {

constexpr char kAgentName[] = "pinlamp";
constexpr char kInputName[] = "input";

// The agent as warden makes it: through the plug-in's C entry point, adopting its one reference.
Zel::Ptr<Warden::CAgent> createAgent(std::string const& name) {
  Warden::CAgent* agent = wardenAgentFactory(name.c_str());
  if (!agent) throw std::runtime_error("the agent factory returned no agent");
  return Zel::Ptr<Warden::CAgent>::adopt(agent);
}

// The collector is the process's trace sink for one input only, and whatever levels the input's
// `trace` commands enabled are off again before the next input.
class TraceScope {
 public:
  explicit TraceScope(Host::TraceCollector& traces) : traces_(traces) {
    Zel::traceSinkIs(&traces_);
  }
  ~TraceScope() {
    traces_.reset();
    Zel::traceSinkIs(nullptr);
  }
  TraceScope(TraceScope const&) = delete;
  TraceScope& operator=(TraceScope const&) = delete;

 private:
  Host::TraceCollector& traces_;
};

// A session parks its agent when it ends, as an agent process ends without tearing its agent
// down, because some agent states make the teardown stop the process. Here every published mapping
// has been made ready first, so the agent can go, and its teardown is fuzzed with the rest. The
// session offers no call for that: its reference is dropped here; an inspector's reference goes
// with the executor.
// Plays the script's lines through the executor, leaving out the steps that end the process by
// design and shortening waits to the input's budget.
class ScriptPlayer {
 public:
  ScriptPlayer(Host::Script const& script, Host::Executor& executor)
      : script_(script), executor_(executor), budget_(script) {}

  void play() {
    for (Host::ScriptLine const& line : script_.lines) {
      if (!step(line)) break;
    }
    executor_.finish();
  }

  // The agent may then be destroyed: every published mapping has been ready.
  void readyForTeardown() {
    for (std::string const& led : readiness_.neverReady()) {
      Host::MappingCommand ready;
      ready.led = led;
      ready.ready = true;
      // Built member by member: GCC 12 in Release sees the nested aggregate's string as
      // possibly uninitialised.
      Host::ScriptLine line;
      line.where.file = kInputName;
      line.command = std::move(ready);
      step(line);
    }
    executor_.finish();
  }

 private:
  // False once the script has said `quit`.
  bool step(Host::ScriptLine const& line) {
    if (auto const* remove = std::get_if<Host::RemoveCommand>(&line.command)) {
      if (remove->what == Host::RemoveCommand::What::mapping &&
          readiness_.isNeverReady(remove->led)) {
        return true;
      }
    }
    bool going = true;
    if (auto const* wait = std::get_if<Host::WaitCommand>(&line.command)) {
      going = executor_.execute({line.where, Host::WaitCommand{budget_.grant(wait->seconds)}});
    } else {
      going = executor_.execute(line);
    }
    readiness_.observe(executor_.session().mappings());
    return going;
  }

  Host::Script const& script_;
  Host::Executor& executor_;
  WaitBudget budget_;
  MappingReadiness readiness_;
};

void runScript(Host::Script const& script) {
  std::ostream discard(nullptr);
  Host::TraceCollector traces(Host::kAgentTraceFacility, discard);
  TraceScope const scope(traces);
  traces.recordedLevelsIs(Host::expectedTraceLevels(script));
  Host::Executor executor({Zel::ActivityManager::TimeSource::virtualTime, true, {}}, traces,
                          discard, nullptr);
  executor.startAgent(createAgent, kAgentName, kInputName);
  ScriptPlayer player(script, executor);
  player.play();
  player.readyForTeardown();
  executor.endAgent();
}

}  // namespace

int runScriptBytes(std::uint8_t const* data, std::size_t size) {
  Cell::cellIdIs(1);
  AllocationBalance const balance;
  std::istringstream in(std::string(reinterpret_cast<char const*>(data), size));
  runScript(Host::parseScript(kInputName, in));
  std::string const leaked = balance.growth();
  if (!leaked.empty()) {
    std::fprintf(stderr, "objects left alive after the input: %s\n", leaked.c_str());
    std::abort();
  }
  return 0;
}

}  // namespace WardenFuzz
