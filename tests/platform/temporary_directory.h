#ifndef TESTS_PLATFORM_TEMPORARY_DIRECTORY_H
#define TESTS_PLATFORM_TEMPORARY_DIRECTORY_H

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

// A new directory, which is removed with its content when the object goes.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "platform_test.XXXXXX").string();
    path_ = ::mkdtemp(name.data()) ? name : "";
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

// The permission bits; -1 when there is no such file.
inline int modeOf(const std::filesystem::path& path) {
  struct stat status = {};
  return ::stat(path.c_str(), &status) == 0 ? static_cast<int>(status.st_mode & 07777) : -1;
}

#endif  // TESTS_PLATFORM_TEMPORARY_DIRECTORY_H
