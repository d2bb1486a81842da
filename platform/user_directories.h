// The directories of a user's programs: where their data and their logs belong.

#ifndef PLATFORM_USER_DIRECTORIES_H
#define PLATFORM_USER_DIRECTORIES_H

#include <functional>
#include <string>

namespace platform {

// The parts of the system that the directories follow from.
struct UserPlaces {
  std::function<std::string(const char* variable)> environment;  // empty when it is not set
  bool hasLibrary;  // ~/Library, as on macOS; otherwise the base directory rules of freedesktop.org

  static UserPlaces current();
};

// Where this user's data is: see GetAppDataPath(), which creates the directory. Empty when it has
// no name.
std::string dataDirectory(const UserPlaces& places = UserPlaces::current());

// Where the log is that pellamLogInit() begins for a directory of data: there; on macOS in
// ~/Library/Logs/velproxy for the default directory.
std::string logDirectory(const std::string& data, const UserPlaces& places = UserPlaces::current());

}  // namespace platform

#endif  // PLATFORM_USER_DIRECTORIES_H
