#include "host/live/LiveRun.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <deque>
#include <iostream>
#include <limits>
#include <memory>
#include <optional>
#include <sstream>

#include "host/drive/DriverReport.h"
#include "host/drive/PinDriver.h"
#include "host/http/PanelHttp.h"
#include "host/live/Console.h"
#include "host/live/FrontPanel.h"
#include "host/live/PinChangeLog.h"
#include "host/live/PinWatcher.h"
#include "host/live/SignalWatch.h"
#include "host/run/ExitStatus.h"
#include "host/run/RunSetup.h"
#include "host/run/ServerDatabase.h"
#include "host/script/CommandTable.h"
#include "host/script/Executor.h"
#include "host/script/ScriptFile.h"
#include "host/script/ScriptParser.h"

namespace Host {

namespace {

constexpr char kStandardInput[] = "<stdin>";

// What the live console understands beyond the script language.
constexpr CommandSyntax kConsoleCommands[] = {
    {"lamp", "lamp test SECONDS", "light every mapped pin for a while (needs --pins)"},
    {"help", "help\nhelp COMMAND", "list the commands, or the forms of one"},
};

bool outputIsTerminal() {
  char const* term = std::getenv("TERM");
  return ::isatty(STDOUT_FILENO) && !(term && std::string(term) == "dumb");
}

class LiveRun {
 public:
  LiveRun(Options const& options, RunSetup& setup) : options_(options), setup_(setup) {
    executor_.emplace(
        Executor::Settings{Zel::ActivityManager::TimeSource::monotonic, false, options_.database},
        setup_.traces(), std::cout, [](SourceLocation const& where, std::string const& what) {
          std::cout << where.text() << ": " << what << std::endl;
        });
  }

  ~LiveRun() {
    http_.reset();
    console_.reset();
    signals_.reset();
    watcher_.reset();
    if (view_) view_->driverIs(nullptr);
    driver_.reset();
    view_.reset();
    executor_.reset();  // the agent's last records still reach the host's sink
  }

  int run() {
    std::optional<Script> script = readScript();
    if (!script) return kExitWrongInput;
    bool const fromStdin = options_.scripts.empty();
    setup_.traceLevelsIs(expectedTraceLevels(*script));
    queueScript(std::move(*script));

    Session& session = executor_->session();
    makeView(session);
    signals_ = std::make_unique<SignalWatch>(session.loop(), [this](int signal) {
      if (signal == SIGWINCH) {
        if (view_) view_->resize();
        if (console_) console_->resize();
        return;
      }
      quit_ = true;
      executor_->session().loop().stop();
    });
    watcher_ = std::make_unique<PinWatcher>(
        session.pins(), [&session] { return session.elapsed(); },
        [this](PinChange const& change) { view_->pinChanged(change); });
    announce(fromStdin);
    if (int const refused = startDriver(session)) return refused;
    if (!startHttp(session)) return kExitFailed;
    if (driver_) view_->driverIs(driver_.get());
    try {
      executor_->startAgent(setup_.agentFactory(), options_.agentName,
                            fromStdin ? kStandardInput : options_.scripts[0]);
    } catch (std::exception const& error) {
      std::cout << "warden: the agent could not be created: " << error.what() << std::endl;
      return kExitFailed;
    }
    startInput(fromStdin);
    drive();
    executor_->finish();
    if (driver_) driver_->stop();
    return kExitDone;
  }

 private:
  // A command to run, or a malformed line to report in its turn.
  struct Queued {
    std::optional<ScriptLine> line;
    bool fromConsole = false;
    std::string error;
    bool driverView = false;  // `show pins` goes on with the driver's view
  };

  // Claims the mapped pins before the agent starts, so that a pin that cannot be driven stops
  // the run before anything is lit. Returns the exit status of a refusal, 0 once claimed.
  int startDriver(Session& session) {
    if (options_.pinMap.empty()) return kExitDone;
    try {
      Drive::DriverOptions driverOptions;
      driverOptions.partial = options_.pinsPartial;
      driver_ = std::make_unique<Drive::PinDriver>(
          Drive::loadPinMap(options_.pinMap), session.pins(), session.loop(),
          [](std::string const& line) { std::cout << line << std::endl; }, driverOptions);
    } catch (Drive::PinMapError const& error) {
      std::cerr << "warden: " << error.what() << '\n';
      return kExitWrongInput;
    } catch (Drive::DriveError const& error) {
      std::cerr << "warden: pins that cannot be driven (--pins-partial drives the rest):\n"
                << error.what() << '\n';
      return exitStatusOf(error);
    }
    return kExitDone;
  }

