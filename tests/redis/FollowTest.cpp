// The agent following the input tables of a real server, written by another connection, and
// mirroring its pins into the pin table: after every step the two agree.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>

#include "platform/model/CorvelPinConfig.h"
#include "platform/redis/PinTableFollower.h"
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
};

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

// Changed in place (HSET, HDEL) and replaced whole (DEL and HSET in one transaction), a mapping
// holds exactly the pins of its last hash.
TEST_F(FollowTest, AShrunkMappingHoldsOnlyItsRemainingPins) {
  agent.publishLed("eth1", setting("g"));
  for (bool const replaced : {false, true}) {
    agent.publishMapping("eth1", {.green = {"g1", "g2"}, .red = {"r1"}});
    ASSERT_TRUE(agent.settle());
    agent.publisher().hashIs(keyOf(kMappingTable, "eth1"), {{"green", "g1"}, {"ready", "1"}},
                             replaced);
    expectTableMatchesAgent();
    auto const mapping = agent.harness.mappingDir()->gpioLeds("eth1");
    ASSERT_TRUE(mapping);
    EXPECT_EQ(mapping->gpioGreenName().size(), 1u) << replaced;
    EXPECT_TRUE(mapping->gpioGreenName().contains("g1")) << replaced;
    EXPECT_EQ(mapping->gpioRedName().size(), replaced ? 0u : 1u) << replaced;
    // A field deleted is a colour without pins.
    agent.publisher().command({"HDEL", keyOf(kMappingTable, "eth1"), "red"});
    expectTableMatchesAgent();
    EXPECT_EQ(mapping->gpioRedName().size(), 0u) << replaced;
    EXPECT_EQ(agent.harness.mappingDir()->gpioLeds("eth1"), mapping) << replaced;
  }
}

