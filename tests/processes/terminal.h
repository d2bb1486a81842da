// The user's side of a pseudo-terminal.

#ifndef TESTS_PROCESSES_TERMINAL_H
#define TESTS_PROCESSES_TERMINAL_H

#include <cstdlib>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace processes {

class Terminal {
 public:
  Terminal() : terminal_(::posix_openpt(O_RDWR | O_NOCTTY)) {
    if (terminal_ < 0 || ::grantpt(terminal_) != 0 || ::unlockpt(terminal_) != 0) {
      throw std::runtime_error("there is no terminal");
    }
    name_ = ::ptsname(terminal_);
    // While this side is open too, reading never finds the terminal hung up.
    other_ = ::open(name_.c_str(), O_RDWR | O_NOCTTY);
  }

  ~Terminal() {
    ::close(other_);
    ::close(terminal_);
  }

  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  const std::string& name() const { return name_; }

  // As a user types it.
  void type(const std::string& text) {
    if (::write(terminal_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
      throw std::runtime_error("the terminal takes no input");
    }
  }

  // All output so far.
  const std::string& text() {
    char bytes[1024];
    pollfd polled = {terminal_, POLLIN, 0};
    while (::poll(&polled, 1, 0) > 0) {
      const ssize_t count = ::read(terminal_, bytes, sizeof bytes);
      if (count <= 0) {
        break;
      }
      text_.append(bytes, static_cast<std::size_t>(count));
    }
    return text_;
  }

 private:
  int terminal_;
  int other_;
  std::string name_;
  std::string text_;
};

}  // namespace processes

#endif  // TESTS_PROCESSES_TERMINAL_H
