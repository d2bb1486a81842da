#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/documents/include_rules.h"

namespace {

namespace fs = std::filesystem;
using documents::contentOf;
using documents::Room;
using documents::roomsOf;
using documents::violations;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

const fs::path kRoot = REPOSITORY;

const std::vector<Room>& ourRooms() {
  static const std::vector<Room> rooms = roomsOf(contentOf(kRoot / "docs" / "architecture.md"));
  return rooms;
}

class FolderTest : public testing::TestWithParam<const char*> {};

TEST_P(FolderTest, IncludesOnlyWhatTheArchitectureAllows) {
  const std::vector<std::string> files = documents::sourceFiles(kRoot, GetParam());
  ASSERT_FALSE(files.empty());
  for (const std::string& file : files) {
    for (const std::string& violation : violations(ourRooms(), file, contentOf(kRoot / file))) {
      ADD_FAILURE() << violation;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Folders, FolderTest,
                         testing::Values("base", "bus", "examples", "pen", "platform", "vel"),
                         [](const testing::TestParamInfo<const char*>& folder) {
                           return std::string(folder.param);
                         });

TEST(ArchitectureTest, NamesOnlyFoldersAndHeadersThatExist) {
  for (const Room& room : ourRooms()) {
    EXPECT_TRUE(fs::is_directory(kRoot / room.folder)) << room.folder;
    for (const std::string& allowed : room.allowed) {
      EXPECT_TRUE(allowed.front() == '<' || fs::exists(kRoot / allowed))
          << allowed << " in the row of " << room.folder;
    }
  }
}

// --- The rules themselves -----------------------------------------------------------------------

const char kTable[] =
    "# A document\n"
    "\n"
    "| `not/a/rule/` | `base/` |\n"
    "\n"
    "## What may include what\n"
    "\n"
    "| folder | includes | holds |\n"
    "|---|---|---|\n"
    "| `base/` | POSIX | small things |\n"
    "| `bus/` | | the bus |\n"
    "| `bus/dbus/` | `bus/`, `base/result.h`, `<dbus/` | the bus on D-Bus |\n"
    "| `velsim/` | `velsim/machine/` | the program |\n"
    "| `velsim/machine/` | `base/` | the machine |\n"
    "\n"
    "| `not/a/rule/either/` | `base/` |\n";

std::vector<std::string> found(const std::string& file, const std::string& content) {
  return violations(roomsOf(kTable), file, content);
}

TEST(IncludeRulesTest, ATableHasARowForEachFolder) {
  std::vector<std::string> folders;
  for (const Room& room : roomsOf(kTable)) {
    folders.push_back(room.folder);
  }

  EXPECT_THAT(folders, ElementsAre("base/", "bus/", "bus/dbus/", "vel/apps/local/velsim/",
                                   "vel/apps/local/velsim/machine/"));
}

TEST(IncludeRulesTest, TheMessageNamesFileLineAndFolder) {
  EXPECT_THAT(
      found("vel/apps/local/velsim/machine/a.h",
            "// A comment.\n#include <string>\n#include \"bus/dbus/wire.h\"\n"),
      ElementsAre("vel/apps/local/velsim/machine/a.h:3: #include \"bus/dbus/wire.h\", which "
                  "docs/architecture.md does not allow in vel/apps/local/velsim/machine/"));
}

TEST(IncludeRulesTest, AFileInAFolderWithoutARowIsAViolation) {
  EXPECT_THAT(found("pen/a.h", ""), ElementsAre(StartsWith("pen/a.h:1: ")));
}

struct IncludeCase {
  const char* name;
  const char* file;
  const char* include;
  bool isAllowed;
};

class IncludeCaseTest : public testing::TestWithParam<IncludeCase> {};

TEST_P(IncludeCaseTest, IsAllowedOrNot) {
  const IncludeCase& row = GetParam();

  EXPECT_EQ(found(row.file, std::string("#include ") + row.include).empty(), row.isAllowed);
}

INSTANTIATE_TEST_SUITE_P(
    Includes, IncludeCaseTest,
    testing::Values(IncludeCase{"OwnHeader", "bus/a.cpp", "\"bus/b.h\"", true},
                    IncludeCase{"OwnHeaderFurtherDown", "base/a.cpp", "\"base/x/b.h\"", true},
                    IncludeCase{"FolderWithItsOwnRow", "bus/a.cpp", "\"bus/dbus/b.h\"", false},
                    IncludeCase{"AllowedFolder", "bus/dbus/a.cpp", "\"bus/b.h\"", true},
                    IncludeCase{"AllowedHeader", "bus/dbus/a.cpp", "\"base/result.h\"", true},
                    IncludeCase{"OtherHeaderOfThatFolder", "bus/dbus/a.cpp", "\"base/text.h\"",
                                false},
                    IncludeCase{"AgainstTheStream", "base/a.cpp", "\"bus/b.h\"", false},
                    IncludeCase{"InnerFolder", "vel/apps/local/velsim/a.cpp",
                                "\"vel/apps/local/velsim/machine/b.h\"", true},
                    IncludeCase{"OuterFolder", "vel/apps/local/velsim/machine/a.cpp",
                                "\"vel/apps/local/velsim/b.h\"", false},
                    IncludeCase{"NotFromTheRoot", "bus/a.cpp", "\"b.h\"", false},
                    IncludeCase{"CppLibrary", "bus/a.cpp", "<string>", true},
                    IncludeCase{"Posix", "base/a.cpp", "<sys/stat.h>", true},
                    IncludeCase{"PosixWithoutPermission", "bus/a.cpp", "<sys/stat.h>", false},
                    IncludeCase{"OneSystemOnly", "base/a.cpp", "<sys/epoll.h>", false},
                    IncludeCase{"AllowedLibrary", "bus/dbus/a.cpp", "<dbus/dbus.h>", true},
                    IncludeCase{"LibraryWithoutPermission", "base/a.cpp", "<dbus/dbus.h>", false},
                    IncludeCase{"QtWithoutPermission", "base/a.cpp", "<QString>", false},
                    IncludeCase{"Indented", "base/a.cpp", "  \t \"bus/b.h\"", false}),
    [](const testing::TestParamInfo<IncludeCase>& row) { return row.param.name; });

}  // namespace
