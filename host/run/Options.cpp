#include "host/run/Options.h"

#include <charconv>

#include "host/run/TraceLevels.h"

namespace Host {

namespace {

struct UsageError {
  std::string reason;
};

std::uint32_t parseCell(std::string const& text) {
  std::uint32_t cell = 0;
  auto const [end, ec] = std::from_chars(text.data(), text.data() + text.size(), cell);
  if (text.empty() || ec != std::errc() || end != text.data() + text.size()) {
    throw UsageError{"--cell needs a whole number, not '" + text + "'"};
  }
  return cell;
}

std::pair<std::string, std::uint32_t> parseTrace(std::string const& text) {
  std::size_t const slash = text.find('/');
  std::string const facility = text.substr(0, slash);
  if (facility.empty()) throw UsageError{"--trace needs FACILITY[/LEVELS], not '" + text + "'"};
  std::uint32_t levels = ~0u;
  if (slash != std::string::npos && !parseTraceLevelList(text.substr(slash + 1), levels)) {
    throw UsageError{"bad trace levels in '" + text + "' (such as 0-9, 3,6,8 or all)"};
  }
  return {facility, levels};
}

double parseSeconds(std::string const& name, std::string const& text) {
  double seconds = 0;
  auto const [end, ec] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (text.empty() || ec != std::errc() || end != text.data() + text.size() || !(seconds > 0) ||
      seconds > 86400) {
    throw UsageError{name + " needs a number of seconds above 0, not '" + text + "'"};
  }
  return seconds;
}

class OptionReader {
 public:
  explicit OptionReader(std::vector<std::string> const& arguments) : arguments_(arguments) {}

  Options read() {
    Options options;
    if (arguments_.empty()) throw UsageError{"missing command (run, check, serve or drive)"};
    std::string const& command = arguments_[0];
    if (command == "run") {
      options.mode = Options::Mode::run;
    } else if (command == "check") {
      options.mode = Options::Mode::check;
    } else if (command == "serve") {
      options.mode = Options::Mode::serve;
    } else if (command == "drive") {
      options.mode = Options::Mode::drive;
    } else if (command == "help" || command == "--help" || command == "-h") {
      options.mode = Options::Mode::help;
      return options;
    } else {
      throw UsageError{"unknown command '" + command + "' (run, check, serve or drive)"};
    }
    for (next_ = 1; next_ < arguments_.size(); ++next_) option(options, arguments_[next_]);
    if (options.mode == Options::Mode::check && options.scripts.empty()) {
      throw UsageError{"check needs at least one script"};
    }
    if (options.mode == Options::Mode::run && options.scripts.size() > 1) {
      throw UsageError{"run takes at most one script"};
    }
    if (options.mode == Options::Mode::check && !options.httpAddress.empty()) {
      throw UsageError{"--http is for run, serve and drive"};
    }
    if (options.mode == Options::Mode::serve && !options.scripts.empty()) {
      throw UsageError{"serve takes no script"};
    }
    if (options.mode == Options::Mode::drive) {
      if (!options.scripts.empty()) throw UsageError{"drive takes no script"};
      if (options.database.url.empty() || options.pinMap.empty()) {
        throw UsageError{"drive needs --db URL and --pins FILE"};
      }
    }
    return options;
  }

