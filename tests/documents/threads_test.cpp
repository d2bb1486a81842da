// The table of threads in docs/architecture.md.

#include <algorithm>
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

// The names that the sources give to threads. Those of the bus begin alike, because some are given
// to an object that starts the thread.
std::set<std::string> threadNames() {
  const std::regex name(
      R"re("(qxbus-[a-z]+)"|(?:startThread|Background<\w+> \w+)\(\s*"([^"]+)")re");
  std::set<std::string> names;
  for (const char* const folder : {"base", "bus", "examples", "pen", "platform", "vel"}) {
    for (const std::string& file : documents::sourceFiles(REPOSITORY, folder)) {
      const std::string content = documents::contentOf(fs::path(REPOSITORY) / file);
      for (std::sregex_iterator match(content.begin(), content.end(), name), end; match != end;
           ++match) {
        names.insert((*match)[1].matched ? (*match)[1] : (*match)[2]);
      }
    }
  }
  return names;
}

// The names in the first column of the table.
std::set<std::string> documentedNames() {
  const std::string document =
      documents::contentOf(fs::path(REPOSITORY) / "docs" / "architecture.md");
  std::istringstream lines(document.substr(std::min(document.find("## Threads"), document.size())));
  const std::regex name("`([^`]+)`");
  std::set<std::string> names;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("| `", 0) == 0) {
      const std::string cell = line.substr(1, line.find('|', 1));
      for (std::sregex_iterator match(cell.begin(), cell.end(), name), end; match != end; ++match) {
        names.insert((*match)[1]);
      }
    } else if (!names.empty()) {
      break;
    }
  }
  return names;
}

TEST(ThreadsTest, AreThoseOfTheTable) {
  EXPECT_THAT(threadNames(), testing::Not(testing::IsEmpty()));
  EXPECT_THAT(documentedNames(), testing::ContainerEq(threadNames()))
      << "in docs/architecture.md; expected: the names in the sources";
}

}  // namespace
