#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/live/PinChangeLog.h"
#include "host/live/PinWatcher.h"
#include "platform/zel/ActivityManagerScope.h"
#include "platform/zel/Allocate.h"

namespace Host {
namespace {

using Hardware::Gpio::CorvelPinConfig;

class PinWatcherTest : public testing::Test {
 protected:
  void SetUp() override { pins_ = Zel::Dir::dirIs("config"); }

  Zel::Ptr<CorvelPinConfig> pin(char const* name) {
    return Zel::ptrCast<CorvelPinConfig>(pins_->entryIs(name, "Hardware::Gpio::CorvelPinConfig"));
  }

  std::vector<std::string> changes() {
    loop_->runPending();
    return std::exchange(lines_, {});
  }

  Zel::ActivityManagerScope loop_{Zel::ActivityManager::TimeSource::virtualTime};
  Zel::Ptr<Zel::Dir> pins_;
  std::vector<std::string> lines_;
  PinWatcher::Listener const log_ = [this](PinChange const& change) {
    lines_.push_back(formatPinChange(change));
  };
};

TEST_F(PinWatcherTest, ReportsEachVisibleChangeOnce) {
  pin("early")->valueIs(1);
  PinWatcher watcher(
      *pins_, [this] { return loop_->currentTime(); }, log_);
  EXPECT_EQ(changes(), std::vector<std::string>{"0.000 pin early 1"});  // known at the start

  auto p1 = pin("p1");
  EXPECT_EQ(changes(), std::vector<std::string>{"0.000 pin p1 0"});

  loop_->advance(1.25);
  p1->valueIs(1);
  p1->valueIs(0);  // dark and at once lit again: no change for anyone reading the pin
  p1->valueIs(1);
  EXPECT_EQ(changes(), std::vector<std::string>{"1.250 pin p1 1"});
  p1->valueIs(1);
  EXPECT_EQ(changes(), std::vector<std::string>{});
  p1->valueIs(1);
  p1->valueIs(0);
  EXPECT_EQ(changes(), std::vector<std::string>{"1.250 pin p1 0"});

  pins_->entryIs(Zel::Dir::dirIs("not-a-pin"));  // other entities are no pins
  pins_->entryDel("p1");
  EXPECT_EQ(changes(), std::vector<std::string>{"1.250 pin p1 removed"});
}

TEST_F(PinWatcherTest, FollowsAPinReplacedByAnotherEntity) {
  pin("p1")->valueIs(1);
  PinWatcher watcher(
      *pins_, [] { return 0.0; }, log_);
  changes();
  auto replacement = Zel::allocate<CorvelPinConfig>(Zel::Name("p1"));
  pins_->entryIs(replacement);
  EXPECT_EQ(changes(), std::vector<std::string>{"0.000 pin p1 0"});
  replacement->valueIs(1);
  EXPECT_EQ(changes(), std::vector<std::string>{"0.000 pin p1 1"});
}

TEST_F(PinWatcherTest, StopsReportingWhenGone) {
  auto p1 = pin("p1");
  {
    PinWatcher watcher(
        *pins_, [] { return 0.0; }, log_);
    changes();
    p1->valueIs(1);
  }
  EXPECT_EQ(changes(), std::vector<std::string>{});
  EXPECT_EQ(p1->notifieeCount(), 0u);
  EXPECT_EQ(pins_->notifieeCount(), 0u);
}

}  // namespace
}  // namespace Host
