#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/zel/ActivityManagerScope.h"
#include "platform/zel/AllocTrack.h"
#include "platform/zel/Allocate.h"
#include "platform/zel/Dir.h"
#include "platform/zel/Trace.h"

namespace {

using Zel::Dir;
using Zel::Ptr;
using Log = std::vector<std::string>;

// Records each entry notification as "<tag>:<name>" and then runs an optional action.
class EntryWatcher : public Dir::NotifieeConst {
 public:
  EntryWatcher(Ptr<Dir const> const& dir, Log* log, std::string tag)
      : Dir::NotifieeConst(dir), log_(log), tag_(std::move(tag)) {}
  using Dir::NotifieeConst::onEntry;
  void onEntry(Zel::Name name) override {
    log_->push_back(tag_ + ":" + name.stdString());
    if (onEntryDo) onEntryDo();
  }
  std::function<void()> onEntryDo;

 private:
  Log* log_;
  std::string tag_;
};

class NotificationTest : public testing::Test {
 protected:
  void SetUp() override { Zel::traceSinkIs(&sink_); }
  void TearDown() override { Zel::traceSinkIs(nullptr); }

  Ptr<EntryWatcher> watch(std::string tag) {
    return Zel::allocate<EntryWatcher>(dir_, &log_, std::move(tag));
  }

  Zel::ActivityManagerScope loop_{Zel::ActivityManager::TimeSource::virtualTime};
  Zel::CapturingTraceSink sink_;
  Ptr<Dir> dir_ = Dir::dirIs("config");
  Log log_;
};

TEST_F(NotificationTest, ChangesArriveFromTheLoopAndAnExistingNameKeepsItsEntry) {
  Ptr<EntryWatcher> watcher = watch("w");
  Ptr<Zel::Entity> first = dir_->entryIs("Fan1", "Zel::Dir");
  EXPECT_TRUE(log_.empty());  // reactors hear of changes only from the loop
  EXPECT_EQ(loop_->runPending(), 1u);
  log_.clear();

  EXPECT_EQ(dir_->entryIs("Fan1", "Zel::Dir"), first);
  EXPECT_EQ(dir_->entryIs(first), first);
  EXPECT_FALSE(loop_->hasPending());
  EXPECT_EQ(dir_->entryCount(), 1u);
  EXPECT_EQ(first->parent(), dir_.ptr());

  Ptr<Zel::Entity> second = Dir::dirIs("Fan1");
  dir_->entryIs(second);  // a different entity under the same name replaces the first
  loop_->runPending();
  EXPECT_EQ(log_, (Log{"w:Fan1"}));
  EXPECT_EQ(dir_->entityRef("Fan1"), second);
  EXPECT_EQ(second->parent(), dir_.ptr());
  EXPECT_EQ(first->parent(), nullptr);
}

TEST_F(NotificationTest, RemovedReactorsAreSkippedAndAddedOnesWaitForTheNextChange) {
  auto& tracker = Zel::AllocTrackTypeInfo::of<EntryWatcher>();
  auto const liveBefore = tracker.live();
  Ptr<EntryWatcher> first = watch("first");
  Ptr<EntryWatcher> dropped = watch("dropped");
  Ptr<EntryWatcher> unregistered = watch("unregistered");
  Ptr<EntryWatcher> last = watch("last");
  Ptr<EntryWatcher> added;
  first->onEntryDo = [&] {
    dropped = nullptr;
    unregistered->isRegisteredNotifieeIs(false);
    added = watch("added");
  };

  dir_->entryIs("Fan1", "Zel::Dir");
  loop_->runPending();
  EXPECT_EQ(log_, (Log{"first:Fan1", "last:Fan1"}));
  EXPECT_EQ(tracker.live(), liveBefore + 4);
  EXPECT_EQ(dir_->notifieeCount(), 3u);

  first->onEntryDo = nullptr;
  unregistered->isRegisteredNotifieeIs(true);
  log_.clear();
  dir_->entryIs("Fan2", "Zel::Dir");
  loop_->runPending();
  EXPECT_EQ(log_, (Log{"first:Fan2", "last:Fan2", "added:Fan2", "unregistered:Fan2"}));
}

TEST_F(NotificationTest, AReactorMayDropItsLastOwnerFromItsOwnHandler) {
  Ptr<EntryWatcher> self = watch("self");
  Ptr<EntryWatcher> other = watch("other");
  self->onEntryDo = [&] { self = nullptr; };
  dir_->entryIs("Fan1", "Zel::Dir");
  dir_->entryIs("Fan2", "Zel::Dir");
  loop_->runPending();
  EXPECT_EQ(log_, (Log{"self:Fan1", "other:Fan1", "other:Fan2"}));
}

// Immediate notifications come from inside a mutation, where the notifier may be reachable only
// through its reactors: detaching the last one must not free the entity under the delivery.
class Detacher : public Dir::NotifieeConst {
 public:
  explicit Detacher(Ptr<Dir const> const& dir) : Dir::NotifieeConst(dir) {}
  void onEntryzelImmediate() override { notifierIs(nullptr); }
};

TEST_F(NotificationTest, DetachingTheLastHolderDuringADeliveryFreesTheEntityAfterIt) {
  auto& dirs = Zel::AllocTrackTypeInfo::of<Dir>();
  Ptr<Dir> dir = Dir::dirIs("orphan");
  Ptr<Detacher> first = Zel::allocate<Detacher>(dir);
  Ptr<Detacher> second = Zel::allocate<Detacher>(dir);
  Dir const* raw = dir.ptr();
  dir = nullptr;
  auto const liveBefore = dirs.live();
  raw->deliver(Dir::Attr::entryImmediate, nullptr);
  EXPECT_EQ(dirs.live(), liveBefore - 1);
  EXPECT_EQ(first->notifier(), nullptr);
  EXPECT_EQ(second->notifier(), nullptr);
}

}  // namespace
