#include "tests/scripted_bus/platform_doubles.h"

#include <cstdarg>
#include <cstdio>

#include "platform/app_data_path.h"
#include "platform/log.h"
#include "tests/scripted_bus/timeline.h"
#include "vel/apps/local/velproxy/internal/pause.h"

namespace scripted {
namespace {

platform::Mutex dataPathMutex;
std::string& dataPath() QX_REQUIRES(dataPathMutex) {
  static auto* const path = new std::string;
  return *path;
}

}  // namespace

RecordedLog& RecordedLog::the() {
  static auto* const log = new RecordedLog;
  return *log;
}

std::vector<LogLine> RecordedLog::lines() const {
  const platform::MutexLock lock(mutex_);
  return lines_;
}

std::vector<std::string> RecordedLog::summaries() const {
  std::vector<std::string> summaries;
  for (const LogLine& line : lines()) {
    summaries.push_back(line.summary());
  }
  return summaries;
}

std::vector<std::string> RecordedLog::summariesOf(const std::string& function) const {
  std::vector<std::string> summaries;
  for (const LogLine& line : lines()) {
    if (line.function == function) {
      summaries.push_back(line.summary());
    }
  }
  return summaries;
}

std::vector<std::string> RecordedLog::errors() const {
  std::vector<std::string> messages;
  for (const LogLine& line : lines()) {
    if (line.level == kErrorLevel) {
      messages.push_back(line.message());
    }
  }
  return messages;
}

void RecordedLog::add(LogLine line) {
  const platform::MutexLock lock(mutex_);
  lines_.push_back(std::move(line));
}

void RecordedLog::clear() {
  const platform::MutexLock lock(mutex_);
  lines_.clear();
}

void setDataPath(const std::string& path) {
  const platform::MutexLock lock(dataPathMutex);
  dataPath() = path;
}

}  // namespace scripted

extern "C" void norvoLogPrint(int channel, int level, const char* tag, const char* format, ...) {
  if (!scripted::RecordedLog::the().isKeeping()) {
    va_list unkept;
    va_start(unkept, format);
    char text[256];
    std::vsnprintf(text, sizeof text, format, unkept);
    va_end(unkept);
    return;
  }
  scripted::LogLine line{
      channel, level, tag ? tag : "(null)",      format ? format : "(null)", "", "",
      "",      0,     std::this_thread::get_id()};
  va_list arguments;
  va_start(arguments, format);
  if (line.format.compare(0, sizeof scripted::kPrefix - 1, scripted::kPrefix) == 0) {
    va_list again;
    va_copy(again, arguments);
    line.file = va_arg(again, const char*);
    line.function = va_arg(again, const char*);
    line.line = va_arg(again, int);
    va_end(again);
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    line.text.resize(length > 0 ? static_cast<std::size_t>(length) + 1 : 1);
    std::vsnprintf(line.text.data(), line.text.size(), format, arguments);
    line.text.pop_back();
  }
  va_end(arguments);
  const std::string event = scripted::wordOf(level) + " " + line.function + ": " + line.message();
  scripted::RecordedLog::the().add(std::move(line));
  scripted::Timeline::the().record(event);
}

extern "C" void pellamLogInit(const char* directory) {
  scripted::Timeline::the().record("pellamLogInit(\"" +
                                   std::string(directory ? directory : "(null)") + "\")");
}

std::string GetAppDataPath() {
  scripted::Timeline::the().record("GetAppDataPath()");
  const platform::MutexLock lock(scripted::dataPathMutex);
  return scripted::dataPath();
}

namespace qx {

void pauseFor(std::chrono::seconds duration, Lifetime& /*lifetime*/) {
  scripted::Timeline::the().record("pause " + std::to_string(duration.count()) + " s");
}

}  // namespace qx
