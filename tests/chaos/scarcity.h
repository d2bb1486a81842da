// Things that a process may run out of, each while an object of this kind lives.

#ifndef TESTS_CHAOS_SCARCITY_H
#define TESTS_CHAOS_SCARCITY_H

#include <vector>

#include <sys/resource.h>

namespace chaos {

// At most so many descriptors from now on, so that few have to be hoarded.
void limitDescriptors(unsigned most);

// Every descriptor that is left, but some.
class NoDescriptors {
 public:
  explicit NoDescriptors(std::size_t left);
  ~NoDescriptors();
  NoDescriptors(const NoDescriptors&) = delete;
  NoDescriptors& operator=(const NoDescriptors&) = delete;

 private:
  std::vector<int> hoard_;
};

// No file may grow beyond a size: writes fail as on a full disk.
class FullDisk {
 public:
  explicit FullDisk(rlim_t largestFile);
  ~FullDisk();
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;
};

}  // namespace chaos

#endif  // TESTS_CHAOS_SCARCITY_H
