#include "host/script/CheckRun.h"

#include <optional>

#include "host/run/RunSetup.h"
#include "host/script/Executor.h"
#include "host/script/ScriptFile.h"

namespace Host {

namespace {

class ScriptChecker {
 public:
  ScriptChecker(Options const& options, std::ostream& out, std::ostream& traceOut)
      : options_(options), out_(out), setup_(options, traceOut) {
    if (!setup_.hasPlugin()) out_ << "warden: " << setup_.loadError() << '\n';
  }

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
    if (!setup_.hasPlugin()) {
      out_ << path << ": not run: " << setup_.loadError() << '\n';
      return 1;
    }
    std::size_t const problems = run(path, *script);
    setup_.traces().reset();
    return problems;
  }

  std::size_t run(std::string const& path, Script const& script) {
    setup_.traceLevelsIs(expectedTraceLevels(script));
    Executor executor({Zel::ActivityManager::TimeSource::virtualTime, true, options_.database},
                      setup_.traces(), out_,
                      [this](SourceLocation const& where, std::string const& what) {
                        out_ << where.text() << ": " << what << '\n';
                      });
    try {
      executor.startAgent(setup_.agentFactory(), options_.agentName, path);
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
  RunSetup setup_;
};

}  // namespace

int runCheck(Options const& options, std::ostream& out, std::ostream& traceOut) {
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
