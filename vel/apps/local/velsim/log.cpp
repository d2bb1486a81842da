#include "vel/apps/local/velsim/log.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <utility>

#include "vel/apps/local/velsim/recording/value_json.h"

namespace velsim {
namespace {

// Back to the beginning of the line, and away with what stands there.
constexpr char kClearLine[] = "\r\x1b[K";

struct Now {
  std::tm parts = {};
  int milliseconds = 0;
};

// In the time zone of the user, or in UTC.
Now now(std::tm* (*partsOf)(const std::time_t*, std::tm*)) {
  using std::chrono::system_clock;
  const system_clock::time_point point = system_clock::now();
  const std::time_t seconds = system_clock::to_time_t(point);
  Now result;
  partsOf(&seconds, &result.parts);
  const auto sinceEpoch =
      std::chrono::duration_cast<std::chrono::milliseconds>(point.time_since_epoch());
  result.milliseconds = static_cast<int>(sinceEpoch.count() % 1000);
  return result;
}

std::string timeText(const Now& time, const char* format, const char* end) {
  char text[64];
  const std::size_t size = std::strftime(text, sizeof text, format, &time.parts);
  std::snprintf(text + size, sizeof text - size, ".%03d%s", time.milliseconds, end);
  return text;
}

std::string jsonLine(const std::string& kind, nlohmann::ordered_json members) {
  nlohmann::ordered_json json = {{"time", timeText(now(::gmtime_r), "%Y-%m-%dT%H:%M:%S", "Z")}};
  if (!kind.empty()) {
    json["kind"] = kind;
  }
  json.update(members);
  return lineOf(json) + "\n";
}

}  // namespace

Log::Log(bool isQuiet, Form form)
    : isQuiet_(isQuiet),
      form_(form),
      writer_(STDERR_FILENO, "log line",
              form == Form::kJson
                  ? [](const std::string& text) { return jsonLine("message", {{"text", text}}); }
                  : LineWriter::Report()) {}

void Log::write(const std::string& line) {
  write(line, {{"kind", "message"}, {"text", line}});
}

void Log::writeDetail(const std::string& line, const char* kind) {
  if (hasDetails()) {
    write(line, {{"kind", kind}, {"text", line}});
  }
}

void Log::writeDetail(const LogLine& line) {
  if (hasDetails()) {
    write(line.text, line.json);
  }
}

void Log::write(const std::string& text, nlohmann::ordered_json json) {
  if (form_ == Form::kJson) {
    writer_.write(jsonLine("", std::move(json)));
    return;
  }
  const std::string line = timeText(now(::localtime_r), "%H:%M:%S", "") + " velsim: " + text + "\n";
  writer_.write(isPrompting_ ? kClearLine + line + kPrompt : line);
}

}  // namespace velsim
