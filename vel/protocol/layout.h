// Layouts of byte blocks: fields with offset, size, type and meaning.
//
// All numbers are little-endian. A text ends at its first NUL, or where its field ends.

#ifndef VEL_PROTOCOL_LAYOUT_H
#define VEL_PROTOCOL_LAYOUT_H

#include <cstddef>
#include <string_view>
#include <type_traits>

namespace velprotocol {

enum class FieldType { kUnsigned, kSigned, kText, kBytes };

// Which side depends on the place of a field.
enum class FixedBy {
  kClient,   // the client library reads or writes the field there: every service must keep to it
  kService,  // the client library passes the bytes on unread: the meaning is velsim's
};

// The size of a last field that runs to the end of its block.
constexpr std::size_t kToTheEnd = 0;

struct Field {
  std::string_view name;
  std::size_t offset;
  std::size_t size;  // or kToTheEnd
  FieldType type;
  FixedBy fixedBy;
  std::string_view meaning;
};

template <typename Value>
struct NumberField : Field {
  constexpr NumberField(std::string_view itsName, std::size_t itsOffset, FixedBy by,
                        std::string_view itsMeaning)
      : Field{itsName,
              itsOffset,
              sizeof(Value),
              std::is_signed_v<Value> ? FieldType::kSigned : FieldType::kUnsigned,
              by,
              itsMeaning} {}
};

struct TextField : Field {
  constexpr TextField(std::string_view itsName, std::size_t itsOffset, std::size_t itsSize,
                      FixedBy by, std::string_view itsMeaning)
      : Field{itsName, itsOffset, itsSize, FieldType::kText, by, itsMeaning} {}
};

// Bytes that no side interprets.
struct BytesField : Field {
  constexpr BytesField(std::string_view itsName, std::size_t itsOffset, std::size_t itsSize,
                       FixedBy by, std::string_view itsMeaning)
      : Field{itsName, itsOffset, itsSize, FieldType::kBytes, by, itsMeaning} {}
};

// Bytes without a meaning: zero.
struct ReservedField : BytesField {
  constexpr ReservedField(std::size_t itsOffset, std::size_t itsSize, FixedBy by)
      : BytesField("reserved", itsOffset, itsSize, by, "zero") {}
};

// How long a block may be.
enum class BlockSize {
  kExact,     // as long as the layout
  kServices,  // the service chooses; the layout is velsim's
};

class Layout {
 public:
  // fields  all of the bytes, in order
  template <std::size_t count>
  constexpr Layout(std::string_view name, std::string_view clientName, BlockSize blockSize,
                   std::string_view meaning, const Field (&fields)[count])
      : name_(name),
        clientName_(clientName),
        blockSize_(blockSize),
        meaning_(meaning),
        fields_(fields),
        count_(count) {}

  constexpr std::string_view name() const { return name_; }
  // The record's name in the header of the client library; empty when it has none there.
  constexpr std::string_view clientName() const { return clientName_; }
  constexpr BlockSize blockSize() const { return blockSize_; }
  constexpr std::string_view meaning() const { return meaning_; }

  constexpr const Field* begin() const { return fields_; }
  constexpr const Field* end() const { return fields_ + count_; }

  // Without a last field that runs to the end.
  constexpr std::size_t size() const { return last().offset + last().size; }
  constexpr bool isOpenEnded() const { return last().size == kToTheEnd; }

  // Whether each field begins where the field before it ends, and only the last may be open.
  constexpr bool isGapless() const {
    std::size_t next = 0;
    for (std::size_t i = 0; i < count_; ++i) {
      if (fields_[i].offset != next || (fields_[i].size == kToTheEnd && i + 1 < count_)) {
        return false;
      }
      next += fields_[i].size;
    }
    return true;
  }

 private:
  constexpr const Field& last() const { return fields_[count_ - 1]; }

  std::string_view name_;
  std::string_view clientName_;
  BlockSize blockSize_;
  std::string_view meaning_;
  const Field* fields_;
  std::size_t count_;
};

}  // namespace velprotocol

#endif  // VEL_PROTOCOL_LAYOUT_H
