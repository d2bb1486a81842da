#include "bus/dbus/transport/inbox.h"

#include <algorithm>
#include <cstring>

namespace qxbus {
namespace {

constexpr std::size_t kChunk = std::size_t{64} * 1024;
// Messages that fill less of their chunk are copied out of it.
constexpr std::size_t kWorthAChunk = kChunk / 4;
// Less room at the end of a chunk is not worth a read.
constexpr std::size_t kLeastSpace = 4096;

std::shared_ptr<char[]> newMemory(std::size_t size) {
  return std::shared_ptr<char[]>(new char[size]);
}

}  // namespace

Inbox::Inbox() {
  begin(kChunk);
}

// Goes on in a new chunk, which begins with the rest of the old one.
void Inbox::begin(std::size_t capacity) {
  std::shared_ptr<char[]> next = newMemory(capacity);
  const std::string_view kept = rest();
  if (!kept.empty()) {
    std::memcpy(next.get(), kept.data(), kept.size());
  }
  chunk_ = std::move(next);
  capacity_ = capacity;
  end_ = kept.size();
  begin_ = 0;
}

Inbox::Space Inbox::space() {
  // No message has a share in the chunk that is read into.
  if (begin_ == end_) {
    begin_ = end_ = 0;
  }
  const std::size_t needed = wire::frameOf(rest()).size;
  if (needed > capacity_ - begin_) {
    begin(std::max(needed, kChunk));
  } else if (rest().size() >= needed && capacity_ - end_ < kLeastSpace) {
    begin(kChunk);
  }
  return {chunk_.get() + end_, capacity_ - end_};
}

void Inbox::filled(std::size_t count) {
  const std::size_t skipped = std::min(count, toSkip_);
  toSkip_ -= skipped;
  end_ += count;
  begin_ += skipped;
}

bool Inbox::beginsLarge(wire::Message* message) const {
  const wire::Frame frame = wire::frameOf(rest());
  return capacity_ == kChunk && frame.size > kChunk && rest().size() >= frame.headerSize &&
         wire::readHeader(rest(), message) == wire::Fault::kNone;
}

void Inbox::skipLarge() {
  toSkip_ = wire::frameOf(rest()).size - rest().size();
  begin_ = end_;
}

wire::Fault Inbox::find(std::vector<Received>* messages) {
  for (;;) {
    const wire::Frame frame = wire::frameOf(rest());
    if (frame.fault != wire::Fault::kNone) {
      return frame.fault;
    }
    if (frame.size == 0 || frame.size > end_ - begin_) {
      return wire::Fault::kNone;
    }
    Received received;
    const wire::Fault fault = wire::readHeader(rest().substr(0, frame.size), &received.message);
    if (fault != wire::Fault::kNone) {
      return fault;
    }
    messages->push_back(std::move(received));
    begin_ += frame.size;
  }
}

wire::Fault Inbox::take(std::vector<Received>* messages) {
  const std::size_t before = messages->size();
  const std::size_t from = begin_;
  const wire::Fault fault = find(messages);
  const std::size_t taken = begin_ - from;
  if (taken == 0) {
    return fault;
  }
  if (taken >= kWorthAChunk) {
    for (std::size_t i = before; i < messages->size(); ++i) {
      (*messages)[i].memory = chunk_;
      (*messages)[i].memorySize = capacity_;
    }
    begin(kChunk);
    return fault;
  }
  // One copy serves all of them: they came together, and go together.
  const std::shared_ptr<char[]> copy = newMemory(taken);
  std::memcpy(copy.get(), chunk_.get() + from, taken);
  std::size_t at = 0;
  for (std::size_t i = before; i < messages->size(); ++i) {
    Received& received = (*messages)[i];
    const wire::Frame frame = wire::frameOf({copy.get() + at, taken - at});
    // Cannot fail: the bytes are those that were read before.
    static_cast<void>(wire::readHeader({copy.get() + at, frame.size}, &received.message));
    received.memory = copy;
    received.memorySize = taken;
    at += frame.size;
  }
  return fault;
}

}  // namespace qxbus
