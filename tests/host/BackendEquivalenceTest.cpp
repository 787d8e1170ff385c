// One agent, two databases: seeded random scripts of set/replace/remove/wait over a few LEDs and
// pins, each run by the host's executor on the in-memory database and again through a
// redis-server of the test's own (the commands a writer sends: HSET, MULTI/DEL/HSET/EXEC, DEL;
// every command waits for its round trip through the agent). After every command both runs must
// show the same pins, the same trace records in the same order, the same exceptions and the same
// failures. A difference is shrunk to a minimal script and printed in the script language, so
// that `warden check` and `warden check --db` replay it.
//
//   PINLAMP_EQUIVALENCE_SCRIPTS=<count>   more scripts (a soak run)
//   PINLAMP_EQUIVALENCE_SEED=<seed>       another first seed
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/run/RunSetup.h"
#include "host/script/Executor.h"
#include "host/script/StatusReport.h"
#include "platform/redis/TablePublisher.h"
#include "tests/redis/RedisServer.h"

namespace Host {
namespace {

constexpr std::size_t kCommandsPerScript = 14;

std::uint64_t numberFromEnvironment(char const* variable, std::uint64_t otherwise) {
  char const* text = std::getenv(variable);
  if (!text || !*text) return otherwise;
  char* end = nullptr;
  std::uint64_t const value = std::strtoull(text, &end, 10);
  return *end == '\0' ? value : otherwise;
}

// mt19937_64's sequence is fixed by the standard; only its use here decides the scripts.
class ScriptMaker {
 public:
  explicit ScriptMaker(std::uint64_t seed) : random_(seed) {}

  std::vector<std::string> script() {
    std::vector<std::string> commands;
    for (std::size_t i = 0; i < kCommandsPerScript; ++i) commands.push_back(command());
    return commands;
  }

 private:
  std::size_t below(std::size_t n) { return static_cast<std::size_t>(random_() % n); }
  bool percent(unsigned chance) { return below(100) < chance; }

  std::string command() {
    std::string const led = kLeds[below(std::size(kLeds))];
    // Out of 20: 6 set and 2 replace a mapping, 4 set and 1 replace an LED, 1 and 2 remove them.
    std::size_t const pick = below(20);
    if (pick < 6) return "set mapping " + led + mappingFields();
    if (pick < 8) return "replace mapping " + led + mappingFields();
    if (pick < 12) return "set led " + led + ledFields();
    if (pick < 13) return "replace led " + led + ledFields();
    if (pick < 14) return "remove mapping " + led;
    if (pick < 16) return "remove led " + led;
    return std::string("wait ") + kWaits[below(std::size(kWaits))];
  }

  // Any subset of the colours, each with no, one or two pins of a small shared pool, and often
  // `ready`: a published mapping's pins change while it is ready, not ready and being made ready.
  std::string mappingFields() {
    std::string text;
    for (char const* colour : kColours) {
      if (!percent(40)) continue;
      text += std::string(" ") + colour + "=";
      // A script may not list a pin twice in one colour.
      std::size_t const count = below(3);
      std::size_t const firstPin = below(std::size(kPins));
      for (std::size_t i = 0; i < count; ++i) {
        text += (i ? "," : "") + std::string(kPins[(firstPin + i) % std::size(kPins)]);
      }
    }
    if (percent(60)) text += percent(65) ? " ready=yes" : " ready=no";
    return text;
  }

  std::string ledFields() {
    std::string text;
    for (char const* colour : kColours) {
      if (percent(30)) text += std::string(" ") + colour;
    }
    if (percent(35)) text += std::string(" flash=") + kFlashes[below(std::size(kFlashes))];
    return text.empty() ? " off" : text;
  }

  static constexpr char const* kLeds[] = {"A", "B", "C"};
  static constexpr char const* kPins[] = {"p1", "p2", "p3", "p4"};
  static constexpr char const* kColours[] = {"yellow", "green", "red", "orange"};
  static constexpr char const* kWaits[] = {"0.1", "0.3", "1"};
  static constexpr char const* kFlashes[] = {"0.2", "0.5"};

  std::mt19937_64 random_;
};

// Addresses in the agent's exception texts differ from run to run: compared as "0x...".
std::string withoutAddresses(std::string text) {
  for (std::size_t at = 0; (at = text.find("0x", at)) != std::string::npos;) {
    std::size_t end = at + 2;
    while (end < text.size() && std::isxdigit(static_cast<unsigned char>(text[end]))) ++end;
    text.replace(at + 2, end - at - 2, "...");
    at += 5;
  }
  return text;
}

// What a command left: the pins afterwards, and its trace records, exceptions and failures.
struct Observed {
  std::string pins;
  std::string events;
  bool operator==(Observed const&) const = default;
};

class ScriptRunner {
 public:
  explicit ScriptRunner(std::string url) : url_(std::move(url)) {
    options_.agentPath = AGENT_PLUGIN;
  }

