// The fuzz targets as tests: each takes every input of its corpus, and then changed ones.
//
//   --seed=NUMBER   of the changed inputs, in place of 1. A run with the same seed has the same
//   inputs
//   --runs=NUMBER   changed inputs of each target, in place of 3000

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/text.h"
#include "tests/fuzz/mutation.h"
#include "tests/fuzz/target.h"

namespace fuzz {

void PrintTo(const Target& target, std::ostream* out) {
  *out << target.name;
}

namespace {

std::uint64_t seed = 1;
std::uint64_t runs = 3000;

std::string contentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

// In an order that does not depend on the file system.
std::vector<std::filesystem::path> corpusOf(const Target& target) {
  std::vector<std::filesystem::path> files;
  for (const auto& file :
       std::filesystem::directory_iterator(std::filesystem::path(FUZZ_CORPUS) / target.name)) {
    files.push_back(file.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

// The finding; empty without one.
std::string findingIn(const Target& target, const std::string& input) {
  try {
    runWithCopy(target, input);
    return "";
  } catch (const std::exception& finding) {
    return std::string("finding: ") + finding.what();
  }
}

class FuzzTest : public testing::TestWithParam<Target> {};

TEST_P(FuzzTest, FindsNothingInTheCorpus) {
  const std::vector<std::filesystem::path> files = corpusOf(GetParam());
  ASSERT_FALSE(files.empty());
  for (const std::filesystem::path& file : files) {
    SCOPED_TRACE(file);
    EXPECT_EQ(findingIn(GetParam(), contentOf(file)), "");
  }
}

TEST_P(FuzzTest, FindsNothingInChangedInputs) {
  std::vector<std::string> inputs;
  for (const std::filesystem::path& file : corpusOf(GetParam())) {
    inputs.push_back(contentOf(file));
  }
  ASSERT_FALSE(inputs.empty());
  wiretest::Random random(seed);
  for (std::uint64_t run = 0; run < runs; ++run) {
    const std::string input = mutatedInput(inputs, &random);
    ASSERT_EQ(findingIn(GetParam(), input), "")
        << "--seed=" << seed << ", input " << run << ": " << base::hexOf(input);
  }
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzTest, testing::ValuesIn(targets()),
                         [](const auto& tested) { return tested.param.name; });

// False for another argument.
bool takeArgument(std::string_view argument) {
  const std::pair<std::string_view, std::uint64_t*> settings[] = {{"--seed=", &seed},
                                                                  {"--runs=", &runs}};
  for (const auto& [name, setting] : settings) {
    const bool isIt = argument.substr(0, name.size()) == name;
    const auto number =
        base::parseDecimalAs<std::uint64_t>(argument.substr(isIt ? name.size() : 0));
    if (isIt && number) {
      *setting = *number;
      return true;
    }
  }
  return false;
}

}  // namespace
}  // namespace fuzz

int main(int count, char** arguments) {
  testing::InitGoogleTest(&count, arguments);
  for (int i = 1; i < count; ++i) {
    if (!fuzz::takeArgument(arguments[i])) {
      std::cerr << "unknown argument " << arguments[i] << "; there are --seed= and --runs=\n";
      return 2;
    }
  }
  return RUN_ALL_TESTS();
}
