// Where data and logs of a user belong, on either kind of system.

#include "platform/user_directories.h"

#include <map>
#include <string>

#include <gtest/gtest.h>

namespace {

using platform::dataDirectory;
using platform::logDirectory;
using platform::UserPlaces;
using Variables = std::map<std::string, std::string>;

UserPlaces places(bool hasLibrary, const Variables& variables) {
  return {[variables](const char* name) {
            const auto found = variables.find(name);
            return found == variables.end() ? std::string() : found->second;
          },
          hasLibrary};
}

UserPlaces mac(const Variables& variables) {
  return places(true, variables);
}
UserPlaces other(const Variables& variables) {
  return places(false, variables);
}

std::string defaultLogs(const UserPlaces& places) {
  return logDirectory(dataDirectory(places), places);
}

TEST(UserDirectoriesTest, OnAMacDataAndLogsAreInTheLibrary) {
  const UserPlaces user = mac({{"HOME", "/Users/ada"}, {"XDG_DATA_HOME", "/xdg"}});

  EXPECT_EQ(dataDirectory(user), "/Users/ada/Library/Application Support/velproxy");
  EXPECT_EQ(defaultLogs(user), "/Users/ada/Library/Logs/velproxy");
}

TEST(UserDirectoriesTest, ElsewhereLogsAreAmongTheData) {
  const UserPlaces user = other({{"HOME", "/home/ada"}});
  EXPECT_EQ(dataDirectory(user), "/home/ada/.local/share/velproxy");
  EXPECT_EQ(defaultLogs(user), "/home/ada/.local/share/velproxy");

  const UserPlaces withXdg = other({{"HOME", "/home/ada"}, {"XDG_DATA_HOME", "/xdg"}});
  EXPECT_EQ(dataDirectory(withXdg), "/xdg/velproxy");
  EXPECT_EQ(defaultLogs(withXdg), "/xdg/velproxy");
}

TEST(UserDirectoriesTest, TheVariableNamesTheDirectoryOfBoth) {
  for (const std::string given : {"/given", "/Users/ada/Library/Application Support/velproxy"}) {
    const Variables variables = {{"HOME", "/Users/ada"}, {"QX_APP_DATA", given}};

    EXPECT_EQ(dataDirectory(mac(variables)), given);
    EXPECT_EQ(defaultLogs(mac(variables)), given);
    EXPECT_EQ(defaultLogs(other(variables)), given);
  }
}

TEST(UserDirectoriesTest, AnotherDirectoryThanTheDefaultHasItsLogsItself) {
  EXPECT_EQ(logDirectory("/logs", mac({{"HOME", "/Users/ada"}})), "/logs");
}

TEST(UserDirectoriesTest, WithoutAHomeThereIsNone) {
  for (const UserPlaces& user : {mac({}), other({})}) {
    EXPECT_EQ(dataDirectory(user), "");
    EXPECT_EQ(defaultLogs(user), "");
  }
}

}  // namespace
