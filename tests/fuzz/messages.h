// Messages of a service that sends what it likes: any arguments, blocks of any size.

#ifndef TESTS_FUZZ_MESSAGES_H
#define TESTS_FUZZ_MESSAGES_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/fuzz/input.h"
#include "tests/scripted_bus/platform_doubles.h"
#include "tests/scripted_bus/scripted_bus.h"
#include "tests/scripted_bus/timeline.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace fuzz {

// Often one with a meaning, or at an edge.
inline std::int32_t int32In(Input& input) {
  constexpr std::int32_t kKnown[] = {0,  1,   2,  3,
                                     4,  5,   6,  7,
                                     8,  9,   10, 64,
                                     65, 66,  -1, std::numeric_limits<std::int32_t>::max(),
                                     11, 300, 67, std::numeric_limits<std::int32_t>::min()};
  const std::size_t choice = input.byte();
  return choice < std::size(kKnown) ? kKnown[choice] : input.number<std::int32_t>();
}

// A block: sent bytes, or one byte repeated, so that long blocks need no long input.
inline scripted::Bytes blockIn(Input& input) {
  const bool isRepeated = input.flag();
  if (isRepeated) {
    const std::size_t size = input.number<std::uint16_t>() & 0xFFF;
    return scripted::Bytes(size, input.byte());
  }
  const std::string_view bytes = input.piece();
  return scripted::Bytes(bytes.begin(), bytes.end());
}

inline scripted::Argument argumentIn(Input& input) {
  switch (input.below(9)) {
    case 0:
      return input.number<std::int16_t>();
    case 1:
    case 2:
      return int32In(input);
    case 3:
      return input.number<std::uint64_t>();
    case 4:
      return input.number<std::int64_t>();
    case 5:
      return input.number<double>();
    case 6:
      return std::string(input.piece());
    default:
      return blockIn(input);
  }
}

inline scripted::Reply anyMessageIn(Input& input) {
  scripted::Reply message;
  for (std::size_t count = input.below(8); count > 0; --count) {
    message.arguments.push_back(argumentIn(input));
  }
  return message;
}

// Lets a proxy learn the numbers of these VMs from the bus. The log keeps no lines, which would
// take most of the time.
//
// proxy    of one target alone: another would teach it VMs of its own
inline void teachVms(qx::VelProxy& proxy, const std::map<std::string, unsigned int>& vms) {
  scripted::RecordedLog::the().setKeeping(false);
  scripted::ScriptedBus::the().reset();
  proxy.Init();
  for (const auto& [name, number] : vms) {
    scripted::ScriptedBus::the().knowsVm(name, number);
    proxy.GetVmIdInt(name);
  }
}

// Otherwise the records of the doubles would grow with each input.
inline void forgetRecords() {
  scripted::Timeline::the().clear();
  scripted::ScriptedBus::the().clear();
}

// The value that a getter of the scripted bus returns.
template <typename Value>
Value valueAt(const scripted::Reply& message, std::size_t index) {
  const Value* const value =
      index < message.arguments.size() ? std::get_if<Value>(&message.arguments[index]) : nullptr;
  return value ? *value : Value();
}

// --- Replies -------------------------------------------------------------------------------------

inline bool isNormal(const scripted::Reply& reply) {
  return !reply.isMissing && reply.type == MESSAGE_TYPE_METHOD_RETURN;
}

using Records = std::vector<scripted::Bytes>;

// What the service sent: the blocks up to the count or the first empty one.
inline Records sentRecords(const scripted::Reply& reply) {
  Records records;
  const int count = isNormal(reply) ? valueAt<std::int32_t>(reply, 0) : 0;
  for (int i = 0; i < count; ++i) {
    scripted::Bytes block = valueAt<scripted::Bytes>(reply, static_cast<std::size_t>(i) + 1);
    if (block.empty()) {
      break;
    }
    records.push_back(std::move(block));
  }
  return records;
}

// Most replies look like lists, as otherwise hardly any would be long.
inline scripted::Reply replyIn(Input& input) {
  scripted::Reply reply;
  switch (input.below(8)) {
    case 0:
      return scripted::Reply::missing();
    case 1:
      return scripted::Reply::error(std::string(input.piece()), input.number<std::int16_t>());
    case 2:
    case 3:
      return anyMessageIn(input);
    case 4: {
      reply.int32(input.flag() ? 0 : int32In(input)).int32(int32In(input));
      for (std::size_t count = input.below(20); count > 0; --count) {
        reply.string(std::string(input.piece()));
      }
      return reply;
    }
    default: {
      reply.int32(int32In(input));
      for (std::size_t count = input.below(8); count > 0; --count) {
        reply.bytes(blockIn(input));
      }
      return reply;
    }
  }
}

// --- Events --------------------------------------------------------------------------------------

// The VMs that the proxy knows, by number.
inline constexpr int kVms[] = {7, std::numeric_limits<int>::min()};
inline constexpr const char* kVmNames[] = {"win11", "linux9"};

inline scripted::Reply eventIn(Input& input) {
  constexpr std::size_t kAnyArguments = 3;
  const std::size_t kind = input.below(16);
  if (kind == kAnyArguments) {
    return anyMessageIn(input);
  }
  scripted::Reply event;
  event.int32(kind < std::size(kVms) ? kVms[kind] : kind == 2 ? int32In(input) : 0);
  event.int32(int32In(input));
  event.bytes(blockIn(input));
  return event;
}

enum class EventKind { kPrinter, kDevice, kNewDevice, kCommand, kDiagnosis };

// Whose callbacks an event reaches, worked out from the event alone; nullopt: none.
inline std::optional<EventKind> kindOf(const scripted::Reply& event) {
  const int vm = valueAt<std::int32_t>(event, 0);
  const int code = valueAt<std::int32_t>(event, 1);
  const std::size_t size = valueAt<scripted::Bytes>(event, 2).size();
  if (vm != 0 && vm != kVms[0] && vm != kVms[1]) {
    return std::nullopt;
  }
  if (code == 66) {
    return EventKind::kCommand;
  }
  if (code == 9) {
    return size >= 16 ? std::optional(EventKind::kDiagnosis) : std::nullopt;
  }
  if (size == 0) {
    return std::nullopt;
  }
  const bool isDevice = (code >= 4 && code <= 7) || code == 10 || code == 64 || code == 65;
  return code == 1 ? EventKind::kPrinter : isDevice ? EventKind::kDevice : EventKind::kNewDevice;
}

}  // namespace fuzz

#endif  // TESTS_FUZZ_MESSAGES_H
