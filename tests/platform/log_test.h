// The log is one per process and never reset, so each test of it runs in a child process of its
// own.

#ifndef TESTS_PLATFORM_LOG_TEST_H
#define TESTS_PLATFORM_LOG_TEST_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/log.h"
#include "tests/platform/temporary_directory.h"

class LogTest : public testing::Test {
 protected:
  static constexpr int kDebug = 5;
  static constexpr int kBetween = 6;
  static constexpr int kError = 7;

  LogTest() { GTEST_FLAG_SET(death_test_style, "fast"); }

  // Runs the body in a new process with this value of QX_LOG_LEVEL, fails if a check in the body
  // fails, and returns the standard error of that process. Once per test: the new process runs the
  // test, too, up to here.
  static std::string standardErrorOf(const std::function<void()>& body,
                                     const std::string& level = "") {
    const auto runAndExit = [&] {
      if (level.empty()) {
        ::unsetenv("QX_LOG_LEVEL");
      } else {
        ::setenv("QX_LOG_LEVEL", level.c_str(), 1);
      }
      body();
      std::exit(HasFailure() ? 1 : 0);
    };
    std::string written;
    EXPECT_EXIT(runAndExit(), testing::ExitedWithCode(0),
                testing::ResultOf([&written](const std::string& text) { return written = text; },
                                  testing::_));
    return written;
  }

  static void log(int level, const std::string& text) {
    norvoLogPrint(0, level, "VEL_LOG", "%s", text.c_str());
  }

  static std::vector<std::string> linesOf(const std::filesystem::path& file) {
    std::ifstream in(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
      lines.push_back(line);
    }
    return lines;
  }

  static std::string contentOf(const std::filesystem::path& file) {
    std::ostringstream content;
    content << std::ifstream(file).rdbuf();
    return content.str();
  }
};

#endif  // TESTS_PLATFORM_LOG_TEST_H
