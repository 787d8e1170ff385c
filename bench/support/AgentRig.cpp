#include "bench/support/AgentRig.h"

#include <stdexcept>

#include "agent/AgentFactory.h"
#include "platform/model/CorvelPinConfig.h"
#include "platform/model/DatabasePaths.h"
#include "platform/model/GpioLedConfig.h"
#include "platform/model/LedConfig.h"
#include "platform/zel/Allocate.h"

namespace PinlampBench {

Led::LightSetting steady(bool green) {
  Led::LightSetting setting;
  setting.green = green;
  setting.red = !green;
  return setting;
}

Led::LightSetting flashing(double interval) {
  Led::LightSetting setting;
  setting.yellow = true;
  setting.flashInterval = interval;
  return setting;
}

Led::LightSetting dark() {
  return Led::LightSetting();
}

AgentRig::AgentRig(Zel::ActivityManager::TimeSource source)
    : loop_(source),
      database_(Statedb::Database::databaseIs()),
      entityManager_(Statedb::EntityManager::entityManagerIs(database_)) {
  mappings_ = Zel::ptrCast<Hardware::Gpio::GpioLedSystemConfigDir>(
      database_->entityIs(Hardware::kGpioLedMappingPath, "Hardware::Gpio::GpioLedSystemConfigDir"));
  leds_ = Zel::ptrCast<Hardware::Led::LedSystemConfigDir>(
      database_->entityIs(Hardware::kLedConfigPath, "Hardware::Led::LedSystemConfigDir"));
  if (!mappings_ || !leds_) throw std::runtime_error("input directories not created");
}

AgentRig::~AgentRig() {
  // The agent goes first, as when its process stops; the published entities go with the database.
  agent_ = nullptr;
  configs_.clear();
  loop_->runPending();
}

std::string AgentRig::ledName(std::size_t index) {
  std::string name = "Led";
  name += std::to_string(index);
  return name;
}

std::string AgentRig::pinName(char colour, std::size_t index) {
  std::string name(1, colour);
  name += std::to_string(index);
  return name;
}

void AgentRig::publishMapping(std::size_t index) {
  Ptr<Hardware::Gpio::GpioLedConfig> mapping =
      Hardware::Gpio::GpioLedConfig::gpioLedConfigIs(ledName(index));
  mapping->gpioYellowNameIs(pinName('Y', index));
  mapping->gpioGreenNameIs(pinName('G', index));
  mapping->gpioRedNameIs(pinName('R', index));
  mapping->gpioOrangeNameIs(pinName('O', index));
  mapping->readyIs(true);
  mappings_->gpioLedsIs(mapping);
}

void AgentRig::publishConfig(std::size_t index, Led::LightSetting const& setting) {
  Ptr<Hardware::Led::LedConfig> config = Hardware::Led::LedConfig::ledConfigIs(ledName(index));
  config->lightSettingIs(setting);
  leds_->ledsIs(config);
  if (configs_.size() <= index) configs_.resize(index + 1);
  configs_[index] = config;
}

void AgentRig::changeSetting(std::size_t index, Led::LightSetting const& setting) {
  configs_[index]->lightSettingIs(setting);
}

void AgentRig::publishLeds(std::size_t count, Mix mix, double interval) {
  configs_.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    publishMapping(i);
    Led::LightSetting setting = dark();
    if (mix == Mix::allFlashing || (mix == Mix::halfFlashing && i % 2 == 1)) {
      setting = flashing(interval);
    } else if (mix == Mix::halfFlashing) {
      setting = steady(i % 4 == 0);
    }
    publishConfig(i, setting);
  }
}

void AgentRig::startAgent() {
  agent_ = Pinlamp::agentFactory("pinlamp");
  agent_->entityManagerIs(entityManager_);
  agent_->doInit();
}

void AgentRig::startAgentAndSettle() {
  startAgent();
  loop_->runPending();
  if (!agent_->configReactor()) throw std::runtime_error("the agent did not start");
}

Pinlamp::ConfigReactor& AgentRig::reactor() const {
  if (!agent_ || !agent_->configReactor()) throw std::runtime_error("the agent has no reactor");
  return *agent_->configReactor();
}

std::size_t AgentRig::machineCount() const {
  return reactor().gpioLedStateMachine().size();
}

Zel::Dir& AgentRig::pinDir() const {
  auto dir = Zel::ptrCast<Zel::Dir>(database_->entityIs(Hardware::kCorvelPinPath, "Zel::Dir"));
  if (!dir) throw std::runtime_error("pin directory not created");
  return *dir;
}

std::size_t AgentRig::pinCount() const {
  return agent_->gpioPinConfigDir() ? agent_->gpioPinConfigDir()->entryCount() : 0;
}

long AgentRig::pinValue(std::size_t index, char colour) const {
  Ptr<Zel::Entity> entry = agent_->gpioPinConfigDir()->entityRef(pinName(colour, index));
  auto pin = Zel::ptrCast<Hardware::Gpio::CorvelPinConfig>(entry);
  return pin ? static_cast<long>(pin->value()) : -1;
}

}  // namespace PinlampBench
