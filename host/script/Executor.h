// Runs script commands against a session: publishes what the commands say, lets time pass, and
// checks expectations against the database, the agent's trace records and the exceptions it
// raised. Each command's effects, the agent's reactions included, are complete before the next
// command runs.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "host/run/AgentInspector.h"
#include "host/run/Options.h"
#include "host/run/Session.h"
#include "host/run/TraceCollector.h"
#include "host/script/CommandWindow.h"
#include "host/script/ScriptParser.h"

namespace Host {

class Executor {
 public:
  using FailureHandler = std::function<void(SourceLocation const& where, std::string const& what)>;

  struct Settings {
    Zel::ActivityManager::TimeSource timeSource = Zel::ActivityManager::TimeSource::virtualTime;
    // Check runs fail on exceptions that no `expect raised` checked; live runs only print them.
    bool failOnUncheckedRaised = true;
    // A database server to publish through; without a URL, the session's in-memory database.
    DatabaseOptions database;
  };

  // `out` receives reports (`show`, "agent raised: ...") and `onFailure` every failed
  // expectation and every command that could not be carried out.
  Executor(Settings settings, TraceCollector& traces, std::ostream& out, FailureHandler onFailure);
  ~Executor();

  // Starts the agent; the records and exceptions of its start-up form the window that
  // expectations before the first command check. `script` names the start-up's location.
  void startAgent(AgentFactory const& factory, std::string const& name, std::string script);

  // Runs one command; false once the command was `quit`. With `announcePasses`, a met
  // expectation says so (for a person typing at the console).
  bool execute(ScriptLine const& line, bool announcePasses = false);
  // Ends the last command's window.
  void finish();
  // Destroys the agent now (the inspector's reference goes first); see Session::agentDel.
  void endAgent();

  std::size_t failureCount() const noexcept { return failures_; }
  Session& session() noexcept { return session_; }

 private:
  void openWindow(SourceLocation const& where);
  void closeWindow();
  void fail(SourceLocation const& where, std::string const& what);
  void onRaised(std::string const& text);
  std::string settleServer();

  // Each returns an empty string when the command did what it should, else the reason.
  std::string run(MappingCommand const& command);
  std::string run(LedCommand const& command);
  std::string run(RemoveCommand const& command);
  std::string run(WaitCommand const& command);
  std::string run(ExpectPinCommand const& command);
  std::string run(ExpectMachineCommand const& command);
  std::string run(ExpectTraceCommand const& command);
  std::string run(ExpectRaisedCommand const& command);
  std::string run(ShowCommand const& command);
  std::string run(TraceCommand const& command);
  std::string run(QuitCommand const& command);

  std::string traceFound(ExpectTraceCommand const& command, std::size_t from) const;

  Settings settings_;
  TraceCollector& traces_;
  std::ostream& out_;
  FailureHandler onFailure_;
  CommandWindow window_;
  std::size_t failures_ = 0;
  bool windowOpen_ = false;
  Session session_;
  std::unique_ptr<AgentInspector> inspector_;
  std::unique_ptr<class ServerTables> server_;
};

}  // namespace Host
