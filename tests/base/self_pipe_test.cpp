#include "base/self_pipe.h"

#include <cerrno>

#include <fcntl.h>
#include <poll.h>

#include <gtest/gtest.h>

namespace {

bool isReadable(const base::SelfPipe& pipe) {
  pollfd polled = {pipe.readEnd(), POLLIN, 0};
  return ::poll(&polled, 1, 0) == 1;
}

TEST(SelfPipeTest, IsReadableFromAWakeToADrain) {
  const base::SelfPipe pipe;
  EXPECT_FALSE(isReadable(pipe));

  pipe.wake();
  EXPECT_TRUE(isReadable(pipe));

  pipe.drain();
  EXPECT_FALSE(isReadable(pipe));
}

TEST(SelfPipeTest, WakesWithoutWaitingWhenItIsFull) {
  constexpr int kMoreThanAPipeHolds = 100000;
  const base::SelfPipe pipe;

  errno = 0;
  for (int i = 0; i < kMoreThanAPipeHolds; ++i) {
    pipe.wake();
  }

  EXPECT_EQ(errno, 0);
  EXPECT_TRUE(isReadable(pipe));
  pipe.drain();
  EXPECT_FALSE(isReadable(pipe));
}

TEST(SelfPipeTest, IsClosedOnExec) {
  const base::SelfPipe pipe;

  EXPECT_NE(::fcntl(pipe.readEnd(), F_GETFD) & FD_CLOEXEC, 0);
}

}  // namespace
