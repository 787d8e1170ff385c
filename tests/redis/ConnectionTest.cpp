// The client connection's own machinery against a real server: replies decoded into reused
// blocks keep their shape, a command queued in a turn goes out when the turn ends (or sooner, when
// the turn queues much), and keys wait for their read once each.
#include <gtest/gtest.h>
#include <hiredis/hiredis.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/redis/Connection.h"
#include "platform/redis/DirtyKeys.h"
#include "platform/redis/ReplyArena.h"
#include "platform/redis/TableScan.h"
#include "platform/zel/ActivityManager.h"
#include "tests/redis/RedisAgent.h"

namespace PinlampTest {
namespace {

using namespace Statedb::Redis;

// One reply decoded from wire text by a reader that uses the arena.
struct Decoder {
  Decoder() : reader(redisReaderCreate()) { arena.attachTo(*reader); }
  ~Decoder() { redisReaderFree(reader); }
  redisReply* next(std::string const& wire) {
    redisReaderFeed(reader, wire.data(), wire.size());
    void* reply = nullptr;
    if (redisReaderGetReply(reader, &reply) != REDIS_OK) return nullptr;
    return static_cast<redisReply*>(reply);
  }
  void done(redisReply* reply) { reader->fn->freeObject(reply); }

  ReplyArena arena;
  redisReader* reader;
};

TEST(ReplyArenaTest, NestedRepliesKeepTheirShapeAndTheSpaceIsReused) {
  Decoder decoder;
  std::string const big(40000, 'x');  // larger than a block's share: placed on its own
  std::string const wire = "*4\r\n$3\r\nkey\r\n*2\r\n:42\r\n$-1\r\n*0\r\n$" +
                           std::to_string(big.size()) + "\r\n" + big + "\r\n";
  for (int round = 0; round < 3; ++round) {
    redisReply* reply = decoder.next(wire);
    ASSERT_NE(reply, nullptr);
    Reply const answer(*reply);
    ASSERT_EQ(answer.size(), 4u);
    EXPECT_EQ(answer[0].text(), "key");
    EXPECT_EQ(reply->element[0]->str[3], '\0');
    EXPECT_EQ(answer[1].printed(), "42 (nil)");
    EXPECT_TRUE(answer[2].isArray());
    EXPECT_EQ(answer[2].size(), 0u);
    EXPECT_EQ(answer[3].text(), big);
    decoder.done(reply);
  }
  // A reply of many parts spans blocks; handing it back keeps them for the next.
  std::string many = "*5000\r\n";
  for (int i = 0; i < 5000; ++i) many += "$6\r\nGPIO|" + std::to_string(i % 10) + "\r\n";
  for (int round = 0; round < 2; ++round) {
    redisReply* reply = decoder.next(many);
    ASSERT_NE(reply, nullptr);
    ASSERT_EQ(Reply(*reply).size(), 5000u);
    EXPECT_EQ(Reply(*reply)[4999].text(), "GPIO|9");
    decoder.done(reply);
  }
  std::size_t const blocks = decoder.arena.blockCount();
  EXPECT_GT(blocks, 1u);
  decoder.done(decoder.next(many));
  EXPECT_EQ(decoder.arena.blockCount(), blocks);
  // Space kept from a larger part comes back empty: a shorter text still ends where it ends.
  std::string const shorter(30000, 'y');
  redisReply* reply =
      decoder.next("$" + std::to_string(shorter.size()) + "\r\n" + shorter + "\r\n");
  ASSERT_NE(reply, nullptr);
  EXPECT_EQ(std::string(reply->str), shorter);
  decoder.done(reply);
}

// A connection to the test's own server, open and answered once, so that what a test then
// queues is measured on a connection already up.
class LiveConnectionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Endpoint endpoint;
    endpoint.kind = Endpoint::Kind::unixSocket;
    endpoint.path = server.socketPath();
    std::string error;
    ASSERT_TRUE(connection.open(endpoint, nullptr, false, error)) << error;
    connection.command({"PING"}, [this](Reply reply) { answers.emplace_back(reply.printed()); });
    for (int wait = 0; wait < 500 && answers.empty(); ++wait) loop.pollIo(0.01);
    ASSERT_EQ(answers.size(), 1u);
  }

  RedisServer server;
  Zel::ActivityManager loop{Zel::ActivityManager::TimeSource::monotonic};
  Connection connection{loop, [](std::string const&) {}};
  std::vector<std::string> answers;
};

TEST_F(LiveConnectionTest, CommandQueuedInATurnIsAnsweredWithinOneWaitOfTheLoop) {
  auto record = [this](Reply reply) { answers.emplace_back(reply.text()); };

  // Written as the turn ends, not once the loop has waited to learn that the socket takes
  // output: the one wait that follows is for the answer.
  connection.command({"ECHO", "pin"}, record);
  loop.runPending();
  loop.pollIo(5.0);
  ASSERT_EQ(answers.size(), 2u);
  EXPECT_EQ(answers[1], "pin");
}