// The server holds the agent's read while a writer changes the key again: the notification of
// the change comes before the answer to the read, which is then stale. The agent reads again
// and ends at the last value.
TEST_F(FollowTest, AKeyChangedWhileItsReadIsInFlightEndsAtItsLastValue) {
  agent.publishMapping("eth1", {.yellow = {"y1"}, .green = {"g1"}, .red = {"r1"}});
  agent.publishLed("eth1", setting("g"));
  ASSERT_TRUE(agent.settle());
  std::string const key = keyOf(kLedTable, "eth1");
  std::string error;
  auto writer = TablePublisher::publisherIs(*endpointOf(server.url(), error), error);
  ASSERT_TRUE(writer) << error;
  char const* const colours[] = {"y", "r", "g"};
  for (int round = 0; round < 6; ++round) {
    auto const reads = agent.backend->mirror().readCount();
    agent.publishLed("eth1", setting(colours[round % 3]));
    // Asked, not yet sent: from here the server holds every connection's commands for a while,
    // then runs them in the order they came.
    for (int turn = 0; turn < 3000 && agent.backend->mirror().readCount() == reads; ++turn) {
      agent.loop().pollIo(0.002);
      agent.harness.runPending();
    }
    ASSERT_GT(agent.backend->mirror().readCount(), reads);
    agent.publisher().command({"CLIENT", "PAUSE", "150", "ALL"});
    agent.loop().pollIo(0.001);  // the read goes out and waits in the server
    writer->hashIs(key, hashOf(setting(colours[(round + 1) % 3])), false);
    expectTableMatchesAgent();
    EXPECT_EQ(agent.harness.ledDir()->leds("eth1")->lightSetting(),
              setting(colours[(round + 1) % 3]))
        << round;
  }
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

// A walk may name a key twice (the server's table grows under it), and a key may be touched
// while the walk runs: the whole read still asks each key once, and removes only what neither
// names.
TEST_F(FollowTest, AWholeReadAsksEachKeyOnceHoweverOftenItIsNamed) {
  for (char const* led : {"a", "b", "gone"}) agent.publishLed(led, setting("g"));
  ASSERT_TRUE(agent.settle());
  auto& mirror = agent.backend->mirror();
  auto const reads = mirror.readCount();
  mirror.resync();
  std::string const a = keyOf(kLedTable, "a"), b = keyOf(kLedTable, "b");
  mirror.keyTouched(a, "hset");
  for (auto const& key : {a, b, a, b}) mirror.keyFound(key);
  mirror.scanEnded();
  ASSERT_TRUE(agent.settle());
  EXPECT_EQ(mirror.readCount() - reads, 2u);
  EXPECT_TRUE(agent.harness.ledDir()->leds("a"));
  EXPECT_TRUE(agent.harness.ledDir()->leds("b"));
  EXPECT_FALSE(agent.harness.ledDir()->leds("gone"));
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
  agent.log.clear();

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
  EXPECT_FALSE(agent.harness.ledDir()->leds("b"));
  EXPECT_TRUE(agent.harness.mappingDir()->gpioLeds("b"));
  EXPECT_EQ(agent.harness.ledDir()->leds("keep"), kept);
  EXPECT_EQ(agent.harness.machine("keep"), keptMachine);
  // a's two pins and c's one.
  EXPECT_EQ(agent.backend->pinWriter().writeCount() - writesBefore, 3u);
  // The loss and the recovery, each said once.
  EXPECT_EQ(agent.logged(Severity::warning), 1u);
  EXPECT_EQ(agent.logged(Severity::notice), 1u);
  EXPECT_EQ(agent.log.size(), 2u);
  // The first read and the one after the reconnect, each counted once it was applied.
  auto const& counters = agent.backend->mirror().counters();
  EXPECT_EQ(counters.resyncs, 2u);
  EXPECT_GE(counters.resyncSeconds, counters.lastResyncSeconds);
}

TEST_F(FollowTest, ServerKilledAndRestartedEmptyThenRepublished) {
  agent.publishMapping("eth1", {.green = {"g1"}});
  agent.publishLed("eth1", setting("g", 0.5));
  ASSERT_TRUE(agent.settle());
  agent.log.clear();

  server.stop(SIGKILL);
  ASSERT_TRUE(agent.pumpUntil([&] { return !agent.backend->isUp(); }));
  // The agent goes on flashing from what it knew, and retries without a line per attempt.
  std::string seen;
  for (int i = 0; i < 20; ++i) {
    agent.advance(0.5);
    seen += std::to_string(agent.harness.pinValue("g1"));
  }
  EXPECT_NE(seen.find("01"), std::string::npos) << seen;
  EXPECT_EQ(agent.log.size(), 1u);
  EXPECT_EQ(agent.logged(Severity::warning), 1u);

  server.start();
  agent.advance(5.0);
  ASSERT_TRUE(agent.pumpUntil([&] { return agent.backend->isUp(); }));
  expectTableMatchesAgent();
  EXPECT_FALSE(agent.harness.hasPin("g1"));  // the empty tables are the truth now

  agent.publishMapping("eth1", {.green = {"g1"}});
  agent.publishLed("eth1", setting("g"));
  expectTableMatchesAgent();
  EXPECT_EQ(agent.harness.pinValue("g1"), 1);
  // The recovery, and the notifications the empty server lacked, set again.
  EXPECT_EQ(agent.logged(Severity::notice), 2u);
  EXPECT_EQ(agent.log.size(), 3u);
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
      {"LED_CONFIG|eth1", "flashInterval", "abc"},
      {"LED_CONFIG|eth1", "flashInterval", "-1"},
      {"LED_CONFIG|eth1", "flashInterval", "inf"},
      {"LED_CONFIG|eth1", "flashInterval", "nan"},
      {"LED_CONFIG|eth1", "red", "2"},
      {"GPIO_LED|eth1", "ready", "yes"},
      {"GPIO_LED|eth1", "red", "r1,,r2"},
  };
  for (Bad const& b : bad) {
    agent.log.clear();
    agent.publisher().hashIs(b.key, {{b.field, b.value}}, false);
    ASSERT_TRUE(agent.settle());
    std::string const expected = std::string(b.key) + " " + b.field + "=" + b.value;
    EXPECT_EQ(agent.log.size(), 1u) << expected;
    EXPECT_EQ(agent.logged(Severity::warning, b.key), 1u) << expected;
    EXPECT_EQ(agent.harness.ledDir()->leds("eth1")->lightSetting(), setting("g")) << expected;
    EXPECT_EQ(agent.harness.mappingDir()->gpioLeds("eth1")->gpioRedName().size(), 1u) << expected;
    // Put the good hash back; a deletion and a creation read in one go would be a replacement.
    agent.publisher().keyDel(b.key);
    ASSERT_TRUE(agent.settle());
    if (std::string(b.key).starts_with("LED")) agent.publishLed("eth1", setting("g"));
    if (std::string(b.key).starts_with("GPIO")) {
      agent.publishMapping("eth1", {.green = {"g1"}, .red = {"r1"}});
    }
    ASSERT_TRUE(agent.settle());
  }
  agent.log.clear();
  agent.publisher().hashIs("LED_CONFIG|eth1|x", hashOf(setting("r")), false);
  agent.publisher().hashIs("LED_CONFIG|a/b", hashOf(setting("r")), false);
  ASSERT_TRUE(agent.settle());
  EXPECT_EQ(agent.logged(Severity::warning, "LED_CONFIG|eth1|x"), 1u);
  EXPECT_EQ(agent.logged(Severity::warning, "LED_CONFIG|a/b"), 1u);
  // A monitoring system counts what the log says: one refused row per line.
  EXPECT_EQ(agent.backend->mirror().counters().refusedRows, std::size(bad) + 2);

  // Last good values held throughout; the agent still follows good writes.
  agent.publishLed("eth1", setting("r"));
  expectTableMatchesAgent();
  EXPECT_EQ(agent.harness.pinValues({"g1", "r1"}), "01");
}

