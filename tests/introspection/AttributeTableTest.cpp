// The published tables of the agent's classes: their order, indices, kinds and operations,
// and the dispatch's answer for indices outside a class's own range.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/zel/generic/AttributeTable.h"
#include "tests/introspection/IntrospectionFixture.h"

namespace PinlampTest {
namespace {

using namespace Zel::GenericIf;

// "name kind operations" for each entry, unpublished positions as "-".
std::vector<std::string> rows(AttributeTable const& table) {
  std::vector<std::string> out;
  for (AttributeInfo const& entry : table.entries()) {
    if (!entry.isPublished()) {
      out.push_back("-");
      continue;
    }
    std::string row = entry.name.stdString() + " " + toString(entry.kind);
    for (Operation operation :
         {Operation::get, Operation::set, Operation::del, Operation::invoke, Operation::iterate}) {
      if (entry.allows(operation)) row += std::string(" ") + toString(operation);
    }
    out.push_back(row);
  }
  return out;
}

TEST(AttributeTableTest, AgentClassesPublishTheirAttributesInOrder) {
  struct Case {
    Zel::TypeNode const& type;
    std::vector<std::string> expected;
  };
  Case const cases[] = {
      {Pinlamp::GpioLedStateMachine::type(),
       {"corvelGpioLedConfig pointer get", "hwLedConfig pointer get", "name value get",
        "handleHwLedConfig procedure invoke", "handleCorvelGpioYellow procedure invoke",
        "handleCorvelGpioGreen procedure invoke", "handleCorvelGpioRed procedure invoke",
        "handleCorvelGpioOrange procedure invoke", "handleLedSystemConfig procedure invoke",
        "clock pointer get set", "handleClockTimeout procedure invoke",
        "flashingState value get set", "initialized value get set",
        "handleInitialized procedure invoke"}},
      {Pinlamp::ConfigReactor::type(),
       {"gpioLedSystemConfigDir pointer get", "hwLedConfigDir pointer get",
        "gpioPinConfigDir pointer get", "gpioLedStateMachine collection get set delete iterate",
        "handleGpioConfigCleanup procedure invoke",
        "gpioLedConfig collection get set delete iterate", "-", "createDriver procedure invoke",
        "-", "corvelLedSystemConfig pointer get set delete", "handleInitialized procedure invoke"}},
      {Pinlamp::Agent::type(),
       {"doMountsComplete procedure invoke", "doInit procedure invoke",
        "gpioPinConfigDir pointer get", "gpioLedSystemConfigDir pointer get",
        "hwLedConfigDir pointer get", "configReactor pointer get set delete"}},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.type.name().stdString());
    AttributeTable const* table = c.type.attributes();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(rows(*table), c.expected);
    for (std::size_t position = 0; position < table->entries().size(); ++position) {
      EXPECT_EQ(table->entries()[position].index, table->firstIndex() + position);
    }
  }
}

TEST(AttributeTableTest, AgentIndicesContinueTheAgentBaseAndHideItsStartUpEntries) {
  AttributeTable const* agentTable = Pinlamp::Agent::type().attributes();
  AttributeTable const* baseTable = Warden::CAgent::type().attributes();
  ASSERT_NE(baseTable, nullptr);
  EXPECT_EQ(agentTable->base(), baseTable);
  EXPECT_EQ(agentTable->firstIndex(), baseTable->endIndex());
  EXPECT_EQ(Pinlamp::ConfigReactor::type().attributes()->firstIndex(), 0u);
  EXPECT_NE(baseTable->find("doInit"), nullptr);

  AgentHarness world({.traceLevels = 0});
  for (char const* stage : {"doInit", "doMountsComplete"}) {
    EXPECT_EQ(attributeInfo(*world.agent(), stage), agentTable->find(stage)) << stage;
  }
  std::vector<std::string> names;
  for (AttributeInfo const* info : attributeInfos(*world.agent())) {
    names.push_back(info->name.stdString());
  }
  // The base's own attributes first, then the agent's; each stage listed once, as the agent's.
  EXPECT_EQ(names.front(), "name");
  EXPECT_EQ(std::count(names.begin(), names.end(), "doInit"), 1);
  EXPECT_EQ(
      std::vector<std::string>(names.end() - 6, names.end()),
      (std::vector<std::string>{"doMountsComplete", "doInit", "gpioPinConfigDir",
                                "gpioLedSystemConfigDir", "hwLedConfigDir", "configReactor"}));
}

class DispatchTest : public IntrospectionFixture {};

TEST_F(DispatchTest, AnIndexOutsideAClassesRangeIsLeftToItsBase) {
  AttributeTable const& agentTable = *Pinlamp::Agent::type().attributes();
  AttributeTable const& baseTable = *agentTable.base();
  std::size_t const baseName = baseTable.find("name")->index;

  Request const beyond{Operation::get, agentTable.endIndex()};
  EXPECT_FALSE(agentTable.dispatch(agent(), beyond).handled);

  Request const inBase{Operation::get, baseName};
  EXPECT_FALSE(agentTable.dispatch(agent(), inBase).handled);
  Reply const reply = baseTable.dispatch(agent(), inBase);
  EXPECT_TRUE(reply.handled);
  EXPECT_EQ(reply.value, Value(Zel::Name("pinlamp")));
}

TEST_F(DispatchTest, UnpublishedReactorPositionsAreAcceptedAndChangeNothing) {
  AttributeTable const& table = *Pinlamp::ConfigReactor::type().attributes();
  Members const before = iterate(reactor(), "gpioLedStateMachine");
  for (std::size_t position : {6u, 8u}) {
    ASSERT_FALSE(table.entries()[position].isPublished());
    for (Operation operation : {Operation::get, Operation::set, Operation::invoke}) {
      Reply const reply = table.dispatch(reactor(), Request{operation, position});
      EXPECT_TRUE(reply.handled) << position;
      EXPECT_TRUE(reply.value.isEmpty()) << position;
    }
  }
  EXPECT_EQ(iterate(reactor(), "gpioLedStateMachine"), before);
  EXPECT_EQ(pins(), "0100");
  EXPECT_EQ(attributeInfo(reactor(), ""), nullptr);
}

}  // namespace
}  // namespace PinlampTest
