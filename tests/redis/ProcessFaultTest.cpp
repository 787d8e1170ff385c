// The faults of a long run, played by real processes against the test's own server: `warden
// serve` (the agent) and `warden drive` (pins that follow the pin table) killed, stopped and
// restarted, the server restarted with its data (it then loads for a second or more) and paused
// while a writer publishes. In each, the pin table and both values files end as the published
// state implies, and a lit pin is never shown dark on the way: checked in every command the
// server ran (MONITOR) and every content the values files had.
#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>
#include <memory>
#include <sstream>

#include "platform/statedb/redis/TablePublisher.h"
#include "tests/redis/RedisServer.h"
#include "tests/redis/ServerMonitor.h"
#include "tests/redis/ValuesWatch.h"
#include "tests/redis/WardenProcess.h"

namespace PinlampTest {
namespace {

using namespace Statedb::Redis;

constexpr double kDeadline = 20.0;  // seconds: far beyond what any step takes
constexpr char kReady[] = "warden: ready";
constexpr char kSteady[] = "g 1\nr 0\n";

// A light setting of one lit colour of two, changed in place as its writer would.
Hash lit(std::string const& colour) {
  return {{"green", colour == "green" ? "1" : "0"}, {"red", colour == "red" ? "1" : "0"}};
}

class ProcessFaultTest : public testing::Test {
 protected:
  void SetUp() override {
    publisher_ = connect();
    // The agent's map and the driver's: two files of the two pins of Led1.
    for (char const* name : {"serve", "drive"}) {
      std::ofstream(dir_ + "/" + name + ".toml") << "values_file = \"" << name << ".values\"\n"
                                                 << "[[pin]]\nname = \"g\"\nbackend = \"file\"\n"
                                                 << "[[pin]]\nname = \"r\"\nbackend = \"file\"\n";
    }
    publisher_->hashIs("GPIO_LED|Led1", {{"green", "g"}, {"red", "r"}, {"ready", "1"}}, true);
    publisher_->hashIs("LED_CONFIG|Led1", {{"green", "1"}}, true);
  }

  std::unique_ptr<TablePublisher> connect() {
    std::string error;
    auto publisher = TablePublisher::publisherIs(*endpointOf(server_.url(), error), error);
    if (!publisher) throw std::runtime_error(error);
    return publisher;
  }

  void startServe(bool pins) {
    std::vector<std::string> args{"serve", "--agent", AGENT_PLUGIN, "--db", server_.url()};
    if (pins) args.insert(args.end(), {"--pins", dir_ + "/serve.toml"});
    serve_.start(args);
  }
  void startDrive() {
    drive_.start({"drive", "--db", server_.url(), "--pins", dir_ + "/drive.toml"});
  }

  std::string file(std::string const& name) const {
    std::ifstream in(dir_ + "/" + name);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
  }
  std::string pin(std::string const& name) {
    return publisher_->command({"HGET", "GPIO_PIN|" + name, "value"});
  }
  // Until the pin table and both values files show `values` ("g 1\nr 0\n").
  bool awaitShown(std::string const& values) {
    std::string const g = values.substr(2, 1);
    std::string const r = values.substr(6, 1);
    return waitFor(
        [&] {
          return pin("g") == g && pin("r") == r && file("serve.values") == values &&
                 file("drive.values") == values;
        },
        kDeadline);
  }
  std::string logs() const { return "serve:\n" + serve_.log() + "drive:\n" + drive_.log(); }

