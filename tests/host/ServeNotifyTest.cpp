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

namespace Host {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr char kWatchdogMicroseconds[] = "200000";  // pings every 0.1 s
constexpr double kPingInterval = 0.1;
constexpr char kStallSeconds[] = "1";

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
    std::string const log = (dir_ / "stderr").string();
    child_ = ::fork();
    ASSERT_GE(child_, 0);
    if (child_ == 0) {
      ::setenv("NOTIFY_SOCKET", (dir_ / "notify").c_str(), 1);
      ::setenv("WATCHDOG_USEC", kWatchdogMicroseconds, 1);
      ::unsetenv("WATCHDOG_PID");
      ::setenv("WARDEN_TEST_STALL_SECONDS", kStallSeconds, 1);
      std::FILE* err = std::freopen(log.c_str(), "w", stderr);
      if (!err) ::_exit(127);
      // As journald does: standard error is the stream that JOURNAL_STREAM names.
      struct stat status {};
      if (::fstat(STDERR_FILENO, &status) != 0) ::_exit(127);
      ::setenv("JOURNAL_STREAM",
               (std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino)).c_str(), 1);
      if (config.empty()) {
        ::execl(WARDEN_PROGRAM, WARDEN_PROGRAM, "serve", "--agent", AGENT_PLUGIN, "--trace",
                "Pinlamp/3", static_cast<char*>(nullptr));
      } else {
        ::execl(WARDEN_PROGRAM, WARDEN_PROGRAM, "serve", "--agent", AGENT_PLUGIN, "--config",
                config.c_str(), static_cast<char*>(nullptr));
      }
      ::_exit(127);
    }
  }

  std::string wardenLog() const {
    std::ifstream in(dir_ / "stderr");
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
  }

  // The next notification, or nothing once `seconds` have passed.
  std::optional<Message> next(double seconds) {
    auto const deadline =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(Seconds(seconds));
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
    auto const deadline =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(Seconds(seconds));
    while (Clock::now() < deadline) {
      std::optional<Message> message = next(Seconds(deadline - Clock::now()).count());
      if (!message) break;
      if (message->text.starts_with(prefix)) return message;
      if (passed) passed->push_back(*message);
    }
    return std::nullopt;
  }

  // Every notification during the next `seconds`.
  std::vector<Message> collect(double seconds) {
    std::vector<Message> messages;
    auto const end = Clock::now() + std::chrono::duration_cast<Clock::duration>(Seconds(seconds));
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

  // Waits until warden's log holds `text`.
  bool awaitLog(std::string const& text, double seconds) {
    auto const deadline =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(Seconds(seconds));
    while (Clock::now() < deadline) {
      if (wardenLog().find(text) != std::string::npos) return true;
      next(0.05);  // paces the wait on the socket rather than on a sleep
    }
    return false;
  }

  // Exit status of the child, or -1 if it has not exited within `seconds`.
  int awaitExit(double seconds) {
    auto const deadline =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(Seconds(seconds));
    while (Clock::now() < deadline) {
      int status = 0;
      if (::waitpid(child_, &status, WNOHANG) == child_) {
        child_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
      }
      next(0.05);  // paces the wait on the socket rather than on a sleep
    }
    return -1;
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

  ASSERT_EQ(::kill(child_, SIGTERM), 0);
  ASSERT_TRUE(awaitMessage("STOPPING=1", 10)) << wardenLog();
  EXPECT_EQ(awaitExit(10), 0) << wardenLog();
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
  // The loop blocks for 1 s: no ping for most of it, then the pings resume.
  times.insert(times.begin(), stalled);
  double longestGap = 0;
  for (std::size_t i = 1; i < times.size(); ++i) {
    longestGap = std::max(longestGap, Seconds(times[i] - times[i - 1]).count());
  }
  EXPECT_GE(longestGap, 0.8) << wardenLog();
  ASSERT_FALSE(times.empty());
  EXPECT_GE(Seconds(times.back() - stalled).count(), 1.0) << "the pings did not resume";
  EXPECT_LT(kPingInterval, longestGap);
}

TEST_F(ServeNotifyTest, HangUpReloadsTheTraceLevelsAndKeepsTheRest) {
  std::string const config = (dir_ / "pinlamp.toml").string();
  std::ofstream(config) << "name = \"lamp\"\ntrace = [\"Pinlamp/3\"]\n";
  startWarden(config);
  ASSERT_TRUE(awaitMessage("READY=1", 20)) << wardenLog();

  std::ofstream(config) << "name = \"lamp\"\ntrace = [\"Pinlamp/6-9\"]\n";
  ASSERT_EQ(::kill(child_, SIGHUP), 0);
  ASSERT_TRUE(awaitLog("trace levels reloaded from " + config, 10)) << wardenLog();
  EXPECT_EQ(wardenLog().find("next restart"), std::string::npos) << wardenLog();

  std::ofstream(config) << "name = \"other\"\ntrace = [\"Pinlamp/3\"]\n";
  ASSERT_EQ(::kill(child_, SIGHUP), 0);
  EXPECT_TRUE(awaitLog(
      "options other than trace changed in " + config + "; they take effect at the next restart",
      10))
      << wardenLog();

  std::ofstream(config) << "name = \"lamp\"\ncell = \"two\"\n";
  ASSERT_EQ(::kill(child_, SIGHUP), 0);
  EXPECT_TRUE(awaitLog(
      config + ":2: --cell needs a whole number, not 'two'; the running " + "configuration stays",
      10))
      << wardenLog();

  ASSERT_EQ(::kill(child_, SIGTERM), 0);
  EXPECT_EQ(awaitExit(10), 0) << wardenLog();
}

}  // namespace
}  // namespace Host
