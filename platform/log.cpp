#include "platform/log.h"

#include <atomic>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include <pthread.h>
#include <unistd.h>

#include <spdlog/pattern_formatter.h>

#include "base/printable.h"
#include "platform/log_file.h"
#include "platform/mutex.h"
#include "platform/user_directories.h"

namespace {

constexpr int kDebugLevel = 5;
constexpr int kErrorLevel = 7;
constexpr int kOff = 1000;
constexpr std::size_t kUsualLength = 512;

constexpr char kLevelVariable[] = "QX_LOG_LEVEL";
// Date and time, process, thread, level, tag and text. The number of the process is written into
// the pattern: asking for it takes a system call.
std::string linePattern() {
  return "%Y-%m-%d %H:%M:%S.%e " + std::to_string(::getpid()) + " %t %l [%n] %v";
}

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

struct Log {
  std::atomic<int> leastLevel = levelFromEnvironment();
  platform::Mutex mutex;
  std::optional<platform::LogFile> file QX_GUARDED_BY(mutex);
  std::string directory QX_GUARDED_BY(mutex);
  std::string latestRefusal QX_GUARDED_BY(mutex);
  bool isExiting QX_GUARDED_BY(mutex) = false;
  // spdlog knows local time and the number of a thread on each system. POSIX has no such number.
  spdlog::pattern_formatter formatter QX_GUARDED_BY(mutex){linePattern(),
                                                           spdlog::pattern_time_type::local, "\n"};
  bool isInNewProcess QX_GUARDED_BY(mutex) = false;
};

// Never destroyed: lines are written as late as the destructors of other statics.
Log& theLog() {
  static Log* const log = new Log;
  return *log;
}

// --- Exit and fork() ----------------------------------------------------------------------------

void flushAtExit() {
  Log& log = theLog();
  const platform::MutexLock lock(log.mutex);
  log.isExiting = true;
  if (log.file) {
    log.file->flush();
  }
}

// fork() runs with the mutex held, so that no thread is in the middle of a line. The compiler
// cannot follow a mutex from one function to another.
void beforeFork() QX_NO_THREAD_SAFETY_ANALYSIS {
  theLog().mutex.lock();
}

void afterForkInParent() QX_NO_THREAD_SAFETY_ANALYSIS {
  theLog().mutex.unlock();
}

void afterForkInChild() QX_NO_THREAD_SAFETY_ANALYSIS {
  if (theLog().file) {
    theLog().file->discard();
  }
  theLog().isInNewProcess = true;
  theLog().mutex.unlock();
}

void watchExitAndFork() {
  static const bool isWatching =
      std::atexit(flushAtExit) == 0 &&
      pthread_atfork(beforeFork, afterForkInParent, afterForkInChild) == 0;
  static_cast<void>(isWatching);
}

// --- Lines --------------------------------------------------------------------------------------

spdlog::level::level_enum spdlogLevel(int level) {
  if (level >= kErrorLevel) {
    return spdlog::level::err;
  }
  return level > kDebugLevel ? spdlog::level::info : spdlog::level::debug;
}

// The C libraries of Linux, macOS and the BSDs all print "(null)" for a null %s.
class Message {
 public:
  Message(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the caller has started it.
    const int length = std::vsnprintf(usual_, sizeof usual_, format, again);
    va_end(again);
    if (length < 0) {
      text_ = format;
      return;
    }
    const auto size = static_cast<std::size_t>(length);
    if (size < sizeof usual_) {
      text_ = {usual_, size};
    } else {
      long_.resize(size + 1);
      std::vsnprintf(long_.data(), long_.size(), format, arguments);
      text_ = {long_.data(), size};
    }
    // The service chooses the names in a message. A newline in a name would forge a line, and a
    // terminal that shows the log would interpret other control characters.
    if (!base::isPrintableAscii(text_)) {
      long_ = base::printable(text_);
      text_ = long_;
    }
  }
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;

  std::string_view text() const { return text_; }

 private:
  char usual_[kUsualLength];
  std::string long_;
  std::string_view text_;
};

void writeToStandardError(const std::string& line) {
  std::fwrite(line.data(), 1, line.size(), stderr);
}

// Without a file, errors go to standard error.
void write(int level, std::string_view tag, std::string_view text) {
  {
    Log& log = theLog();
    const platform::MutexLock lock(log.mutex);
    if (log.file) {
      if (log.isInNewProcess) {
        log.formatter.set_pattern(linePattern());
        log.isInNewProcess = false;
      }
      spdlog::memory_buf_t line;
      log.formatter.format(
          {{tag.data(), tag.size()}, spdlogLevel(level), {text.data(), text.size()}}, line);
      log.file->append({line.data(), line.size()});
      if (level >= kErrorLevel || log.isExiting) {
        log.file->flush();
      }
      return;
    }
  }
  if (level >= kErrorLevel) {
    std::string line = "[";
    line.append(tag).append("] ").append(text) += '\n';
    writeToStandardError(line);
  }
}

// Logs to the directory from now on, or reports once why that is impossible.
void openFile(Log& log, const std::string& directory) QX_REQUIRES(log.mutex) {
  base::Result<platform::LogFile> file = platform::LogFile::open(directory);
  if (file) {
    if (log.file) {
      log.file->flush();
    }
    log.file = std::move(*file);
    log.directory = directory;
    log.latestRefusal.clear();
    watchExitAndFork();
    return;
  }
  const std::string consequence =
      log.file ? "the log stays in " + log.directory : "error lines appear here instead";
  std::string refusal =
      base::printable("cannot log to " + directory + ": " + file.reason() + "; " + consequence) +
      '\n';
  if (refusal != log.latestRefusal) {
    writeToStandardError(refusal);
    log.latestRefusal = std::move(refusal);
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
    write(level, tag ? tag : "", Message(format, arguments).text());
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
  const platform::MutexLock lock(log.mutex);
  log.leastLevel = levelFromEnvironment();
  try {
    const std::string place = platform::logDirectory(directory);
    if (!log.file || log.directory != place) {
      openFile(log, place);
    }
  } catch (const std::exception&) {
    // Out of memory: the log stays as it is.
  }
}
