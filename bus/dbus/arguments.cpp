#include "bus/dbus/arguments.h"

#include <string_view>
#include <utility>
#include <variant>

#include "bus/dbus/wire/values.h"

namespace qxbus {
namespace {

struct Viewer {
  template <typename Number>
  wire::Argument operator()(Number number) const {
    return number;
  }
  wire::Argument operator()(const std::string& text) const { return std::string_view(text); }
  wire::Argument operator()(const Bytes& bytes) const {
    return wire::Block{{reinterpret_cast<const char*>(bytes.data()), bytes.size()}};
  }
};

}  // namespace

Arguments Arguments::ofText(std::string text) {
  Arguments arguments;
  arguments.values_.emplace_back(std::move(text));
  return arguments;
}

Arguments::Arguments(Received message) : message_(std::move(message)) {
  std::size_t count = 0;
  wire::Argument argument;
  for (wire::ArgumentReader reader(message_.message); reader.next(&argument);) {
    ++count;
  }
  views_.reserve(count);
  for (wire::ArgumentReader reader(message_.message); reader.next(&argument);) {
    views_.push_back(argument);
  }
}

int Arguments::size() const {
  return static_cast<int>(views_.empty() ? values_.size() : views_.size());
}

std::optional<wire::Argument> Arguments::at(int index) const {
  if (index < 0 || index >= size()) {
    return std::nullopt;
  }
  const auto place = static_cast<std::size_t>(index);
  return views_.empty() ? std::visit(Viewer(), values_[place]) : views_[place];
}

void Arguments::append(Value value) {
  if (!views_.empty()) {
    values_ = values();
    views_.clear();
  }
  values_.push_back(std::move(value));
}

void Arguments::write(wire::MessageWriter* writer) const {
  if (views_.empty()) {
    wire::appendValues(writer, values_);
  } else {
    wire::appendValues(writer, values());
  }
}

// One by one, and never as copies of a Value: libstdc++ 12 crashes when the copy of a variant ends
// in std::bad_alloc.
Values Arguments::values() const {
  Values values;
  values.reserve(static_cast<std::size_t>(size()));
  for (int index = 0; index < size(); ++index) {
    values.push_back(wire::valueOf(*at(index)));
  }
  return values;
}

}  // namespace qxbus
