#include "host/CheckRun.h"

#include <optional>

#include "host/AgentPlugin.h"
#include "host/Executor.h"
#include "host/ScriptFile.h"
#include "host/TraceCollector.h"
#include "platform/cell/Cell.h"

namespace Host {

namespace {

class ScriptChecker {
 public:
  ScriptChecker(Options const& options, std::ostream& out, std::ostream& traceOut)
      : options_(options), out_(out), traces_(kAgentTraceFacility, traceOut) {
    Zel::traceSinkIs(&traces_);
    try {
      plugin_ = openAgentPlugin(options.agentPath);
    } catch (AgentPlugin::Error const& error) {
      loadError_ = error.what();
      out_ << "warden: " << loadError_ << '\n';
    }
  }
  ~ScriptChecker() { Zel::traceSinkIs(nullptr); }

  bool check(std::string const& path) {
    std::size_t const problems = problemsIn(path);
    if (problems == 0) {
      if (!options_.quiet) out_ << "PASS " << path << '\n';
    } else {
      out_ << "FAIL " << path << " (" << problems << (problems == 1 ? " problem" : " problems")
           << ")\n";
    }
    out_.flush();
    return problems == 0;
  }

 private:
  std::size_t problemsIn(std::string const& path) {
    std::string error;
    std::optional<Script> const script = loadScript(path, error);
    if (!script) {
      out_ << error << '\n';
      return 1;
    }
    for (std::string const& line : errorLines(*script)) out_ << line << '\n';
    if (!script->errors.empty()) return script->errors.size();
    if (!plugin_) {
      out_ << path << ": not run: " << loadError_ << '\n';
      return 1;
    }
    std::size_t const problems = run(path, *script);
    traces_.reset();
    return problems;
  }

  std::size_t run(std::string const& path, Script const& script) {
    for (auto const& [facility, levels] : options_.traces) {
      traces_.printedLevelsIs(facility, levels);
    }
    traces_.recordedLevelsIs(expectedTraceLevels(script));
    Executor executor({Zel::ActivityManager::TimeSource::virtualTime, true, options_.database},
                      traces_, out_, [this](SourceLocation const& where, std::string const& what) {
                        out_ << where.text() << ": " << what << '\n';
                      });
    try {
      executor.startAgent([this](std::string const& name) { return plugin_->createAgent(name); },
                          options_.agentName, path);
    } catch (std::exception const& error) {
      out_ << path << ": the agent could not be created: " << error.what() << '\n';
      return executor.failureCount() + 1;
    }
    for (ScriptLine const& line : script.lines) {
      if (!executor.execute(line)) break;
    }
    executor.finish();
    return executor.failureCount();
  }

  Options const& options_;
  std::ostream& out_;
  TraceCollector traces_;
  std::optional<AgentPlugin> plugin_;
  std::string loadError_;
};

}  // namespace

int runCheck(Options const& options, std::ostream& out, std::ostream& traceOut) {
  Cell::cellIdIs(options.cell);
  ScriptChecker checker(options, out, traceOut);
  std::size_t passed = 0;
  std::size_t failed = 0;
  for (std::string const& path : options.scripts) {
    if (checker.check(path)) {
      ++passed;
    } else {
      ++failed;
    }
  }
  out << passed << " passed, " << failed << " failed\n";
  out.flush();
  return failed == 0 ? 0 : 1;
}

}  // namespace Host
