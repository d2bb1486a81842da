// What velsim_process.h is made of: descriptors, files, and places for sockets.

#ifndef VEL_APPS_LOCAL_VELSIM_TESTING_INTERNAL_H
#define VEL_APPS_LOCAL_VELSIM_TESTING_INTERNAL_H

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

namespace velsim_testing {

class VelsimError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

namespace internal {

inline std::string systemReason() {
  return std::strerror(errno);
}

// The owner of a descriptor that other programs do not inherit.
class File {
 public:
  File() = default;
  explicit File(int number) : number_(number) {
    if (number_ >= 0) {
      ::fcntl(number_, F_SETFD, FD_CLOEXEC);
    }
  }
  File(File&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  File& operator=(File&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~File() { close(); }

  int number() const { return number_; }
  void close() {
    if (number_ >= 0) {
      ::close(std::exchange(number_, -1));
    }
  }

 private:
  int number_ = -1;
};

// What a program writes: a file without a name.
class Output {
 public:
  Output() : file_(std::tmpfile(), &std::fclose) {
    if (!file_) {
      throw VelsimError("no temporary file: " + systemReason());
    }
    ::fcntl(number(), F_SETFD, FD_CLOEXEC);
  }
  int number() const { return ::fileno(file_.get()); }
  std::string content() const {
    std::string text;
    char bytes[4096];
    for (;;) {
      const ssize_t count = ::pread(number(), bytes, sizeof bytes, static_cast<off_t>(text.size()));
      if (count <= 0) {
        return text;
      }
      text.append(bytes, static_cast<std::size_t>(count));
    }
  }

 private:
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
};

// The private directory of this process, with places for sockets in it. Removed when the process
// ends in an orderly way.
class Places {
 public:
  static Places& ofThisProcess() {
    static Places places;
    return places;
  }

  Places(const Places&) = delete;
  Places& operator=(const Places&) = delete;

  // The path of the first place that is free, until leave().
  std::string take() {
    for (std::size_t place = 0; place < used_.size(); ++place) {
      if (!used_[place].exchange(true)) {
        return pathOf(place);
      }
    }
    throw VelsimError("more than " + std::to_string(used_.size()) + " at once");
  }
  void leave(const std::string& path) {
    for (std::size_t place = 0; place < used_.size(); ++place) {
      if (path == pathOf(place)) {
        used_[place] = false;
      }
    }
  }

 private:
  Places() : owner_(::getpid()) {
    const char* const temporary = std::getenv("TMPDIR");
    std::string pattern = temporary && *temporary ? temporary : "/tmp";
    pattern += "/velsim-XXXXXX";
    if (!::mkdtemp(pattern.data())) {
      throw VelsimError("no directory " + pattern + ": " + systemReason());
    }
    directory_ = pattern;
  }
  ~Places() {
    // A child of fork() that ends must not remove what its parent uses.
    if (owner_ == ::getpid()) {
      for (std::size_t place = 0; place < used_.size(); ++place) {
        ::unlink(pathOf(place).c_str());  // a velsim that was killed leaves its socket
      }
      ::rmdir(directory_.c_str());
    }
  }

  std::string pathOf(std::size_t place) const {
    return directory_ + '/' + std::to_string(place + 1);
  }

  const pid_t owner_;
  std::string directory_;
  std::array<std::atomic<bool>, 256> used_ = {};
};

}  // namespace internal

}  // namespace velsim_testing

#endif  // VEL_APPS_LOCAL_VELSIM_TESTING_INTERNAL_H