  // One entry for the agent's start, then one per command. The run is a child process of its
  // own: an exception that ends the agent's process (as removing a mapping that never became
  // ready must) ends only the run, and is seen as its last entry.
  std::vector<Observed> run(std::vector<std::string> const& commands, std::string const& url) {
    std::string text;
    for (std::string const& command : commands) text += command + "\n";
    std::istringstream in(text);
    Script const script = parseScript("random.warden", in);
    if (!script.errors.empty()) {
      ADD_FAILURE() << "generated a malformed script:\n" << text;
      return {};
    }
    if (!url.empty()) publisher().command({"FLUSHALL"});
    std::fflush(nullptr);
    int fds[2];
    if (pipe(fds) != 0) throw std::runtime_error("pipe failed");
    pid_t const child = fork();
    if (child < 0) throw std::runtime_error("fork failed");
    if (child == 0) {
      close(fds[0]);
      runInChild(script, url, fds[1]);
    }
    close(fds[1]);
    std::string received;
    char buffer[8192];
    for (ssize_t got; (got = read(fds[0], buffer, sizeof buffer)) != 0;) {
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) break;
      received.append(buffer, static_cast<std::size_t>(got));
    }
    close(fds[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    std::vector<Observed> observed;
    for (std::size_t at = 0, end; (end = received.find(kEntryEnd, at)) != std::string::npos;
         at = end + 1) {
      std::string const entry = received.substr(at, end - at);
      std::size_t const split = entry.find(kPinsEnd);
      observed.push_back({entry.substr(0, split), withoutAddresses(entry.substr(split + 1))});
    }
    return observed;
  }

  // The first command after which the two databases differ, with both sides; none when alike.
  std::optional<std::string> difference(std::vector<std::string> const& commands) {
    std::vector<Observed> const memory = run(commands, "");
    std::vector<Observed> const server = run(commands, url_);
    for (std::size_t i = 0; i < memory.size() && i < server.size(); ++i) {
      if (memory[i] == server[i]) continue;
      std::string const where =
          i == 0 ? std::string("at the agent's start") : "after line " + std::to_string(i);
      return where + "\n--- in memory:\n" + memory[i].pins + memory[i].events +
             "--- through the server:\n" + server[i].pins + server[i].events;
    }
    if (memory.size() != server.size()) return std::string("the runs ended at different commands");
    return std::nullopt;
  }

  // Drops commands while the difference stays, until none can go.
  std::vector<std::string> shrunk(std::vector<std::string> commands) {
    for (bool dropped = true; dropped;) {
      dropped = false;
      for (std::size_t i = commands.size(); i-- > 0;) {
        std::vector<std::string> fewer = commands;
        fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(i));
        if (difference(fewer)) {
          commands = std::move(fewer);
          dropped = true;
        }
      }
    }
    return commands;
  }

 private:
  static constexpr char kPinsEnd = '\x1d';
  static constexpr char kEntryEnd = '\x1e';
  static inline int childOut = -1;

  static void write(std::string const& text) {
    for (std::size_t done = 0; done < text.size();) {
      ssize_t const wrote = ::write(childOut, text.data() + done, text.size() - done);
      if (wrote < 0 && errno == EINTR) continue;
      if (wrote <= 0) _exit(3);
      done += static_cast<std::size_t>(wrote);
    }
  }

  // The exception that ends the process, as the last entry; then the child goes quietly.
  static void reportEnd() {
    std::string what = "the process ended";
    try {
      if (std::exception_ptr const error = std::current_exception()) std::rethrow_exception(error);
    } catch (std::exception const& error) {
      what += ": " + std::string(error.what());
    } catch (...) {
    }
    write(std::string(1, kPinsEnd) + what + "\n" + kEntryEnd);
    _exit(0);
  }

  // Never returns: the child leaves without running the parent's destructors (the server's
  // would stop it).
  [[noreturn]] void runInChild(Script const& script, std::string const& url, int out) {
    childOut = out;
    std::set_terminate(&reportEnd);
    setup_.traceLevelsIs(~0u);
    std::ostringstream said;
    std::ostringstream failures;
    Executor executor({Zel::ActivityManager::TimeSource::virtualTime, false, {url, "", false}},
                      setup_.traces(), said,
                      [&failures](SourceLocation const&, std::string const& what) {
                        failures << "failed: " << what << '\n';
                      });
    auto const take = [&] {
      std::ostringstream pins;
      showPins(executor.session().pins(), pins);
      TraceCollector& traces = setup_.traces();
      double const epoch = executor.session().startTime();
      std::ostringstream events;
      for (std::size_t i = traces.begin(); i < traces.end(); ++i) {
        Zel::TraceRecord const& record = traces.at(i);
        char time[32];
        std::snprintf(time, sizeof time, "%.6f", record.time - epoch);
        events << "trace " << record.level << " at " << time << ": " << record.text << '\n';
      }
      traces.forgetBefore(traces.end());
      write(pins.str() + kPinsEnd + events.str() + said.str() + failures.str() + kEntryEnd);
      said.str("");
      failures.str("");
    };
    executor.startAgent(setup_.agentFactory(), options_.agentName, "random.warden");
    take();
    for (ScriptLine const& line : script.lines) {
      executor.execute(line);
      take();
    }
    _exit(0);
  }

