// The whole agent following a test-started server: the agent harness's directories fed by the
// database backend, a second connection that publishes as another agent would, and the loop
// pumped (in virtual time) until a round trip through the server has closed.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/statedb/redis/Backend.h"
#include "platform/statedb/redis/TablePublisher.h"
#include "tests/redis/RedisServer.h"
#include "tests/support/AgentHarness.h"

namespace PinlampTest {

class RedisAgent {
 public:
  // `fresh`: the server's data is flushed first; without, the agent starts as a restarted one
  // does, on what an earlier run left.
  explicit RedisAgent(RedisServer& server, std::string url = {},
                      Statedb::Redis::LinkSettings settings = patient(), bool fresh = true);
  // A time-out no test's pace can hit: virtual time runs far ahead of the server's answers.
  static Statedb::Redis::LinkSettings patient() { return {.timeout = 600.0}; }
  ~RedisAgent();

  // Pumps the loop until `done` holds; false when it does not within a bounded number of turns.
  template <class Predicate>
  bool pumpUntil(Predicate done, int turns = 3000) {
    for (int turn = 0; turn < turns; ++turn) {
      if (done()) return true;
      harness.runPending();
      loop().pollIo(0.002);
    }
    return done();
  }
  // Until everything published so far has come through the agent into the pin table.
  bool settle();
  // Lets virtual time pass in small steps (back-off, flashing, keep-alive), pumping between.
  void advance(double seconds);

  void publishLed(std::string const& led, Led::LightSetting const& light);
  void publishMapping(std::string const& led, PinNames const& pins, bool ready = true);

  // The agent's pins and the pin table, as name -> value.
  std::map<std::string, std::string> agentPins();
  std::map<std::string, std::string> tablePins();

  Zel::ActivityManager& loop() { return *Zel::activityManager(); }
  Statedb::Redis::TablePublisher& publisher() { return *publisher_; }

  AgentHarness harness;
  std::unique_ptr<Statedb::Redis::Backend> backend;
  std::vector<std::string> log;

 private:
  std::unique_ptr<Statedb::Redis::TablePublisher> publisher_;
};

}  // namespace PinlampTest
