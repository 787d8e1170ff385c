#include "tests/reliability/LedWorld.h"

#include <exception>

#include "agent/AgentFactory.h"
#include "platform/zel/Exception.h"

namespace PinlampReliability {

namespace {

using Hardware::Gpio::GpioLedSystemConfigDir;
using Hardware::Led::LedSystemConfigDir;

// The database entities behind the agent's mounts. Made before the agent, so that the mounts find
// them and the agent's own allocations can be told apart from the database's.
struct MountedEntity {
  char const* path;
  char const* typeName;
};
constexpr MountedEntity kMountedEntities[] = {
    {"hardware/gpio/config/led", "Hardware::Gpio::GpioLedSystemConfigDir"},
    {"hardware/led/config", "Hardware::Led::LedSystemConfigDir"},
    {"hardware/led/configInit", "Hardware::Led::LedSystemConfigDir"},
    {"hardware/fanController/config", "Zel::Dir"},
    {"environment/cooling/config", "Environment::Cooling::Config"},
    {"hardware/corvel/gpio/init", "Zel::Dir"},
    {"hardware/gpio/config", "Zel::Dir"},
    {"hardware/corvel/gpio/config", "Zel::Dir"},
};

// Old mapping objects kept to poke at after they left the directory.
constexpr std::size_t kRetiredKept = 4;

std::vector<std::string> numbered(char const* prefix, std::size_t count) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < count; ++i) names.push_back(prefix + std::to_string(i));
  return names;
}

void listPin(GpioLedConfig& mapping, int colour, Zel::Name const& pin) {
  switch (colour) {
    case 0:
      return mapping.gpioYellowNameIs(pin);
    case 1:
      return mapping.gpioGreenNameIs(pin);
    case 2:
      return mapping.gpioRedNameIs(pin);
    default:
      return mapping.gpioOrangeNameIs(pin);
  }
}

void unlistPin(GpioLedConfig& mapping, int colour, Zel::Name const& pin) {
  switch (colour) {
    case 0:
      return mapping.gpioYellowNameDel(pin);
    case 1:
      return mapping.gpioGreenNameDel(pin);
    case 2:
      return mapping.gpioRedNameDel(pin);
    default:
      return mapping.gpioOrangeNameDel(pin);
  }
}

}  // namespace

LedWorld::LedWorld(std::size_t ledCount, std::size_t pinCount)
    : ledNames_(numbered("led", ledCount)),
      pinPool_(numbered("gpio", pinCount)),
      loop_(Zel::activityManagerIs(Zel::ActivityManager::TimeSource::virtualTime)),
      birth_(AllocationLedger::now()),
      database_(Statedb::Database::databaseIs()),
      entityManager_(Statedb::EntityManager::entityManagerIs(database_)),
      model_(ledNames_) {
  for (MountedEntity const& mounted : kMountedEntities) {
    database_->entityIs(mounted.path, mounted.typeName);
  }
  mappings_ = Zel::ptrCast<GpioLedSystemConfigDir>(database_->entity("hardware/gpio/config/led"));
  configs_ = Zel::ptrCast<LedSystemConfigDir>(database_->entity("hardware/led/config"));
  pins_ = Zel::ptrCast<Zel::Dir>(database_->entity("hardware/corvel/gpio/config"));
}

LedWorld::~LedWorld() {
  // A test that stopped early may leave the agent with a mapping that was never ready, whose
  // clean-up would end the process: give every mapping its output entry first.
  if (!agent_) return;
  for (std::string const& name : ledNames_) {
    if (model_.led(name).mapping) readyIs(name, true);
  }
  try {
    model_.deliverAll();
    loop_->runPending();
  } catch (std::exception const&) {
  }
}

// --- inputs ---------------------------------------------------------------------------------

void LedWorld::retire(Zel::Ptr<GpioLedConfig> const& mapping) {
  if (!mapping) return;
  retired_.push_back(mapping);
  if (retired_.size() > kRetiredKept) retired_.pop_front();
}

void LedWorld::mappingPublished(std::string const& name, bool ready, PinChoice const& pins) {
  Zel::Ptr<GpioLedConfig> mapping = GpioLedConfig::gpioLedConfigIs(name);
  for (int colour = 0; colour < kColourCount; ++colour) {
    for (std::string const& pin : pins[colour]) listPin(*mapping, colour, pin);
  }
  if (ready) {
    mapping->readyIs(true);
    model_.eventIs({ModelEvent::mappingReady, name, mapping});
  }
  ModelLed& led = model_.led(name);
  retire(led.mapping);
  led.mapping = mapping;
  mappings_->gpioLedsIs(mapping);
  model_.eventIs({ModelEvent::mappingEntry, name, nullptr});
}

void LedWorld::mappingRemoved(std::string const& name) {
  ModelLed& led = model_.led(name);
  if (!led.mapping) return;
  retire(led.mapping);
  led.mapping = nullptr;
  mappings_->gpioLedsDel(name);
  model_.eventIs({ModelEvent::mappingEntry, name, nullptr});
}

std::string LedWorld::allMappingsRemoved() {
  for (std::string const& name : ledNames_) {
    ModelLed& led = model_.led(name);
    retire(led.mapping);
    led.mapping = nullptr;
  }
  if (model_.mappingsEmptied() == Outcome::processEnds) {
    return "emptying the mappings would end the process (" + model_.failure() + ")";
  }
  mappings_->gpioLedsDelAll();
  return "";
}

