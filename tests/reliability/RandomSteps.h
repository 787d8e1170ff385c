// The seeded generator of what other agents do to the agent's inputs, one step at a time: mappings
// published, replaced, removed, made ready or not, their pin lists edited in place; LED
// configurations published, replaced, removed, their light setting changed (steady or flashing,
// now and then an interval that is not a number, infinite or huge); time passing by random
// amounts; now and then the agent restarted. Pins come from a small pool, so LEDs share them.
//
// Two kinds of step end badly by design, and the ordinary run steers round them, deliberately:
// - removing a mapping that has no output entry (it was never ready) ends the process; such a
//   removal is turned into making that mapping ready, after which removing it is fine, and
//   before the whole mapping directory is emptied every mapping is made ready;
// - replacing, in one step, the configuration of an LED whose machine runs and whose mapping is
//   ready raises the name-in-use error; such a replacement is made as a removal and, once that
//   is delivered, a publication.
// The model would report either if it slipped through. FatalStepTest makes both on purpose.
//
// Most steps are one change, delivered at once; a burst makes several changes to distinct LEDs
// before the agent hears of any.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "tests/reliability/LedWorld.h"
#include "tests/reliability/SimRandom.h"

namespace PinlampReliability {

struct Step {
  Step() = default;
  explicit Step(std::string text, std::vector<std::string> leds = {})
      : description(std::move(text)), touched(std::move(leds)) {}

  std::string description;
  std::vector<std::string> touched;  // LEDs whose state the step may have changed
  bool sweep = false;                // the step may have changed anything: check everything
  std::string mismatch;              // the agent disagreed with the model ("" when not)
};

class RandomSteps {
 public:
  RandomSteps(LedWorld& world, std::uint64_t seed) : world_(world), random_(seed) {}

  Step next();
  // Gives every mapping its output entry by making it ready. Destroying the agent, or emptying the
  // mapping directory, cleans every mapping up, and the clean-up of one that never was ready ends
  // the process: the run does this first, as the teardown of every agent must.
  Step readyAll();
  Step restart();

  // Leaves one LED whose mapping would end the process if removed now; returns its name.
  std::string neverReadyLed(Step& step);
  // Leaves one LED with a running machine and a ready mapping; returns its name.
  std::string drivenLed(Step& step);

  Led::LightSetting randomSetting();

 private:
  Step change();
  Step burst();
  Step advanceTime();
  Step publishMapping();
  Step removeMapping();
  Step removeAllMappings();
  Step toggleReady();
  Step editPins();
  Step toggleRetired();
  Step publishConfig();
  Step removeConfig();
  Step changeSetting();

  Step settled(std::string description, std::string const& led);
  // Delivers what is queued, or in a burst leaves it for the burst's end.
  void settleInto(Step& step);
  void settleNow(Step& step);
  LedWorld::PinChoice randomPins();
  std::string const& randomLed();
  std::string const& randomPin();

  LedWorld& world_;
  SimRandom random_;
  bool inBurst_ = false;
  std::set<std::string> burstLeds_;
};

}  // namespace PinlampReliability
