// Lines of the log as tests expect them.

#include <cstdio>

#include "tests/scripted_bus/platform_doubles.h"

namespace scripted {
namespace {

std::string summaryOf(int level, const std::string& function, const std::string& format,
                      const std::string& message) {
  std::string summary = wordOf(level) + " " + function + ": " + message;
  return format == message ? summary : summary + "   <- " + format;
}

}  // namespace

std::string wordOf(int level) {
  return level == kDebugLevel ? "Debug" : level == kErrorLevel ? "Error" : std::to_string(level);
}

std::string LogLine::message() const {
  const std::string start =
      file + " " + function + "(" + std::to_string(line) + "): \"" + wordOf(level) + ":\" \"";
  if (text.compare(0, start.size(), start) != 0 || text.size() <= start.size()) {
    return text;
  }
  return text.substr(start.size(), text.size() - start.size() - 1);
}

std::string LogLine::summary() const {
  const std::string start = kPrefix + ("\"" + wordOf(level)) + ":\" \"";
  const bool isWellFormed = channel == 0 && (level == kDebugLevel || level == kErrorLevel) &&
                            tag == "VEL_LOG" && file == "vel_proxy" && line > 0 &&
                            format.compare(0, start.size(), start) == 0 &&
                            format.size() > start.size() && format.back() == '"';
  if (!isWellFormed) {
    return "MALFORMED channel " + std::to_string(channel) + ", level " + std::to_string(level) +
           ", tag " + tag + ", file " + file + ", line " + std::to_string(line) + ", format " +
           format;
  }
  const std::string given = format.substr(start.size(), format.size() - start.size() - 1);
  return summaryOf(level, function, given, message());
}

std::string debugLine(const std::string& function, const std::string& format,
                      const std::string& message) {
  return summaryOf(kDebugLevel, function, format, message);
}

std::string debugLine(const std::string& function, const std::string& message) {
  return debugLine(function, message, message);
}

std::string errorLine(const std::string& function, const std::string& format,
                      const std::string& message) {
  return summaryOf(kErrorLevel, function, format, message);
}

std::string errorLine(const std::string& function, const std::string& message) {
  return errorLine(function, message, message);
}

std::string pointer(const void* address) {
  char text[32];
  std::snprintf(text, sizeof text, "%p", address);
  return text;
}

}  // namespace scripted
