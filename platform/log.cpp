#include "platform/log.h"

#include <atomic>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include "base/printable.h"

namespace {

constexpr int kDebugLevel = 5;
constexpr int kErrorLevel = 7;
constexpr int kOff = 1000;

constexpr char kLevelVariable[] = "QX_LOG_LEVEL";
constexpr char kLogFile[] = "velproxy.log";
constexpr std::size_t kFileSize = std::size_t{5} * 1024 * 1024;
constexpr std::size_t kOlderFiles = 3;

struct Log {
  std::atomic<int> leastLevel;
  std::mutex mutex;  // guards the rest
  std::shared_ptr<spdlog::logger> files;
  std::string directory;
};

int levelFromEnvironment() {
  const char* const given = std::getenv(kLevelVariable);
  std::string name = given ? given : "";
  for (char& c : name) {
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  if (name == "info" || name == "warn") {
    return kDebugLevel + 1;
  }
  if (name == "error") {
    return kErrorLevel;
  }
  if (name == "off") {
    return kOff;
  }
  char* end = nullptr;
  const long number = std::strtol(name.c_str(), &end, 10);
  const bool isLevel = !name.empty() && *end == '\0' && number >= 0 && number <= kOff;
  return isLevel ? static_cast<int>(number) : kDebugLevel;
}

// Never destroyed: lines are written as late as the destructors of other statics.
Log& theLog() {
  static Log* const log = [] {
    auto* const made = new Log;
    made->leastLevel = levelFromEnvironment();
    return made;
  }();
  return *log;
}

spdlog::level::level_enum spdlogLevel(int level) {
  if (level >= kErrorLevel) {
    return spdlog::level::err;
  }
  return level > kDebugLevel ? spdlog::level::info : spdlog::level::debug;
}

std::shared_ptr<spdlog::logger> openFiles(const std::string& directory) {
  std::error_code error;
  std::filesystem::create_directories(directory, error);
  const auto file = (std::filesystem::path(directory) / kLogFile).string();
  auto sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(file, kFileSize, kOlderFiles);
  auto files = std::make_shared<spdlog::logger>("velproxy", std::move(sink));
  files->set_level(spdlog::level::trace);
  files->set_pattern("%Y-%m-%d %H:%M:%S.%e %P %t %l %v");
  files->flush_on(spdlog::level::err);
  return files;
}

// The C libraries of Linux, macOS and the BSDs all print "(null)" for a null %s.
std::string formatted(const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  // The analyzer does not see into the caller's va_start.
  const int length =
      std::vsnprintf(nullptr, 0, format, again);  // NOLINT(clang-analyzer-valist.Uninitialized)
  va_end(again);
  if (length < 0) {
    return format;
  }
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  std::vsnprintf(text.data(), text.size(), format, arguments);
  text.pop_back();
  return text;
}

void write(int level, const char* tag, const std::string& text) {
  std::shared_ptr<spdlog::logger> files;
  {
    const std::lock_guard<std::mutex> lock(theLog().mutex);
    files = theLog().files;
  }
  if (files) {
    files->log(spdlogLevel(level), "[{}] {}", tag, text);
  } else if (level >= kErrorLevel) {
    // A terminal obeys control characters, and texts hold names from elsewhere.
    std::fprintf(stderr, "[%s] %s\n", tag, base::printable(text).c_str());
  }
}

}  // namespace

extern "C" void norvoLogPrint(int /*channel*/, int level, const char* tag, const char* format,
                              ...) {
  if (!format || level < theLog().leastLevel) {
    return;
  }
  va_list arguments;
  va_start(arguments, format);
  try {
    write(level, tag ? tag : "", formatted(format, arguments));
  } catch (const std::exception&) {
    // A line that cannot be written is dropped: logging must not fail its caller.
  }
  va_end(arguments);
}

extern "C" void pellamLogInit(const char* directory) {
  if (!directory || *directory == '\0') {
    return;
  }
  Log& log = theLog();
  const std::lock_guard<std::mutex> lock(log.mutex);
  log.leastLevel = levelFromEnvironment();
  if (log.files && log.directory == directory) {
    return;
  }
  try {
    log.files = openFiles(directory);
    log.directory = directory;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "cannot log to %s: %s; error lines stay here\n", directory, error.what());
  }
}
