// Faults that a simulated service shows, as data: which calls, and what goes wrong with each.

#ifndef VEL_APPS_LOCAL_VELSIM_FAULTS_FAULT_PLAN_H
#define VEL_APPS_LOCAL_VELSIM_FAULTS_FAULT_PLAN_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace velsim {

enum class FaultKind {
  kDelay,
  kNoAnswer,
  kError,
  kWrongReplyType,
  kMissingArguments,
  kWrongArgumentTypes,
  kTruncatedBlocks,
  kEmptyBlocks,
  kOversizedBlocks,
  kRandomBlocks,
  kNegativeCount,
  kHugeCount,
  kNotUtf8,
  kEmbeddedNul,
  kDuplicateEvents,
  kReorderedEvents,
  kEventFlood,
  kDeathBefore,
  kDeathAfter,
  kSlowStart,
};

// Calls by their number, which begins at 1.
//
//   "*"      all              "3"      the third
//   "2-4"    the second to the fourth        "5-"     from the fifth on
//   "*/3"    every third      "5-/2"   of those from the fifth on every second: 6, 8, 10
struct CallRange {
  std::uint64_t first = 1;
  std::optional<std::uint64_t> last;
  std::uint64_t every = 1;

  bool has(std::uint64_t call) const {
    return call >= first && (!last || call <= *last) && (call - first + 1) % every == 0;
  }
};

base::Result<CallRange> parseCallRange(std::string_view text);
std::string textOf(const CallRange& calls);

// In place of a method: every method, counted together; and the events that the service sends.
inline constexpr char kEveryMethod[] = "*";
inline constexpr char kMethodOfEvents[] = "events";

struct Fault {
  FaultKind kind = FaultKind::kDelay;
  std::string method = kEveryMethod;
  CallRange calls;
  // Milliseconds, bytes, values, events in a second or a seed, as the kind says; nullopt: its
  // default, which for a seed is drawn.
  std::optional<std::uint64_t> number;
  std::string text;  // of an error
};

struct FaultKindRow {
  // What a fault can concern.
  enum class Concern { kCalls, kEvents, kBoth, kStart };

  FaultKind kind;
  const char* word;
  Concern concern;
  const char* value;  // name of its value in a file; empty: it has none
  std::uint64_t usual;
  std::uint64_t most;
  const char* help;
};

const std::vector<FaultKindRow>& faultKinds();
const FaultKindRow& rowOf(FaultKind kind);
// Null for an unknown word.
const FaultKindRow* findFaultKind(std::string_view word);
std::vector<std::string> faultWords();

// Why there can be no such fault: an unknown method, events that have no answer; empty when there
// can.
std::string refusalOf(const Fault& fault);

// "delay 500", "error out of paper".
std::string describe(const Fault& fault);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_FAULTS_FAULT_PLAN_H
