#include "tests/processes/temporary_file.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

namespace processes {

TemporaryFile::TemporaryFile(const std::string& content) : file_(std::tmpfile(), &std::fclose) {
  if (!file_) {
    throw std::runtime_error(std::string("a temporary file: ") + std::strerror(errno));
  }
  ::fcntl(descriptor(), F_SETFD, FD_CLOEXEC);
  std::fwrite(content.data(), 1, content.size(), file_.get());
  std::rewind(file_.get());
}

int TemporaryFile::descriptor() const {
  return ::fileno(file_.get());
}

std::string TemporaryFile::content() const {
  std::string text;
  char bytes[4096];
  for (;;) {
    const ssize_t count =
        ::pread(descriptor(), bytes, sizeof bytes, static_cast<off_t>(text.size()));
    if (count <= 0) {
      return text;
    }
    text.append(bytes, static_cast<std::size_t>(count));
  }
}

}  // namespace processes