  Statedb::Redis::TablePublisher& publisher() {
    if (!publisher_) {
      std::string error;
      std::optional<Statedb::Redis::Endpoint> const endpoint =
          Statedb::Redis::endpointOf(url_, error);
      if (endpoint) publisher_ = Statedb::Redis::TablePublisher::publisherIs(*endpoint, error);
      if (!publisher_) throw std::runtime_error("cannot reach the test's server: " + error);
    }
    return *publisher_;
  }

  std::string url_;
  Options options_;
  std::ostringstream traceOut_;
  RunSetup setup_{options_, traceOut_};
  std::unique_ptr<Statedb::Redis::TablePublisher> publisher_;
};

std::string report(std::uint64_t seed, std::vector<std::string> const& script,
                   std::string const& difference) {
  std::string text = "seed " + std::to_string(seed) + ": the databases differ " + difference +
                     "\nminimal script (replay: warden check FILE; warden check --db URL FILE):\n";
  for (std::string const& command : script) text += "  " + command + "\n";
  return text;
}

TEST(BackendEquivalence, RandomScriptsRunAlikeInMemoryAndThroughTheServer) {
  PinlampTest::RedisServer server;
  ScriptRunner runner(server.url());
  std::uint64_t const count = numberFromEnvironment("PINLAMP_EQUIVALENCE_SCRIPTS", 2000);
  std::uint64_t const first = numberFromEnvironment("PINLAMP_EQUIVALENCE_SEED", 1);
  auto const started = std::chrono::steady_clock::now();
  std::size_t differing = 0;
  for (std::uint64_t seed = first; seed < first + count; ++seed) {
    std::vector<std::string> const script = ScriptMaker(seed).script();
    std::optional<std::string> const found = runner.difference(script);
    if (!found) continue;
    // Shrinking costs many runs: the first few differences are enough to act on.
    if (++differing > 3) continue;
    std::vector<std::string> const minimal = runner.shrunk(script);
    std::optional<std::string> const again = runner.difference(minimal);
    // A difference that does not come back is reported with the whole script.
    ADD_FAILURE() << (again ? report(seed, minimal, *again)
                            : report(seed, script, *found + "\n(not seen again: timing)"));
  }
  std::chrono::duration<double> const took = std::chrono::steady_clock::now() - started;
  std::printf("%llu scripts of %zu commands on both databases, %zu differing, in %.1f s\n",
              static_cast<unsigned long long>(count), kCommandsPerScript, differing, took.count());
}

// The comparison sees the agent's exceptions: one it raises and goes on after, and one that ends
// its process (removing a mapping that never became ready), each at the same command on both.
TEST(BackendEquivalence, ExceptionsSurfaceAtTheSameCommandOnBoth) {
  PinlampTest::RedisServer server;
  ScriptRunner runner(server.url());
  struct Case {
    std::vector<std::string> script;
    std::size_t line;  // of the command that raises
    std::string text;
  };
  Case const cases[] = {
      {{"set mapping A green=p1 ready=yes", "set led A green", "replace led A red", "wait 1"},
       3,
       "agent raised: Reinstantiating"},
      {{"set led A green", "set mapping A green=p1", "remove mapping A", "set led B red"},
       3,
       "the process ended: null ValidPtr"},
  };
  for (Case const& c : cases) {
    std::vector<Observed> const memory = runner.run(c.script, "");
    std::vector<Observed> const through = runner.run(c.script, server.url());
    ASSERT_EQ(memory.size(), through.size()) << c.text;
    ASSERT_GT(memory.size(), c.line) << c.text;
    for (std::size_t i = 0; i < memory.size(); ++i) {
      EXPECT_EQ(memory[i].pins, through[i].pins) << c.text << ", line " << i;
      EXPECT_EQ(memory[i].events, through[i].events) << c.text << ", line " << i;
      bool const raised = memory[i].events.find(c.text) != std::string::npos;
      EXPECT_EQ(raised, i == c.line) << c.text << ", line " << i << ":\n" << memory[i].events;
    }
  }
}

}  // namespace
}  // namespace Host
