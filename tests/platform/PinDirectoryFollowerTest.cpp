#include "platform/model/PinDirectoryFollower.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/zel/ActivityManagerScope.h"

namespace Hardware::Gpio {
namespace {

class Recorder : public PinDirectoryFollower::Owner {
 public:
  // Each arrival gets a tag of its own, so that a value heard with another pin's tag shows.
  Tag onPinArrived(std::string const& name, CorvelPinConfig const& pin) override {
    heard.push_back("arrived " + name + " " + std::to_string(pin.value()));
    return ++arrivals;
  }
  void onPinValue(Tag tag, std::string const& name, CorvelPinConfig const& pin) override {
    heard.push_back("value " + name + " " + std::to_string(pin.value()) + " #" +
                    std::to_string(tag));
  }
  Tag arrivals = 0;
  void onPinLeft(std::string const& name) override { heard.push_back("left " + name); }
  std::vector<std::string> heard;
};

class PinDirectoryFollowerTest : public testing::Test {
 protected:
  Zel::Ptr<CorvelPinConfig> pin(char const* name) {
    return Zel::ptrCast<CorvelPinConfig>(pins_->entryIs(name, "Hardware::Gpio::CorvelPinConfig"));
  }
  std::vector<std::string> heard() {
    loop_->runPending();
    return std::exchange(owner_.heard, {});
  }

  Zel::ActivityManagerScope loop_{Zel::ActivityManager::TimeSource::virtualTime};
  Zel::Ptr<Zel::Dir> pins_ = Zel::Dir::dirIs("pins");
  Recorder owner_;
};

TEST_F(PinDirectoryFollowerTest, FollowsEachPinFromArrivalToLeaving) {
  pin("a")->valueIs(1);
  std::optional<PinDirectoryFollower> follower(std::in_place, *pins_, owner_);
  EXPECT_EQ(owner_.heard, std::vector<std::string>{"arrived a 1"});  // before it returns
  owner_.heard.clear();

  pins_->entryIs(Zel::Dir::dirIs("sub"));  // not a pin: nobody is told
  auto b = pin("b");
  EXPECT_EQ(heard(), std::vector<std::string>{"arrived b 0"});
  b->valueIs(1);
  EXPECT_EQ(heard(), std::vector<std::string>{"value b 1 #2"});

  // Another entity under a followed name: the old one is no longer heard.
  pins_->entryDel("b");
  auto b2 = pin("b");
  b->valueIs(0);
  EXPECT_EQ(heard(), std::vector<std::string>{"arrived b 0"});
  b2->valueIs(1);
  EXPECT_EQ(heard(), std::vector<std::string>{"value b 1 #3"});

  pins_->entryDel("a");
  EXPECT_EQ(heard(), std::vector<std::string>{"left a"});
  EXPECT_EQ(follower->followedCount(), 1u);

  // Notifications already queued when the follower goes reach nobody.
  b2->valueIs(0);
  pin("c");
  follower.reset();
  EXPECT_EQ(heard(), std::vector<std::string>{});
}

}  // namespace
}  // namespace Hardware::Gpio
