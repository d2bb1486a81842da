#include "platform/user_directories.h"

#include <cstdlib>
#include <filesystem>

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr char kFolder[] = "velproxy";
constexpr char kVariable[] = "QX_APP_DATA";

// Empty without a home.
fs::path inLibrary(const UserPlaces& places, const char* kind) {
  const fs::path home = places.environment("HOME");
  return home.empty() ? fs::path() : home / "Library" / kind / kFolder;
}

fs::path defaultDataDirectory(const UserPlaces& places) {
  if (places.hasLibrary) {
    return inLibrary(places, "Application Support");
  }
  // The base directory rules of freedesktop.org ignore a relative XDG_DATA_HOME.
  const fs::path xdg = places.environment("XDG_DATA_HOME");
  if (xdg.is_absolute()) {
    return xdg / kFolder;
  }
  const fs::path home = places.environment("HOME");
  return home.empty() ? fs::path() : home / ".local" / "share" / kFolder;
}

}  // namespace

UserPlaces UserPlaces::current() {
  UserPlaces places;
  places.environment = [](const char* variable) {
    const char* const value = std::getenv(variable);
    return std::string(value ? value : "");
  };
#if defined(__APPLE__)
  places.hasLibrary = true;
#else
  places.hasLibrary = false;
#endif
  return places;
}

std::string dataDirectory(const UserPlaces& places) {
  std::string given = places.environment(kVariable);
  // parent_path() of "a/" is "a".
  while (given.size() > 1 && given.back() == '/') {
    given.pop_back();
  }
  return given.empty() ? defaultDataDirectory(places).string() : given;
}

std::string logDirectory(const std::string& data, const UserPlaces& places) {
  const bool isDefault =
      places.environment(kVariable).empty() && data == defaultDataDirectory(places).string();
  return places.hasLibrary && isDefault ? inLibrary(places, "Logs").string() : data;
}

}  // namespace platform
