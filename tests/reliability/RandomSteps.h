// The seeded generator of what other agents do to the agent's inputs, one step at a time:
// mappings and LED configurations published, replaced, removed, edited in place (now and then a
// flash interval that is not a number, infinite or huge); time passing; the agent restarted. Most
// steps are one change delivered at once; a burst makes several before the agent hears of any.
//
// Two kinds of step end badly by design, and the ordinary run steers round them (the model would
// report either if it slipped through; the fatal-step tests make both on purpose):
// - removing a mapping that was never ready ends the process: it is made ready instead, and
//   before the mapping directory is emptied every mapping is made ready;
// - replacing in one step the configuration of a driven LED raises the name-in-use error: it is
//   made as a removal and, once that is delivered, a publication.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "tests/reliability/LedWorld.h"

namespace PinlampReliability {

// Fixed by the seed alone on every compiler and standard library (the standard distributions are
// not), so that a failing seed replays exactly. SplitMix64: every seed, 0 included, mixes well.
class SimRandom {
 public:
  explicit SimRandom(std::uint64_t seed) : state_(seed) {}

  std::uint64_t next() {
    std::uint64_t z = (state_ += 0x9e3779b97f4a7c15ULL);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    return z ^ (z >> 31);
  }
  // 0 .. n-1; the modulo bias is far below anything a test could notice.
  std::size_t below(std::size_t n) { return static_cast<std::size_t>(next() % n); }
  bool percent(unsigned chance) { return below(100) < chance; }
  bool coin() { return (next() & 1u) != 0; }
  // [0, 1)
  double unit() { return static_cast<double>(next() >> 11) * 0x1.0p-53; }

 private:
  std::uint64_t state_;
};

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
  // Makes every mapping ready, so that each has the output entry that its clean-up needs.
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
  Step removeAllMappings();

  // Delivers what is queued, unless in a burst (which delivers at its end).
  Step settled(std::string description, std::string const& led);
  void settleInto(Step& step, bool evenInBurst = false);
  LedWorld::PinChoice randomPins();
  std::string const& randomLed();
  std::string const& randomPin();

  LedWorld& world_;
  SimRandom random_;
  bool inBurst_ = false;
  std::set<std::string> burstLeds_;
};

}  // namespace PinlampReliability
