#include "platform/app_data_path.h"

#include <filesystem>
#include <system_error>

#include <sys/stat.h>

#include "platform/user_directories.h"

namespace {

namespace fs = std::filesystem;

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
    const fs::path directory = platform::dataDirectory();
    return !directory.empty() && makePrivate(directory) ? directory.string() : std::string();
  } catch (const std::exception&) {
    return {};
  }
}
