#include "vel/apps/local/velsim/recording/recording.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <iterator>
#include <optional>
#include <string_view>

#include "base/printable.h"
#include "base/text.h"
#include "vel/apps/local/velsim/recording/decoding.h"
#include "vel/apps/local/velsim/recording/secrets.h"

namespace velsim {
namespace {

using nlohmann::json;
using Kind = RecordedLine::Kind;

struct KindRow {
  Kind kind;
  const char* word;
  std::vector<std::string> members;  // besides "time" and "kind"
};

const std::vector<KindRow>& kinds() {
  static const auto* const rows = new std::vector<KindRow>{
      {Kind::kCall, "call", {"id", "client", "method", "values"}},
      {Kind::kReply, "reply", {"id", "duration", "method", "values"}},
      {Kind::kError, "error", {"id", "duration", "method", "text"}},
      {Kind::kEvent, "event", {"name", "broadcast", "values"}},
      {Kind::kGone, "gone", {}},
      {Kind::kThere, "there", {}},
  };
  return *rows;
}

const KindRow& rowOf(Kind kind) {
  return *std::find_if(kinds().begin(), kinds().end(),
                       [&](const KindRow& row) { return row.kind == kind; });
}

double millisecondsOf(std::chrono::microseconds time) {
  return static_cast<double>(time.count()) / 1000;
}

std::string utcNow() {
  const std::time_t now = std::time(nullptr);
  std::tm parts = {};
  ::gmtime_r(&now, &parts);
  char text[32];
  return std::string(text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts));
}

OrderedJson valuesJson(const RecordedLine& line) {
  OrderedJson list = OrderedJson::array();
  for (const MaskableValue& value : line.values) {
    // A masked value has lost its type, which is of no use either.
    list.push_back(value ? jsonOf(*value) : maskedJsonOf(qxbus::Value(qxbus::Bytes())));
  }
  return list;
}

OrderedJson decodedJson(const RecordedLine& line) {
  switch (line.kind) {
    case Kind::kCall:
      return decodedArguments(line.name, line.values);
    case Kind::kReply:
      return decodedReply(line.name, line.values);
    case Kind::kEvent:
      return decodedEvent(line.values);
    default:
      return OrderedJson::object();
  }
}

// The members of one line. The first mistake counts.
class Members {
 public:
  explicit Members(const json& object) : object_(object) {}

  std::string text(const char* name) {
    const json* const member = find(name);
    if (member && !member->is_string()) {
      fail(name, "must be a text");
    }
    return member && member->is_string() ? member->get<std::string>() : "";
  }
  bool boolean(const char* name) {
    const json* const member = find(name);
    if (member && !member->is_boolean()) {
      fail(name, "must be true or false");
    }
    return member && member->is_boolean() && member->get<bool>();
  }
  std::uint64_t number(const char* name) {
    const json* const member = find(name);
    if (member && !member->is_number_unsigned()) {
      fail(name, "must be a number from 0 up");
    }
    return member && member->is_number_unsigned() ? member->get<std::uint64_t>() : 0;
  }
  std::chrono::microseconds time(const char* name) {
    constexpr double kMostMs = 1e10;  // 115 days
    const json* const member = find(name);
    if (!member) {
      return {};
    }
    const double ms = member->is_number() ? member->get<double>() : -1;
    if (!(ms >= 0 && ms <= kMostMs)) {
      fail(name, "must be milliseconds from 0 to 10000000000");
      return {};
    }
    return std::chrono::microseconds(std::llround(ms * 1000));
  }
  MaskableValues values(const char* name) {
    const json* const member = find(name);
    MaskableValues all;
    if (member && !member->is_array()) {
      fail(name, "must be an array");
    }
    if (member && member->is_array()) {
      for (const json& each : *member) {
        base::Result<MaskableValue> value = maskableValueOf(each);
        if (!value) {
          fail(name, "value " + std::to_string(all.size() + 1) + ": " + value.reason());
          break;
        }
        all.push_back(std::move(*value));
      }
    }
    return all;
  }

  void refuseOthers(const std::vector<std::string>& known) {
    for (const auto& item : object_.items()) {
      const std::string& name = item.key();
      if (name != "time" && name != "kind" && name != "decoded" &&
          std::find(known.begin(), known.end(), name) == known.end()) {
        fail(name, "unknown member; the members are time, kind, " +
                       (known.empty() ? "" : base::joined(known) + ", ") + "decoded");
      }
    }
  }

  void fail(const std::string& name, const std::string& text) {
    if (mistake_.empty()) {
      mistake_ = base::printable(name) + ": " + base::printable(text);
    }
  }
  const std::string& mistake() const { return mistake_; }

 private:
  const json* find(const char* name) {
    const auto member = object_.find(name);
    if (member == object_.end()) {
      fail(name, "is missing");
      return nullptr;
    }
    return &*member;
  }

