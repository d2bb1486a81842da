// Files and folders that the documents name.

#include <algorithm>
#include <filesystem>
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "tests/documents/include_rules.h"

namespace {

namespace fs = std::filesystem;

class PathsTest : public testing::TestWithParam<const char*> {};

TEST_P(PathsTest, Exist) {
  const fs::path root = REPOSITORY;
  const std::string document = documents::contentOf(root / GetParam());
  // A top folder behind the beginning of a word, and a name in it.
  const std::regex path(
      "(?:^|[\\s`(])((?:base|benchmarks|bus|cmake|docs|examples|pen|platform|scripts|tests|vel)/"
      "[A-Za-z0-9_./-]*)(\\*?)");
  int count = 0;
  for (std::sregex_iterator match(document.begin(), document.end(), path), end; match != end;
       ++match) {
    std::string name = (*match)[1];
    const bool isPattern = (*match)[2].length() > 0;
    while (!isPattern && name.back() == '.') {
      name.pop_back();
    }
    EXPECT_TRUE(isPattern || fs::exists(root / name)) << GetParam() << " names " << name;
    ++count;
  }
  EXPECT_GT(count, 0);
}

INSTANTIATE_TEST_SUITE_P(Documents, PathsTest,
                         testing::Values("README.md", "CHANGELOG.md", "docs/architecture.md",
                                         "docs/adding-an-operation.md", "docs/client.md",
                                         "docs/coverage.md", "docs/first-hour.md",
                                         "docs/fuzzing.md", "docs/porting.md", "docs/protocol.md",
                                         "docs/security.md"),
                         [](const testing::TestParamInfo<const char*>& document) {
                           std::string name = fs::path(document.param).stem().string();
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

}  // namespace
