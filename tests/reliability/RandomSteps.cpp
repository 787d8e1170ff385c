#include "tests/reliability/RandomSteps.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>

namespace PinlampReliability {

namespace {

// Machines started in the same step with the same interval tick at the very same times, and some
// intervals are exact multiples of others (0.25, 0.5, 1.0), so equal wake-ups are common and the
// clock's order among them decides who writes a shared pin last.
constexpr double kFlashIntervals[] = {0.05, 0.1, 0.25, 0.3, 0.5, 0.75, 1.0, 1.5, 2.0};

std::string describe(Led::LightSetting const& setting) {
  std::ostringstream out;
  for (Colour const& colour : kColours) {
    if (setting.*colour.lit) out << colour.name[0];
  }
  out << (setting.isDark() ? "off" : "") << " flash " << setting.flashInterval;
  return out.str();
}

std::string describe(LedWorld::PinChoice const& pins) {
  std::string text;
  for (int colour = 0; colour < kColourCount; ++colour) {
    text += std::string(" ") + kColours[colour].name[0] + "[";
    for (std::string const& pin : pins[colour]) text += pin + " ";
    text += "]";
  }
  return text;
}

}  // namespace

Step RandomSteps::next() {
  if (random_.below(4000) == 0) return restart();
  if (random_.below(500) == 0) return removeAllMappings();
  std::size_t const roll = random_.below(100);
  if (roll < 18) return advanceTime();
  if (roll < 23) return burst();
  return change();
}

// Other agents change several LEDs at once: the agent hears of all the changes together, in
// order. Each LED is changed once, so every change is judged (for the steps steered round) on the
// state in which it is delivered.
Step RandomSteps::burst() {
  Step step{"burst:"};
  burstLeds_.clear();
  inBurst_ = true;
  for (std::size_t count = 2 + random_.below(3); count > 0; --count) {
    Step const part = change();
    step.description += " [" + part.description + "]";
    step.touched.insert(step.touched.end(), part.touched.begin(), part.touched.end());
    step.sweep = step.sweep || part.sweep;
    if (step.mismatch.empty()) step.mismatch = part.mismatch;
  }
  inBurst_ = false;
  settleInto(step);
  return step;
}

Led::LightSetting RandomSteps::randomSetting() {
  Led::LightSetting setting;
  for (Colour const& colour : kColours) setting.*colour.lit = random_.coin();
  setting.priority = static_cast<std::uint32_t>(random_.below(3));  // not read by the agent
  std::size_t const roll = random_.below(100);
  if (roll < 45) {
    setting.flashInterval = 0.0;
  } else if (roll < 97) {
    setting.flashInterval = kFlashIntervals[random_.below(std::size(kFlashIntervals))];
  } else if (roll == 97) {
    setting.flashInterval = std::numeric_limits<double>::quiet_NaN();
  } else if (roll == 98) {
    setting.flashInterval = std::numeric_limits<double>::infinity();
  } else {
    setting.flashInterval = 1e9;
  }
  return setting;
}

LedWorld::PinChoice RandomSteps::randomPins() {
  LedWorld::PinChoice pins;
  for (auto& colour : pins) {
    std::size_t const roll = random_.below(10);
    std::size_t const count = roll < 3 ? 0 : roll < 8 ? 1 : 2;
    for (std::size_t i = 0; i < count; ++i) {
      std::string const& pin = randomPin();
      if (std::find(colour.begin(), colour.end(), pin) == colour.end()) colour.push_back(pin);
    }
  }
  return pins;
}

std::string const& RandomSteps::randomLed() {
  std::vector<std::string> const& names = world_.ledNames();
  std::string const* name = &names[random_.below(names.size())];
  if (!inBurst_) return *name;
  while (burstLeds_.count(*name)) name = &names[random_.below(names.size())];
  burstLeds_.insert(*name);
  return *name;
}

std::string const& RandomSteps::randomPin() {
  return world_.pinPool()[random_.below(world_.pinPool().size())];
}

void RandomSteps::settleInto(Step& step, bool evenInBurst) {
  if (inBurst_ && !evenInBurst) return;
  std::string mismatch = world_.settle();
  if (step.mismatch.empty()) step.mismatch = std::move(mismatch);
}

Step RandomSteps::settled(std::string description, std::string const& led) {
  Step step{std::move(description), {led}};
  settleInto(step);
  return step;
}

Step RandomSteps::advanceTime() {
  double seconds = 0.0;
  std::size_t const roll = random_.below(100);
  double const nextTick = world_.model().nextWakeUp() - world_.model().now();
  if (roll < 10) {
    seconds = 0.0;
  } else if (roll < 25 && nextTick >= 0.0 && nextTick <= 10.0) {
    seconds = nextTick;  // land on a tick
  } else if (roll < 85) {
    seconds = random_.unit() * 1.2;
  } else {
    seconds = random_.unit() * 6.0;
  }
  std::ostringstream description;
  description.precision(17);
  description << "advance " << seconds << "s from " << world_.model().now();
  Step step{description.str()};
  step.mismatch = world_.advance(seconds, step.touched);
  std::sort(step.touched.begin(), step.touched.end());
  step.touched.erase(std::unique(step.touched.begin(), step.touched.end()), step.touched.end());
  return step;
}

// One change to one LED's inputs, or to an old mapping object.
Step RandomSteps::change() {
  enum Kind {
    publishMapping,
    removeMapping,
    toggleReady,
    editPins,
    toggleRetired,
    publishConfig,
    removeConfig,
    changeSetting
  };
  constexpr std::size_t kRollBelow[] = {110, 170, 310, 400, 425, 555, 625, 1000};
  std::size_t const roll = random_.below(1000);
  int kind = 0;
  while (roll >= kRollBelow[kind]) ++kind;
  if (kind == toggleRetired && world_.retiredMappingCount() == 0) kind = changeSetting;
  if (kind == toggleRetired) {
    std::size_t const index = random_.below(world_.retiredMappingCount());
    world_.retiredMappingToggled(index);
    Step step{"toggle ready of retired mapping object #" + std::to_string(index)};
    step.sweep = true;
    settleInto(step);
    return step;
  }
  std::string const& name = randomLed();
  ModelLed const& led = world_.model().led(name);
  switch (kind) {
    case publishMapping: {
      bool const ready = random_.percent(70);
      LedWorld::PinChoice const pins = randomPins();
      std::string const verb = led.mapping ? "replace" : "publish";
      world_.mappingPublished(name, ready, pins);
      return settled(verb + " mapping " + name + (ready ? " ready" : " not ready") + describe(pins),
                     name);
    }
    case removeMapping: {
      if (led.watched && !led.output) {
        world_.readyIs(name, true);
        return settled("make mapping " + name + " ready (removing it now would end the process)",
                       name);
      }
      world_.mappingRemoved(name);
      // Its pins leave the directory also for every other LED that lists them.
      Step step = settled("remove mapping " + name, name);
      step.sweep = true;
      return step;
    }
    case toggleReady: {
      bool const ready = led.mapping && !led.mapping->ready();
      world_.readyIs(name, ready);
      return settled("set ready of " + name + " to " + (ready ? "true" : "false"), name);
    }
    case editPins: {
      int const colour = static_cast<int>(random_.below(kColourCount));
      std::string const& pin = randomPin();
      bool const listed = random_.coin();
      world_.pinListed(name, colour, pin, listed);
      return settled(std::string(listed ? "list " : "unlist ") +
                         std::string(kColours[colour].name) + " pin " + pin + " in mapping " + name,
                     name);
    }
    case publishConfig: {
      Led::LightSetting const setting = randomSetting();
      if (!(led.machine && led.mapping && led.mapping->ready())) {
        std::string const verb = led.config ? "replace" : "publish";
        world_.configPublished(name, setting);
        return settled(verb + " configuration " + name + " " + describe(setting), name);
      }
      Step step{"remove, then publish, configuration " + name + " " + describe(setting) +
                    " (replacing it in one step while driven fails)",
                {name}};
      world_.configRemoved(name);
      settleInto(step, true);
      world_.configPublished(name, setting);
      settleInto(step);
      return step;
    }
    case removeConfig:
      world_.configRemoved(name);
      return settled("remove configuration " + name, name);
    default: {
      Led::LightSetting const setting = randomSetting();
      world_.settingIs(name, setting);
      return settled("show " + describe(setting) + " on " + name, name);
    }
  }
}

Step RandomSteps::readyAll() {
  Step step{"make every mapping ready"};
  for (std::string const& name : world_.ledNames()) {
    Zel::Ptr<GpioLedConfig> const& mapping = world_.model().led(name).mapping;
    if (!mapping || mapping->ready()) continue;
    world_.readyIs(name, true);
    settleInto(step);
    step.touched.push_back(name);
  }
  return step;
}

Step RandomSteps::removeAllMappings() {
  Step step = readyAll();
  step.description = "make every mapping ready, then empty the mapping directory";
  if (step.mismatch.empty()) step.mismatch = world_.allMappingsRemoved();
  settleInto(step);
  step.sweep = true;
  return step;
}

Step RandomSteps::restart() {
  Step step = readyAll();
  step.description = "restart the agent";
  if (step.mismatch.empty()) step.mismatch = world_.agentStopped();
  if (step.mismatch.empty()) step.mismatch = world_.agentStarted();
  step.sweep = true;
  return step;
}

std::string RandomSteps::neverReadyLed(Step& step) {
  std::string const name = randomLed();
  ModelLed const& led = world_.model().led(name);
  if (led.watched && !led.output) return name;
  step.description += "remove mapping " + name + ", then publish it not ready; ";
  world_.mappingRemoved(name);
  settleInto(step);
  world_.mappingPublished(name, false, randomPins());
  settleInto(step);
  return name;
}

std::string RandomSteps::drivenLed(Step& step) {
  std::string const name = randomLed();
  step.description += "drive " + name + "; ";
  if (!world_.model().led(name).mapping) world_.mappingPublished(name, true, randomPins());
  world_.readyIs(name, true);
  if (!world_.model().led(name).config) world_.configPublished(name, randomSetting());
  settleInto(step);
  return name;
}

}  // namespace PinlampReliability
