#include "vel/apps/local/velsim/recording/decoding.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <variant>

#include "base/text.h"
#include "vel/protocol/access.h"
#include "vel/protocol/events.h"
#include "vel/protocol/methods.h"

namespace velsim {
namespace {

using velprotocol::Argument;
using velprotocol::ArgumentList;

std::string_view viewOf(const qxbus::Bytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

template <typename Integer>
Integer numberAt(const qxbus::Bytes& block, const velprotocol::Field& field) {
  return velprotocol::read(block,
                           velprotocol::NumberField<Integer>("", field.offset, field.fixedBy, ""));
}

OrderedJson fieldOf(const qxbus::Bytes& block, const velprotocol::Field& field) {
  const bool isSigned = field.type == velprotocol::FieldType::kSigned;
  switch (field.type) {
    case velprotocol::FieldType::kText:
      return velprotocol::read(
          block, velprotocol::TextField("", field.offset, field.size, field.fixedBy, ""));
    case velprotocol::FieldType::kBytes: {
      const std::size_t begin = std::min(field.offset, block.size());
      return base::hexOf(viewOf(block).substr(begin, field.size));
    }
    case velprotocol::FieldType::kSigned:
    case velprotocol::FieldType::kUnsigned:
      break;
  }
  switch (field.size) {
    case sizeof(std::uint8_t):
      return numberAt<std::uint8_t>(block, field);
    case sizeof(std::uint16_t):
      return isSigned ? OrderedJson(numberAt<std::int16_t>(block, field))
                      : OrderedJson(numberAt<std::uint16_t>(block, field));
    case sizeof(std::uint32_t):
      return isSigned ? OrderedJson(numberAt<std::int32_t>(block, field))
                      : OrderedJson(numberAt<std::uint32_t>(block, field));
    default:
      return isSigned ? OrderedJson(numberAt<std::int64_t>(block, field))
                      : OrderedJson(numberAt<std::uint64_t>(block, field));
  }
}

OrderedJson recordOf(const qxbus::Bytes& block, const velprotocol::Layout& layout) {
  OrderedJson record = OrderedJson::object();
  for (const velprotocol::Field& field : layout) {
    if (field.name != "reserved") {
      record[std::string(field.name)] = fieldOf(block, field);
    }
  }
  return record;
}

OrderedJson plain(const qxbus::Value& value) {
  if (const auto* const bytes = std::get_if<qxbus::Bytes>(&value)) {
    return base::hexOf(viewOf(*bytes));
  }
  return jsonOf(value).begin().value();
}

OrderedJson named(const MaskableValue& value, const Argument& argument) {
  if (!value) {
    return "masked";
  }
  const auto* const bytes = std::get_if<qxbus::Bytes>(&*value);
  return bytes && argument.record ? recordOf(*bytes, *argument.record) : plain(*value);
}

OrderedJson decoded(const ArgumentList& list, const MaskableValues& values) {
  OrderedJson all = OrderedJson::object();
  std::size_t next = 0;
  for (; next < list.repeatedFrom() && next < values.size(); ++next) {
    all[std::string(list[next].name)] = named(values[next], list[next]);
  }
  const std::size_t round = list.size() - list.repeatedFrom();
  if (round == 0) {
    return all;
  }
  OrderedJson items = OrderedJson::array();
  while (next + round <= values.size()) {
    OrderedJson item = OrderedJson::object();
    for (std::size_t i = list.repeatedFrom(); i < list.size(); ++i, ++next) {
      item[std::string(list[i].name)] = named(values[next], list[i]);
    }
    // A record needs no name of its own in a list of records.
    items.push_back(round == 1 ? OrderedJson(item.begin().value()) : item);
  }
  all["list"] = std::move(items);
  return all;
}

}  // namespace

OrderedJson decodedArguments(const std::string& method, const MaskableValues& values) {
  const velprotocol::Method* const found = velprotocol::find(method);
  return found ? decoded(ArgumentList(found->arguments), values) : OrderedJson::object();
}

OrderedJson decodedReply(const std::string& method, const MaskableValues& values) {
  const velprotocol::Method* const found = velprotocol::find(method);
  return found ? decoded(ArgumentList(found->reply), values) : OrderedJson::object();
}

OrderedJson decodedEvent(const MaskableValues& values) {
  OrderedJson all = OrderedJson::object();
  qxbus::Values present;
  for (const MaskableValue& value : values) {
    present.push_back(value.value_or(qxbus::Value(std::string())));
  }
  if (present.size() <= velprotocol::kEventCode) {
    return all;
  }
  const auto code =
      static_cast<velprotocol::EventCode>(qxbus::readInt32(present, velprotocol::kEventCode));
  all["vm"] = qxbus::readInt32(present, velprotocol::kEventVm);
  all["code"] = static_cast<std::int32_t>(code);
  const velprotocol::Event* const event = velprotocol::findEvent(code);
  const qxbus::Bytes* const record = qxbus::readBytes(present, velprotocol::kEventRecord);
  if (event) {
    all["event"] = event->name;
  }
  if (record) {
    all["record"] = event ? recordOf(*record, *event->record) : plain(*record);
  }
  return all;
}

}  // namespace velsim
