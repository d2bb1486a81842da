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
  wire::appendValues(writer, views_.empty() ? values_ : values());
}

Values Arguments::values() const {
  if (views_.empty()) {
    return values_;
  }
  Values values;
  values.reserve(views_.size());
  for (const wire::Argument& view : views_) {
    values.push_back(wire::valueOf(view));
  }
  return values;
}

}  // namespace qxbus
