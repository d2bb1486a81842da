// Bytes that grow at the end, in memory that is neither cleared nor given back before the end.

#ifndef BUS_DBUS_WIRE_BUFFER_H
#define BUS_DBUS_WIRE_BUFFER_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

namespace qxbus::wire {

class Buffer {
 public:
  std::size_t size() const { return size_; }
  char* data() { return bytes_.get(); }
  std::string_view bytes() const { return {bytes_.get(), size_}; }

  // Makes room for so many bytes behind the last one.
  //
  // returns    the first of them, not yet written; valid until the next call
  char* extend(std::size_t count) {
    if (count > capacity_ - size_) {
      grow(size_ + count);
    }
    char* const end = bytes_.get() + size_;
    size_ += count;
    return end;
  }

  // Keeps the memory.
  void truncate(std::size_t size) { size_ = std::min(size, size_); }

 private:
  static constexpr std::size_t kLeastCapacity = 256;

  void grow(std::size_t least) {
    const std::size_t capacity = std::max({least, 2 * capacity_, kLeastCapacity});
    // Not make_unique, which would clear the bytes.
    std::unique_ptr<char[]> larger(new char[capacity]);
    if (size_ > 0) {
      std::memcpy(larger.get(), bytes_.get(), size_);
    }
    bytes_ = std::move(larger);
    capacity_ = capacity;
  }

  std::unique_ptr<char[]> bytes_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace qxbus::wire

#endif  // BUS_DBUS_WIRE_BUFFER_H
