// Byte blocks from the service: records whose length the service chooses, right or wrong.

#ifndef VEL_APPS_LOCAL_VELPROXY_INTERNAL_BLOCKS_H
#define VEL_APPS_LOCAL_VELPROXY_INTERNAL_BLOCKS_H

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <list>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "bus/qxbus.h"
#include "vel/apps/local/velproxy/internal/arguments.h"
#include "vel/apps/local/velproxy/internal/error_report.h"

namespace qx {

struct DeleteBytes {
  void operator()(unsigned char* bytes) const { ::operator delete(bytes); }
};
using OwnedBytes = std::unique_ptr<unsigned char, DeleteBytes>;

// One block of a message; empty when the message has no block at the index.
class Block {
 public:
  Block() = default;
  Block(QXBusMessage& message, int index) {
    int length = 0;
    bytes_.reset(message.getBytes(index, &length));
    size_ = bytes_ && length > 0 ? static_cast<std::size_t>(length) : 0;
  }

  bool empty() const { return size_ == 0; }
  std::size_t size() const { return size_; }
  unsigned char* data() const { return bytes_.get(); }

 private:
  OwnedBytes bytes_;
  std::size_t size_ = 0;
};

// A block as a record of which a client may read every field: fixed fields, then a text at
// textOffset that runs to the end of the block. A complete block is used in place; a block that is
// too short, or whose last text has no NUL, is copied and padded with zeroes.
template <typename Record>
class ReadableRecord {
 public:
  ReadableRecord(const Block& block, std::size_t textOffset) : record_(block.data()) {
    const bool whole =
        block.size() >= sizeof(Record) &&
        std::memchr(block.data() + textOffset, 0, block.size() - textOffset) != nullptr;
    if (!whole) {
      // One byte more, for the NUL of the text.
      const std::size_t length = std::max(block.size() + 1, sizeof(Record));
      padded_.reset(static_cast<unsigned char*>(::operator new(length)));
      std::memset(padded_.get(), 0, length);
      if (!block.empty()) {
        std::memcpy(padded_.get(), block.data(), block.size());
      }
      record_ = padded_.get();
    }
  }

  Record* get() const { return reinterpret_cast<Record*>(record_); }
  Record* operator->() const { return get(); }

 private:
  OwnedBytes padded_;
  unsigned char* record_;
};

// The counted list of blocks in a reply: argument 0 is the count, arguments 1 to count are blocks.
// The first empty or missing block ends the list and makes the reply a bad one.
class BlockList {
 public:
  // The level of the log line for the block that ends the list early.
  enum class EmptyBlock { kDebug, kError };

  // reply  may be null
  // Log lines name the function and line.
  BlockList(std::shared_ptr<QXBusMessage> reply, ErrorReport& report, const char* function,
            int line)
      : reply_(std::move(reply)),
        report_(report),
        count_(reply_ ? countAt(*reply_, 0, report) : 0),
        function_(function),
        line_(line) {}

  explicit operator bool() const { return reply_ != nullptr; }
  // The count in the reply: may be negative, or more than there are blocks.
  int count() const { return count_; }

  template <typename Take>
  void forEach(EmptyBlock logged, Take take) const {
    for (int i = 0; i < count_; ++i) {
      Block block(*reply_, i + 1);
      if (block.empty()) {
        logEmptyBlock(logged, block.data());
        reportEarlyEnd(i, count_, report_);
        return;
      }
      take(block);
    }
  }

  // A malloc'ed copy of each block, exactly as long, which the report notes. prepare(block) runs
  // before each copy.
  template <typename Record, typename Prepare>
  std::list<Record*> copies(EmptyBlock logged, Prepare prepare) const {
    std::list<Record*> records;
    forEach(logged, [&](Block& block) {
      prepare(block);
      if (void* const copy = std::malloc(block.size())) {
        std::memcpy(copy, block.data(), block.size());
        records.push_back(static_cast<Record*>(copy));
        report_.addRecord(block.size());
      }
    });
    return records;
  }

  template <typename Record>
  std::list<Record*> copies(EmptyBlock logged) const {
    return copies<Record>(logged, [](const Block&) {});
  }

 private:
  void logEmptyBlock(EmptyBlock logged, const void* data) const;

  std::shared_ptr<QXBusMessage> reply_;
  ErrorReport& report_;
  int count_;
  const char* function_;
  int line_;
};

// Frees the records of a list that copies() made.
template <typename Record>
void freeEach(const std::list<Record*>& records) {
  for (Record* const record : records) {
    std::free(record);
  }
}

// The text in a field of fixed size, with or without a NUL at its end.
template <std::size_t size>
std::string textIn(const char (&field)[size]) {
  return std::string(field, strnlen(field, size));
}

}  // namespace qx

#endif  // VEL_APPS_LOCAL_VELPROXY_INTERNAL_BLOCKS_H
