#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <system_error>

#include "platform/zel/ActivityManagerScope.h"
#include "platform/zel/Allocate.h"
#include "platform/zel/Trace.h"

namespace {

using Zel::ActivityManagerScope;
using Source = Zel::ActivityManager::TimeSource;

TEST(ActivityLoopTest, EachScopeBringsBackTheLoopBelowItEvenWhenScopesEndOutOfTurn) {
  ActivityManagerScope outer(Source::virtualTime, 10.0);
  {
    ActivityManagerScope inner(Source::virtualTime, 20.0);
    EXPECT_EQ(Zel::activityManager(), &*inner);
    EXPECT_EQ(Zel::System::currentTime(), 20.0);
  }
  EXPECT_EQ(Zel::activityManager(), &*outer);

  auto first = std::make_unique<ActivityManagerScope>(Source::virtualTime, 30.0);
  auto second = std::make_unique<ActivityManagerScope>(Source::virtualTime, 40.0);
  first.reset();  // the older one ends first: the newer stays installed
  EXPECT_EQ(Zel::activityManager(), &**second);
  second.reset();
  EXPECT_EQ(Zel::activityManager(), &*outer);
}

// A fresh process (the death-test child) that traces before any loop exists.
TEST(ActivityLoopDeathTest, TracingWithoutALoopMakesNone) {
  EXPECT_EXIT(
      {
        Zel::CapturingTraceSink sink;
        Zel::traceSinkIs(&sink);
        Zel::traceLevelsIs("ActivityLoopTest", 1u << 3);
        Zel::TraceHandle const handle("ActivityLoopTest", false);
        ZEL_TRACE(handle, 3, "Pinlamp", 1, "f", "before any loop");
        bool const clean = Zel::installedActivityManager() == nullptr &&
                           sink.records().size() == 1 && sink.records()[0].time > 0.0;
        std::exit(clean ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(ActivityLoopTest, ADescriptorThatCannotBeWatchedFailsEveryTimeWithTheCallAndDescriptor) {
  ActivityManagerScope loop(Source::monotonic);
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  int const fd = fileno(file);
  std::string const where = "epoll_ctl ADD (fd " + std::to_string(fd) + ")";
  for (int attempt = 0; attempt < 2; ++attempt) {  // a failed watch is not half-kept
    try {
      loop->fdReadableIs(fd, [] {});
      ADD_FAILURE() << "a regular file was accepted";
    } catch (std::system_error const& e) {
      EXPECT_NE(std::string(e.what()).find(where), std::string::npos) << e.what();
    }
  }
  std::fclose(file);
}

// A live reactor that runs `onTime` each time it is due.
class Timeout : public Zel::Clock::NotifieeConst {
 public:
  Timeout(Zel::ActivityManager& loop, std::function<void(Timeout&)> onTime)
      : Zel::Clock::NotifieeConst(Zel::Ptr<Zel::Clock const>(loop.clock())),
        onTime_(std::move(onTime)) {}
  void onTime() override { onTime_(*this); }

 private:
  std::function<void(Timeout&)> onTime_;
};

// Wakes by a descriptor leave the loop's timer set for the next expiry, and a handler that moves
// the expiry sooner moves the wake with it.
TEST(ActivityLoopTest, LiveExpiriesComeOnTimeBetweenWakesByADescriptor) {
  ActivityManagerScope scope(Source::monotonic);
  Zel::ActivityManager& loop = *scope;
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  double firedAt = 0;
  auto timeout = Zel::allocate<Timeout>(loop, [&](Timeout&) {
    firedAt = loop.currentTime();
    loop.stop();
  });
  double const start = loop.currentTime();
  timeout->timeMinIs(start + 5.0);
  int reads = 0;
  loop.fdReadableIs(ends[0], [&] {
    char byte;
    ASSERT_EQ(::read(ends[0], &byte, 1), 1);
    // Two wakes by the descriptor with the expiry unchanged, then one that brings it forward.
    if (++reads < 3) {
      ASSERT_EQ(::write(ends[1], "x", 1), 1);
    } else {
      timeout->timeMinIs(loop.currentTime() + 0.02);
    }
  });
  ASSERT_EQ(::write(ends[1], "x", 1), 1);
  loop.runFor(2.0);
  loop.fdReadableIs(ends[0], nullptr);
  ::close(ends[0]);
  ::close(ends[1]);
  EXPECT_EQ(reads, 3);
  EXPECT_GT(firedAt, start);
  EXPECT_LT(firedAt - start, 1.0) << "the wake stayed set for the earlier expiry";
}

}  // namespace
