// What the agent's reactors hear when other agents' changes are applied to its inputs: the order
// and the granularity are the contract that makes every database look alike to the agent.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/inputs/InputApplier.h"
#include "platform/zel/ActivityManagerScope.h"
#include "platform/zel/Allocate.h"

namespace {

using Hardware::Gpio::GpioLedConfig;
using Inputs::InputChange;
using Inputs::MappingFields;
using Log = std::vector<std::string>;

// Records each notification of one mapping as "<attribute> <pin>".
class MappingWatcher : public GpioLedConfig::NotifieeConst {
 public:
  MappingWatcher(Zel::Ptr<GpioLedConfig const> const& mapping, Log* log)
      : NotifieeConst(mapping), log_(log) {}
  using NotifieeConst::onGpioGreenName;
  using NotifieeConst::onGpioRedName;
  void onGpioGreenName(Zel::Name pin) override { log_->push_back("green " + pin.stdString()); }
  void onGpioRedName(Zel::Name pin) override { log_->push_back("red " + pin.stdString()); }
  void onReady() override { log_->push_back("ready"); }

 private:
  Log* log_;
};

MappingFields fields(std::vector<std::string_view> green, std::vector<std::string_view> red,
                     std::optional<bool> ready) {
  MappingFields result;
  result.pins[1] = std::move(green);
  result.pins[2] = std::move(red);
  result.ready = ready;
  return result;
}

class InputApplierTest : public testing::Test {
 protected:
  Zel::ActivityManagerScope loop_{Zel::ActivityManager::TimeSource::virtualTime};
  Zel::Ptr<Hardware::Gpio::GpioLedSystemConfigDir> mappings_ =
      Zel::allocate<Hardware::Gpio::GpioLedSystemConfigDir>("led");
  Zel::Name const name_{"eth1"};
  Log log_;
};

// A set changes the published mapping in place: colour by colour the stale pins leave before the
// new ones come, and `ready` comes last; equal values notify no one, and a colour the change does
// not list keeps its pins.
TEST_F(InputApplierTest, ASetChangesTheMappingInPlacePinsFirstThenReady) {
  EXPECT_FALSE(Inputs::mappingApplied(*mappings_, name_, InputChange::set,
                                      fields({"g1", "g2"}, {"r1"}, false)));
  Zel::Ptr<GpioLedConfig> const published = mappings_->gpioLeds(name_);
  ASSERT_TRUE(published);
  auto const watcher = Zel::allocate<MappingWatcher>(published, &log_);
  loop_->runPending();
  log_.clear();

  EXPECT_TRUE(
      Inputs::mappingApplied(*mappings_, name_, InputChange::set, fields({"g1", "g3"}, {}, true)));
  loop_->runPending();
  EXPECT_EQ(mappings_->gpioLeds(name_), published);
  EXPECT_EQ(log_, (Log{"green g2", "green g3", "red r1", "ready"}));

  log_.clear();
  Inputs::mappingApplied(*mappings_, name_, InputChange::set, fields({"g3", "g1"}, {}, true));
  MappingFields onlyReady;
  onlyReady.ready = true;
  Inputs::mappingApplied(*mappings_, name_, InputChange::set, onlyReady);
  loop_->runPending();
  EXPECT_EQ(log_, Log{});
  EXPECT_EQ(published->gpioGreenName().size(), 2u);

  // One pin under two colours (a mixed colour lit through the pins of others) is held by each.
  Inputs::mappingApplied(*mappings_, name_, InputChange::set, fields({"g3", "g1"}, {"g1"}, true));
  loop_->runPending();
  EXPECT_EQ(log_, Log{"red g1"});
  EXPECT_TRUE(published->gpioRedName().contains("g1"));
  watcher->notifierIs(nullptr);
}

// A replace, or a set of a mapping that is not there, inserts one built whole; a remove takes it
// away and says whether there was one.
TEST_F(InputApplierTest, AReplaceBuildsANewMappingAndARemoveTakesItAway) {
  Inputs::mappingApplied(*mappings_, name_, InputChange::set, fields({"g1"}, {"r1"}, true));
  Zel::Ptr<GpioLedConfig> const first = mappings_->gpioLeds(name_);

  EXPECT_TRUE(Inputs::mappingApplied(*mappings_, name_, InputChange::replace,
                                     fields({"g1"}, {}, std::nullopt)));
  Zel::Ptr<GpioLedConfig> const second = mappings_->gpioLeds(name_);
  ASSERT_TRUE(second);
  EXPECT_NE(second, first);
  EXPECT_FALSE(second->ready());
  EXPECT_EQ(second->gpioRedName().size(), 0u);

  EXPECT_TRUE(Inputs::mappingApplied(*mappings_, name_, InputChange::remove));
  EXPECT_FALSE(mappings_->gpioLeds(name_));
  EXPECT_FALSE(Inputs::mappingApplied(*mappings_, name_, InputChange::remove));
}

// Of an LED's setting a writer owns the colours and the flash interval: a set keeps the model's
// other fields, a replace starts them afresh.
TEST_F(InputApplierTest, AnLedSetKeepsWhatTheWriterDoesNotOwn) {
  auto leds = Zel::allocate<Hardware::Led::LedSystemConfigDir>("config");
  Led::LightSetting lit;
  lit.green = true;
  Inputs::ledApplied(*leds, name_, InputChange::set, lit);
  Zel::Ptr<Hardware::Led::LedConfig> const published = leds->leds(name_);
  Led::LightSetting held = published->lightSetting();
  held.priority = 7;
  published->lightSettingIs(held);

  lit.flashInterval = 0.5;
  lit.priority = 1;  // not the writer's: ignored
  Inputs::ledApplied(*leds, name_, InputChange::set, lit);
  EXPECT_EQ(leds->leds(name_), published);
  EXPECT_EQ(published->lightSetting().priority, 7);
  EXPECT_EQ(published->lightSetting().flashInterval, 0.5);

  Inputs::ledApplied(*leds, name_, InputChange::replace, lit);
  EXPECT_NE(leds->leds(name_), published);
  EXPECT_EQ(leds->leds(name_)->lightSetting().priority, Led::LightSetting{}.priority);
}

}  // namespace
