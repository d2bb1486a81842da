// The installed library, as another project uses it: tests/consumer/ is configured, built and run.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/processes/private_bus.h"
#include "tests/processes/process.h"
#include "vel/apps/local/velsim/testing/velsim_process.h"

namespace {

using processes::Finished;
using processes::Process;
using testing::HasSubstr;
using testing::Not;

constexpr char kSource[] = SOURCE_DIR;
constexpr char kBuild[] = BUILD_DIR;

std::string folder() {
  return std::string(kBuild) + "/install-test";
}

// Compiling takes longer than anything else that tests wait for.
Finished finished(const std::vector<std::string>& command) {
  constexpr int kMostMinutes = 8;
  Process::Options options;
  options.command = command;
  Process process(options);
  int minutes = 0;
  while (!processes::comesTrue([&] { return process.hasEnded(); }) && ++minutes < kMostMinutes) {
  }
  return process.wait();
}

void succeed(const std::vector<std::string>& command) {
  const Finished result = finished(command);
  ASSERT_EQ(result.status, 0) << testing::PrintToString(command) << '\n'
                              << result.out << result.err;
}

bool isThere(const std::string& program) {
  return finished({program, "--version"}).status == 0;
}

// What a program of the consumer says about a device that velsim has.
std::string outputOf(const std::string& program, const std::string& libraryFolder = "") {
  const velsim_testing::VelsimProcess velsim;
  Process::Options options;
  options.command = {program};
  options.environment["QXBUS_ADDRESS"] = velsim.address();
  options.environment["HOME"] = std::filesystem::path(program).parent_path();
  if (!libraryFolder.empty()) {
    options.environment["LD_LIBRARY_PATH"] = libraryFolder;
  }
  const Finished result = processes::run(options);
  EXPECT_EQ(result.status, 0) << result.err;
  return result.out;
}

// Configures the consumer in a folder.
std::vector<std::string> configuring(const std::string& build, const std::string& compiler) {
  return {CMAKE_PROGRAM,
          "-S",
          std::string(kSource) + "/tests/consumer",
          "-B",
          build,
          "-G",
          GENERATOR,
          "-DCMAKE_CXX_COMPILER=" + compiler,
          "-DCMAKE_CXX_COMPILER_LAUNCHER=" COMPILER_LAUNCHER,
          "-DCMAKE_CXX_FLAGS=" COMPILER_FLAGS};
}

std::string contentOf(const std::string& path) {
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

class InstallTest : public testing::Test {
 protected:
  static std::string prefix() { return folder() + "/tree"; }
  // Where the shared library is: each system has a name of its own for the folder.
  static std::string libraries() { return prefix() + "/" LIBRARY_FOLDER; }

  // Installs once, and moves the tree: its files must not name the place.
  static void SetUpTestSuite() {
    std::filesystem::remove_all(folder());
    std::filesystem::create_directories(folder());
    succeed({CMAKE_PROGRAM, "--install", kBuild, "--prefix", folder() + "/before"});
    std::filesystem::rename(folder() + "/before", prefix());
  }
};

class ConsumerTest : public InstallTest, public testing::WithParamInterface<const char*> {};

TEST_P(ConsumerTest, BuildsInEachVersionOfTheLanguageWithoutAWarningAndRuns) {
  const std::string compiler = GetParam();
  if (!isThere(compiler)) {
    GTEST_SKIP() << "there is no " << compiler;
  }
  const std::string build = folder() + "/" + compiler;
  std::vector<std::string> configure = configuring(build, compiler);
  configure.push_back("-DCMAKE_PREFIX_PATH=" + prefix());
  ASSERT_NO_FATAL_FAILURE(succeed(configure));
  ASSERT_NO_FATAL_FAILURE(succeed({CMAKE_PROGRAM, "--build", build}));

  std::map<std::string, std::string> outputs;
  for (const char* const program : {"17", "20", "23", "mixed"}) {
    SCOPED_TRACE(program);
    outputs[program] = outputOf(build + "/consumer_" + program);
    const std::string& output = outputs[program];
    // Each of both sources has received the event.
    const std::size_t first = output.find("expected: Memory stick\n");
    ASSERT_NE(first, std::string::npos) << output;
    EXPECT_NE(output.find("expected: Memory stick\n", first + 1), std::string::npos) << output;
  }
  EXPECT_THAT(outputs["17"], Not(HasSubstr("with_std_expected")));
  Process::Options ownBus;
  ownBus.command = {build + "/own_bus"};
  EXPECT_THAT(processes::run(ownBus).out, testing::EndsWith("-1: no service on the bus\n"));
  // With a library that has std::expected, the program has both.
  if (outputs["23"].find("with_std_expected") != std::string::npos) {
    EXPECT_THAT(outputs["mixed"], HasSubstr("with_tl_expected"));
    EXPECT_THAT(outputs["mixed"], HasSubstr("with_std_expected"));
  } else {
    EXPECT_EQ(outputs["mixed"], outputs["17"]);
  }
}

INSTANTIATE_TEST_SUITE_P(All, ConsumerTest, testing::ValuesIn(std::vector<const char*>{COMPILERS}),
                         [](const testing::TestParamInfo<const char*>& compiler) {
                           std::string name = compiler.param;
                           std::replace(name.begin(), name.end(), '+', 'x');
                           return name;
                         });

TEST_F(InstallTest, APackageOfPkgConfigIsEnough) {
  if (!isThere("pkg-config")) {
    GTEST_SKIP() << "there is no pkg-config";
  }
  const std::string program = folder() + "/with_pkg_config";
  const std::string compile =
      "set -e; export PKG_CONFIG_PATH=\"$1/pkgconfig\"; flags=$(pkg-config --cflags --libs "
      "velproxy);"
      "$2 $3 -std=c++17 -Wall -Wextra -Werror -o \"$4\" \"$5/main.cpp\" \"$5/watcher.cpp\" $flags";
  ASSERT_NO_FATAL_FAILURE(succeed({"sh", "-c", compile, "sh", libraries(), COMPILER, COMPILER_FLAGS,
                                   program, std::string(kSource) + "/tests/consumer"}));

  EXPECT_THAT(outputOf(program, libraries()), HasSubstr("expected: Memory stick\n"));
}

TEST_F(InstallTest, UninstallingLeavesNothing) {
  // With a letter and a character that scripts may take apart.
  const std::string place = folder() + "/gelöscht [1]";
  ASSERT_NO_FATAL_FAILURE(succeed({CMAKE_PROGRAM, "--install", kBuild, "--prefix", place}));
  ASSERT_TRUE(std::filesystem::exists(place + "/bin/velctl"));

  ASSERT_NO_FATAL_FAILURE(succeed({CMAKE_PROGRAM, "-D", "MANIFESTS=" + std::string(kBuild), "-P",
                                   std::string(kSource) + "/cmake/uninstall.cmake"}));

  std::vector<std::string> left;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(place)) {
    if (!entry.is_directory()) {
      left.push_back(entry.path());
    }
  }
  EXPECT_THAT(left, testing::IsEmpty());
}

TEST_F(InstallTest, TheInstalledFilesNameNoPlaceOfThisBuild) {
  int files = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(prefix())) {
    const std::string path = entry.path().string();
    // Debugging information names sources.
    const bool isCompiled = entry.path().extension() == ".a" ||
                            entry.path().filename().string().find(".so") != std::string::npos ||
                            entry.path().parent_path() == prefix() + "/bin";
    // What a system starts has to name the program.
    if (!entry.is_regular_file() || isCompiled || entry.path().extension() == ".service") {
      continue;
    }
    ++files;
    EXPECT_THAT(contentOf(path), Not(HasSubstr(kSource))) << path;
  }
  EXPECT_GT(files, 30);
}

