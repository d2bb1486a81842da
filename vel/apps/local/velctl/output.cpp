#include "vel/apps/local/velctl/output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "vel/apps/local/velctl/failure.h"

namespace velctl {

Output::Output(bool isJson) : data_(::dup(STDOUT_FILENO)), isJson_(isJson) {
  std::fflush(stdout);
  if (::dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
    // Standard error is closed. Nothing that is opened later may take the number of standard
    // output.
    const int nowhere = ::open("/dev/null", O_WRONLY);
    if (nowhere >= 0 && nowhere != STDOUT_FILENO) {
      ::dup2(nowhere, STDOUT_FILENO);
      ::close(nowhere);
    }
  }
  // Keeps the library's lines in order with ours.
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

void Output::line(const std::string& text, const Json& json) const {
  if (isJson_) {
    this->json(json);
  } else {
    write(text);
  }
}

void Output::json(const Json& json) const {
  if (isJson_) {
    // Names come from the service and need not be UTF-8, which JSON must be.
    write(json.dump(-1, ' ', false, Json::error_handler_t::replace));
  }
}

void Output::write(const std::string& line) const {
  const std::string data = line + '\n';
  std::size_t written = 0;
  while (written < data.size()) {
    const ssize_t count = ::write(data_, data.data() + written, data.size() - written);
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0) {
      throw Failure(kExitOutputFailed,
                    std::string("writing to standard output: ") + std::strerror(errno));
    }
    written += static_cast<std::size_t>(count);
  }
}

void Output::note(const std::string& text) {
  std::fprintf(stderr, "velctl: %s\n", text.c_str());
}

}  // namespace velctl
