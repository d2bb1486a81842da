// The bytes that have been read from a socket, and the messages in them.

#ifndef BUS_DBUS_TRANSPORT_INBOX_H
#define BUS_DBUS_TRANSPORT_INBOX_H

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "bus/dbus/transport/received.h"
#include "bus/dbus/wire/fault.h"

namespace qxbus {

// Reads are large, and bytes are moved once at most: messages that fill a good part of a chunk keep
// the chunk, and the next read begins another one. A few small messages are copied out of theirs,
// so that a message that is kept for long keeps little memory. A message that is larger than a
// chunk is read into memory of its own size.
//
// THREADS   One at a time.
class Inbox {
 public:
  struct Space {
    char* bytes;
    std::size_t size;
  };

  Inbox();

  // Where the next bytes go; never empty.
  Space space();
  // So many bytes have been written there.
  void filled(std::size_t count);
  // What has been read and is not yet a message.
  std::string_view rest() const { return {chunk_.get() + begin_, end_ - begin_}; }
  // The first bytes of rest() were something else than a message.
  void drop(std::size_t count) { begin_ += count; }

  // Appends every message that is complete. Bodies are not checked.
  //
  // returns    a fault: the bytes are not messages from there on
  wire::Fault take(std::vector<Received>* messages);

  // Whether the rest is the beginning of a message that is larger than a chunk, with all of its
  // header, and no memory has been taken for its body.
  //
  // message    a view of the rest
  bool beginsLarge(wire::Message* message) const;
  // Leaves that message out: its body is read, and not kept.
  void skipLarge();

 private:
  void begin(std::size_t capacity);
  wire::Fault find(std::vector<Received>* messages);

  std::shared_ptr<char[]> chunk_;
  std::size_t capacity_ = 0;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::size_t toSkip_ = 0;  // of the bytes to come
};

}  // namespace qxbus

#endif  // BUS_DBUS_TRANSPORT_INBOX_H
