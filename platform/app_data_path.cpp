#include "platform/app_data_path.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

constexpr char kFolder[] = "velproxy";

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

fs::path usersDataDirectory() {
  const fs::path home = environment("HOME");
#if defined(__APPLE__)
  return home.empty() ? fs::path() : home / "Library" / "Application Support";
#else
  // The base directory rules of freedesktop.org ignore a relative XDG_DATA_HOME.
  fs::path xdg = environment("XDG_DATA_HOME");
  if (xdg.is_absolute()) {
    return xdg;
  }
  return home.empty() ? fs::path() : home / ".local" / "share";
#endif
}

fs::path chosenDirectory() {
  std::string given = environment("QX_APP_DATA");
  if (!given.empty()) {
    // parent_path() of "a/" is "a".
    while (given.size() > 1 && given.back() == '/') {
      given.pop_back();
    }
    return given;
  }
  const fs::path users = usersDataDirectory();
  return users.empty() ? fs::path() : users / kFolder;
}

// Creates the directory with mode 0700. The umask decides the modes of its parents.
bool makePrivate(const fs::path& directory) {
  std::error_code error;
  if (fs::is_directory(directory, error)) {
    return true;
  }
  if (directory.has_parent_path()) {
    fs::create_directories(directory.parent_path(), error);
  }
  return ::mkdir(directory.c_str(), S_IRWXU) == 0 || fs::is_directory(directory, error);
}

}  // namespace

std::string GetAppDataPath() {
  try {
    const fs::path directory = chosenDirectory();
    return !directory.empty() && makePrivate(directory) ? directory.string() : std::string();
  } catch (const std::exception&) {
    return {};
  }
}
