#include "vel/apps/local/velctl/library_errors.h"

#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "platform/log.h"
#include "vel/apps/local/velctl/text.h"

// The project's own logging, which stands behind the functions below: see CMakeLists.txt.
extern "C" {
void velctlLogToFiles(int channel, int level, const char* tag, const char* format, ...);
void velctlInitLogFiles(const char* directory);
}

namespace velctl {
namespace {

constexpr int kErrorLevel = 7;  // of log.h

// A line is: file function(number): "Error:" "text"
constexpr std::string_view kBeforeText = "\"Error:\" \"";

// The texts that the library logs when an operation has no answer. It logs other errors too, such
// as a status of the service that is not 0.
struct Failing {
  std::string_view beginning;
  std::string_view beforeReason;  // the reason runs from there to the end of the text; or ...
  std::string_view reason;        // ... is this
};
constexpr Failing kFailing[] = {
    {"reply type: ", "(", ""},
    {"Failed to config new device as connect: ", ": ", ""},
    {"Failed to config new device as ignore: ", ": ", ""},
    {"wait velserviced restart when it death", "", "the service was away"},
    {"VelService is not available", "", "the service was away"},
    {"no desktop connected", "", "the service does not know the VM any more"},
};

bool beginsWith(std::string_view text, std::string_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

void removeEnd(std::string_view& text, char end) {
  if (!text.empty() && text.back() == end) {
    text.remove_suffix(1);
  }
}

std::optional<std::string_view> reasonIn(std::string_view line) {
  const std::size_t before = line.find(kBeforeText);
  if (before == std::string_view::npos) {
    return std::nullopt;
  }
  std::string_view text = line.substr(before + kBeforeText.size());
  removeEnd(text, '"');
  for (const Failing& failing : kFailing) {
    if (!beginsWith(text, failing.beginning)) {
      continue;
    }
    if (!failing.reason.empty()) {
      return failing.reason;
    }
    text.remove_prefix(text.find(failing.beforeReason) + failing.beforeReason.size());
    if (failing.beforeReason == "(") {
      removeEnd(text, ')');
    }
    return text;
  }
  return std::nullopt;
}

// Lines also come from threads of the bus, as late as their end.
thread_local LibraryErrors* current = nullptr;

}  // namespace

LibraryErrors::LibraryErrors() : outer_(current) {
  current = this;
}

LibraryErrors::~LibraryErrors() {
  current = outer_;
}

void LibraryErrors::note(const std::string& line) {
  const std::optional<std::string_view> reason = reasonIn(line);
  if (current && reason) {
    current->last_ = *reason;
  }
}

}  // namespace velctl

void norvoLogPrint(int channel, int level, const char* tag, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  std::string line(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  std::vsnprintf(line.data(), line.size() + 1, format, again);
  va_end(again);
  if (level >= velctl::kErrorLevel) {
    velctl::LibraryErrors::note(line);
    // Without files, errors go to the terminal.
    line = velctl::printable(line);
  }
  velctlLogToFiles(channel, level, tag, "%s", line.c_str());
}

void pellamLogInit(const char* directory) {
  velctlInitLogFiles(directory);
}
