// The published tables of the agent's classes: their numbering, the agent's place after its base,
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

// Which attributes each class publishes is what the generic access tests and the inspection
// scenario read by name; here only the numbering they rely on.
TEST(AttributeTableTest, EachTableNumbersItsEntriesWithoutGaps) {
  for (Zel::TypeNode const* type : {&Pinlamp::GpioLedStateMachine::type(),
                                    &Pinlamp::ConfigReactor::type(), &Pinlamp::Agent::type()}) {
    SCOPED_TRACE(type->name().stdString());
    AttributeTable const* table = type->attributes();
    ASSERT_NE(table, nullptr);
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
  EXPECT_EQ(names.back(), "configReactor");
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
