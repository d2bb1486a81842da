// The lines of velctl shell, kept from one session to the next.

#ifndef VEL_APPS_LOCAL_VELCTL_SHELL_HISTORY_FILE_H
#define VEL_APPS_LOCAL_VELCTL_SHELL_HISTORY_FILE_H

#include <cstddef>
#include <string>
#include <vector>

namespace velctl {

// The file velctl_history, for its user alone (mode 0600). Several shells may append to it. Where
// it cannot be read or written, or is no file of this user, there is no history.
class HistoryFile {
 public:
  static constexpr std::size_t kMostLines = 1000;

  // directory: an existing one; empty: there is no history.
  explicit HistoryFile(const std::string& directory);

  // The last lines, oldest first. Shortens a file that has more.
  std::vector<std::string> load() const;
  // A line without a newline.
  void append(const std::string& line) const;

 private:
  const std::string path_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_SHELL_HISTORY_FILE_H