// A process that drives pins follows the table the agent writes; a value that is not 0 or 1 is
// refused about its key and creates no pin.
TEST(PinTableFollowerTest, FollowsTheAgentsPinsAndRefusesABadValueAboutItsKey) {
  RedisServer server;
  RedisAgent agent(server);
  agent.publishMapping("eth1", {.green = {"g1"}, .red = {"r1"}});
  agent.publishLed("eth1", setting("g"));
  ASSERT_TRUE(agent.settle());
  std::string error;
  auto const pins = Zel::Dir::dirIs("pins");
  std::vector<LogRecord> log;
  PinTableFollower follower(agent.loop(), *endpointOf(server.url(), error), {}, *pins,
                            [&log](LogRecord const& record) { log.push_back(record); });
  follower.start();
  auto synced = [&] {
    bool done = false;
    follower.whenSynced([&done] { done = true; });
    return agent.pumpUntil([&done] { return done; });
  };
  auto value = [&pins](char const* pin) {
    auto const config = Zel::ptrCast<Hardware::Gpio::CorvelPinConfig>(pins->entityRef(pin));
    return config ? static_cast<int>(config->value()) : -1;
  };
  ASSERT_TRUE(synced());
  EXPECT_EQ(value("g1"), 1);
  EXPECT_EQ(value("r1"), 0);

  agent.publishLed("eth1", setting("r"));
  ASSERT_TRUE(agent.settle());
  agent.publisher().hashIs(keyOf(kPinTable, "bad"), {{"value", "2"}}, false);
  ASSERT_TRUE(synced());
  EXPECT_EQ(value("g1"), 0);
  EXPECT_EQ(value("r1"), 1);
  EXPECT_EQ(value("bad"), -1);
  ASSERT_EQ(log.size(), 2u);  // the connection, and the refusal
  EXPECT_EQ(log[1].severity, Severity::warning);
  EXPECT_EQ(log[1].subject, "GPIO_PIN|bad");

  // A row deleted while the follower is away is gone once it has read the table again.
  agent.publisher().hashIs(keyOf(kPinTable, "extra"), {{"value", "1"}}, false);
  ASSERT_TRUE(synced());
  EXPECT_EQ(value("extra"), 1);
  agent.publisher().command({"CLIENT", "KILL", "TYPE", "pubsub"});
  agent.publisher().keyDel(keyOf(kPinTable, "extra"));
  ASSERT_TRUE(agent.pumpUntil([&] { return !follower.isUp(); }));
  agent.advance(1.0);  // the back-off
  ASSERT_TRUE(agent.pumpUntil([&] { return follower.isUp(); }));
  ASSERT_TRUE(synced());
  EXPECT_EQ(value("extra"), -1);
  EXPECT_EQ(value("r1"), 1);
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