  bool startHttp(Session& session) {
    if (options_.httpAddress.empty()) return true;
    std::string const database = options_.database.url.empty() ? "embedded" : options_.database.url;
    try {
      http_ = std::make_unique<Http::PanelHttp>(
          Http::PanelFeed{options_.agentName, session.loop(), session.pins(), &session.mappings(),
                          &session.leds(), [database] { return database; }, session.startTime()},
          options_.httpAddress, options_.httpAllowRemote,
          [](std::string const& line) { std::cout << line << std::endl; });
    } catch (std::exception const& error) {
      std::cerr << "warden: " << error.what() << '\n';
      return false;
    }
    http_->driverIs(driver_.get());
    if (!options_.quiet) std::cout << "warden: panel at " << http_->url() << std::endl;
    return true;
  }

  // `lamp test SECONDS`: a console command of the live run, as it needs the driver.
  bool pinCommand(std::string const& text) {
    std::istringstream words(text);
    std::string first, second, extra;
    double seconds = 0;
    words >> first >> second;
    if (first != "lamp" || second != "test") return false;
    if (!(words >> seconds) || seconds <= 0 || (words >> extra)) {
      queue_.push_back({std::nullopt, true, "lamp test needs a number of seconds"});
    } else if (!driver_) {
      queue_.push_back({std::nullopt, true, "lamp test needs --pins"});
    } else {
      driver_->lampTest(seconds);
    }
    return true;
  }

  std::optional<Script> readScript() {
    if (options_.scripts.empty()) return Script{};
    std::string error;
    std::optional<Script> script = loadScript(options_.scripts[0], error);
    if (!script) {
      std::cerr << "warden: " << error << '\n';
      return std::nullopt;
    }
    return script;
  }

  // Live, a malformed line is reported in its turn and the rest of the script still runs.
  void queueScript(Script script) {
    std::size_t nextError = 0;
    auto queueErrorsBefore = [&](int line) {
      for (; nextError < script.errors.size() && script.errors[nextError].where.line < line;
           ++nextError) {
        queue_.push_back({std::nullopt, false, script.errors[nextError].text()});
      }
    };
    for (ScriptLine& line : script.lines) {
      queueErrorsBefore(line.where.line);
      queue_.push_back({std::move(line), false, {}});
    }
    queueErrorsBefore(std::numeric_limits<int>::max());
  }

  void makeView(Session& session) {
    if (outputIsTerminal()) {
      view_ =
          std::make_unique<FrontPanel>(session, "warden: " + options_.agentName, std::cout, [this] {
            if (console_) console_->redisplay();
          });
    } else {
      view_ = std::make_unique<PinChangeLog>(std::cout, [this] {
        quit_ = true;  // nobody reads the output any more
        executor_->session().loop().stop();
      });
    }
  }

  void startInput(bool fromStdin) {
    bool const terminal = ::isatty(STDIN_FILENO) != 0;
    if (!fromStdin && !terminal) return;  // a script run goes on until interrupted
    if (fromStdin && !standardInputIsStream()) {
      Script const commands = parseScript(kStandardInput, std::cin);
      for (std::string const& line : errorLines(commands)) std::cout << line << '\n';
      for (ScriptLine const& line : commands.lines) queue_.push_back({line, false, {}});
      inputEnded_ = true;
      return;
    }
    console_ = std::make_unique<Console>(
        executor_->session().loop(), "warden> ",
        [this](std::string const& text) { consoleLine(text); },
        [this, fromStdin] {
          // Without a script the input is the whole session; with one, Ctrl-D only closes the
          // console and the panel goes on until interrupted.
          if (fromStdin) inputEnded_ = true;
          wake();
        });
  }

  // `help` answers at once, even while a script step runs.
  bool helpCommand(std::string const& text) {
    std::istringstream words(text);
    std::string first, topic, extra;
    words >> first >> topic;
    if (first != "help") return false;
    if (words >> extra) {
      std::cout << "help takes at most one command name" << std::endl;
    } else {
      std::cout << commandHelp(topic, commandTable(), kConsoleCommands) << std::flush;
    }
    return true;
  }

  // A typed command runs between the script's steps, not after the whole script; while a step
  // is under way the console says what it is waiting for.
  void noteWaitingStep() {
    if (idle_ || !running_ || !running_->line || running_->fromConsole) return;
    std::cout << "(runs after the script's line " << running_->line->where.line;
    if (auto const* wait = std::get_if<WaitCommand>(&running_->line->command)) {
      double const left = runningSince_ + wait->seconds - executor_->session().elapsed();
      char seconds[32];
      std::snprintf(seconds, sizeof seconds, "%.1f", std::max(left, 0.0));
      std::cout << ", wait " << wait->seconds << ", in " << seconds << " s";
    }
    std::cout << ")" << std::endl;
  }