TEST_F(InstallTest, TheProgramsAreThereWithTheirPagesAndCompletions) {
  for (const char* const file :
       {"bin/velctl", "bin/velsim", "share/man/man1/velctl.1", "share/man/man1/velsim.1",
        "share/bash-completion/completions/velctl", "share/zsh/site-functions/_velctl",
        "share/fish/vendor_completions.d/velctl.fish"}) {
    EXPECT_TRUE(std::filesystem::is_regular_file(prefix() + '/' + file)) << file;
  }
  Process::Options velctl;
  velctl.command = {prefix() + "/bin/velctl", "completion", "fish"};
  EXPECT_EQ(processes::run(velctl).out,
            contentOf(prefix() + "/share/fish/vendor_completions.d/velctl.fish"));
}

// A bus starts velsim when it is asked to, where the file of the installed tree is put in its way.
TEST_F(InstallTest, ABusCanStartVelsim) {
  processes::PrivateBus bus;
  bus.kill();
  // The tree has been moved; the file names the place where it was installed.
  std::string file = contentOf(prefix() + "/share/velproxy/dbus-1/services/qx.bus.vel.service");
  const std::string before = folder() + "/before/";
  ASSERT_THAT(file, HasSubstr("Exec=\"" + before + "bin/velsim\"\n"));
  file.replace(file.find(before), before.size(), prefix() + "/");
  std::ofstream(bus.serviceDirectory() / "qx.bus.vel.service") << file;
  bus.start();

  const Finished asked = processes::run(
      bus.options({"dbus-send", "--bus=" + bus.address(), "--print-reply",
                   "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                   "org.freedesktop.DBus.StartServiceByName", "string:qx.bus.vel", "uint32:0"}));

  EXPECT_EQ(asked.status, 0) << asked.err;
  const Finished list = processes::run(bus.options({prefix() + "/bin/velctl", "vm", "list"}));
  EXPECT_THAT(list.out, HasSubstr("win11")) << list.err;
  const Finished ended = processes::run(bus.options({prefix() + "/bin/velsim", "ctl", "quit"}));
  EXPECT_EQ(ended.status, 0) << ended.err;
}

TEST_F(InstallTest, TheServiceFileOfTheUserStartsTheInstalledVelsim) {
  EXPECT_THAT(contentOf(prefix() + "/lib/systemd/user/velsim.service"),
              HasSubstr("ExecStart=\"" + folder() + "/before/bin/velsim\"\n"));
}

// Characters that mean something in one of the formats.
TEST_F(InstallTest, TheFilesThatStartVelsimNameAPlaceWithAnyCharacter) {
  const std::string files = folder() + "/starting-files";
  ASSERT_NO_FATAL_FAILURE(succeed(
      {CMAKE_PROGRAM, "-DVELSIM_PATH=/50% of \"R&D\" <x> \\/velsim", "-DSTARTING_FILES=" + files,
       "-P", std::string(kSource) + "/packaging/write_starting_files.cmake"}));

  EXPECT_THAT(contentOf(files + "/velsim.service"),
              HasSubstr("\"/50%% of \\\"R&D\\\" <x> \\\\/velsim\"\n"));
  EXPECT_THAT(contentOf(files + "/qx.bus.vel.service"),
              HasSubstr("\"/50% of \\\"R&D\\\" <x> \\\\/velsim\"\n"));
  EXPECT_THAT(contentOf(files + "/velproxy.velsim.plist"),
              HasSubstr("<string>/50% of \"R&amp;D\" &lt;x&gt; \\/velsim</string>\n"));
}

// --- Sources ------------------------------------------------------------------------------------

// The last of the compilers that is there: the others have built these sources already, and clang++
// takes half the time for them.
std::string fastestCompiler() {
  std::string found = COMPILER;
  for (const std::string& compiler : std::vector<std::string>{COMPILERS}) {
    found = isThere(compiler) ? compiler : found;
  }
  return found;
}

// A client that builds velproxy with its own program, from sources.
TEST(FetchContentTest, GivesTheSameTargets) {
  // Beside the other one, which tests of another process may be making anew.
  const std::string build = std::string(kBuild) + "/fetch-content-test";
  std::filesystem::remove_all(build);
  std::vector<std::string> configure = configuring(build, fastestCompiler());
  configure.insert(configure.end(),
                   {"-DVELPROXY_SOURCE=" + std::string(kSource), "-DCMAKE_UNITY_BUILD=ON",
                    "-DCMAKE_UNITY_BUILD_BATCH_SIZE=50"});
  ASSERT_NO_FATAL_FAILURE(succeed(configure));
  ASSERT_NO_FATAL_FAILURE(
      succeed({CMAKE_PROGRAM, "--build", build, "--target", "consumer_17", "own_bus"}));

  EXPECT_THAT(outputOf(build + "/consumer_17"), HasSubstr("expected: Memory stick\n"));
  Process::Options ownBus;
  ownBus.command = {build + "/own_bus"};
  EXPECT_THAT(processes::run(ownBus).out, testing::EndsWith("-1: no service on the bus\n"));
}

// --- Packages -----------------------------------------------------------------------------------

class PackageTest : public InstallTest {
 protected:
  static std::string packages() { return folder() + "/packages"; }
  // cpack asks the second for the type of each file.
  static bool canPackage() { return isThere("dpkg-shlibdeps") && isThere("file"); }

  static void SetUpTestSuite() {
    std::filesystem::remove_all(packages());
    std::filesystem::create_directories(packages());
    if (canPackage()) {
      // The command of the page, for this build in place of the reader's.
      const std::string theirs = "build/release";
      std::string command = "cd " + theirs + " && cpack";
      ASSERT_THAT(contentOf(std::string(kSource) + "/docs/install.md"),
                  HasSubstr("\n    " + command + "\n"));
      command.replace(command.find(theirs), theirs.size(), "\"$1\"");
      succeed({"sh", "-c", command + " -B \"$2\"", "sh", kBuild, packages()});
    }
  }
  void SetUp() override {
    if (!canPackage()) {
      GTEST_SKIP() << "the tools of packages are not there";
    }
  }

  static std::string path(const std::string& package) {
    for (const auto& entry : std::filesystem::directory_iterator(packages())) {
      if (entry.path().filename().string().rfind(package + "_", 0) == 0) {
        return entry.path();
      }
    }
    return package + " is missing";
  }
  static std::string control(const std::string& package, const std::string& field) {
    return finished({"dpkg-deb", "--field", path(package), field}).out;
  }
};

TEST_F(PackageTest, EachNeedsWhatItsFilesNeed) {
  EXPECT_THAT(control("libvelproxy0", "Depends"), HasSubstr("libqt5core5a"));
  EXPECT_THAT(control("libvelproxy-dev", "Depends"), HasSubstr("libvelproxy0 (= "));
  EXPECT_THAT(control("velproxy-tools", "Depends"), HasSubstr("libedit2"));
}

TEST_F(PackageTest, TogetherTheyAreAWorkingTree) {
  const std::string root = packages() + "/root";
  for (const char* const package : {"libvelproxy0", "libvelproxy-dev", "velproxy-tools"}) {
    ASSERT_NO_FATAL_FAILURE(succeed({"dpkg-deb", "--extract", path(package), root}));
    for (const char* const file : {"/copyright", "/changelog.Debian.gz"}) {
      EXPECT_TRUE(std::filesystem::exists(root + "/usr/share/doc/" + package + file)) << package;
    }
  }

  EXPECT_EQ(finished({root + "/usr/bin/velctl", "--version"}).status, 0);
  EXPECT_TRUE(std::filesystem::exists(root + "/usr/share/man/man1/velctl.1.gz"));
  // Linkers find the shared library through the name without a version, loaders through the SONAME.
  const std::string libraries = root + "/usr/" LIBRARY_FOLDER;
  EXPECT_TRUE(
      std::filesystem::equivalent(libraries + "/libvelproxy.so", libraries + "/libvelproxy.so.0"));
  EXPECT_THAT(contentOf(root + "/usr/lib/systemd/user/velsim.service"),
              HasSubstr("ExecStart=\"/usr/bin/velsim\"\n"));
}

}  // namespace
