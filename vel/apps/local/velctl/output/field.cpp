#include "vel/apps/local/velctl/output/field.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "base/printable.h"
#include "vel/apps/local/velctl/output/text_forms.h"

namespace velctl {
namespace {

std::string_view wordIn(const std::optional<velprotocol::Legend>& legend, std::int64_t number) {
  return legend ? velprotocol::wordIn(*legend, number) : std::string_view();
}

Style styleOf(std::string_view word) {
  constexpr std::string_view kGood[] = {"attached", "allowed", "fine", "running"};
  constexpr std::string_view kBad[] = {"forbidden", "denied",     "fault",  "out-of-paper",
                                       "paper-jam", "out-of-ink", "offline"};
  const auto has = [word](const auto& words) {
    return std::find(std::begin(words), std::end(words), word) != std::end(words);
  };
  return has(kGood) ? Style::kGood : has(kBad) ? Style::kBad : Style::kPlain;
}

std::string vmText(const Json& vm) {
  const auto number = vm.at("vmNumber").get<std::uint32_t>();
  if (number == 0) {
    return "-";
  }
  const auto name = vm.at("vm");
  return name.is_null() ? std::to_string(number) : base::printable(name.get<std::string>());
}

}  // namespace

std::string numberWithMeaning(const velprotocol::Legend& legend, std::int64_t number) {
  const std::string_view word = wordIn(legend, number);
  const std::string digits = std::to_string(number);
  return word.empty() ? digits : std::string(word) + " (" + digits + ")";
}

void addMember(Json& json, const Member& member, const Json& value) {
  if (value.is_null()) {
    json[member.name] = value;
    return;
  }
  switch (member.type) {
    case Type::kText:
      json[member.name] = jsonText(value.get<std::string>());
      break;
    case Type::kLong:
      json[member.name] = value.is_string() ? value : Json(value.dump());
      break;
    case Type::kMeaning: {
      const std::string_view word = wordIn(member.legend, value.get<std::int64_t>());
      json[member.name] = value;
      json[member.name + "Name"] = word.empty() ? Json() : Json(word);
      break;
    }
    case Type::kVm:
      json["vm"] = value.at("vm").is_null() ? Json() : jsonText(value.at("vm").get<std::string>());
      json["vmNumber"] = value.at("vmNumber");
      break;
    case Type::kInteger:
    case Type::kBoolean:
    case Type::kHex:
    case Type::kAny:
      json[member.name] = value;
      break;
  }
}

Cell cellOf(const Member& member, const Json& value) {
  if (value.is_null()) {
    return Cell("-", Style::kFaint);
  }
  switch (member.type) {
    case Type::kMeaning: {
      const auto number = value.get<std::int64_t>();
      const std::string_view word = wordIn(member.legend, number);
      Cell cell = word.empty() ? Cell(std::to_string(number))
                               : Cell(std::string(word) + " (" + std::to_string(number) + ")",
                                      styleOf(word));
      // The number is at its end.
      cell.isWhole = true;
      return cell;
    }
    case Type::kVm:
      return vmText(value);
    case Type::kBoolean:
      return value.get<bool>() ? "yes" : "no";
    case Type::kText:
    case Type::kInteger:
    case Type::kLong:
    case Type::kHex:
    case Type::kAny:
      break;
  }
  return value.is_string() ? base::printable(value.get<std::string>()) : value.dump();
}

}  // namespace velctl
