// The table of threads in docs/architecture.md.

#include <filesystem>
#include <regex>
#include <set>
#include <string>

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

TEST(ThreadsTest, AreInTheTable) {
  const std::string document =
      documents::contentOf(fs::path(REPOSITORY) / "docs" / "architecture.md");
  const std::set<std::string> names = threadNames();
  EXPECT_FALSE(names.empty());
  for (const std::string& name : names) {
    EXPECT_NE(document.find('`' + name + '`'), std::string::npos)
        << "docs/architecture.md has no row for the thread " << name;
  }
}

}  // namespace
