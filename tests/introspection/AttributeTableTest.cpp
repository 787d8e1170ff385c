// The published tables of the agent's classes: their numbering, the agent's place after its base,
// and the dispatch's answer for indices outside a class's own range.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>
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

// A row's name and its accessor are written side by side; this catches a row whose name stands for
// one accessor while it calls another. The values are made distinct first, so that two rows that
// swapped their accessors would show, and every readable value or pointer of the objects must be
// listed here.
TEST_F(DispatchTest, EachRowReadsAndWritesTheAccessorItsNameStandsFor) {
  Hardware::Led::LedConfig& led = *world_.ledDir()->leds("Led1");
  led.themeIs("dusk");
  led.currentModeIs("night");
  led.ledAttributeIs(7);
  Hardware::Gpio::GpioLedConfig& mapping = *world_.mappingOf("Led1");
  Hardware::Gpio::CorvelPinConfig& pin = *world_.pin("G1");
  Hardware::Gpio::CorvelGpioLedConfig& output = *world_.output("Led1");
  struct Case {
    Zel::PtrInterface* object;
    char const* name;
    std::function<Value()> typed;
    Value newValue;  // empty: only read here
  };
  auto machine = &this->machine();
  auto reactor = &this->reactor();
  auto agent = &this->agent();
  Case const cases[] = {
      {machine, "corvelGpioLedConfig", [=] { return Value(machine->corvelGpioLedConfig()); }, {}},
      {machine, "hwLedConfig", [=] { return Value(machine->hwLedConfig()); }, {}},
      {machine, "name", [=] { return Value(machine->name()); }, {}},
      {machine, "clock", [=] { return Value(machine->clock()); }, {}},
      {machine, "flashingState", [=] { return Value(machine->flashingState()); }, true},
      {machine, "initialized", [=] { return Value(machine->initialized()); }, false},
      {reactor,
       "gpioLedSystemConfigDir",
       [=] { return Value(reactor->gpioLedSystemConfigDir()); },
       {}},
      {reactor, "hwLedConfigDir", [=] { return Value(reactor->hwLedConfigDir()); }, {}},
      {reactor, "gpioPinConfigDir", [=] { return Value(reactor->gpioPinConfigDir()); }, {}},
      {reactor,
       "corvelLedSystemConfig",
       [=] { return Value(reactor->corvelLedSystemConfig()); },
       {}},
      {agent, "name", [=] { return Value(agent->name()); }, {}},
      {agent, "entityManager", [=] { return Value(agent->entityManager()); }, {}},
      {agent, "mountStatus", [=] { return Value(Statedb::toString(agent->mountStatus())); }, {}},
      {agent,
       "agentPingResponderEnabled",
       [=] { return Value(agent->agentPingResponderEnabled()); },
       {}},
      {agent, "agentSyncConfigEnabled", [=] { return Value(agent->agentSyncConfigEnabled()); }, {}},
      {agent, "gpioPinConfigDir", [=] { return Value(agent->gpioPinConfigDir()); }, {}},
      {agent, "gpioLedSystemConfigDir", [=] { return Value(agent->gpioLedSystemConfigDir()); }, {}},
      {agent, "hwLedConfigDir", [=] { return Value(agent->hwLedConfigDir()); }, {}},
      {agent, "configReactor", [=] { return Value(agent->configReactor()); }, {}},
      {&led, "name", [&] { return Value(led.name()); }, {}},
      {&led, "lightSetting", [&] { return Value(led.lightSetting()); }, setting("yr", 0.5)},
      {&led, "ledAttribute", [&] { return Value(led.ledAttribute()); }, 9u},
      {&led, "theme", [&] { return Value(led.theme()); }, Zel::Name("dawn")},
      {&led, "currentMode", [&] { return Value(led.currentMode()); }, Zel::Name("day")},
      {&mapping, "name", [&] { return Value(mapping.name()); }, {}},
      {&mapping, "ledConfig", [&] { return Value(mapping.ledConfig()); }, Zel::Name("Led7")},
      {&mapping, "ready", [&] { return Value(mapping.ready()); }, false},
      {&pin, "name", [&] { return Value(pin.name()); }, {}},
      {&pin, "value", [&] { return Value(pin.value()); }, 0u},
      {&output, "name", [&] { return Value(output.name()); }, {}},
      {&output,
       "ledSystemConfig",
       [&] { return Value(Zel::Ptr<Zel::Entity const>(output.ledSystemConfig())); },
       {}},
  };
  std::set<std::pair<Zel::PtrInterface*, std::string>> listed;
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    listed.emplace(c.object, c.name);
    EXPECT_EQ(get(*c.object, c.name), c.typed());
    if (c.newValue.isEmpty()) continue;
    ASSERT_NE(c.typed(), c.newValue);
    set(*c.object, c.name, c.newValue);
    EXPECT_EQ(c.typed(), c.newValue);
  }
  std::set<Zel::PtrInterface*> objects;
  for (Case const& c : cases) objects.insert(c.object);
  for (Zel::PtrInterface* object : objects) {
    for (AttributeInfo const* info : attributeInfos(*object)) {
      bool const readable =
          info->kind == AttributeKind::value || info->kind == AttributeKind::pointer;
      if (!readable || !info->allows(Operation::get)) continue;
      EXPECT_EQ(listed.count({object, info->name.stdString()}), 1u) << info->name.stdString();
    }
  }
}

}  // namespace
}  // namespace PinlampTest
