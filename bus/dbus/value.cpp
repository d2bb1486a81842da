#include "bus/dbus/value.h"

#include "base/text.h"
#include "base/utf8.h"
#include "bus/dbus/integer.h"

namespace qxbus {
namespace {

// A block longer than this is cut short in descriptions.
constexpr std::size_t kDescribedBytes = 16;

const Value* at(const Values& values, int index) {
  const bool isInside = index >= 0 && static_cast<std::size_t>(index) < values.size();
  return isInside ? &values[static_cast<std::size_t>(index)] : nullptr;
}

template <typename T>
const T* as(const Values& values, int index) {
  const Value* const value = at(values, index);
  return value ? std::get_if<T>(value) : nullptr;
}

template <typename Asked>
Asked readInteger(const Values& values, int index) {
  const Value* const value = at(values, index);
  return value ? integerIn<Asked>(*value) : Asked{0};
}

class Describer {
 public:
  explicit Describer(std::string* text) : text_(text) {}

  void operator()(std::int16_t value) const { add("int16 ", value); }
  void operator()(std::uint16_t value) const { add("uint16 ", value); }
  void operator()(std::int32_t value) const { add("int32 ", value); }
  void operator()(std::uint32_t value) const { add("uint32 ", value); }
  void operator()(std::int64_t value) const { add("int64 ", value); }
  void operator()(std::uint64_t value) const { add("uint64 ", value); }
  void operator()(double value) const { add("double ", value); }

  void operator()(const std::string& value) const {
    *text_ += "string \"";
    for (const char c : value) {
      if (c == '"' || c == '\\') {
        *text_ += '\\';
      }
      if (static_cast<unsigned char>(c) < 0x20) {
        *text_ += "\\x";
        base::appendHex(text_, static_cast<unsigned char>(c));
      } else {
        *text_ += c;
      }
    }
    *text_ += '"';
  }

  void operator()(const Bytes& value) const {
    *text_ += "bytes[" + std::to_string(value.size()) + "]";
    for (std::size_t i = 0; i < value.size() && i < kDescribedBytes; ++i) {
      *text_ += ' ';
      base::appendHex(text_, value[i]);
    }
    if (value.size() > kDescribedBytes) {
      *text_ += " ...";
    }
  }

 private:
  template <typename Number>
  void add(const char* type, Number value) const {
    *text_ += type + std::to_string(value);
  }

  std::string* text_;
};

}  // namespace

std::int16_t readInt16(const Values& values, int index) {
  return readInteger<std::int16_t>(values, index);
}
std::uint16_t readUInt16(const Values& values, int index) {
  return readInteger<std::uint16_t>(values, index);
}
std::int32_t readInt32(const Values& values, int index) {
  return readInteger<std::int32_t>(values, index);
}
std::uint32_t readUInt32(const Values& values, int index) {
  return readInteger<std::uint32_t>(values, index);
}
std::int64_t readInt64(const Values& values, int index) {
  return readInteger<std::int64_t>(values, index);
}
std::uint64_t readUInt64(const Values& values, int index) {
  return readInteger<std::uint64_t>(values, index);
}

std::string readString(const Values& values, int index) {
  if (const Bytes* const bytes = readBytes(values, index)) {
    return std::string(bytes->begin(), bytes->end());
  }
  const auto* const text = as<std::string>(values, index);
  return text ? *text : std::string();
}

const Bytes* readBytes(const Values& values, int index) {
  return as<Bytes>(values, index);
}

bool isText(const std::string& text) {
  return text.find('\0') == std::string::npos && base::isUtf8(text);
}

std::string describe(const Values& values) {
  std::string text;
  for (const Value& value : values) {
    if (!text.empty()) {
      text += ", ";
    }
    std::visit(Describer(&text), value);
  }
  return text;
}

}  // namespace qxbus