  void consoleLine(std::string const& text) {
    ++consoleLines_;
    if (helpCommand(text)) {
      wake();
      if (!idle_ && console_) console_->resume();
      return;
    }
    std::size_t const queuedBefore = queue_.size();
    consoleLineQueued(text);
    // Ahead of what remains of the script, in the order typed.
    if (queue_.size() > queuedBefore) {
      std::rotate(queue_.begin() + static_cast<std::ptrdiff_t>(consoleAhead_),
                  queue_.begin() + static_cast<std::ptrdiff_t>(queuedBefore), queue_.end());
      consoleAhead_ += queue_.size() - queuedBefore;
      noteWaitingStep();
    }
    // A script step is under way: the prompt comes back at once for the next command.
    if (!idle_ && console_) console_->resume();
  }

  void consoleLineQueued(std::string const& text) {
    if (pinCommand(text)) {
      wake();
      return;
    }
    ParsedLine parsed = parseLine(text);
    SourceLocation where{kStandardInput, consoleLines_};
    if (!parsed.error.empty()) {
      queue_.push_back({std::nullopt, true, where.text() + ": " + parsed.error});
    } else if (parsed.command) {
      queue_.push_back({ScriptLine{std::move(where), std::move(*parsed.command)}, true, {}});
      if (driver_ && text.find("show") != std::string::npos &&
          text.find("pins") != std::string::npos) {
        queue_.push_back({std::nullopt, true, {}, true});
      }
    }
    wake();  // also for a blank line: the prompt comes back
  }

  // Only the idle loop is stopped for new input: a running `wait` must not be cut short.
  void wake() {
    if (idle_) executor_->session().loop().stop();
  }

  void announce(bool fromStdin) {
    if (options_.quiet) return;
    std::cout << "warden: agent '" << options_.agentName << "' from " << setup_.plugin().path();
    if (::isatty(STDIN_FILENO)) {
      std::cout << "; type commands, 'quit' or Ctrl-D to end";
    } else if (!fromStdin) {
      std::cout << "; Ctrl-C ends the run";
    }
    std::cout << std::endl;
  }

  void drive() {
    Zel::ActivityManager& loop = executor_->session().loop();
    while (!quit_) {
      while (!quit_ && !queue_.empty()) {
        Queued next = std::move(queue_.front());
        queue_.pop_front();
        if (consoleAhead_ != 0) --consoleAhead_;
        if (next.driverView) {
          Drive::showDriver(*driver_, std::cout);
          std::cout.flush();
          continue;
        }
        if (!next.line) {
          std::cout << next.error << std::endl;
          continue;
        }
        running_ = &next;
        runningSince_ = executor_->session().elapsed();
        bool const goOn = executor_->execute(*next.line, next.fromConsole && !options_.quiet);
        running_ = nullptr;
        if (!goOn) quit_ = true;
        view_->refresh();
      }
      if (quit_ || (inputEnded_ && queue_.empty())) break;
      if (console_) console_->resume();
      idle_ = true;
      loop.run();
      idle_ = false;
    }
  }

  Options const& options_;
  RunSetup& setup_;
  std::optional<Executor> executor_;
  std::unique_ptr<LiveView> view_;
  std::unique_ptr<PinWatcher> watcher_;
  std::unique_ptr<Drive::PinDriver> driver_;
  std::unique_ptr<SignalWatch> signals_;
  std::unique_ptr<Console> console_;
  std::unique_ptr<Http::PanelHttp> http_;
  std::deque<Queued> queue_;
  int consoleLines_ = 0;
  std::size_t consoleAhead_ = 0;     // typed commands at the front of the queue
  Queued const* running_ = nullptr;  // the step under way
  double runningSince_ = 0;
  bool quit_ = false;
  bool idle_ = false;
  bool inputEnded_ = false;
};

}  // namespace

int runLive(Options const& options) {
  std::signal(SIGPIPE, SIG_IGN);  // a closed output ends the run through its stream state
  RunSetup setup(options, std::cerr);
  if (!setup.hasPlugin()) {
    std::cerr << "warden: " << setup.loadError() << '\n';
    return kExitWrongInput;
  }
  std::string error;
  if (!options.database.url.empty() && !endpointFor(options.database, error)) {
    std::cerr << "warden: database: " << error << '\n';
    return kExitWrongInput;
  }
  return LiveRun(options, setup).run();
}

}  // namespace Host
