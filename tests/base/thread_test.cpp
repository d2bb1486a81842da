#include "base/thread.h"

#include <csignal>

#include <pthread.h>

#include <gtest/gtest.h>

namespace {

bool blocks(int signal) {
  sigset_t blocked;
  pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  return sigismember(&blocked, signal) == 1;
}

TEST(ThreadTest, BlocksEverySignalAndTheCallerDoesNot) {
  bool threadBlocks = false;

  base::Result<std::thread> thread = base::startThread(
      "test", [&] { threadBlocks = blocks(SIGTERM) && blocks(SIGINT) && blocks(SIGUSR1); });

  ASSERT_TRUE(thread) << thread.reason();
  thread->join();
  EXPECT_TRUE(threadBlocks);
  EXPECT_FALSE(blocks(SIGTERM));
}

#if defined(__linux__)
TEST(ThreadTest, HasItsNameCutToFifteenCharacters) {
  char name[32] = {};

  base::Result<std::thread> thread = base::startThread(
      "a-name-that-is-too-long", [&] { pthread_getname_np(pthread_self(), name, sizeof name); });

  ASSERT_TRUE(thread) << thread.reason();
  thread->join();
  EXPECT_STREQ(name, "a-name-that-is-");
}
#endif

}  // namespace
