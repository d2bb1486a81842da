#include "vel/apps/local/velctl/shell/history_file.h"

#include <cstdio>
#include <sstream>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/descriptor.h"
#include "base/printable.h"

namespace velctl {
namespace {

// Not open when it is no file of this user.
base::Descriptor openPrivately(const std::string& path, int flags) {
  constexpr mode_t kMode = S_IRUSR | S_IWUSR;
  base::Descriptor file(::open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, kMode));
  struct stat status = {};
  const bool isOurs = file && ::fstat(file.number(), &status) == 0 && S_ISREG(status.st_mode) &&
                      status.st_uid == ::geteuid() && ::fchmod(file.number(), kMode) == 0;
  return isOurs ? std::move(file) : base::Descriptor();
}

// Lines are short, and a line that was written in part is dropped by load().
bool writeOnce(const base::Descriptor& file, const std::string& text) {
  return ::write(file.number(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

}  // namespace

HistoryFile::HistoryFile(const std::string& directory)
    : path_(directory.empty() ? "" : directory + "/velctl_history") {}

std::vector<std::string> HistoryFile::load() const {
  const base::Descriptor file = path_.empty() ? base::Descriptor() : openPrivately(path_, O_RDONLY);
  std::string text;
  if (file) {
    char bytes[4096];
    for (ssize_t count = 0; (count = ::read(file.number(), bytes, sizeof bytes)) > 0;) {
      text.append(bytes, static_cast<std::size_t>(count));
    }
  }
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    // The terminal shows it as it is.
    if (!line.empty() && base::printable(line) == line) {
      lines.push_back(line);
    }
  }
  if (lines.size() <= kMostLines) {
    return lines;
  }
  lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(kMostLines));
  const std::string shorter = path_ + '.' + std::to_string(::getpid());
  std::string kept;
  for (const std::string& line : lines) {
    kept += line + '\n';
  }
  const base::Descriptor replacement = openPrivately(shorter, O_WRONLY | O_CREAT | O_EXCL);
  if (replacement &&
      (!writeOnce(replacement, kept) || std::rename(shorter.c_str(), path_.c_str()) != 0)) {
    ::unlink(shorter.c_str());
  }
  return lines;
}

void HistoryFile::append(const std::string& line) const {
  const base::Descriptor file =
      path_.empty() ? base::Descriptor() : openPrivately(path_, O_WRONLY | O_APPEND | O_CREAT);
  if (file && base::printable(line) == line) {
    static_cast<void>(writeOnce(file, line + '\n'));
  }
}

}  // namespace velctl
