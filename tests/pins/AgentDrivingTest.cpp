#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "agent/AgentFactory.h"
#include "host/pins/PinDriver.h"
#include "host/run/Session.h"
#include "host/script/Publisher.h"
#include "platform/model/CorvelPinConfig.h"
#include "tests/pins/RecordingLines.h"

namespace Drive {
namespace {

using Hardware::Gpio::CorvelPinConfig;

constexpr int kLeds = 12;

std::string pinName(int led, int colour) {
  return "led" + std::to_string(led) + "c" + std::to_string(colour);
}

// The real agent writes every colour dark and then the lit ones, at each setting change and
// flash tick; what reaches the lines must only ever be a state the agent meant to show.
TEST(AgentDrivingTest, NoIntermediateStateAndNoNeedlessWriteAcrossRandomChangesAndFlashes) {
  Host::Session session(Zel::ActivityManager::TimeSource::virtualTime,
                        [](std::string const& text) { FAIL() << text; });
  session.startAgent([](std::string const& name) { return Pinlamp::agentFactory(Zel::Name(name)); },
                     "pinlamp");
  std::string map;
  for (int led = 0; led < kLeds; ++led) {
    Host::MappingCommand mapping;
    mapping.led = "led" + std::to_string(led);
    for (int colour = 0; colour < int(Host::kColourCount); ++colour) {
      mapping.pins[colour] = std::vector<std::string>{pinName(led, colour)};
      map += "[[pin]]\nname = \"" + pinName(led, colour) + "\"\nbackend = \"gpiod\"\nchip = \"" +
             (led % 2 ? "odd" : "even") + "\"\nline = " + std::to_string(led * 4 + colour) +
             "\nactive_low = " + (colour == 1 ? "true" : "false") + "\n";
    }
    mapping.ready = true;
    Host::publishMapping(session.mappings(), mapping);
    Host::LedCommand dark;
    dark.led = mapping.led;
    Host::publishLed(session.leds(), dark);
  }
  session.settle();

  GpioBench bench;
  std::vector<std::vector<int>> before;
  auto agentShows = [&](std::string const& pin) {
    auto entity = Zel::ptrCast<CorvelPinConfig>(session.pins().entityRef(Zel::Name(pin)));
    return entity && entity->value() != 0 ? 1 : 0;
  };
  DriverOptions options;
  options.gpioLines = linesOn(bench);
  PinDriver driver(
      parsePinMap(map, "map.toml"), session.pins(), session.loop(),
      [](std::string const& line) { ADD_FAILURE() << line; }, options);
  for (auto const& request : bench.requests) before.push_back(request.logical);
  int needless = 0;
  int intermediate = 0;
  bench.onWrite = [&](GpioBench::Request const& request) {
    std::size_t const index = static_cast<std::size_t>(&request - bench.requests.data());
    needless += request.logical == before[index];
    before[index] = request.logical;
    for (std::size_t i = 0; i < request.offsets.size(); ++i) {
      unsigned const line = request.offsets[i];
      intermediate += request.logical[i] != agentShows(pinName(int(line / 4), int(line % 4)));
    }
  };

  std::mt19937 random(15);
  for (int step = 0; step < 1000; ++step) {
    if (random() % 3 == 0) {
      session.wait(0.05 * double(random() % 20));
    } else {
      Host::LedCommand command;
      command.led = "led" + std::to_string(random() % kLeds);
      for (bool& lit : command.lit) lit = random() % 2;
      command.flashInterval = std::array{0.0, 0.0, 0.5, 0.25}[random() % 4];
      Host::publishLed(session.leds(), command);
      session.settle();
    }
    for (int led = 0; led < kLeds; ++led) {
      for (int colour = 0; colour < int(Host::kColourCount); ++colour) {
        int const level = bench.level(led % 2 ? "odd" : "even", unsigned(led * 4 + colour));
        ASSERT_EQ(level ^ (colour == 1), agentShows(pinName(led, colour)))
            << "step " << step << " pin " << pinName(led, colour);
      }
    }
  }
  EXPECT_EQ(intermediate, 0);
  EXPECT_EQ(needless, 0);
  EXPECT_GT(bench.bulkWrites.size(), 500u);
}

}  // namespace
}  // namespace Drive
