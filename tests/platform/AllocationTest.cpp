#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <vector>

#include "platform/zel/AllocTrack.h"
#include "platform/zel/Allocate.h"
#include "platform/zel/Ptr.h"
#include "platform/zel/PtrInterface.h"

namespace {

using Zel::AllocTrackTypeInfo;
using Zel::Ptr;

class Widget : public Zel::PtrInterface {
 public:
  explicit Widget(int id = 0) : id(id) {}
  int id;
  Ptr<Widget> next;  // lets one widget be the only owner of another
};

class Unbuildable : public Zel::PtrInterface {
 public:
  Unbuildable() { throw std::runtime_error("no parts"); }
};

class Switchable : public Zel::PtrInterface {
 public:
  void hasNotificationActiveIs(bool active) override {
    switchCalls.push_back(active);
    PtrInterface::hasNotificationActiveIs(active);
  }
  std::vector<bool> switchCalls;
};

// The counted base is not the first base, so the object's memory block does not start at it.
struct Payload {
  virtual ~Payload() = default;
  long words[4] = {1, 2, 3, 4};
};
class Mixed : public Payload, public Zel::PtrInterface {};

TEST(AllocateTest, ThrowingConstructorLeavesTrackerBalanced) {
  AllocTrackTypeInfo& info = AllocTrackTypeInfo::of<Unbuildable>();
  auto const before = info.allocations();

  EXPECT_THROW(Zel::allocate<Unbuildable>(), std::runtime_error);
  EXPECT_THROW(Zel::allocate<Unbuildable>(), std::runtime_error);

  EXPECT_EQ(info.allocations(), before + 2);
  EXPECT_EQ(info.deallocations(), info.allocations());
  EXPECT_EQ(info.live(), 0);
}

TEST(AllocateTest, FreesObjectsWhoseCountedBaseIsNotFirst) {
  AllocTrackTypeInfo& info = AllocTrackTypeInfo::of<Mixed>();
  Ptr<Zel::PtrInterface> counted = Zel::allocate<Mixed>();
  EXPECT_EQ(info.live(), 1);
  counted = nullptr;  // frees the block where the object starts, not where its base does
  EXPECT_EQ(info.live(), 0);
}

TEST(AllocateTest, SwitchesNotificationOnThroughAnOverrideWhenThereIsOne) {
  Ptr<Widget> plain = Zel::allocate<Widget>();
  EXPECT_TRUE(plain->hasNotificationActive());
  EXPECT_FALSE(plain->isMarkedForDeletion());

  Ptr<Switchable> switchable = Zel::allocate<Switchable>();
  EXPECT_EQ(switchable->switchCalls, std::vector<bool>{true});
  EXPECT_TRUE(switchable->hasNotificationActive());
}

// Run with plain and with atomic count updates; the switch is restored however the test ends.
class PointerModeTest : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override { Zel::enableThreadSafePointers = GetParam(); }
  void TearDown() override { Zel::enableThreadSafePointers = false; }
};

TEST_P(PointerModeTest, FlagsAndCountShareOneWordWithoutDisturbingEachOther) {
  AllocTrackTypeInfo& widgets = AllocTrackTypeInfo::of<Widget>();
  auto const before = widgets.live();
  Ptr<Widget> widget = Zel::allocate<Widget>();
  std::vector<Ptr<Widget>> copies(100, widget);
  EXPECT_EQ(widget->references(), 101u);

  widget->zelDoZombieReactors(true);
  widget->hasNotificationActiveIs(false);
  copies.resize(10);
  EXPECT_TRUE(widget->isMarkedForDeletion());
  EXPECT_FALSE(widget->hasNotificationActive());
  EXPECT_EQ(widget->references(), 11u);

  widget->zelDoZombieReactors(true);  // already a zombie: stays one
  EXPECT_TRUE(widget->isMarkedForDeletion());
  widget->zelDoZombieReactors(false);
  widget->hasNotificationActiveIs(true);
  EXPECT_FALSE(widget->isMarkedForDeletion());
  EXPECT_TRUE(widget->hasNotificationActive());

  Zel::enableThreadSafePointers = !GetParam();  // made in one mode, released in the other
  copies.clear();
  EXPECT_EQ(widget->references(), 1u);
  widget = nullptr;
  EXPECT_EQ(widgets.live(), before);
}

INSTANTIATE_TEST_SUITE_P(PlainAndAtomic, PointerModeTest, testing::Bool());

TEST(PtrDeathTest, DebugBuildsStopAReleaseOfAnUnreferencedObject) {
#ifdef NDEBUG
  GTEST_SKIP() << "counts are checked in debug builds only";
#else
  Widget unowned;  // never counted, so any release is one too many
  EXPECT_DEATH(unowned.deleteRef(), "kFlagBits\\) != 0");
#endif
}

TEST(PtrTest, AssigningItsOwnValueKeepsTheLastReference) {
  AllocTrackTypeInfo& widgets = AllocTrackTypeInfo::of<Widget>();
  auto const before = widgets.live();
  Ptr<Widget> p = Zel::allocate<Widget>(7);
  Ptr<Widget>& same = p;

  p = same;
  p = p.ptr();
  p = std::move(same);

  ASSERT_TRUE(p);
  EXPECT_EQ(p->id, 7);
  EXPECT_EQ(p->references(), 1u);
  EXPECT_EQ(widgets.live(), before + 1);
}

TEST(PtrTest, AssignmentTakesTheNewReferenceBeforeDroppingTheOld) {
  // In each form the only owner of widget 2 is widget 1, which the assignment releases.
  std::vector<std::function<void(Ptr<Widget>&)>> const forms = {
      [](Ptr<Widget>& head) { head = head->next; },
      [](Ptr<Widget>& head) { head = head->next.ptr(); },
      [](Ptr<Widget>& head) { head = std::move(head->next); },
  };
  for (auto const& assign : forms) {
    Ptr<Widget> head = Zel::allocate<Widget>(1);
    head->next = Zel::allocate<Widget>(2);
    assign(head);
    EXPECT_EQ(head->id, 2);
    EXPECT_EQ(head->references(), 1u);
  }
}

}  // namespace