 private:
  void option(Options& options, std::string const& argument) {
    if (argument == "--") {
      while (++next_ < arguments_.size()) options.scripts.push_back(arguments_[next_]);
      return;
    }
    if (!argument.starts_with("-") || argument == "-") {
      options.scripts.push_back(argument);
      return;
    }
    std::size_t const equals = argument.find('=');
    std::string const name = argument.substr(0, equals);
    auto value = [&]() -> std::string {
      if (equals != std::string::npos) return argument.substr(equals + 1);
      if (next_ + 1 >= arguments_.size()) throw UsageError{name + " needs a value"};
      return arguments_[++next_];
    };
    if (name == "--agent") {
      options.agentPath = value();
    } else if (name == "--name") {
      options.agentName = value();
      if (options.agentName.empty()) throw UsageError{"--name needs a non-empty name"};
    } else if (name == "--cell") {
      options.cell = parseCell(value());
    } else if (name == "--trace") {
      options.traces.push_back(parseTrace(value()));
    } else if (name == "--pins") {
      options.pinMap = value();
    } else if (name == "--pins-partial" && equals == std::string::npos) {
      options.pinsPartial = true;
    } else if (name == "--lamp-test-seconds") {
      options.lampTestSeconds = parseSeconds(name, value());
    } else if (name == "--db") {
      options.database.url = value();
    } else if (name == "--db-password-file") {
      options.database.passwordFile = value();
    } else if (name == "--db-allow-insecure" && equals == std::string::npos) {
      options.database.allowInsecure = true;
    } else if (name == "--http") {
      options.httpAddress = value();
      if (options.httpAddress.empty()) throw UsageError{"--http needs unix:PATH or HOST:PORT"};
    } else if (name == "--http-allow-remote" && equals == std::string::npos) {
      options.httpAllowRemote = true;
    } else if (name == "--config") {
      options.configPath = value();
    } else if (name == "--quiet" && equals == std::string::npos) {
      options.quiet = true;
    } else if (name == "--help" || name == "-h") {
      options.mode = Options::Mode::help;
    } else {
      throw UsageError{"unknown option '" + argument + "'"};
    }
  }

  std::vector<std::string> const& arguments_;
  std::size_t next_ = 0;
};

}  // namespace

ParsedOptions parseOptions(std::vector<std::string> const& arguments) {
  ParsedOptions parsed;
  try {
    parsed.options = OptionReader(arguments).read();
  } catch (UsageError const& error) {
    parsed.error = error.reason;
  }
  return parsed;
}

std::string usageText() {
  return R"(usage: warden run   [OPTIONS] [SCRIPT]
       warden check [OPTIONS] SCRIPT...
       warden serve [--config FILE] [OPTIONS]
       warden drive [--config FILE] --db URL --pins FILE [OPTIONS]

  run     runs the agent live: SCRIPT's commands (or, without SCRIPT, commands typed on
          standard input), then goes on until interrupted or `quit`
  check   runs each script in virtual time with a fresh database and agent; exits 0 when
          every expectation held
  serve   runs the agent as a service: no console, no panel, logs to standard error, tells
          systemd when it is ready; FILE (TOML) sets any option below by its long name
          (agent = "...", cell = 2, trace = ["Pinlamp/3"]), and the command line overrides it
  drive   drives the pins of the pin map from the pin table of the database server, for an
          agent that runs in another process; no agent runs in this one; --config as for serve

options:
  --agent PATH               the agent plug-in (default: the one built or installed with warden)
  --name NAME                the agent's name (default: pinlamp)
  --cell N                   the cell the agent runs on (default: 1)
  --trace FACILITY[/LEVELS]  print the facility's trace records at LEVELS (such as 0-9 or
                             3,6,8; default all) to standard error; may be repeated
  --quiet                    print only what matters: failures, pin changes and summaries
  --pins FILE                drive real LEDs (GPIO lines, LED class devices, files) as the
                             pin map FILE says; warden does not start, and touches no pin,
                             when a mapped pin cannot be claimed
  --pins-partial             drive the pins that can be claimed and report the others
  --lamp-test-seconds N      serve, drive: SIGUSR2 lights every mapped pin for N seconds, then
                             shows what the agent shows (default: 10)
  --db URL                   follow the inputs from, and write the pins to, a database server:
                             unix:PATH[?db=N&user=NAME&password-file=FILE] or
                             redis://[NAME@]HOST[:PORT][/N][?password-file=FILE]; check
                             publishes each script's commands there, starting from empty tables
  --db-password-file FILE    the database password, read from FILE (never given on the line)
  --db-allow-insecure        allow TCP to another machine without credentials
  --http ADDR                run, serve, drive: a read-only front panel in the browser (/),
                             its JSON (/leds, /pins), events (/events) and metrics (/metrics)
                             on unix:PATH or HOST:PORT (loopback only)
  --http-allow-remote        let --http listen on an address other machines reach
  --config FILE              serve, drive: read the options from FILE first; SIGHUP reads it
                             again and applies trace and lamp-test-seconds at once

exit status: 0 stopped on request (check: every expectation held); 1 a failure that a restart
may mend, such as a GPIO line another program holds (check: an expectation failed); 2 a wrong
input, reported with its place before any pin is touched: the command line, the configuration,
the plug-in, the pin map, the database URL, a device the map names that is not there
)";
}

}  // namespace Host
