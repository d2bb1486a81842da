#include "tests/chaos/scarcity.h"

#include <algorithm>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace chaos {
namespace {

void limitFiles(rlim_t largest) {
  rlimit limit = {};
  ::getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = std::min(largest, limit.rlim_max);
  ::setrlimit(RLIMIT_FSIZE, &limit);
}

}  // namespace

void limitDescriptors(unsigned most) {
  rlimit limit = {};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = std::min(static_cast<rlim_t>(most), limit.rlim_max);
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

NoDescriptors::NoDescriptors(std::size_t left) {
  for (;;) {
    const int descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
      break;
    }
    hoard_.push_back(descriptor);
  }
  for (; left > 0 && !hoard_.empty(); --left) {
    ::close(hoard_.back());
    hoard_.pop_back();
  }
}

NoDescriptors::~NoDescriptors() {
  for (const int descriptor : hoard_) {
    ::close(descriptor);
  }
}

FullDisk::FullDisk(rlim_t largestFile) {
  std::signal(SIGXFSZ, SIG_IGN);
  limitFiles(largestFile);
}

FullDisk::~FullDisk() {
  limitFiles(RLIM_INFINITY);
}

}  // namespace chaos