  RedisServer server_{{"--appendonly", "yes", "--key-load-delay", "2000",
                       "--loading-process-events-interval-bytes", "1024"}};
  std::string dir_ = server_.folder();
  std::unique_ptr<TablePublisher> publisher_;
  WardenProcess serve_{dir_ + "/serve.log"};
  WardenProcess drive_{dir_ + "/drive.log"};
};

TEST_F(ProcessFaultTest, AgentKilledOrStoppedAndRestartedWithAndWithoutPinsNeverShowsALitPinDark) {
  ServerMonitor monitor(server_.socketPath());
  ValuesWatch watch(dir_, {"serve.values", "drive.values"});
  startServe(true);
  ASSERT_TRUE(serve_.awaitLog(kReady, kDeadline)) << logs();
  startDrive();
  ASSERT_TRUE(drive_.awaitLog(kReady, kDeadline)) << logs();
  ASSERT_TRUE(awaitShown(kSteady)) << logs();

  struct Restart {
    int signal;
    bool pins;
  };
  std::size_t ready = 1;
  for (Restart const restart : {Restart{SIGKILL, true}, Restart{SIGTERM, false},
                                Restart{SIGKILL, false}, Restart{SIGTERM, true}}) {
    int const status = serve_.stop(restart.signal);
    EXPECT_EQ(status, restart.signal == SIGTERM ? 0 : 128 + SIGKILL) << logs();
    startServe(restart.pins);
    ASSERT_TRUE(serve_.awaitLog(kReady, kDeadline, ++ready)) << logs();
  }
  ASSERT_TRUE(awaitShown(kSteady)) << logs();

  // Only the first start wrote the pins; no restart deleted, darkened or rewrote them.
  std::vector<std::string> const commands = monitor.commands();
  EXPECT_EQ(ServerMonitor::writesOf(commands, "GPIO_PIN|g"),
            std::vector<std::string>{"HSET GPIO_PIN|g value 1"});
  EXPECT_EQ(ServerMonitor::writesOf(commands, "GPIO_PIN|r"),
            std::vector<std::string>{"HSET GPIO_PIN|r value 0"});
  EXPECT_EQ(watch.contentsWith("g 0"), std::vector<std::string>{});
  EXPECT_EQ(watch.history("serve.values"), std::vector<std::string>{kSteady});
}

TEST_F(ProcessFaultTest, ServerRestartedWithItsDataWhileAWriterPublishesChangesNoSteadyLed) {
  // Led2's pins are not in the maps: its writer keeps publishing through the restart.
  publisher_->hashIs("GPIO_LED|Led2", {{"green", "g2"}, {"red", "r2"}, {"ready", "1"}}, true);
  // A mapping that never became ready: removed by mistake, it would stop the agent.
  publisher_->hashIs("GPIO_LED|Pending", {{"green", "p"}}, true);
  std::vector<std::vector<std::string>> filler;
  for (int i = 0; i < 600; ++i) filler.push_back({"SET", "filler" + std::to_string(i), "x"});
  publisher_->pipelined(filler);
  // Loaded from the log's base, which the server reads a part at a time, answering between parts.
  publisher_->command({"BGREWRITEAOF"});
  ASSERT_TRUE(waitFor(
      [&] {
        std::string const info = publisher_->command({"INFO", "persistence"});
        return info.find("aof_rewrite_in_progress:0") != std::string::npos &&
               info.find("aof_rewrite_scheduled:0") != std::string::npos;
      },
      kDeadline));
  startServe(true);
  ASSERT_TRUE(serve_.awaitLog(kReady, kDeadline)) << logs();
  startDrive();
  ASSERT_TRUE(drive_.awaitLog(kReady, kDeadline)) << logs();
  ASSERT_TRUE(awaitShown(kSteady)) << logs();
  ValuesWatch watch(dir_, {"serve.values", "drive.values"});

  auto publishLed2 = [&](int step) {
    try {
      publisher_->hashIs("LED_CONFIG|Led2", lit(step % 2 ? "green" : "red"), false);
    } catch (std::exception const&) {
      publisher_ = connect();  // the server went away under the writer
    }
  };
  int step = 0;
  for (; step < 50; ++step) publishLed2(step);
  server_.stop(SIGTERM);  // a clean shutdown keeps every write in the log
  server_.start();
  publisher_ = connect();
  // The server answers LOADING to the writer too until it serves; the writer goes on.
  ASSERT_TRUE(waitFor(
      [&] {
        publishLed2(step++);
        return publisher_->command({"HGET", "LED_CONFIG|Led2", "green"}) != "" &&
               publisher_->command({"DBSIZE"}).find("LOADING") == std::string::npos;
      },
      kDeadline));
  for (int i = 0; i < 50; ++i) publishLed2(step++);
  publisher_->hashIs("LED_CONFIG|Led2", lit("red"), false);  // the last word

  EXPECT_TRUE(waitFor([&] { return pin("g2") == "0" && pin("r2") == "1"; }, kDeadline)) << logs();
  EXPECT_TRUE(awaitShown(kSteady)) << logs();
  EXPECT_EQ(watch.contentsWith("g 0"), std::vector<std::string>{});
  EXPECT_TRUE(serve_.isRunning() && ::kill(serve_.pid(), 0) == 0) << logs();
  // Loading is one condition, said once by each; never a line per key.
  EXPECT_EQ(serve_.logCount("does not serve yet (LOADING"), 1u) << logs();
  EXPECT_EQ(drive_.logCount("does not serve yet (LOADING"), 1u) << logs();
  EXPECT_EQ(serve_.logCount("cannot "), 0u) << logs();
  EXPECT_EQ(drive_.logCount("cannot "), 0u) << logs();
  EXPECT_EQ(serve_.stop(SIGTERM), 0) << logs();
}

TEST_F(ProcessFaultTest, PausedServerAndProcessesKilledMidStreamEndAsPublished) {
  startServe(true);
  ASSERT_TRUE(serve_.awaitLog(kReady, kDeadline)) << logs();
  startDrive();
  ASSERT_TRUE(drive_.awaitLog(kReady, kDeadline)) << logs();
  ASSERT_TRUE(awaitShown(kSteady)) << logs();

  // Led1 goes back and forth between green and red; each fault comes in the middle of it.
  int step = 0;
  auto burst = [&] {
    for (int i = 0; i < 40; ++i, ++step) {
      publisher_->hashIs("LED_CONFIG|Led1", lit(step % 2 ? "red" : "green"), false);
    }
  };
  burst();
  publisher_->command({"CLIENT", "PAUSE", "500", "WRITE"});
  burst();  // held until the pause ends
  burst();
  ASSERT_EQ(serve_.stop(SIGKILL), 128 + SIGKILL);
  burst();
  startServe(true);
  burst();
  ASSERT_EQ(drive_.stop(SIGKILL), 128 + SIGKILL);
  burst();
  startDrive();
  burst();
  publisher_->hashIs("LED_CONFIG|Led1", lit("red"), false);  // the last word
  ASSERT_TRUE(serve_.awaitLog(kReady, kDeadline, 2) && drive_.awaitLog(kReady, kDeadline, 2))
      << logs();
  EXPECT_TRUE(awaitShown("g 0\nr 1\n")) << logs();

  // The driver alone: a pin whose entry goes is shown dark.
  ASSERT_EQ(serve_.stop(SIGTERM), 0) << logs();
  publisher_->hashIs("GPIO_PIN|g", {{"value", "1"}}, true);
  ASSERT_TRUE(waitFor([&] { return file("drive.values") == "g 1\nr 1\n"; }, kDeadline)) << logs();
  publisher_->keyDel("GPIO_PIN|g");
  EXPECT_TRUE(waitFor([&] { return file("drive.values") == "g 0\nr 1\n"; }, kDeadline))
      << file("drive.values") << logs();
}

}  // namespace
}  // namespace PinlampTest
