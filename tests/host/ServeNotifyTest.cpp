// `warden serve` under a stand-in service manager: the test binds the notification socket, sets
// a watchdog interval, runs warden on the embedded database and reads what it announces. Every
// wait is a poll of the socket with a deadline; no assertion rests on a sleep.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "platform/redis/TablePublisher.h"
#include "tests/redis/RedisServer.h"

namespace Host {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr char kWatchdogMicroseconds[] = "200000";  // pings every 0.1 s
constexpr double kPingInterval = 0.1;
constexpr double kStallSeconds = STALL_SECONDS;

struct Message {
  std::string text;
  Clock::time_point at;
};

class ServeNotifyTest : public testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("warden-notify-" + std::to_string(::getpid()));
    fs::create_directories(dir_);
    socket_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(socket_, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string const path = (dir_ / "notify").string();
    ASSERT_LT(path.size(), sizeof address.sun_path);
    path.copy(address.sun_path, path.size());
    ASSERT_EQ(::bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }

  void TearDown() override {
    if (child_ > 0) {
      ::kill(child_, SIGKILL);
      ::waitpid(child_, nullptr, 0);
    }
    ::close(socket_);
    fs::remove_all(dir_);
  }

  void startWarden(std::string const& config = "") {
    if (config.empty()) {
      startWardenWith({"serve", "--agent", AGENT_PLUGIN, "--trace", "Pinlamp/3"});
    } else {
      startWardenWith({"serve", "--agent", AGENT_PLUGIN, "--config", config});
    }
  }

  // Runs warden with `arguments` as the service manager would start it.
  void startWardenWith(std::vector<std::string> const& arguments) {
    std::string const log = (dir_ / "stderr").string();
    child_ = ::fork();
    ASSERT_GE(child_, 0);
    if (child_ == 0) {
      ::setenv("NOTIFY_SOCKET", (dir_ / "notify").c_str(), 1);
      ::setenv("WATCHDOG_USEC", kWatchdogMicroseconds, 1);
      ::unsetenv("WATCHDOG_PID");
      // SIGUSR1 stalls the loop. A sanitizer's runtime would refuse to come second to it.
      ::setenv("LD_PRELOAD", STALL_ON_SIGNAL, 1);
      char const* sanitizer = std::getenv("ASAN_OPTIONS");
      ::setenv("ASAN_OPTIONS",
               (std::string(sanitizer ? sanitizer : "") + ":verify_asan_link_order=0").c_str(), 1);
      std::FILE* err = std::freopen(log.c_str(), "w", stderr);
      if (!err) ::_exit(127);
      // As journald does: standard error is the stream that JOURNAL_STREAM names.
      struct stat status {};
      if (::fstat(STDERR_FILENO, &status) != 0) ::_exit(127);
      ::setenv("JOURNAL_STREAM",
               (std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino)).c_str(), 1);
      std::vector<char*> argv{const_cast<char*>(WARDEN_PROGRAM)};
      for (std::string const& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
      argv.push_back(nullptr);
      ::execv(WARDEN_PROGRAM, argv.data());
      ::_exit(127);
    }
  }

  static std::string contents(fs::path const& path) {
    std::ifstream in(path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
  }
  std::string wardenLog() const { return contents(dir_ / "stderr"); }

  static Clock::time_point after(double seconds) {
    return Clock::now() + std::chrono::duration_cast<Clock::duration>(Seconds(seconds));
  }

  // The next notification, or nothing once `seconds` have passed.
  std::optional<Message> next(double seconds) {
    auto const deadline = after(seconds);
    for (;;) {
      auto const left =
          std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
      if (left.count() <= 0) return std::nullopt;
      pollfd fd{socket_, POLLIN, 0};
      if (::poll(&fd, 1, static_cast<int>(left.count())) <= 0) continue;
      char buffer[4096];
      ssize_t const size = ::recv(socket_, buffer, sizeof buffer, 0);
      if (size > 0)
        return Message{std::string(buffer, static_cast<std::size_t>(size)), Clock::now()};
    }
  }

  // Waits for a notification that starts with `prefix`, collecting the others on the way.
  std::optional<Message> awaitMessage(std::string const& prefix, double seconds,
                                      std::vector<Message>* passed = nullptr) {
    auto const deadline = after(seconds);
    while (std::optional<Message> message = next(Seconds(deadline - Clock::now()).count())) {
      if (message->text.starts_with(prefix)) return message;
      if (passed) passed->push_back(*message);
    }
    return std::nullopt;
  }

  // Every notification during the next `seconds`.
  std::vector<Message> collect(double seconds) {
    std::vector<Message> messages;
    auto const end = after(seconds);
    while (std::optional<Message> message = next(Seconds(end - Clock::now()).count())) {
      messages.push_back(*message);
    }
    return messages;
  }

  static std::vector<Clock::time_point> pings(std::vector<Message> const& messages) {
    std::vector<Clock::time_point> times;
    for (Message const& m : messages) {
      if (m.text == "WATCHDOG=1") times.push_back(m.at);
    }
    return times;
  }

  // Whether `done` holds within `seconds`; the wait is paced on the socket, not on a sleep.
  template <typename Done>
  bool awaitTrue(Done const& done, double seconds) {
    for (auto const deadline = after(seconds); Clock::now() < deadline; next(0.02)) {
      if (done()) return true;
    }
    return false;
  }

  bool awaitLog(std::string const& text, double seconds) {
    return awaitTrue([&] { return wardenLog().find(text) != std::string::npos; }, seconds);
  }

  // Exit status of the child, or -1 if it has not exited within `seconds`.
  int awaitExit(double seconds) {
    int status = 0;
    if (!awaitTrue([&] { return ::waitpid(child_, &status, WNOHANG) == child_; }, seconds))
      return -1;
    child_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

  // SIGTERM, as the service manager stops the unit: warden says so and exits 0.
  void expectCleanStop() {
    ASSERT_EQ(::kill(child_, SIGTERM), 0);
    EXPECT_TRUE(awaitMessage("STOPPING=1", 10)) << wardenLog();
    EXPECT_EQ(awaitExit(10), 0) << wardenLog();
  }

  fs::path dir_;
  int socket_ = -1;
  pid_t child_ = -1;
};

TEST_F(ServeNotifyTest, ReadyAfterTheMountsThenPingsAtHalfTheIntervalThenStopsCleanly) {
  startWarden();
  std::vector<Message> beforeReady;
  ASSERT_TRUE(awaitMessage("READY=1", 20, &beforeReady)) << wardenLog();
  EXPECT_TRUE(pings(beforeReady).empty()) << "pings before the agent was ready";
  EXPECT_NE(wardenLog().find("doMountsComplete"), std::string::npos) << wardenLog();
  // The status comes with readiness, so that the service manager shows it from the start.
  ASSERT_FALSE(beforeReady.empty());
  EXPECT_EQ(beforeReady.back().text, "STATUS=0 LEDs mapped, 0 pins; database embedded");

  // 2 s at one ping per 0.1 s: about 20, and clearly more than the 10 of a full interval.
  std::vector<Clock::time_point> const times = pings(collect(2.0));
  EXPECT_GE(times.size(), 14u);
  EXPECT_LE(times.size(), 22u);

  expectCleanStop();
  // Each line carries its syslog priority: host messages notice or info, trace records debug.
  std::istringstream lines(wardenLog());
  std::vector<std::string> prefixes;
  for (std::string line; std::getline(lines, line);) prefixes.push_back(line.substr(0, 3));
  EXPECT_EQ(prefixes, (std::vector<std::string>{"<5>", "<7>", "<7>", "<6>", "<5>", "<5>"}))
      << wardenLog();
}

TEST_F(ServeNotifyTest, AStalledLoopStopsThePings) {
  startWarden();
  ASSERT_TRUE(awaitMessage("READY=1", 20)) << wardenLog();
  ASSERT_TRUE(awaitMessage("WATCHDOG=1", 5));
  Clock::time_point const stalled = Clock::now();
  ASSERT_EQ(::kill(child_, SIGUSR1), 0);
  std::vector<Clock::time_point> times = pings(collect(2.0));
  // The loop blocks for a while: no ping for most of it, then the pings resume.
  times.insert(times.begin(), stalled);
  double longestGap = 0;
  for (std::size_t i = 1; i < times.size(); ++i) {
    longestGap = std::max(longestGap, Seconds(times[i] - times[i - 1]).count());
  }
  EXPECT_GE(longestGap, 0.8 * kStallSeconds) << wardenLog();
  ASSERT_FALSE(times.empty());
  EXPECT_GE(Seconds(times.back() - stalled).count(), kStallSeconds) << "the pings did not resume";
  EXPECT_LT(kPingInterval, longestGap);
}

// Wrong inputs that a restart cannot mend exit 2, which the unit does not restart, before any pin
// is touched: LED red of the map is there and keeps its kernel trigger and brightness.
TEST_F(ServeNotifyTest, WrongInputsExitTwoBeforeAnyPinIsTouched) {
  fs::path const red = dir_ / "sys/class/leds/red";
  fs::create_directories(red);
  std::ofstream(red / "max_brightness") << "255\n";
  std::ofstream(red / "trigger") << "[heartbeat] none";
  std::ofstream(red / "brightness") << "1\n";
  std::string const leds =
      "sysfs_root = \"sys\"\n"
      "[[pin]]\nname = \"r\"\nbackend = \"led\"\ndevice = \"red\"\n"
      "[[pin]]\nname = \"b\"\nbackend = \"led\"\ndevice = \"blue\"\n";
  std::ofstream(dir_ / "leds.toml") << leds;
  std::ofstream(dir_ / "typo.toml") << "sysfs_rot = \"sys\"\n" << leds.substr(leds.find('\n') + 1);
  std::string const map = (dir_ / "leds.toml").string();
  std::string const config = (dir_ / "pinlamp.toml").string();
  std::ofstream(config) << "name = \"lamp\"\ndb = \"unix:\"\n";
  std::string const unreachable = "unix:" + (dir_ / "none.sock").string();
  struct Case {
    std::vector<std::string> arguments;
    std::string logged;
  };
  std::vector<Case> const cases = {
      {{"serve", "--agent", AGENT_PLUGIN, "--pins", map},
       map + ":6: pin 'b': LED 'blue': max_brightness: No such file or directory"},
      {{"drive", "--db", unreachable, "--pins", map}, map + ":6: pin 'b': LED 'blue'"},
      {{"run", "--agent", AGENT_PLUGIN, "--pins", map}, map + ":6: pin 'b': LED 'blue'"},
      {{"serve", "--agent", AGENT_PLUGIN, "--pins", (dir_ / "typo.toml").string()},
       (dir_ / "typo.toml").string() + ":1: unknown key 'sysfs_rot' in the map"},
      {{"serve", "--agent", AGENT_PLUGIN, "--config", config}, config + ":2: database: "},
      {{"drive", "--db", "redis:/x", "--pins", map}, "database: "},
      {{"serve", "--agent", (dir_ / "none.so").string()}, "none.so"},
      {{"serve", "--agent", AGENT_PLUGIN, "--http", "192.0.2.1:8080"}, "not a loopback address"},
  };
  for (Case const& c : cases) {
    startWardenWith(c.arguments);
    int const status = awaitExit(10);
    if (status < 0) {  // still running: ended here, so that the next case does not leave it behind
      ::kill(child_, SIGKILL);
      ::waitpid(child_, nullptr, 0);
    }
    EXPECT_EQ(status, 2) << c.arguments[0] << " " << c.arguments.back() << "\n" << wardenLog();
    EXPECT_NE(wardenLog().find(c.logged), std::string::npos) << wardenLog();
    EXPECT_EQ(wardenLog().find("cannot reach"), std::string::npos) << wardenLog();
  }
  EXPECT_EQ(contents(red / "trigger"), "[heartbeat] none");
  EXPECT_EQ(contents(red / "brightness"), "1\n");

  // With pins-partial the LED that is there is driven and the missing one reported.
  startWardenWith({"serve", "--agent", AGENT_PLUGIN, "--pins", map, "--pins-partial"});
  ASSERT_TRUE(awaitMessage("READY=1", 20)) << wardenLog();
  EXPECT_NE(wardenLog().find("pins: not driven: " + map + ":6: pin 'b'"), std::string::npos)
      << wardenLog();
  expectCleanStop();
  EXPECT_EQ(contents(red / "trigger"), "none\n");
}

// With a database server of the test's own and a pin map that drives a values file.
class ServeDatabaseTest : public ServeNotifyTest {
 protected:
  void SetUp() override {
    ServeNotifyTest::SetUp();
    std::string error;
    auto endpoint = Statedb::Redis::endpointOf(server_.url(), error);
    ASSERT_TRUE(endpoint) << error;
    publisher_ = Statedb::Redis::TablePublisher::publisherIs(*endpoint, error);
    ASSERT_TRUE(publisher_) << error;
    std::ofstream(dir_ / "pins.toml") << "values_file = \"pins.values\"\n"
                                         "[[pin]]\nname = \"g\"\nbackend = \"file\"\n"
                                         "[[pin]]\nname = \"r\"\nbackend = \"file\"\n";
  }

  // Led1 lit green on pins g (green) and r (red), published before warden starts.
  void publishGreenLed() {
    publisher_->hashIs("GPIO_LED|Led1", {{"green", "g"}, {"red", "r"}, {"ready", "1"}}, true);
    publisher_->hashIs("LED_CONFIG|Led1", {{"green", "1"}}, true);
  }

  void serve(std::vector<std::string> const& more = {}) {
    std::vector<std::string> arguments{"serve", "--agent", AGENT_PLUGIN, "--db", server_.url()};
    std::string const map = (dir_ / "pins.toml").string();
    arguments.insert(arguments.end(), {"--pins", map, "--lamp-test-seconds", "1"});
    arguments.insert(arguments.end(), more.begin(), more.end());
    startWardenWith(arguments);
  }

  // The body of the panel's answer to GET `path` on the unix socket `socket`.
  std::string httpGet(fs::path const& socket, std::string const& path) {
    int const fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socket.string().copy(address.sun_path, sizeof address.sun_path - 1);
    std::string answer;
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
      std::string const request = "GET " + path + " HTTP/1.0\r\n\r\n";
      if (::send(fd, request.data(), request.size(), MSG_NOSIGNAL) > 0) {
        char buffer[4096];
        pollfd ready{fd, POLLIN, 0};
        while (::poll(&ready, 1, 5000) > 0) {
          ssize_t const size = ::recv(fd, buffer, sizeof buffer, 0);
          if (size <= 0) break;
          answer.append(buffer, static_cast<std::size_t>(size));
        }
      }
    }
    ::close(fd);
    std::size_t const body = answer.find("\r\n\r\n");
    return body == std::string::npos ? "" : answer.substr(body + 4);
  }

  std::string pinTableValue(std::string const& pin) {
    for (auto const& [field, value] : publisher_->hash("GPIO_PIN|" + pin)) {
      if (field == "value") return value;
    }
    return "";
  }

  std::string values() const { return contents(dir_ / "pins.values"); }

  bool awaitValues(std::string const& text, double seconds) {
    return awaitTrue([&] { return values() == text; }, seconds);
  }

  std::size_t logCount(std::string const& text) const {
    std::string const log = wardenLog();
    std::size_t count = 0;
    for (auto at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) ++count;
    return count;
  }

  PinlampTest::RedisServer server_;
  std::unique_ptr<Statedb::Redis::TablePublisher> publisher_;
};

TEST_F(ServeDatabaseTest, ReadyOnceTheTablesAreAppliedThenReportsTheLossAndRecoveryOnce) {
  publishGreenLed();
  serve();
  std::vector<Message> beforeReady;
  ASSERT_TRUE(awaitMessage("READY=1", 20, &beforeReady)) << wardenLog();
  // Ready means the agent has acted on what the server held and its pins are in the pin table.
  EXPECT_EQ(pinTableValue("g"), "1");
  EXPECT_EQ(pinTableValue("r"), "0");
  ASSERT_FALSE(beforeReady.empty());
  EXPECT_NE(beforeReady.back().text.find(" connected"), std::string::npos)
      << beforeReady.back().text;
  EXPECT_TRUE(awaitValues("g 1\nr 0\n", 5)) << values();

  server_.stop(SIGKILL);
  auto lost = awaitMessage("STATUS=", 10);
  ASSERT_TRUE(lost) << wardenLog();
  EXPECT_NE(lost->text.find("lost, reconnecting"), std::string::npos) << lost->text;
  server_.start();
  auto back = awaitMessage("STATUS=", 20);
  ASSERT_TRUE(back) << wardenLog();
  EXPECT_NE(back->text.find(" connected"), std::string::npos) << back->text;
  // Retries are silent: one warning for the loss, one notice for the recovery.
  EXPECT_EQ(logCount("<4>warden: statedb: lost "), 1u) << wardenLog();
  EXPECT_EQ(logCount("<5>warden: statedb: reconnected "), 1u) << wardenLog();

  expectCleanStop();
}

TEST_F(ServeDatabaseTest, LampTestLightsEveryPinThenRestoresWithoutTouchingThePinTable) {
  publishGreenLed();
  fs::path const panel = dir_ / "http.sock";
  serve({"--http", "unix:" + panel.string()});
  ASSERT_TRUE(awaitMessage("READY=1", 20)) << wardenLog();
  ASSERT_TRUE(awaitValues("g 1\nr 0\n", 5)) << values();
  // The pins are claimed after the first read, and the panel still shows the driver's view.
  EXPECT_NE(httpGet(panel, "/pins").find("\"backend\":\"file\""), std::string::npos);

  ASSERT_EQ(::kill(child_, SIGUSR2), 0);
  ASSERT_TRUE(awaitValues("g 1\nr 1\n", 5)) << values() << wardenLog();
  EXPECT_EQ(pinTableValue("r"), "0") << "the lamp test wrote the agent's pins";
  // Changed meanwhile: the end of the test shows what the agent shows by then.
  publisher_->hashIs("LED_CONFIG|Led1", {{"green", "0"}, {"red", "1"}}, false);
  EXPECT_TRUE(awaitValues("g 0\nr 1\n", 10)) << values() << wardenLog();
  EXPECT_EQ(pinTableValue("g"), "0");
  expectCleanStop();
}

// SIGHUP takes up the trace levels, which print from then on: a change of the LED prints nothing
// at level 7 before the reload and its record after. Other options wait for the next restart,
// and a configuration that does not read leaves the running one as it is.
TEST_F(ServeDatabaseTest, HangUpReloadsTheTraceLevelsAndKeepsTheRest) {
  std::string const config = (dir_ / "pinlamp.toml").string();
  std::string const common =
      "db = \"" + server_.url() + "\"\npins = \"" + (dir_ / "pins.toml").string() + "\"\n";
  std::ofstream(config) << common << "trace = [\"Pinlamp/3\"]\n";
  publishGreenLed();
  startWardenWith({"serve", "--agent", AGENT_PLUGIN, "--config", config});
  ASSERT_TRUE(awaitMessage("READY=1", 20)) << wardenLog();
  publisher_->hashIs("LED_CONFIG|Led1", {{"green", "0"}, {"red", "1"}}, false);
  ASSERT_TRUE(awaitValues("g 0\nr 1\n", 10)) << values() << wardenLog();
  EXPECT_EQ(wardenLog().find("handleHwLedConfig"), std::string::npos) << wardenLog();

  std::ofstream(config) << common << "trace = [\"Pinlamp/3,7\"]\n";
  ASSERT_EQ(::kill(child_, SIGHUP), 0);
  ASSERT_TRUE(awaitLog("trace levels and lamp-test-seconds reloaded from " + config, 10))
      << wardenLog();
  EXPECT_EQ(wardenLog().find("next restart"), std::string::npos) << wardenLog();
  publisher_->hashIs("LED_CONFIG|Led1", {{"green", "1"}, {"red", "0"}}, false);
  EXPECT_TRUE(awaitLog("handleHwLedConfig Led1", 10)) << wardenLog();

  std::ofstream(config) << common << "name = \"other\"\n";
  ASSERT_EQ(::kill(child_, SIGHUP), 0);
  EXPECT_TRUE(awaitLog("options other than trace and lamp-test-seconds changed in " + config +
                           "; they take effect at the next restart",
                       10))
      << wardenLog();

  std::ofstream(config) << common << "cell = \"two\"\n";
  ASSERT_EQ(::kill(child_, SIGHUP), 0);
  EXPECT_TRUE(awaitLog(
      config + ":3: --cell needs a whole number, not 'two'; the running configuration stays", 10))
      << wardenLog();
  expectCleanStop();
}

// drive reads its options from a file as serve does, and takes up the lamp test's length on
// SIGHUP; a changed map waits for the next restart.
TEST_F(ServeDatabaseTest, DriveTakesItsOptionsFromAFileAndReloadsTheLampTestLength) {
  publisher_->hashIs("GPIO_PIN|g", {{"value", "1"}}, true);
  std::string const config = (dir_ / "drive.toml").string();
  std::string const common = "db = \"" + server_.url() + "\"\n";
  std::ofstream(config) << common << "pins = \"" << (dir_ / "pins.toml").string()
                        << "\"\nlamp-test-seconds = 60\n";
  startWardenWith({"drive", "--config", config});
  ASSERT_TRUE(awaitMessage("READY=1", 20)) << wardenLog();
  EXPECT_EQ(values(), "g 1\nr 0\n");

  std::ofstream(config) << common << "pins = \"other.toml\"\nlamp-test-seconds = 0.5\n";
  ASSERT_EQ(::kill(child_, SIGHUP), 0);
  ASSERT_TRUE(awaitLog("options other than trace and lamp-test-seconds changed in " + config, 10))
      << wardenLog();
  ASSERT_EQ(::kill(child_, SIGUSR2), 0);
  ASSERT_TRUE(awaitValues("g 1\nr 1\n", 10)) << values() << wardenLog();
  EXPECT_TRUE(awaitValues("g 1\nr 0\n", 10)) << values() << wardenLog();
  expectCleanStop();
}

TEST_F(ServeDatabaseTest, DriveFollowsThePinTableInAProcessOfItsOwn) {
  // The agent's side, written as its pin table writer would.
  publisher_->hashIs("GPIO_PIN|g", {{"value", "1"}}, true);
  publisher_->hashIs("GPIO_PIN|r", {{"value", "0"}}, true);
  startWardenWith({"drive", "--db", server_.url(), "--pins", (dir_ / "pins.toml").string()});
  ASSERT_TRUE(awaitMessage("READY=1", 20)) << wardenLog();
  // Claimed with the table's values, so that the start shows no dark blip.
  EXPECT_EQ(values(), "g 1\nr 0\n");

  publisher_->pipelined({{"MULTI"},
                         {"HSET", "GPIO_PIN|g", "value", "0"},
                         {"HSET", "GPIO_PIN|r", "value", "1"},
                         {"EXEC"}});
  EXPECT_TRUE(awaitValues("g 0\nr 1\n", 10)) << values() << wardenLog();

  // Lost and back: what changed meanwhile arrives with the whole read.
  server_.stop(SIGKILL);
  ASSERT_TRUE(awaitLog("statedb: lost ", 10)) << wardenLog();
  server_.start();
  std::string error;
  publisher_ = Statedb::Redis::TablePublisher::publisherIs(
      *Statedb::Redis::endpointOf(server_.url(), error), error);
  ASSERT_TRUE(publisher_) << error;
  publisher_->hashIs("GPIO_PIN|g", {{"value", "1"}}, true);
  publisher_->hashIs("GPIO_PIN|r", {{"value", "1"}}, true);
  EXPECT_TRUE(awaitValues("g 1\nr 1\n", 20)) << values() << wardenLog();

  expectCleanStop();
}

}  // namespace
}  // namespace Host
