// Typed values from a tree of JSON. Each function adds a mistake and returns nullopt when the value
// is not what it expects; for a null node, which the object does not have, it only returns nullopt.

#ifndef VEL_APPS_LOCAL_VELSIM_SCENARIO_JSON_READER_H
#define VEL_APPS_LOCAL_VELSIM_SCENARIO_JSON_READER_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "vel/apps/local/velsim/scenario/json_node.h"

namespace velsim {

// The members of one object. Its end adds a mistake for each member that was not asked for, with
// the nearest name of those that were, or all of them.
class ObjectReader {
 public:
  // A mistake when the node is no object.
  ObjectReader(const JsonNode& node, Mistakes& mistakes);
  ~ObjectReader();

  ObjectReader(const ObjectReader&) = delete;
  ObjectReader& operator=(const ObjectReader&) = delete;

  // Null when there is no such member.
  const JsonNode* find(std::string_view name);
  // A mistake when there is no such member.
  const JsonNode* need(std::string_view name);

 private:
  const JsonNode& node_;
  Mistakes& mistakes_;
  std::vector<std::string> names_;
};

// most, least: in bytes of UTF-8. A NUL is a mistake: it would end the text in a record.
std::optional<std::string> readText(const JsonNode* node, Mistakes& mistakes, std::size_t least,
                                    std::size_t most);
std::optional<bool> readBoolean(const JsonNode* node, Mistakes& mistakes);
std::optional<double> readDouble(const JsonNode* node, Mistakes& mistakes, double least,
                                 double most);
// Milliseconds as a number, or a text such as "1.5s", "250ms", "2min"; at most a day.
std::optional<std::chrono::milliseconds> readDuration(const JsonNode* node, Mistakes& mistakes);
// The same notation outside of JSON. nullopt for other texts.
std::optional<std::chrono::milliseconds> parseDuration(std::string_view text);
// One of the words.
std::optional<std::string> readWord(const JsonNode* node, Mistakes& mistakes,
                                    const std::vector<std::string>& words);
// The elements of an array; none, and a mistake, for another value, or more elements than most.
const JsonNode::Children& readArray(const JsonNode* node, Mistakes& mistakes,
                                    std::size_t most = kMostJsonNodes);
// A number as text in hexadecimal, such as "0x7e57", up to most; also a number.
std::optional<std::uint64_t> readHexadecimal(const JsonNode* node, Mistakes& mistakes,
                                             std::uint64_t most);

std::optional<std::uint64_t> readUnsigned(const JsonNode* node, Mistakes& mistakes,
                                          std::uint64_t least, std::uint64_t most);
std::optional<std::int64_t> readSigned(const JsonNode* node, Mistakes& mistakes, std::int64_t least,
                                       std::int64_t most);

// An integer that fits into the type, or is in the range.
template <typename Integer>
std::optional<Integer> readInteger(const JsonNode* node, Mistakes& mistakes,
                                   Integer least = std::numeric_limits<Integer>::min(),
                                   Integer most = std::numeric_limits<Integer>::max()) {
  if constexpr (std::is_unsigned_v<Integer>) {
    const auto number = readUnsigned(node, mistakes, least, most);
    return number ? std::optional(static_cast<Integer>(*number)) : std::nullopt;
  } else {
    const auto number = readSigned(node, mistakes, least, most);
    return number ? std::optional(static_cast<Integer>(*number)) : std::nullopt;
  }
}

// The name that is most like the text; nullopt when none is much like it.
std::optional<std::string> nearestName(std::string_view text,
                                       const std::vector<std::string>& names);
// For the end of a message: did you mean "name"? Otherwise the names: "the NOUN are a, b, c".
std::string suggestion(std::string_view text, const std::vector<std::string>& names,
                       std::string_view nouns);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SCENARIO_JSON_READER_H