  const json& object_;
  std::string mistake_;
};

base::Result<json> objectIn(const std::string& line) {
  json object = json::parse(line, nullptr, false);
  if (object.is_discarded()) {
    return base::Failed{line.find_last_of('}') == std::string::npos || line.back() != '}'
                            ? "is no JSON object, or ends early: the recording may be cut"
                            : "is not valid JSON"};
  }
  if (!object.is_object()) {
    return base::Failed{"must be a JSON object"};
  }
  return object;
}

// A value as JSON, and arrays and objects by their type: they may be nested deeper than the stack
// allows to write them.
std::string shownValue(const json& value) {
  return value.is_structured()
             ? std::string("an ") + value.type_name()
             : base::printable(value.dump(-1, ' ', true, json::error_handler_t::replace));
}

}  // namespace

std::string headerJson(const std::string& from, bool isWithSecrets) {
  return lineOf(OrderedJson{{"velsim", "recording"},
                            {"version", kRecordingVersion},
                            {"service", from},
                            {"begun", utcNow()},
                            {"secrets", isWithSecrets ? "recorded" : "masked"}});
}

base::Result<void> checkHeader(const std::string& line) {
  const base::Result<json> header = objectIn(line);
  if (!header) {
    return header.failed();
  }
  const auto name = header->find("velsim");
  if (name == header->end() || *name != "recording") {
    return base::Failed{"is no header of a recording: it must hold \"velsim\":\"recording\""};
  }
  const auto version = header->find("version");
  if (version == header->end() || *version != kRecordingVersion) {
    return base::Failed{"version: must be " + std::to_string(kRecordingVersion) +
                        ", which this velsim reads, got " +
                        (version == header->end() ? "nothing" : shownValue(*version))};
  }
  return {};
}

std::string jsonOf(const RecordedLine& line) {
  OrderedJson json = {{"time", millisecondsOf(line.time)}, {"kind", rowOf(line.kind).word}};
  switch (line.kind) {
    case Kind::kCall:
      json["id"] = line.id;
      json["client"] = line.client;
      json["method"] = line.name;
      break;
    case Kind::kReply:
    case Kind::kError:
      json["id"] = line.id;
      json["duration"] = millisecondsOf(line.duration);
      json["method"] = line.name;
      break;
    case Kind::kEvent:
      json["name"] = line.name;
      json["broadcast"] = line.isBroadcast;
      break;
    case Kind::kGone:
    case Kind::kThere:
      return lineOf(json);
  }
  if (line.kind == Kind::kError) {
    json["text"] = line.text;
    return lineOf(json);
  }
  json["values"] = valuesJson(line);
  if (OrderedJson decoded = decodedJson(line); !decoded.empty()) {
    json["decoded"] = std::move(decoded);
  }
  return lineOf(json);
}

base::Result<RecordedLine> parseLine(const std::string& line) {
  const base::Result<json> object = objectIn(line);
  if (!object) {
    return object.failed();
  }
  Members members(*object);
  RecordedLine parsed;
  parsed.time = members.time("time");
  const std::string word = members.text("kind");
  const auto row = std::find_if(kinds().begin(), kinds().end(),
                                [&](const KindRow& each) { return each.word == word; });
  if (row == kinds().end()) {
    members.fail("kind",
                 "must be call, reply, error, event, gone or there, got " + base::quoted(word));
    return base::Failed{members.mistake()};
  }
  parsed.kind = row->kind;
  const auto has = [&](const char* name) {
    return std::find(row->members.begin(), row->members.end(), name) != row->members.end();
  };
  parsed.id = has("id") ? members.number("id") : 0;
  parsed.client = has("client") ? members.text("client") : "";
  parsed.duration = has("duration") ? members.time("duration") : std::chrono::microseconds(0);
  parsed.name = has("method") ? members.text("method") : has("name") ? members.text("name") : "";
  parsed.isBroadcast = has("broadcast") && members.boolean("broadcast");
  parsed.values = has("values") ? members.values("values") : MaskableValues();
  parsed.text = has("text") ? members.text("text") : "";
  if (parsed.kind != Kind::kCall) {
    for (const MaskableValue& value : parsed.values) {
      if (!value) {
        members.fail("values", "only a call may have masked values");
      }
    }
  }
  members.refuseOthers(row->members);
  if (!members.mistake().empty()) {
    return base::Failed{members.mistake()};
  }
  return parsed;
}

std::string describe(const std::string& method, const MaskableValues& values) {
  std::string text;
  for (const MaskableValue& value : values) {
    text += (text.empty() ? "" : ", ") + (value ? qxbus::describe({*value}) : "masked");
  }
  return base::printable(method) + '(' + text + ')';
}

MaskableValues masked(const RecordedLine& line, bool isWithSecrets) {
  MaskableValues values = line.values;
  if (isWithSecrets) {
    return values;
  }
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (!values[i]) {
      continue;
    }
    if (line.kind == Kind::kCall) {
      if (isSecret(line.name, i, *values[i])) {
        values[i].reset();
      }
    } else if (auto* const text = std::get_if<std::string>(&*values[i])) {
      *text = withoutUsers(*text);
    }
  }
  return values;
}

}  // namespace velsim
