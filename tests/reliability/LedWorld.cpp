#include "tests/reliability/LedWorld.h"

#include <cmath>
#include <exception>
#include <set>
#include <sstream>
#include <utility>

#include "agent/AgentFactory.h"
#include "platform/model/CorvelGpioLedSystemConfigDir.h"
#include "platform/model/DatabasePaths.h"
#include "platform/zel/Exception.h"

namespace PinlampReliability {

namespace {

using Hardware::Gpio::CorvelPinConfig;
using Hardware::Gpio::GpioLedSystemConfigDir;
using Hardware::Gpio::PinConfigs;
using Hardware::Led::LedSystemConfigDir;

// The database entities behind the agent's mounts. Made before the agent, so that the mounts find
// them and the agent's own allocations can be told apart from the database's.
constexpr std::pair<char const*, char const*> kMountedEntities[] = {
    {Hardware::kGpioLedMappingPath, "Hardware::Gpio::GpioLedSystemConfigDir"},
    {Hardware::kLedConfigPath, "Hardware::Led::LedSystemConfigDir"},
    {"hardware/led/configInit", "Hardware::Led::LedSystemConfigDir"},
    {"hardware/fanController/config", "Zel::Dir"},
    {"environment/cooling/config", "Environment::Cooling::Config"},
    {"hardware/corvel/gpio/init", "Zel::Dir"},
    {"hardware/gpio/config", "Zel::Dir"},
    {Hardware::kCorvelPinPath, "Zel::Dir"},
};

// Old mapping objects kept to poke at after they left the directory.
constexpr std::size_t kRetiredKept = 4;

std::vector<std::string> numbered(char const* prefix, std::size_t count) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < count; ++i) names.push_back(prefix + std::to_string(i));
  return names;
}

LiveCounts liveCounts() {
  LiveCounts counts;
  for (Zel::AllocTrackTypeInfo const* info : Zel::AllocTrackTypeInfo::all()) {
    counts[info] = info->live();
  }
  return counts;
}

// The types whose live count differs from `before`, leaving out the `ignored` ones. A type first
// allocated since started from zero.
std::string liveCountChanges(LiveCounts const& before,
                             std::set<Zel::AllocTrackTypeInfo const*> const& ignored = {}) {
  std::string changes;
  for (Zel::AllocTrackTypeInfo const* info : Zel::AllocTrackTypeInfo::all()) {
    auto const found = before.find(info);
    std::int64_t const was = found == before.end() ? 0 : found->second;
    if (!ignored.count(info) && info->live() != was) {
      changes += std::string(info->typeName()) + ": " + std::to_string(was) + " alive before, " +
                 std::to_string(info->live()) + " after; ";
    }
  }
  return changes;
}

// "" when the agent has the part exactly when the model does.
std::string presenceMismatch(char const* part, bool real, bool expected) {
  if (real == expected) return "";
  return std::string(part) + (real ? " present" : " absent") + ", model says the opposite; ";
}

constexpr char const* kCounted[] = {"mapping reactors", "output entries", "state machines"};

// Wake-up times agree when equal, or when neither is a number.
bool sameTime(double a, double b) {
  return a == b || (std::isnan(a) && std::isnan(b));
}

}  // namespace

