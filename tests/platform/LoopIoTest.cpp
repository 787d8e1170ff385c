// Descriptor readiness on the activity loop, polled without moving virtual time: what lets a
// virtual-time run talk to a real server.
#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/zel/ActivityManager.h"

namespace {

TEST(LoopIoTest, ReadAndWriteReadinessRunTheirHandlersWithoutMovingTime) {
  Zel::ActivityManager loop(Zel::ActivityManager::TimeSource::virtualTime, 5.0);
  int fds[2];
  ASSERT_EQ(::pipe(fds), 0);
  int reads = 0;
  int writes = 0;
  loop.fdReadableIs(fds[0], [&] {
    char byte;
    if (::read(fds[0], &byte, 1) == 1) ++reads;
  });
  EXPECT_EQ(loop.pollIo(0.0), 0u);  // nothing to read yet

  // A writer watches only while it has output; it stops watching from its own handler.
  loop.fdWritableIs(fds[1], [&] {
    ++writes;
    ASSERT_EQ(::write(fds[1], "x", 1), 1);
    loop.fdWritableIs(fds[1], nullptr);
  });
  loop.pollIo(0.0);
  EXPECT_EQ(writes, 1);
  loop.pollIo(0.1);
  EXPECT_EQ(reads, 1);
  EXPECT_EQ(writes, 1);
  EXPECT_EQ(loop.currentTime(), 5.0);

  loop.fdReadableIs(fds[0], nullptr);
  ASSERT_EQ(::write(fds[1], "y", 1), 1);
  EXPECT_EQ(loop.pollIo(0.0), 0u);
  ::close(fds[0]);
  ::close(fds[1]);
}

}  // namespace
