#include "tests/redis/RedisAgent.h"

#include <algorithm>
#include <stdexcept>

namespace PinlampTest {

using namespace Statedb::Redis;

namespace {

AgentHarness::Options unstarted() {
  AgentHarness::Options options;
  options.traceLevels = 0;
  options.start = false;
  return options;
}

std::string joined(std::vector<std::string> const& names) {
  std::string text;
  for (auto const& name : names) text += (text.empty() ? "" : ",") + name;
  return text;
}

}  // namespace

RedisAgent::RedisAgent(RedisServer& server, std::string url, LinkSettings settings, bool fresh)
    : harness(unstarted()) {
  if (url.empty()) url = server.url();
  std::string error;
  BackendOptions options{url, false, settings};
  backend = Backend::backendIs(
      loop(), options, *harness.mappingDir(), *harness.ledDir(), *harness.pinDir(),
      [this](std::string const& line) { log.push_back(line); }, error);
  if (!backend) throw std::runtime_error(error);
  auto endpoint = endpointOf(server.url(), error);
  publisher_ = TablePublisher::publisherIs(*endpoint, error);
  if (!publisher_) throw std::runtime_error(error);
  if (fresh) publisher_->command({"FLUSHDB"});
  backend->start();
  harness.start();
  if (!pumpUntil([this] { return backend->isUp(); })) throw std::runtime_error("no link");
}

RedisAgent::~RedisAgent() {
  backend.reset();
}

bool RedisAgent::settle() {
  bool done = false;
  backend->barrier([&done] { done = true; });
  return pumpUntil([&done] { return done; });
}

void RedisAgent::advance(double seconds) {
  double constexpr kStep = 0.05;
  for (double passed = 0.0; passed < seconds; passed += kStep) {
    harness.advance(std::min(kStep, seconds - passed));
    loop().pollIo(0.001);
  }
}

void RedisAgent::publishLed(std::string const& led, Led::LightSetting const& light) {
  publisher_->hashIs(keyOf(kLedTable, led), hashOf(light), false);
}

void RedisAgent::publishMapping(std::string const& led, PinNames const& pins, bool ready) {
  Hash hash = {{"yellow", joined(pins.yellow)},
               {"green", joined(pins.green)},
               {"red", joined(pins.red)},
               {"orange", joined(pins.orange)},
               {"ready", ready ? "1" : "0"}};
  publisher_->hashIs(keyOf(kMappingTable, led), hash, false);
}

std::map<std::string, std::string> RedisAgent::agentPins() {
  std::map<std::string, std::string> pins;
  for (auto member : harness.pinDir()->entries()) {
    pins[member.key.stdString()] = std::to_string(harness.pinValue(member.key));
  }
  return pins;
}

std::map<std::string, std::string> RedisAgent::tablePins() {
  std::map<std::string, std::string> pins;
  for (auto const& key : publisher_->keys(std::string(kPinTable) + "|*")) {
    pins[key.substr(key.find('|') + 1)] = publisher_->command({"HGET", key, kPinValueField});
  }
  return pins;
}

}  // namespace PinlampTest
