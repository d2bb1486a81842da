// docs/security.md: each statement of what cannot be done names the tests that show it.

#include <filesystem>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/documents/include_rules.h"

namespace {

namespace fs = std::filesystem;

const std::string& document() {
  static const std::string text =
      documents::contentOf(fs::path(REPOSITORY) / "docs" / "security.md");
  return text;
}

// The tests of all test programs, as Suite.Name.
std::set<std::string> allTests() {
  const std::regex test(R"(TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\))");
  std::set<std::string> tests;
  for (const std::string& file : documents::sourceFiles(REPOSITORY, "tests")) {
    const std::string content = documents::contentOf(fs::path(REPOSITORY) / file);
    // The whole of a file would take a regular expression long.
    for (std::size_t at = content.find("\nTEST"); at != std::string::npos;
         at = content.find("\nTEST", at + 1)) {
      const std::string head = content.substr(at + 1, content.find(')', at) - at);
      std::smatch match;
      if (std::regex_match(head, match, test)) {
        tests.insert(match[1].str() + '.' + match[2].str());
      }
    }
  }
  return tests;
}

std::set<std::string> testsNamedIn(const std::string& text) {
  const std::regex test(R"(`([A-Z]\w+\.[A-Z]\w+)`)");
  std::set<std::string> tests;
  for (std::sregex_iterator match(text.begin(), text.end(), test), end; match != end; ++match) {
    tests.insert((*match)[1]);
  }
  return tests;
}

TEST(SecurityTest, NamesOnlyTestsThatExist) {
  const std::set<std::string> named = testsNamedIn(document());

  EXPECT_GT(named.size(), 50u);
  EXPECT_THAT(allTests(), testing::IsSupersetOf(named));
}

// In each table whose last column is "test".
TEST(SecurityTest, HasATestForEachCannot) {
  std::istringstream lines(document());
  bool isOfTests = false;
  int rows = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("| ", 0) != 0) {
      isOfTests = isOfTests && line.rfind("|-", 0) == 0;
    } else if (!isOfTests) {
      isOfTests = line.size() > 8 && line.substr(line.size() - 8) == "| test |";
    } else {
      EXPECT_FALSE(testsNamedIn(line).empty()) << line;
      ++rows;
    }
  }
  EXPECT_GT(rows, 30);
}

}  // namespace
