// What the source files of each room of velsim include.

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velsim {
namespace {

using ::testing::IsEmpty;
using ::testing::Not;

struct Room {
  std::string name;
  std::vector<std::string> mayInclude;  // beginnings of paths in this project
};

void PrintTo(const Room& room, std::ostream* stream) {
  *stream << room.name;
}

bool beginsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

// The paths between quotation marks; those of systems and packages stand between angle brackets.
std::vector<std::string> includesOf(const std::filesystem::path& file) {
  const std::string directive = "#include \"";
  std::vector<std::string> paths;
  std::ifstream lines(file);
  for (std::string line; std::getline(lines, line);) {
    if (beginsWith(line, directive)) {
      paths.push_back(line.substr(directive.size(), line.rfind('"') - directive.size()));
    }
  }
  return paths;
}

class RoomTest : public ::testing::TestWithParam<Room> {};

TEST_P(RoomTest, IncludesOnlyWhatItMay) {
  const Room& room = GetParam();
  const std::filesystem::path folder = std::filesystem::path(VELSIM_SOURCES) / room.name;

  std::vector<std::string> found;
  for (const auto& file : std::filesystem::directory_iterator(folder)) {
    const std::string extension = file.path().extension();
    if (extension != ".h" && extension != ".cpp") {
      continue;
    }
    for (const std::string& path : includesOf(file)) {
      found.push_back(path);
      bool isAllowed = false;
      for (const std::string& prefix : room.mayInclude) {
        isAllowed = isAllowed || beginsWith(path, prefix);
      }
      EXPECT_TRUE(isAllowed) << file.path() << " includes " << path;
    }
  }
  EXPECT_THAT(found, Not(IsEmpty()));
}

const Room kRooms[] = {
    {"machine", {"base/", "vel/apps/local/velsim/machine/"}},
    {"service",
     {"base/", "platform/", "bus/dbus/value.h", "bus/dbus/wire.h", "vel/protocol/",
      "vel/apps/local/velsim/machine/", "vel/apps/local/velsim/service/"}},
};

INSTANTIATE_TEST_SUITE_P(All, RoomTest, ::testing::ValuesIn(kRooms),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace
}  // namespace velsim