LedWorld::LedWorld(std::size_t ledCount, std::size_t pinCount)
    : ledNames_(numbered("led", ledCount)),
      pinPool_(numbered("gpio", pinCount)),
      loop_(Zel::ActivityManager::TimeSource::virtualTime),
      birth_(liveCounts()),
      database_(Statedb::Database::databaseIs()),
      entityManager_(Statedb::EntityManager::entityManagerIs(database_)),
      model_(ledNames_) {
  for (auto const& [path, typeName] : kMountedEntities) database_->entityIs(path, typeName);
  mappings_ =
      Zel::ptrCast<GpioLedSystemConfigDir>(database_->entity(Hardware::kGpioLedMappingPath));
  configs_ = Zel::ptrCast<LedSystemConfigDir>(database_->entity(Hardware::kLedConfigPath));
  pins_ = Zel::ptrCast<Zel::Dir>(database_->entity(Hardware::kCorvelPinPath));
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

void LedWorld::retire(Zel::Ptr<GpioLedConfig> const& mapping) {
  if (!mapping) return;
  retired_.push_back(mapping);
  if (retired_.size() > kRetiredKept) retired_.pop_front();
}

void LedWorld::mappingPublished(std::string const& name, bool ready, PinChoice const& pins) {
  Zel::Ptr<GpioLedConfig> mapping = GpioLedConfig::gpioLedConfigIs(name);
  for (int colour = 0; colour < kColourCount; ++colour) {
    for (std::string const& pin : pins[colour]) mapping->pinNamesIs(kColours[colour].colour, pin);
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
    mapping->pinNamesIs(kColours[colour].colour, pin);
  } else {
    mapping->pinNamesDel(kColours[colour].colour, pin);
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

std::string LedWorld::agentStopped() {
  if (model_.mappingsEmptied() == Outcome::processEnds) {
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
  std::string const leaked = liveCountChanges(beforeAgent_, inputs);
  if (!leaked.empty()) mismatch += "after the agent was destroyed: " + leaked;
  return mismatch;
}

std::string LedWorld::agentStarted() {
  beforeAgent_ = liveCounts();
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
  std::string const leaked = liveCountChanges(birth_);
  if (!leaked.empty()) mismatch += "after everything was released: " + leaked;
  return mismatch;
}

// The comparisons of the agent with the model.
namespace {

// Same pins per colour; each the directory's entity exactly when the model says so; every pin,
// in the directory or not, at the value that the model's writes left.
std::string outputMismatch(CorvelGpioLedConfig const& output, ModelOutput const& expected,
                           LedWorldModel const& model, Zel::Dir const& directory) {
  std::ostringstream out;
  for (int colour = 0; colour < kColourCount; ++colour) {
    PinConfigs const& pins = output.pins(kColours[colour].colour);
    std::string_view const name = kColours[colour].name;
    if (pins.size() != expected[colour].size()) {
      out << name << " has " << pins.size() << " pins, model " << expected[colour].size() << "; ";
    }
    for (auto const& [pin, generation] : expected[colour]) {
      Zel::Ptr<CorvelPinConfig> const* real = pins.find(pin);
      if (!real || !*real) {
        out << name << " pin " << pin << " missing; ";
        continue;
      }
      auto const listed = model.directoryPins().find(pin);
      bool const expectCurrent =
          listed != model.directoryPins().end() && listed->second == generation;
      if (bool const current = directory.entityRef(pin).ptr() == real->ptr();
          current != expectCurrent) {
        out << name << " pin " << pin << (current ? " is" : " is not")
            << " the directory's entity, model says the opposite; ";
      }
      if ((*real)->value() != model.pinValue(generation)) {
        out << name << " pin " << pin << " = " << (*real)->value() << ", model "
            << model.pinValue(generation) << "; ";
      }
    }
  }
  return out.str();
}

std::string machineMismatch(Pinlamp::GpioLedStateMachine const& machine,
                            Zel::Ptr<CorvelGpioLedConfig> const& output,
                            ModelMachine const& expected) {
  std::ostringstream out;
  if (machine.hwLedConfig() != expected.config) out << "machine watches another configuration; ";
  if (machine.corvelGpioLedConfig() != output) out << "machine drives another output entry; ";
  if (machine.flashingState() != expected.flashingState) {
    out << "flashing phase " << machine.flashingState() << ", model " << expected.flashingState
        << "; ";
  }
  Pinlamp::GpioLedStateMachine::ZelClock const* timer = machine.clockReactor();
  if (!timer) return out.str() + "machine has no clock; ";
  if (!sameTime(timer->timeMin(), expected.wakeUp) || timer->isArmed() != expected.armed) {
    out.precision(17);
    out << "wake-up " << timer->timeMin() << (timer->isArmed() ? " armed" : " not armed")
        << ", model " << expected.wakeUp << (expected.armed ? " armed" : " not armed") << "; ";
  }
  return out.str();
}

}  // namespace

std::string LedWorld::ledMismatch(std::string const& name) const {
  if (!agent_ || !agent_->configReactor()) return "";
  Pinlamp::ConfigReactor const& reactor = *agent_->configReactor();
  ModelLed const& led = model_.led(name);
  Zel::Name const key(name);
  std::ostringstream out;

  auto const perLed = reactor.gpioLedConfig(key);
  out << presenceMismatch("mapping reactor", bool(perLed), bool(led.watched));
  if (perLed && led.watched && perLed->notifier() != led.watched.ptr()) {
    out << "mapping reactor watches another mapping object; ";
  }
  Zel::Ptr<CorvelGpioLedConfig> const output = reactor.corvelLedSystemConfig()->gpioLeds(key);
  out << presenceMismatch("output entry", bool(output), led.output.has_value());
  if (output && led.output) out << outputMismatch(*output, *led.output, model_, *pins_);
  auto const machine = reactor.gpioLedStateMachine(key);
  out << presenceMismatch("state machine", bool(machine), led.machine.has_value());
  if (machine && led.machine) out << machineMismatch(*machine, output, *led.machine);
  std::string const text = out.str();
  return text.empty() ? text : name + ": " + text;
}

std::string LedWorld::fullMismatch() const {
  std::ostringstream out;
  for (std::string const& name : ledNames_) {
    std::string const led = ledMismatch(name);
    if (!led.empty()) out << led << "\n";
  }
  // Exactly the pins of current or earlier, not yet removed, mappings, each at the model's value.
  if (pins_->entryCount() != model_.directoryPins().size()) {
    out << "pin directory holds " << pins_->entryCount() << " pins, model "
        << model_.directoryPins().size() << "; ";
  }
  for (auto const& [pin, generation] : model_.directoryPins()) {
    auto const entity = Zel::ptrCast<CorvelPinConfig>(pins_->entityRef(pin));
    if (!entity) {
      out << "pin " << pin << " missing from the directory; ";
    } else if (entity->value() != model_.pinValue(generation)) {
      out << "pin " << pin << " = " << entity->value() << ", model " << model_.pinValue(generation)
          << "; ";
    }
  }
  if (agent_ && agent_->configReactor()) {
    Pinlamp::ConfigReactor const& reactor = *agent_->configReactor();
    std::array<std::size_t, 3> const real = {reactor.gpioLedConfig().size(),
                                             reactor.corvelLedSystemConfig()->gpioLeds().size(),
                                             reactor.gpioLedStateMachine().size()};
    std::array<std::size_t, 3> const expected = model_.counts();
    for (std::size_t i = 0; i < real.size(); ++i) {
      if (real[i] != expected[i]) {
        out << "count of " << kCounted[i] << " " << real[i] << ", model " << expected[i] << "; ";
      }
    }
  }
  if (loop_->currentTime() != model_.now()) {
    out.precision(17);
    out << "time " << loop_->currentTime() << ", model " << model_.now() << "; ";
  }
  return out.str();
}

}  // namespace PinlampReliability
