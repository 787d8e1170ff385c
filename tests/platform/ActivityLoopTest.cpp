#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <system_error>

#include "platform/zel/ActivityManagerScope.h"
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

}  // namespace
