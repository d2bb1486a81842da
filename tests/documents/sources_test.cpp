// Names that only one file may use, because the file has a better form for all others.

#include <filesystem>
#include <ostream>
#include <regex>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/documents/include_rules.h"

namespace {

struct Reserved {
  const char* name;
  const char* pattern;
  const char* file;
  const char* instead;
};

void PrintTo(const Reserved& row, std::ostream* out) {
  *out << row.name;
}

constexpr Reserved kReserved[] = {
    {"Mutexes", R"(std::(\w+_)?mutex\b|std::(lock_guard|unique_lock|scoped_lock)\b)",
     "platform/mutex.h", "platform::Mutex, whose use the compiler checks"},
    {"Conditions", R"(std::condition_variable)", "platform/mutex.h", "platform::Condition"},
    {"Threads", R"(std::thread\s*(\w+\s*)?[({]|std::async\b)", "base/thread.h",
     "base::startThread, which blocks signals and names the thread"}};

class SourcesTest : public testing::TestWithParam<Reserved> {};

TEST_P(SourcesTest, LeaveTheNameToOneFile) {
  const std::regex pattern(GetParam().pattern);
  int uses = 0;
  for (const char* const folder : {"base", "bus", "examples", "pen", "platform", "vel"}) {
    for (const std::string& file : documents::sourceFiles(REPOSITORY, folder)) {
      std::istringstream lines(documents::contentOf(std::filesystem::path(REPOSITORY) / file));
      int number = 0;
      for (std::string line; std::getline(lines, line);) {
        ++number;
        // The first test is much faster.
        const bool isUse = line.find("std::") != std::string::npos &&
                           std::regex_search(line.substr(0, line.find("//")), pattern);
        uses += isUse ? 1 : 0;
        EXPECT_TRUE(!isUse || file == GetParam().file)
            << file << ':' << number << ": " << line << "\nuse " << GetParam().instead;
      }
    }
  }
  EXPECT_GT(uses, 0) << GetParam().file << " does not use the name either";
}

INSTANTIATE_TEST_SUITE_P(Names, SourcesTest, testing::ValuesIn(kReserved),
                         [](const testing::TestParamInfo<Reserved>& row) {
                           return row.param.name;
                         });

}  // namespace
