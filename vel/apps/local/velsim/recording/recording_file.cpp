#include "vel/apps/local/velsim/recording/recording_file.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/printable.h"
#include "base/text.h"

namespace velsim {
namespace {

constexpr std::size_t kMostMistakes = 100;

base::Failed failedAt(const std::string& path, const char* what) {
  return {"cannot " + std::string(what) + ' ' + base::printable(path) + ": " +
          std::strerror(errno)};
}

// What spans lines: ids, and the order of time.
class LineChecks {
 public:
  // Empty when the line is in order.
  std::string mistakeOf(const RecordedLine& line) {
    if (line.time < last_) {
      return "time: is before the line above";
    }
    last_ = line.time;
    switch (line.kind) {
      case RecordedLine::Kind::kCall:
        return open_.emplace(line.id, line.name).second && ended_.count(line.id) == 0
                   ? ""
                   : "id: a call above has the same id " + std::to_string(line.id);
      case RecordedLine::Kind::kReply:
      case RecordedLine::Kind::kError: {
        const auto call = open_.find(line.id);
        if (call == open_.end()) {
          return "id: no call above waits for an answer to " + std::to_string(line.id);
        }
        if (call->second != line.name) {
          return "method: the call was " + base::printable(call->second);
        }
        ended_.emplace(line.id, true);
        open_.erase(call);
        return "";
      }
      case RecordedLine::Kind::kEvent:
      case RecordedLine::Kind::kGone:
      case RecordedLine::Kind::kThere:
        break;
    }
    return "";
  }

 private:
  std::chrono::microseconds last_{0};
  std::map<std::uint64_t, std::string> open_;
  std::map<std::uint64_t, bool> ended_;
};

base::Failed refusedAt(const std::string& path, const std::string& reason) {
  return base::Failed{"will not write to " + base::printable(path) + ": " + reason};
}

// Makes the file, or takes what is there: an empty file of this user, a pipe, a terminal. In a
// directory that others can write to, another user may have put something at the path, to read or
// to misplace the recording.
base::Result<base::Descriptor> openPrivately(const std::string& path) {
  constexpr mode_t kMode = S_IRUSR | S_IWUSR;
  constexpr int kFlags = O_WRONLY | O_APPEND | O_CLOEXEC;
  base::Descriptor made(::open(path.c_str(), kFlags | O_CREAT | O_EXCL | O_NOFOLLOW, kMode));
  if (made || errno != EEXIST) {
    return made ? base::Result<base::Descriptor>(std::move(made)) : failedAt(path, "write");
  }
  struct stat state = {};
  // Of a link as well; root's are those of the system, such as /dev/stdout.
  if (::lstat(path.c_str(), &state) == 0 && state.st_uid != ::geteuid() && state.st_uid != 0) {
    return refusedAt(path, "another user has put it there");
  }
  base::Descriptor file(::open(path.c_str(), kFlags));
  if (!file || ::fstat(file.number(), &state) != 0) {
    return failedAt(path, "write");
  }
  if (!S_ISREG(state.st_mode)) {
    return file;
  }
  if (state.st_uid != ::geteuid()) {
    return refusedAt(path, "it belongs to another user");
  }
  if (state.st_size > 0) {
    return base::Failed{"will not overwrite " + base::printable(path) +
                        ": remove it, or name another file"};
  }
  return ::fchmod(file.number(), kMode) == 0 ? base::Result<base::Descriptor>(std::move(file))
                                             : failedAt(path, "write");
}

}  // namespace

base::Result<std::unique_ptr<RecordingWriter>> RecordingWriter::create(const std::string& path,
                                                                       const std::string& from,
                                                                       bool isWithSecrets) {
  base::Result<base::Descriptor> file = openPrivately(path);
  if (!file) {
    return file.failed();
  }
  std::unique_ptr<RecordingWriter> writer(
      new RecordingWriter(path, std::move(*file), isWithSecrets));
  const platform::MutexLock lock(writer->mutex_);
  if (const auto written = writer->write(headerJson(from, isWithSecrets)); !written) {
    return written.failed();
  }
  return writer;
}

base::Result<void> RecordingWriter::write(const std::string& line) {
  if (!failure_.empty()) {
    return base::Failed{failure_};
  }
  const std::string text = line + '\n';
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = ::write(file_.number(), text.data() + written, text.size() - written);
    if (count < 0 && errno != EINTR) {
      failure_ = failedAt(path_, "write").reason;
      return base::Failed{failure_};
    }
    written += count > 0 ? static_cast<std::size_t>(count) : 0;
  }
  return {};
}

base::Result<void> RecordingWriter::append(RecordedLine line) {
  line.values = masked(line, isWithSecrets_);
  const platform::MutexLock lock(mutex_);
  line.time = now();
  const base::Result<void> written = write(jsonOf(line));
  count_ += written ? 1 : 0;
  return written;
}

base::Result<void> RecordingWriter::sync() {
  const platform::MutexLock lock(mutex_);
  // EINVAL: a pipe or a terminal.
  if (failure_.empty() && ::fsync(file_.number()) != 0 && errno != EINVAL && errno != ENOTSUP) {
    return failedAt(path_, "write");
  }
  return {};
}

std::size_t RecordingWriter::count() {
  const platform::MutexLock lock(mutex_);
  return count_;
}

std::chrono::microseconds RecordingWriter::now() const {
  return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() -
                                                               begun_);
}

std::vector<RecordedLine> readRecording(const std::string& path,
                                        std::vector<std::string>* mistakes) {
  std::ifstream file(path);
  if (!file) {
    mistakes->push_back(failedAt(path, "read").reason);
    return {};
  }
  return readRecording(file, path, mistakes);
}

std::vector<RecordedLine> readRecording(std::istream& file, const std::string& path,
                                        std::vector<std::string>* mistakes) {
  std::vector<RecordedLine> lines;
  int number = 0;
  const auto add = [&](const std::string& text) {
    mistakes->push_back(base::printable(path) + ':' + std::to_string(number) + ": " + text);
  };
  LineChecks checks;
  for (std::string text; mistakes->size() < kMostMistakes && std::getline(file, text);) {
    ++number;
    if (number == 1) {
      if (const auto header = checkHeader(text); !header) {
        add(header.reason());
        return lines;
      }
      continue;
    }
    base::Result<RecordedLine> line = parseLine(text);
    if (!line) {
      add(line.reason());
      continue;
    }
    line->number = number;
    if (const std::string mistake = checks.mistakeOf(*line); !mistake.empty()) {
      add(mistake);
    }
    lines.push_back(std::move(*line));
  }
  if (file.bad()) {
    mistakes->push_back(failedAt(path, "read").reason);
  } else if (number == 0) {
    number = 1;
    add("the file is empty: a recording begins with a header");
  }
  return lines;
}

}  // namespace velsim
