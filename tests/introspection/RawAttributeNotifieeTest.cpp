// Watching entities without knowing their types: every attribute change arrives with its
// identifier, which the entity's table names.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/zel/Allocate.h"
#include "platform/zel/generic/RawAttributeNotifiee.h"
#include "tests/introspection/IntrospectionFixture.h"

namespace PinlampTest {
namespace {

using namespace Zel::GenericIf;

// Records "attribute" or "attribute[key]", named through the watched entity's table.
class Recorder : public RawAttributeNotifiee {
 public:
  using RawAttributeNotifiee::RawAttributeNotifiee;
  void onRawAttribute(Zel::AttributeId attribute, Zel::Name const* key) override {
    AttributeInfo const* info = attributeForNotification(*notifierBase(), attribute);
    // Appended piece by piece: GCC 12 in Release warns of a false overlap on the concatenations.
    std::string text = info ? info->name.stdString() : std::string("#");
    if (!info) text.append(std::to_string(attribute));
    if (key) text.append("[").append(key->stdString()).append("]");
    seen.push_back(text);
    ids.push_back(attribute);
  }
  std::vector<std::string> seen;
  std::vector<Zel::AttributeId> ids;
};

class RawAttributeNotifieeTest : public IntrospectionFixture {};

TEST_F(RawAttributeNotifieeTest, APinsValueChangeArrivesWithItsAttributeId) {
  auto const green = Zel::allocate<Recorder>(world_.pin("G1"));
  auto const red = Zel::allocate<Recorder>(world_.pin("R1"));
  world_.setLed("Led1", setting("r"));
  world_.runPending();

  EXPECT_EQ(green->ids,
            (std::vector<Zel::AttributeId>{Hardware::Gpio::CorvelPinConfig::Attr::value}));
  EXPECT_EQ(green->seen, (std::vector<std::string>{"value"}));
  EXPECT_EQ(red->seen, (std::vector<std::string>{"value"}));
}

TEST_F(RawAttributeNotifieeTest, ACollectionMemberChangeCarriesItsKey) {
  auto const recorder = Zel::allocate<Recorder>(world_.mappingOf("Led1"));
  world_.mappingOf("Led1")->gpioYellowNameIs("Y7");
  world_.mappingReadyIs("Led1", false);
  world_.runPending();
  EXPECT_EQ(recorder->seen, (std::vector<std::string>{"gpioYellowName[Y7]", "ready"}));

  recorder->notifierIs(nullptr);
  world_.mappingReadyIs("Led1", true);
  world_.runPending();
  EXPECT_EQ(recorder->seen.size(), 2u);
}

}  // namespace
}  // namespace PinlampTest