void LedWorld::readyIs(std::string const& name, bool ready) {
  Zel::Ptr<GpioLedConfig> const& mapping = model_.led(name).mapping;
  if (!mapping || mapping->ready() == ready) return;
  mapping->readyIs(ready);
  model_.eventIs({ModelEvent::mappingReady, name, mapping});
}

// The agent reacts to no pin-set change, so the model is told nothing: the next build of the
// output entry reads the sets as they are then.
void LedWorld::pinListed(std::string const& name, int colour, std::string const& pin, bool listed) {
  Zel::Ptr<GpioLedConfig> const& mapping = model_.led(name).mapping;
  if (!mapping) return;
  if (listed) {
    listPin(*mapping, colour, pin);
  } else {
    unlistPin(*mapping, colour, pin);
  }
}

void LedWorld::retiredMappingToggled(std::size_t index) {
  Zel::Ptr<GpioLedConfig> const& mapping = retired_.at(index);
  mapping->readyIs(!mapping->ready());
  model_.eventIs({ModelEvent::mappingReady, mapping->name().stdString(), mapping});
}

void LedWorld::configPublished(std::string const& name, Led::LightSetting const& setting) {
  Zel::Ptr<LedConfig> config = LedConfig::ledConfigIs(name);
  if (!(config->lightSetting() == setting)) {
    config->lightSettingIs(setting);
    model_.eventIs({ModelEvent::lightSetting, name, config});
  }
  model_.led(name).config = config;
  configs_->ledsIs(config);
  model_.eventIs({ModelEvent::ledEntry, name, nullptr});
}

void LedWorld::configRemoved(std::string const& name) {
  ModelLed& led = model_.led(name);
  if (!led.config) return;
  led.config = nullptr;
  configs_->ledsDel(name);
  model_.eventIs({ModelEvent::ledEntry, name, nullptr});
}

void LedWorld::settingIs(std::string const& name, Led::LightSetting const& setting) {
  Zel::Ptr<LedConfig> const& config = model_.led(name).config;
  if (!config || config->lightSetting() == setting) return;
  config->lightSettingIs(setting);
  model_.eventIs({ModelEvent::lightSetting, name, config});
}

// --- delivery and time ----------------------------------------------------------------------

std::string LedWorld::settle() {
  lastOutcome_ = model_.deliverAll();
  if (lastOutcome_ == Outcome::processEnds) {
    return "the step would end the process (" + model_.failure() + "); not delivered";
  }
  Outcome actual = Outcome::delivered;
  try {
    loop_->runPending();
  } catch (Zel::NameInUseException const& error) {
    actual = Outcome::nameInUse;
    lastAgentError_ = error.what();
  } catch (std::exception const& error) {
    return std::string("the agent raised: ") + error.what();
  }
  if (actual == lastOutcome_) return "";
  return std::string("agent: ") + toString(actual) + " (" + lastAgentError_ +
         "), model: " + toString(lastOutcome_) + " (" + model_.failure() + ")";
}

std::string LedWorld::advance(double seconds, std::vector<std::string>& ticked) {
  try {
    loop_->advance(seconds);
  } catch (std::exception const& error) {
    return std::string("the agent raised during a flash tick: ") + error.what();
  }
  ticked = model_.advance(seconds);
  return "";
}

// --- agent life -----------------------------------------------------------------------------

std::string LedWorld::agentStopped() {
  if (model_.agentStopped() == Outcome::processEnds) {
    return "stopping the agent would end the process (" + model_.failure() + ")";
  }
  agent_ = nullptr;
  loop_->runPending();
  std::string mismatch;
  if (pins_->entryCount() != 0 || !model_.directoryPins().empty()) {
    mismatch += "pins left behind: " + std::to_string(pins_->entryCount()) + " in the agent, " +
                std::to_string(model_.directoryPins().size()) + " in the model; ";
  }
  // The inputs are the test's own; everything else was made by the agent and must be gone.
  std::set<Zel::AllocTrackTypeInfo const*> const inputs = {
      &Zel::AllocTrackTypeInfo::of<GpioLedConfig>(), &Zel::AllocTrackTypeInfo::of<LedConfig>()};
  std::string const leaked = beforeAgent_.differencesSince(inputs);
  if (!leaked.empty()) mismatch += "after the agent was destroyed: " + leaked;
  return mismatch;
}

std::string LedWorld::agentStarted() {
  beforeAgent_ = AllocationLedger::now();
  agent_ = Pinlamp::agentFactory("pinlamp");
  agent_->entityManagerIs(entityManager_);
  agent_->doInit();
  try {
    loop_->runPending();
  } catch (std::exception const& error) {
    return std::string("the agent raised at start-up: ") + error.what();
  }
  // Start-up visits the mappings in the directory's own order, which decides who writes a shared
  // pin last.
  std::vector<std::string> order;
  for (auto member : mappings_->gpioLeds()) order.push_back(member.key.stdString());
  model_.agentStarted(order);
  return fullMismatch();
}

std::string LedWorld::released() {
  std::string mismatch;
  if (agent_) mismatch = agentStopped();
  model_.clear();
  retired_.clear();
  mappings_ = nullptr;
  configs_ = nullptr;
  pins_ = nullptr;
  entityManager_ = nullptr;
  database_ = nullptr;
  loop_->runPending();
  std::string const leaked = birth_.differencesSince();
  if (!leaked.empty()) mismatch += "after everything was released: " + leaked;
  return mismatch;
}

}  // namespace PinlampReliability
