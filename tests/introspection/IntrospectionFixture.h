// A running agent with one LED, "Led1", wired to pins Y1, G1, R1 and O1 and showing steady green,
// for driving through the generic interface. Tests compare what the interface reports and does
// with the objects' own state.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platform/model/LightSettingValueKind.h"
#include "platform/zel/generic/Access.h"
#include "tests/support/AgentHarness.h"

namespace PinlampTest {

class IntrospectionFixture : public testing::Test {
 protected:
  IntrospectionFixture() {
    world_.publishMapping("Led1", {{"Y1"}, {"G1"}, {"R1"}, {"O1"}});
    world_.setLed("Led1", setting("g"));
    world_.runPending();
  }

  Pinlamp::Agent& agent() { return *world_.agent(); }
  Pinlamp::ConfigReactor& reactor() { return *world_.reactor(); }
  Pinlamp::GpioLedStateMachine& machine() { return *world_.machine("Led1"); }
  // Led1's pins in the order yellow, green, red, orange: "0100" is steady green.
  std::string pins() { return world_.pinValues({"Y1", "G1", "R1", "O1"}); }

  AgentHarness world_{AgentHarness::Options{.traceLevels = 0}};
};

}  // namespace PinlampTest
