// The factories as the agent's own code sees them (the plug-in's exports are tested by loading it).
#include <gtest/gtest.h>

#include "agent/AgentFactory.h"
#include "platform/zel/TypeNode.h"

namespace PinlampTest {
namespace {

TEST(AgentFactoryTest, FactoriesKeepTheHostsNameAndStartWithNothing) {
  Zel::Ptr<Pinlamp::Agent> const agents[] = {
      Pinlamp::agentFactory("ledAgent"),
      Zel::ptrCast<Pinlamp::Agent>(Zel::newEntity("Pinlamp::Agent", "ledAgent", nullptr)),
  };
  for (Zel::Ptr<Pinlamp::Agent> const& agent : agents) {
    ASSERT_NE(agent, nullptr);
    EXPECT_EQ(agent->name(), Zel::Name("ledAgent"));
    EXPECT_TRUE(agent->hasNotificationActive());
    EXPECT_EQ(agent->gpioPinConfigDir(), nullptr);
    EXPECT_EQ(agent->gpioLedSystemConfigDir(), nullptr);
    EXPECT_EQ(agent->hwLedConfigDir(), nullptr);
    EXPECT_EQ(agent->configReactor(), nullptr);
  }
}

}  // namespace
}  // namespace PinlampTest
