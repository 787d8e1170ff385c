// What a (re)start costs the pin table, read back from the server's own record of every command
// (MONITOR): a restarted agent touches no pin before it has applied the whole read of its
// inputs and then writes only what differs; a reconnect waits only the back-off its own outage
// earned; a server restarted with its data, loading it, changes no LED.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <optional>

#include "tests/redis/RedisAgent.h"
#include "tests/redis/ServerMonitor.h"

namespace PinlampTest {
namespace {

using namespace Statedb::Redis;

std::size_t indexOf(std::vector<std::string> const& commands, std::string const& command) {
  return static_cast<std::size_t>(std::find(commands.begin(), commands.end(), command) -
                                  commands.begin());
}

TEST(RestartTest, RestartedAgentTouchesNoPinBeforeItsFirstReadThenOnlyWhatDiffers) {
  RedisServer server;
  std::optional<RedisAgent> agent;
  agent.emplace(server);
  agent->publishMapping("eth1", {.green = {"g1"}, .red = {"r1"}});
  agent->publishLed("eth1", setting("g"));
  ASSERT_TRUE(agent->settle());
  // Left by an earlier run: a pin that no mapping names any more.
  agent->publisher().hashIs(keyOf(kPinTable, "gone"), {{"value", "1"}}, false);
  agent.reset();  // as a crash ends it: nothing is written on the way out

  ServerMonitor monitor(server.socketPath());
  agent.emplace(server, "", RedisAgent::patient(), false);
  ASSERT_TRUE(agent->settle());
  std::vector<std::string> const commands = monitor.commands();
  // The lit pin is neither deleted nor written dark, nor written again unchanged.
  EXPECT_EQ(ServerMonitor::writesOf(commands, "GPIO_PIN|g1"), std::vector<std::string>{});
  EXPECT_EQ(ServerMonitor::writesOf(commands, "GPIO_PIN|r1"), std::vector<std::string>{});
  EXPECT_EQ(ServerMonitor::writesOf(commands, "GPIO_PIN|gone"),
            std::vector<std::string>{"DEL GPIO_PIN|gone"});
  EXPECT_GT(indexOf(commands, "DEL GPIO_PIN|gone"), indexOf(commands, "HGETALL GPIO_LED|eth1"));
  EXPECT_EQ(agent->backend->pinWriter().writeCount(), 1u);
  EXPECT_EQ(agent->tablePins(), (std::map<std::string, std::string>{{"g1", "1"}, {"r1", "0"}}));
  EXPECT_EQ(agent->tablePins(), agent->agentPins());

  // Green to green and red: the agent writes green dark and lit again within the turn, and the
  // table gets only the red pin.
  agent->publishLed("eth1", setting("gr"));
  ASSERT_TRUE(agent->settle());
  std::vector<std::string> const change = monitor.commands();
  EXPECT_EQ(ServerMonitor::writesOf(change, "GPIO_PIN|g1"), std::vector<std::string>{});
  EXPECT_EQ(ServerMonitor::writesOf(change, "GPIO_PIN|r1"),
            std::vector<std::string>{"HSET GPIO_PIN|r1 value 1"});
  EXPECT_EQ(agent->backend->pinWriter().writeCount(), 2u);
}

TEST(RestartTest, AfterALongOutageAShortOneWaitsOnlyTheShortBackoff) {
  RedisServer server;
  RedisAgent agent(server, {}, {.timeout = 600.0, .backoffMin = 0.1, .backoffMax = 5.0});
  server.stop(SIGKILL);
  ASSERT_TRUE(agent.pumpUntil([&] { return !agent.backend->isUp(); }));
  agent.advance(12.0);  // retries at 0.1, 0.2, ... up to the 5 s cap
  server.start();
  agent.advance(5.5);
  ASSERT_TRUE(agent.pumpUntil([&] { return agent.backend->isUp(); }));

  agent.publisher().command({"CLIENT", "KILL", "TYPE", "pubsub"});
  ASSERT_TRUE(agent.pumpUntil([&] { return !agent.backend->isUp(); }));
  agent.advance(0.15);
  EXPECT_TRUE(agent.pumpUntil([&] { return agent.backend->isUp(); }))
      << "the back-off of the long outage was kept";
}

// The server restarted with its data loads it for a second or more, answering LOADING
// meanwhile: no read of that time may count as an empty table.
TEST(LoadingServerTest, RestartWithDataUnderARunningAgentChangesNoLed) {
  RedisServer server({"--appendonly", "yes", "--appendfsync", "always", "--key-load-delay", "2000",
                      "--loading-process-events-interval-bytes", "1024"});
  RedisAgent agent(server);
  constexpr int kLeds = 100;
  std::vector<std::vector<std::string>> writes;
  for (int i = 0; i < kLeds; ++i) {
    std::string const led = "L" + std::to_string(i);
    agent.publishMapping(led, {.green = {led + "g"}, .red = {led + "r"}});
    agent.publishLed(led, setting(i % 2 ? "g" : "r"));
  }
  // Unrelated keys the server loads too: about 600 keys at 2 ms each.
  for (int i = 0; i < 400; ++i) writes.push_back({"SET", "filler" + std::to_string(i), "x"});
  agent.publisher().pipelined(writes);
  // A mapping that never became ready: removing it by mistake would stop the agent.
  agent.publishMapping("pending", {.green = {"pg"}}, false);
  ASSERT_TRUE(agent.settle());
  // Loaded from the log's base, which the server reads a part at a time, answering between
  // parts; the commands appended after it are read without a pause.
  agent.publisher().command({"BGREWRITEAOF"});
  ASSERT_TRUE(agent.pumpUntil([&] {
    std::string const info = agent.publisher().command({"INFO", "persistence"});
    return info.find("aof_rewrite_in_progress:0") != std::string::npos &&
           info.find("aof_rewrite_scheduled:0") != std::string::npos &&
           info.find("aof_last_bgrewrite_status:ok") != std::string::npos;
  }));
  auto const pins = agent.agentPins();
  ASSERT_EQ(pins.size(), 2u * kLeds);
  auto const* const machine = agent.harness.machine("L7");

  server.stop(SIGKILL);
  server.start();
  using Clock = std::chrono::steady_clock;
  auto const deadline = Clock::now() + std::chrono::seconds(30);
  bool settled = false;
  while (!settled && Clock::now() < deadline) {
    agent.advance(0.05);
    ASSERT_EQ(agent.agentPins(), pins) << "an LED changed while the server loaded";
    settled = agent.backend->isUp() && agent.settle();
  }
  ASSERT_TRUE(settled);
  auto const waits = std::count_if(agent.log.begin(), agent.log.end(), [](std::string const& l) {
    return l.find("does not serve yet (LOADING") != std::string::npos;
  });
  std::string lines;
  for (auto const& line : agent.log) lines += line + "\n";
  EXPECT_EQ(waits, 1) << "the load was not seen, or said more than once:\n" << lines;
  EXPECT_EQ(agent.agentPins(), pins);
  EXPECT_EQ(agent.tablePins(), pins);
  EXPECT_EQ(agent.harness.machine("L7"), machine);
  agent.publishMapping("pending", {.green = {"pg"}});  // an agent refuses to end otherwise
  ASSERT_TRUE(agent.settle());
}

}  // namespace
}  // namespace PinlampTest
