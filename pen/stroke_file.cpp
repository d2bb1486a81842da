#include "pen/stroke_file.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <istream>
#include <optional>

#include <nlohmann/json.hpp>

namespace stroke {
namespace {

using Json = nlohmann::json;

constexpr double kMinPosition = -32768;
constexpr double kMaxPosition = 32767;
constexpr double kMaxTilt = 90;
constexpr double kMaxRotation = 360;
constexpr double kMaxMs = 10000;

struct EventName {
  const char* name;
  QEvent::Type type;
};

constexpr EventName kEvents[] = {
    {"enter", QEvent::TabletEnterProximity},
    {"press", QEvent::TabletPress},
    {"move", QEvent::TabletMove},
    {"release", QEvent::TabletRelease},
    {"leave", QEvent::TabletLeaveProximity},
};

// An error without the number of the line, which the caller adds.
class LineError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

std::string shown(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

// Long JSON is cut for the error text.
std::string shown(const Json& value) {
  constexpr std::size_t kLongest = 40;
  const std::string text = value.dump(-1, ' ', true, Json::error_handler_t::replace);
  return text.size() <= kLongest ? text : text.substr(0, kLongest) + "...";
}

class Line {
 public:
  explicit Line(const std::string& text) {
    try {
      object_ = Json::parse(text, refuseDeepNesting);
    } catch (const Json::parse_error& error) {
      throw LineError("not JSON at column " + std::to_string(error.byte) +
                      "; each line is one event, such as {\"event\": \"move\", \"x\": 1, "
                      "\"y\": 2}");
    } catch (const Json::out_of_range&) {
      throw LineError("a number is too large");
    }
    if (!object_.is_object()) {
      throw LineError("not a JSON object but " + shown(object_));
    }
    rest_ = object_;
  }

  QEvent::Type type() {
    const Json value = take("event");
    if (value.is_null()) {
      throw LineError("no \"event\"");
    }
    for (const EventName& event : kEvents) {
      if (value == event.name) {
        return event.type;
      }
    }
    throw LineError("\"event\" is " + shown(value) +
                    ", not \"enter\", \"press\", \"move\", \"release\" or \"leave\"");
  }

  double number(const char* key, double least, double most,
                std::optional<double> absent = std::nullopt) {
    const Json value = take(key);
    if (value.is_null() && absent) {
      return *absent;
    }
    if (value.is_null()) {
      throw LineError(std::string("no \"") + key + "\"");
    }
    const double given = value.is_number() ? value.get<double>() : std::nan("");
    if (!(given >= least && given <= most)) {
      throw LineError(std::string("\"") + key + "\" is " + shown(value) + ", not a number from " +
                      shown(least) + " to " + shown(most));
    }
    return given;
  }

  int integer(const char* key, double least, double most, double absent) {
    const double given = number(key, least, most, absent);
    if (given != std::trunc(given)) {
      throw LineError(std::string("\"") + key + "\" is " + shown(given) + ", not a whole number");
    }
    return static_cast<int>(given);
  }

  void end() const {
    if (!rest_.empty()) {
      throw LineError("unknown key \"" + rest_.begin().key() + "\"");
    }
  }

 private:
  // Values within each other are copied and shown by functions that call themselves.
  static bool refuseDeepNesting(int depth, Json::parse_event_t /*event*/, Json& /*value*/) {
    constexpr int kDeepest = 32;
    if (depth > kDeepest) {
      throw LineError("arrays or objects are nested too deeply");
    }
    return true;
  }

  Json take(const char* key) {
    rest_.erase(key);
    return object_.value(key, Json());
  }

  Json object_;
  Json rest_;
};

Event eventOf(const std::string& text) {
  Line line(text);
  Event event;
  event.type = line.type();
  event.x = line.number("x", kMinPosition, kMaxPosition);
  event.y = line.number("y", kMinPosition, kMaxPosition);
  event.pressure = line.number("pressure", 0, 1, event.pressure);
  event.tiltX = line.integer("tiltX", -kMaxTilt, kMaxTilt, event.tiltX);
  event.tiltY = line.integer("tiltY", -kMaxTilt, kMaxTilt, event.tiltY);
  event.rotation = line.number("rotation", -kMaxRotation, kMaxRotation, event.rotation);
  event.ms = line.integer("ms", 0, kMaxMs, event.ms);
  line.end();
  return event;
}

}  // namespace

QTabletEvent Event::toTablet(const QPointF& global) const {
  const bool isDown = type == QEvent::TabletPress || (type == QEvent::TabletMove && pressure > 0);
  const bool changes = type == QEvent::TabletPress || type == QEvent::TabletRelease;
  return QTabletEvent(type, QPointF(x, y), global, QTabletEvent::Stylus, QTabletEvent::Pen,
                      pressure, tiltX, tiltY, 0, rotation, 0, Qt::NoModifier, 1,
                      changes ? Qt::LeftButton : Qt::NoButton,
                      isDown ? Qt::LeftButton : Qt::NoButton);
}

std::vector<Event> read(std::istream& lines, const std::string& name) {
  std::vector<Event> events;
  std::string text;
  for (std::size_t number = 1; std::getline(lines, text); ++number) {
    if (text.find_first_not_of(" \t\r") == std::string::npos) {
      continue;
    }
    try {
      events.push_back(eventOf(text));
    } catch (const LineError& error) {
      throw FileError(name + ":" + std::to_string(number) + ": " + error.what());
    }
  }
  if (lines.bad()) {
    throw FileError(name + ": cannot be read: " + std::strerror(errno));
  }
  if (events.empty()) {
    throw FileError(name + ": no events in it");
  }
  return events;
}

std::vector<Event> readFile(const std::string& name) {
  errno = 0;
  std::ifstream file(name);
  if (!file) {
    throw FileError(name + ": cannot be opened: " + std::strerror(errno));
  }
  return read(file, name);
}

}  // namespace stroke
