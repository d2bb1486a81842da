#include "vel/apps/local/velsim/faults/fault_plan.h"

#include <limits>
#include <stdexcept>

#include "base/text.h"
#include "vel/protocol/methods.h"

namespace velsim {
namespace {

using Concern = FaultKindRow::Concern;

constexpr std::uint64_t kDay = 24ULL * 60 * 60 * 1000;
constexpr std::uint64_t kMostBytes = 64ULL << 20;
constexpr std::uint64_t kAny = std::numeric_limits<std::uint64_t>::max();

std::optional<std::uint64_t> positive(std::string_view text) {
  const auto number = base::parseDecimal(text, kAny);
  return number && *number > 0 ? std::optional<std::uint64_t>(*number) : std::nullopt;
}

base::Failed notARange(std::string_view text) {
  return {"expected calls such as *, 3, 2-4, 5- or */3, got " + base::quoted(text)};
}

}  // namespace

base::Result<CallRange> parseCallRange(std::string_view text) {
  CallRange calls;
  std::string_view range = text;
  if (const std::size_t slash = range.find('/'); slash != std::string_view::npos) {
    const auto every = positive(range.substr(slash + 1));
    if (!every) {
      return notARange(text);
    }
    calls.every = *every;
    range = range.substr(0, slash);
  }
  if (range == "*") {
    return calls;
  }
  const std::size_t dash = range.find('-');
  const auto first = positive(range.substr(0, dash));
  if (!first) {
    return notARange(text);
  }
  calls.first = *first;
  if (dash == std::string_view::npos) {
    calls.last = first;
  } else if (dash + 1 < range.size()) {
    calls.last = positive(range.substr(dash + 1));
    if (!calls.last || *calls.last < calls.first) {
      return notARange(text);
    }
  }
  return calls;
}

std::string textOf(const CallRange& calls) {
  std::string text = "*";
  if (calls.last == calls.first) {
    text = std::to_string(calls.first);
  } else if (calls.first != 1 || calls.last) {
    text = std::to_string(calls.first) + "-" + (calls.last ? std::to_string(*calls.last) : "");
  }
  return calls.every == 1 ? text : text + "/" + std::to_string(calls.every);
}

const std::vector<FaultKindRow>& faultKinds() {
  static const std::vector<FaultKindRow> rows = {
      {FaultKind::kDelay, "delay", Concern::kCalls, "ms", 1000, kDay, "answer later"},
      {FaultKind::kNoAnswer, "no-answer", Concern::kCalls, "", 0, 0,
       "carry the request out, and do not answer"},
      {FaultKind::kError, "error", Concern::kCalls, "text", 0, 0,
       "refuse the request with an error reply"},
      {FaultKind::kWrongReplyType, "wrong-reply-type", Concern::kCalls, "", 0, 0,
       "a reply of another D-Bus type"},
      {FaultKind::kMissingArguments, "missing-arguments", Concern::kCalls, "keep", 0, kAny,
       "leave out the values of the reply, but the first ones"},
      {FaultKind::kWrongArgumentTypes, "wrong-argument-types", Concern::kCalls, "", 0, 0,
       "give each value of the reply another type"},
      {FaultKind::kTruncatedBlocks, "truncated-blocks", Concern::kBoth, "", 0, 0,
       "cut each block in half"},
      {FaultKind::kEmptyBlocks, "empty-blocks", Concern::kBoth, "", 0, 0, "empty each block"},
      {FaultKind::kOversizedBlocks, "oversized-blocks", Concern::kBoth, "size", 65536, kMostBytes,
       "make each block as long as this"},
      {FaultKind::kRandomBlocks, "random-blocks", Concern::kBoth, "seed", 0, kAny,
       "random bytes, of random length, in place of each block"},
      {FaultKind::kNegativeCount, "negative-count", Concern::kCalls, "", 0, 0,
       "a list announces -1 elements"},
      {FaultKind::kHugeCount, "huge-count", Concern::kCalls, "", 0, 0,
       "a list announces 2147483647 elements"},
      {FaultKind::kNotUtf8, "not-utf8", Concern::kBoth, "", 0, 0,
       "fill each text, also those in blocks, with bytes that are not UTF-8"},
      {FaultKind::kEmbeddedNul, "embedded-nul", Concern::kBoth, "", 0, 0,
       "put a NUL into each text, also those in blocks"},
      {FaultKind::kDuplicateEvents, "duplicate-events", Concern::kEvents, "", 0, 0,
       "send each event twice"},
      {FaultKind::kReorderedEvents, "reordered-events", Concern::kEvents, "", 0, 0,
       "send each event behind the next one"},
      {FaultKind::kEventFlood, "event-flood", Concern::kCalls, "perSecond", 1000, 1000000,
       "from the call on, send so many events until the fault is cleared"},
      {FaultKind::kDeathBefore, "death-before", Concern::kCalls, "", 0, 0,
       "end as a crash does, before the request is carried out"},
      {FaultKind::kDeathAfter, "death-after", Concern::kCalls, "", 0, 0,
       "end as a crash does, behind the answer"},
      {FaultKind::kSlowStart, "slow-start", Concern::kStart, "ms", 1000, kDay,
       "appear on the bus so much later"},
  };
  return rows;
}

const FaultKindRow& rowOf(FaultKind kind) {
  for (const FaultKindRow& row : faultKinds()) {
    if (row.kind == kind) {
      return row;
    }
  }
  throw std::logic_error("a kind of fault has no row");
}

const FaultKindRow* findFaultKind(std::string_view word) {
  for (const FaultKindRow& row : faultKinds()) {
    if (word == row.word) {
      return &row;
    }
  }
  return nullptr;
}

std::vector<std::string> faultWords() {
  std::vector<std::string> words;
  for (const FaultKindRow& row : faultKinds()) {
    words.emplace_back(row.word);
  }
  return words;
}

std::string refusalOf(const Fault& fault) {
  const FaultKindRow& row = rowOf(fault.kind);
  const bool isOfEvents = fault.method == kMethodOfEvents;
  if (!isOfEvents && fault.method != kEveryMethod && !velprotocol::find(fault.method)) {
    return "unknown method " + base::quoted(fault.method) + "; also * for all, and events";
  }
  if (isOfEvents && (row.concern == Concern::kCalls || row.concern == Concern::kStart)) {
    return std::string(row.word) + " concerns calls, not events";
  }
  if (!isOfEvents && row.concern == Concern::kEvents) {
    return std::string(row.word) + " concerns events: name events as the method";
  }
  if (fault.number && *fault.number > row.most) {
    return std::string(row.word) + ": at most " + std::to_string(row.most);
  }
  return "";
}

std::string describe(const Fault& fault) {
  const FaultKindRow& row = rowOf(fault.kind);
  std::string text = row.word;
  if (fault.kind == FaultKind::kError) {
    text += " " + base::quoted(fault.text);
  } else if (*row.value != '\0') {
    text += " " + std::to_string(fault.number.value_or(row.usual));
  }
  return text;
}

}  // namespace velsim
