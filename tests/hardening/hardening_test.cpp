// Protections against mistakes in memory, in the programs and libraries that are installed.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/processes/process.h"

namespace {

namespace fs = std::filesystem;
using processes::Finished;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

constexpr char kUnknown[] = "the compiler or the linker knows nothing of it";

std::string folder() {
  return std::string(BUILD_DIR) + "/hardening-test";
}

std::string outputOf(const std::vector<std::string>& command) {
  processes::Process::Options options;
  options.command = command;
  const Finished result = processes::run(options);
  EXPECT_EQ(result.status, 0) << testing::PrintToString(command) << '\n' << result.err;
  return result.out;
}

std::string readelf(const std::string& what, const std::string& file) {
  return outputOf({READELF, "-W", what, file});
}

std::vector<std::string> wordsOf(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()};
}

bool has(const std::string& flags, const std::string& flag) {
  const std::vector<std::string> words = wordsOf(flags);
  return std::find(words.begin(), words.end(), flag) != words.end();
}

// --- Programs ------------------------------------------------------------------------------------

class InstalledProgram : public testing::TestWithParam<const char*> {
 protected:
  static void SetUpTestSuite() {
    outputOf({CMAKE_PROGRAM, "--install", BUILD_DIR, "--prefix", folder() + "/tree"});
  }

  static std::string read(const std::string& what) {
    return readelf(what, folder() + "/tree/" + GetParam());
  }
};

TEST_P(InstalledProgram, IsLoadedAtARandomAddress) {
  EXPECT_THAT(read("-h"), ContainsRegex("Type: +DYN "));
  // A shared library is so in any case.
  if (std::string(GetParam()).rfind("bin/", 0) == 0) {
    EXPECT_THAT(read("-d"), ContainsRegex("\\(FLAGS_1\\).*PIE"));
  }
  EXPECT_THAT(read("-d"), Not(HasSubstr("TEXTREL")));
}

TEST_P(InstalledProgram, CannotWriteToItsTablesOfAddresses) {
  if (!has(LINKING, "LINKER:-z,relro") || !has(LINKING, "LINKER:-z,now")) {
    GTEST_SKIP() << kUnknown;
  }
  EXPECT_THAT(read("-l"), HasSubstr("GNU_RELRO"));
  EXPECT_THAT(read("-d"), ContainsRegex("\\(FLAGS_1\\).*NOW"));
}

TEST_P(InstalledProgram, CannotRunItsStack) {
  EXPECT_THAT(read("-l"), ContainsRegex("GNU_STACK +(0x[0-9a-f]+ +){5}RW +(0x|0|1)"));
}

TEST_P(InstalledProgram, LooksForLibrariesOnlyWhereTheSystemHasThem) {
  EXPECT_THAT(read("-d"),
              AllOf(HasSubstr("NEEDED"), Not(HasSubstr("RPATH")), Not(HasSubstr("RUNPATH"))));
}

INSTANTIATE_TEST_SUITE_P(Hardening, InstalledProgram,
                         testing::Values("bin/velctl", "bin/velsim",
                                         LIBRARY_FOLDER "/libvelproxy.so"),
                         [](const testing::TestParamInfo<const char*>& program) {
                           return std::filesystem::path(program.param).stem().string();
                         });

// --- Optimized builds ----------------------------------------------------------------------------

// As it is installed for use: the build that runs this test may be one to debug.
class ReleaseBuild : public testing::Test {
 protected:
  static std::string build() { return folder() + "/release"; }
  // Of one library, in which every object is compiled as all others are.
  static std::string library() { return build() + "/base/libvelproxy_base.a"; }

  static void SetUpTestSuite() {
    outputOf({CMAKE_PROGRAM, "-S", SOURCE_DIR, "-B", build(), "-G", GENERATOR,
              "-DCMAKE_BUILD_TYPE=Release", "-DVELPROXY_BUILD_TESTS=OFF",
              "-DVELPROXY_BUILD_EXAMPLES=OFF", "-DCMAKE_CXX_COMPILER=" COMPILER,
              "-DCMAKE_CXX_COMPILER_LAUNCHER=" COMPILER_LAUNCHER,
              "-DCMAKE_CXX_FLAGS=" COMPILER_FLAGS});
    outputOf({CMAKE_PROGRAM, "--build", build(), "--target", "velproxy_base"});
  }

  // As many as there are of it.
  static std::ptrdiff_t count(const std::string& text, const std::string& pattern) {
    const std::regex regex(pattern);
    return std::distance(std::sregex_iterator(text.begin(), text.end(), regex),
                         std::sregex_iterator());
  }
};

TEST_F(ReleaseBuild, CompilesEverySourceWithEveryProtection) {
  std::ifstream file(build() + "/compile_commands.json");
  const auto commands = nlohmann::json::parse(file);

  EXPECT_GT(commands.size(), 100u);
  for (const auto& entry : commands) {
    const std::string command = entry.at("command").get<std::string>() + ' ';
    for (const std::string& flag : wordsOf(COMPILING " " OPTIMIZED)) {
      EXPECT_THAT(command, HasSubstr(' ' + flag + ' '));
    }
  }
}

TEST_F(ReleaseBuild, ChecksTheSizesOfCopies) {
  if (std::string(OPTIMIZED).empty()) {
    GTEST_SKIP() << kUnknown;
  }
  EXPECT_THAT(readelf("-s", library()), ContainsRegex("UND __memcpy_chk"));
}

TEST_F(ReleaseBuild, NoticesAnOverflowOfTheStack) {
  if (!has(COMPILING, "-fstack-protector-strong")) {
    GTEST_SKIP() << kUnknown;
  }
  EXPECT_THAT(readelf("-s", library()), ContainsRegex("UND __stack_chk_fail"));
}

TEST_F(ReleaseBuild, MarksEveryPlaceOfEntry) {
  if (!has(COMPILING, "-fcf-protection")) {
    GTEST_SKIP() << kUnknown;
  }
  const std::string notes = readelf("-n", library());

  EXPECT_GT(count(notes, "File: "), 0);
  EXPECT_EQ(count(notes, "x86 feature: IBT, SHSTK"), count(notes, "File: "));
}

TEST_F(ReleaseBuild, AsksForNoStackThatCanBeRun) {
  const std::string sections = readelf("-S", library());

  EXPECT_GT(count(sections, "File: "), 0);
  EXPECT_EQ(count(sections, "\\.note\\.GNU-stack +PROGBITS +0+ [0-9a-f]+ 0+ 00 +0 "),
            count(sections, "File: "));
}

}  // namespace
