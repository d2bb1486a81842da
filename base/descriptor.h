// The owner of a file descriptor.

#ifndef BASE_DESCRIPTOR_H
#define BASE_DESCRIPTOR_H

#include <utility>

#include <unistd.h>

namespace base {

class Descriptor {
 public:
  Descriptor() = default;
  // A negative number, the failure of open() and similar calls, stands for no descriptor.
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() {
    if (isOpen()) {
      ::close(number_);
    }
  }

  bool isOpen() const { return number_ >= 0; }
  explicit operator bool() const { return isOpen(); }
  // -1: none.
  int number() const { return number_; }
  // Gives the descriptor up without closing it.
  int release() { return std::exchange(number_, -1); }

 private:
  int number_ = -1;
};

}  // namespace base

#endif  // BASE_DESCRIPTOR_H