// A resync queues megabytes of commands in one turn. They must reach the server while the turn
// still runs, and arrive whole and in order however the socket splits them.
TEST_F(LiveConnectionTest, ATurnQueuingMoreThanTheSocketTakesIsSentAsItGoesAndAnsweredInOrder) {
  auto record = [this](Reply reply) { answers.emplace_back(reply.printed()); };

  constexpr int kCount = 20000;  // about 3 MB of commands
  std::string const padding(120, 'x');
  for (int i = 0; i < kCount; ++i) {
    std::string const n = std::to_string(i);
    connection.command({"SET", "k" + n, n + padding}, nullptr);
    connection.command({"APPEND", "order", n + ","}, nullptr);
  }
  redisContext* other = redisConnectUnix(server.socketPath().c_str());
  ASSERT_TRUE(other && !other->err);
  bool arrived = false;
  for (int ask = 0; ask < 500 && !arrived; ++ask) {
    auto* reply = static_cast<redisReply*>(redisCommand(other, "EXISTS k0"));
    arrived = reply && reply->type == REDIS_REPLY_INTEGER && reply->integer == 1;
    freeReplyObject(reply);
  }
  redisFree(other);
  EXPECT_TRUE(arrived) << "nothing reached the server before the turn ended";

  connection.command({"GET", "k" + std::to_string(kCount - 1)}, record);
  connection.command({"GET", "order"}, record);
  for (int wait = 0; wait < 2000 && answers.size() < 3; ++wait) {
    loop.runPending();
    loop.pollIo(0.01);
  }
  ASSERT_EQ(answers.size(), 3u);
  EXPECT_EQ(answers[1], std::to_string(kCount - 1) + padding);
  std::string order;
  for (int i = 0; i < kCount; ++i) order += std::to_string(i) + ",";
  EXPECT_TRUE(answers[2] == order) << "the commands reached the server out of order";
}

// A key taken for its read must be markable again at once: a change that comes while the read is
// on its way is read again, never lost. Keys long enough to live outside the string itself are
// the ones a resync moves around.
TEST(DirtyKeysTest, TakesEachKeyOnceInOrderAndForgetsWhatItHandedOut) {
  DirtyKeys dirty;
  std::string const led = "LED_CONFIG|a-name-longer-than-a-short-string";
  EXPECT_TRUE(dirty.mark(led));
  EXPECT_TRUE(dirty.mark("GPIO_LED|x"));
  EXPECT_FALSE(dirty.mark(led));
  auto const taken = dirty.take();
  EXPECT_EQ(taken, (std::vector<std::string>{led, "GPIO_LED|x"}));
  EXPECT_TRUE(dirty.empty());
  EXPECT_FALSE(dirty.contains(led));
  EXPECT_TRUE(dirty.mark(led));
  EXPECT_TRUE(dirty.mark("GPIO_LED|x"));
  EXPECT_EQ(dirty.take().size(), 2u);
}

// Walks are restarted on the same connection; the answers owed to an earlier one must not be
// taken for the current one's, or a table would seem to end twice or hold its keys twice.
TEST(TableScanTest, AWalkStartedAgainOrStoppedHandsEachKeyOnceAndEndsOnce) {
  RedisServer server;
  RedisAgent agent(server);
  for (char const* led : {"a", "b", "c"}) agent.publishLed(led, setting("g"));
  ASSERT_TRUE(agent.settle());
  std::vector<std::string> keys;
  int ends = 0;
  TableScan scan(
      agent.backend->link(), {kLedTable},
      [&keys](std::size_t, std::string_view key) { keys.emplace_back(key); }, [&ends] { ++ends; });
  scan.start();
  scan.start();
  ASSERT_TRUE(agent.settle());
  EXPECT_EQ(ends, 1);
  EXPECT_EQ(keys.size(), 3u);
  EXPECT_FALSE(scan.isScanning());

  scan.start();
  scan.stop();
  ASSERT_TRUE(agent.settle());
  EXPECT_EQ(ends, 1);
  EXPECT_EQ(keys.size(), 3u);
}

// Tables read together share one walk, whose pattern lets through keys of neither: each key must
// reach the table it belongs to, and a look-alike none.
TEST(TableScanTest, AWalkOverSeveralTablesHandsEachKeyToItsOwnTableOnly) {
  RedisServer server;
  RedisAgent agent(server);
  agent.publishLed("a", setting("g"));
  agent.publishMapping("m", {.green = {"p1"}});
  for (char const* other : {"LEIO_LED|x", "GPIO_LEDS|y", "GPIO_PIN|p2", "LED_CONFIG"}) {
    agent.publisher().command({"HSET", other, "f", "1"});
  }
  ASSERT_TRUE(agent.settle());
  std::vector<std::pair<std::size_t, std::string>> found;
  TableScan scan(
      agent.backend->link(), {kLedTable, kMappingTable},
      [&found](std::size_t table, std::string_view key) { found.emplace_back(table, key); }, [] {});
  scan.start();
  ASSERT_TRUE(agent.settle());
  std::sort(found.begin(), found.end());
  EXPECT_EQ(found, (std::vector<std::pair<std::size_t, std::string>>{{0, "LED_CONFIG|a"},
                                                                     {1, "GPIO_LED|m"}}));
}

}  // namespace
}  // namespace PinlampTest
