#include "vel/apps/local/velproxy/internal/pause.h"

#include <chrono>

#include <gtest/gtest.h>

TEST(PauseTest, LastsAtLeastAsLongAsItIsAskedTo) {
  const auto start = std::chrono::steady_clock::now();

  qx::pauseFor(std::chrono::seconds(1));

  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}
