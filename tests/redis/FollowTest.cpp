// The agent following the input tables of a real server, written by another connection, and
// mirroring its pins into the pin table: after every step the two agree.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>

#include "tests/redis/RedisAgent.h"

namespace PinlampTest {
namespace {

using namespace Statedb::Redis;

class FollowTest : public ::testing::Test {
 protected:
  RedisServer server;
  RedisAgent agent{server};

  void expectTableMatchesAgent() {
    ASSERT_TRUE(agent.settle());
    EXPECT_EQ(agent.tablePins(), agent.agentPins());
  }
  std::size_t logLinesWith(std::string const& text) {
    return std::count_if(agent.log.begin(), agent.log.end(), [&](std::string const& line) {
      return line.find(text) != std::string::npos;
    });
  }
};

TEST_F(FollowTest, CreationsChangesAndRemovals) {
  agent.publishMapping("eth1", {.yellow = {"y1"}, .green = {"g1"}});
  agent.publishLed("eth1", setting("g"));
  expectTableMatchesAgent();
  EXPECT_EQ(agent.harness.pinValues({"y1", "g1"}), "01");

  agent.publishLed("eth1", setting("y"));
  expectTableMatchesAgent();
  EXPECT_EQ(agent.harness.pinValues({"y1", "g1"}), "10");

  agent.publisher().keyDel(keyOf(kMappingTable, "eth1"));
  expectTableMatchesAgent();
  EXPECT_EQ(agent.harness.pinValues({"y1", "g1"}), "--");
  EXPECT_TRUE(agent.tablePins().empty());
}

TEST_F(FollowTest, MappingPinsAndReadyInOneHashAreBuiltFromTheNewPins) {
  agent.publishLed("eth1", setting("g"));
  agent.publishMapping("eth1", {.green = {"old"}}, false);
  ASSERT_TRUE(agent.settle());
  EXPECT_FALSE(agent.harness.hasPin("old"));

  agent.publisher().hashIs(keyOf(kMappingTable, "eth1"), {{"green", "new"}, {"ready", "1"}}, false);
  expectTableMatchesAgent();
  EXPECT_FALSE(agent.harness.hasPin("old"));
  EXPECT_EQ(agent.harness.pinValue("new"), 1);
}

TEST_F(FollowTest, BurstToOneLedEndsInItsLastSettingWithFewReads) {
  agent.publishMapping("eth1", {.yellow = {"y1"}, .green = {"g1"}, .red = {"r1"}});
  agent.publishLed("eth1", setting(""));
  ASSERT_TRUE(agent.settle());
  auto const readsBefore = agent.backend->mirror().readCount();
  char const* const colours[] = {"y", "g", "r"};
  for (int i = 0; i < 10000; ++i) {
    agent.publisher().hashIs(keyOf(kLedTable, "eth1"), hashOf(setting(colours[i % 3])), false);
  }
  expectTableMatchesAgent();
  EXPECT_EQ(agent.harness.pinValues({"y1", "g1", "r1"}), "100");  // 9999 % 3 == 0
  EXPECT_LT(agent.backend->mirror().readCount() - readsBefore, 1000u);
}

TEST_F(FollowTest, SubscriberKilledThenExactlyTheChangesMeanwhileAreApplied) {
  for (char const* led : {"a", "b", "keep"}) {
    agent.publishMapping(led, {.green = {std::string(led) + "g"}, .red = {std::string(led) + "r"}});
    agent.publishLed(led, setting("g"));
  }
  ASSERT_TRUE(agent.settle());
  auto const kept = agent.harness.ledDir()->leds("keep");
  auto const keptMachine = agent.harness.machine("keep");
  auto const writesBefore = agent.backend->pinWriter().writeCount();

  agent.publisher().command({"CLIENT", "KILL", "TYPE", "pubsub"});
  agent.publishLed("a", setting("r"));
  agent.publisher().keyDel(keyOf(kLedTable, "b"));
  agent.publishMapping("c", {.green = {"cg"}});
  agent.publishLed("c", setting("g"));
  ASSERT_TRUE(agent.pumpUntil([&] { return !agent.backend->isUp(); }));
  agent.advance(1.0);  // the back-off
  expectTableMatchesAgent();

  // b's pins keep their last values: the agent does not darken an LED whose setting goes.
  EXPECT_EQ(agent.harness.pinValues({"ag", "ar", "bg", "br", "cg"}), "01101");
  EXPECT_EQ(agent.harness.ledDir()->leds("keep"), kept);
  EXPECT_EQ(agent.harness.machine("keep"), keptMachine);
  // a's two pins and c's one.
  EXPECT_EQ(agent.backend->pinWriter().writeCount() - writesBefore, 3u);
  EXPECT_EQ(logLinesWith("lost"), 1u);
  EXPECT_EQ(logLinesWith("reconnected"), 1u);
}

TEST_F(FollowTest, ServerKilledAndRestartedEmptyThenRepublished) {
  agent.publishMapping("eth1", {.green = {"g1"}});
  agent.publishLed("eth1", setting("g", 0.5));
  ASSERT_TRUE(agent.settle());

  server.stop(SIGKILL);
  ASSERT_TRUE(agent.pumpUntil([&] { return !agent.backend->isUp(); }));
  // The agent goes on flashing from what it knew, and retries without a line per attempt.
  std::string seen;
  for (int i = 0; i < 20; ++i) {
    agent.advance(0.5);
    seen += std::to_string(agent.harness.pinValue("g1"));
  }
  EXPECT_NE(seen.find("01"), std::string::npos) << seen;
  EXPECT_EQ(logLinesWith("lost"), 1u);
  EXPECT_EQ(logLinesWith("cannot reach"), 0u);

  server.start();
  agent.advance(5.0);
  ASSERT_TRUE(agent.pumpUntil([&] { return agent.backend->isUp(); }));
  expectTableMatchesAgent();
  EXPECT_FALSE(agent.harness.hasPin("g1"));  // the empty tables are the truth now

  agent.publishMapping("eth1", {.green = {"g1"}});
  agent.publishLed("eth1", setting("g"));
  expectTableMatchesAgent();
  EXPECT_EQ(agent.harness.pinValue("g1"), 1);
  EXPECT_EQ(logLinesWith("reconnected"), 1u);
}

TEST_F(FollowTest, MalformedFieldsAndNamesAreRefusedAndTheAgentGoesOn) {
  agent.publishMapping("eth1", {.green = {"g1"}, .red = {"r1"}});
  agent.publishLed("eth1", setting("g"));
  ASSERT_TRUE(agent.settle());

  struct Bad {
    char const* key;
    char const* field;
    char const* value;
  };
  Bad const bad[] = {
      {"LED_CONFIG|eth1", "flashInterval", "abc"}, {"LED_CONFIG|eth1", "flashInterval", "-1"},
      {"LED_CONFIG|eth1", "flashInterval", "inf"}, {"LED_CONFIG|eth1", "red", "2"},
      {"GPIO_LED|eth1", "ready", "yes"},           {"GPIO_LED|eth1", "red", "r1,,r2"},
  };
  for (Bad const& b : bad) {
    agent.log.clear();
    agent.publisher().hashIs(b.key, {{b.field, b.value}}, false);
    ASSERT_TRUE(agent.settle());
    std::string const expected =
        std::string(b.key) + " field " + b.field + " = \"" + b.value + "\"";
    EXPECT_EQ(logLinesWith(expected), 1u) << expected;
    // Put the good hash back; a deletion and a creation read in one go would be a replacement.
    agent.publisher().keyDel(b.key);
    ASSERT_TRUE(agent.settle());
    if (std::string(b.key).starts_with("LED")) agent.publishLed("eth1", setting("g"));
    if (std::string(b.key).starts_with("GPIO")) {
      agent.publishMapping("eth1", {.green = {"g1"}, .red = {"r1"}});
    }
  }
  agent.log.clear();
  agent.publisher().hashIs("LED_CONFIG|eth1|x", hashOf(setting("r")), false);
  agent.publisher().hashIs("LED_CONFIG|a/b", hashOf(setting("r")), false);
  ASSERT_TRUE(agent.settle());
  EXPECT_EQ(logLinesWith("refused LED_CONFIG|eth1|x"), 1u);
  EXPECT_EQ(logLinesWith("refused LED_CONFIG|a/b"), 1u);

  // Last good values held throughout; the agent still follows good writes.
  agent.publishLed("eth1", setting("r"));
  expectTableMatchesAgent();
  EXPECT_EQ(agent.harness.pinValues({"g1", "r1"}), "01");
}

TEST(HungServerTest, IsNoticedByTheKeepaliveAndRecoveredFrom) {
  RedisServer server;
  RedisAgent agent(server, {}, {.keepalive = 1.0, .timeout = 2.0});
  ::kill(server.pid(), SIGSTOP);
  agent.advance(4.0);
  EXPECT_FALSE(agent.backend->isUp());
  ::kill(server.pid(), SIGCONT);
  agent.advance(6.0);
  EXPECT_TRUE(agent.pumpUntil([&] { return agent.backend->isUp(); }));
}

}  // namespace
}  // namespace PinlampTest
