#include "platform/log_file.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

using base::Descriptor;
using base::Failed;
using base::Result;

constexpr char kFile[] = "velproxy.log";
// From the oldest to the newest.
constexpr const char* kFiles[] = {"velproxy.3.log", "velproxy.2.log", "velproxy.1.log", kFile};
constexpr off_t kFullSize = off_t{5} * 1024 * 1024;
constexpr std::size_t kMostKept = 4096;
constexpr std::chrono::seconds kLookInterval(1);

constexpr mode_t kDirectoryMode = S_IRWXU;
constexpr mode_t kFileMode = S_IRUSR | S_IWUSR;
constexpr mode_t kModeBits = 07777;
constexpr mode_t kWritableByOthers = S_IWGRP | S_IWOTH;

std::string reasonOf(int error) {
  return std::generic_category().message(error);
}

bool isSameFile(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

// A relative name would stand for another directory after chdir().
std::string absoluteName(const std::string& directory) {
  std::error_code error;
  std::string name = std::filesystem::absolute(directory, error).string();
  // open() follows a symbolic link with a slash behind its name.
  while (name.size() > 1 && name.back() == '/') {
    name.pop_back();
  }
  return name;
}

void createDirectories(const std::string& name) {
  for (std::size_t slash = name.find('/', 1);; slash = name.find('/', slash + 1)) {
    ::mkdir(name.substr(0, slash).c_str(), kDirectoryMode);
    if (slash == std::string::npos) {
      return;
    }
  }
}

bool isSymbolicLink(int directory, const char* name) {
  struct stat status = {};
  return ::fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode);
}

// The reason why open() refused a name. Systems differ in the error for a symbolic link.
Failed refusalOf(int directory, const char* name, int error) {
  return Failed{isSymbolicLink(directory, name) ? "it is a symbolic link" : reasonOf(error)};
}

Result<Descriptor> openDirectory(const std::string& name) {
  Descriptor directory(::open(name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!directory.isOpen()) {
    return refusalOf(AT_FDCWD, name.c_str(), errno);
  }
  struct stat status = {};
  if (::fstat(directory.number(), &status) != 0) {
    return Failed{reasonOf(errno)};
  }
  if (status.st_uid != ::geteuid()) {
    return Failed{"it belongs to another user"};
  }
  if ((status.st_mode & kWritableByOthers) != 0) {
    return Failed{"other users can write to it; chmod go-w would change that"};
  }
  return directory;
}

Failed failureOfFile(const std::string& reason) {
  return Failed{std::string(kFile) + ": " + reason};
}

Result<Descriptor> openFile(const Descriptor& directory) {
  // O_NONBLOCK, because opening a FIFO would wait for a reader.
  Descriptor file(::openat(
      directory.number(), kFile,
      O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, kFileMode));
  // A program that runs without standard output or standard error must not write its data or its
  // errors to the log.
  if (file.isOpen() && file.number() <= STDERR_FILENO) {
    file = Descriptor(::fcntl(file.number(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  }
  if (!file.isOpen()) {
    return failureOfFile(refusalOf(directory.number(), kFile, errno).reason);
  }
  struct stat status = {};
  if (::fstat(file.number(), &status) != 0) {
    return failureOfFile(reasonOf(errno));
  }
  if (!S_ISREG(status.st_mode)) {
    return failureOfFile("it is no regular file");
  }
  if (status.st_uid != ::geteuid()) {
    return failureOfFile("it belongs to another user");
  }
  // Earlier versions left the mode to the umask.
  if ((status.st_mode & kModeBits) != kFileMode && ::fchmod(file.number(), kFileMode) != 0) {
    return failureOfFile(reasonOf(errno));
  }
  return file;
}

Result<Descriptor> openFile(const std::string& directory) {
  const Result<Descriptor> opened = openDirectory(directory);
  return opened ? openFile(*opened) : Result<Descriptor>(opened.failed());
}

// One write() as a rule: with O_APPEND, the lines of other processes stay before or behind it.
void writeAll(const Descriptor& file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(file.number(), bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written <= 0) {
      return;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

// Renames every file to the name of the next older one. False when a file cannot be renamed.
bool shiftFiles(const Descriptor& directory) {
  const int number = directory.number();
  for (std::size_t i = 1; i < std::size(kFiles); ++i) {
    if (::renameat(number, kFiles[i], number, kFiles[i - 1]) != 0 && errno != ENOENT) {
      return false;
    }
  }
  return true;
}

// Locks (F_WRLCK) or unlocks (F_UNLCK) the file without waiting. Closing unlocks it too.
bool setLock(const Descriptor& file, short type) {
  struct flock lock = {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  return ::fcntl(file.number(), F_SETLK, &lock) == 0;
}

}  // namespace

Result<LogFile> LogFile::open(const std::string& directory) {
  std::string name = absoluteName(directory);
  createDirectories(name);
  Result<Descriptor> file = openFile(name);
  return file ? Result<LogFile>(LogFile(std::move(name), std::move(*file)))
              : Result<LogFile>(file.failed());
}

Result<void> LogFile::check(const std::string& directory) {
  const Result<LogFile> log = open(directory);
  if (!log) {
    return log.failed();
  }
  // Another file: lines of other processes stand before and behind those of this one.
  const std::string name = log->directory_ + "/velproxy.check." + std::to_string(::getpid());
  ::unlink(name.c_str());  // of a process that was killed
  const Descriptor file(
      ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kFileMode));
  if (!file) {
    return Failed{reasonOf(errno)};
  }
  const std::string bytes(kMostKept, '\n');
  const ssize_t written = ::write(file.number(), bytes.data(), bytes.size());
  const int error = errno;
  ::unlink(name.c_str());
  if (written != static_cast<ssize_t>(bytes.size())) {
    return Failed{"nothing can be written there: " +
                  (written < 0 ? reasonOf(error) : std::string("the disk is full"))};
  }
  return {};
}

LogFile::LogFile(std::string directory, Descriptor file)
    : directory_(std::move(directory)), file_(std::move(file)) {}

void LogFile::append(std::string_view line) {
  kept_ += line;
  if (kept_.size() >= kMostKept) {
    flush();
  }
}

void LogFile::flush() {
  if (kept_.empty()) {
    return;
  }
  if (isFull_) {
    replaceFullFile();
  }
  do {
    writeAll(file_, kept_);
    // The offset is the size of the file, also after another process has renamed it.
    isFull_ = ::lseek(file_.number(), 0, SEEK_CUR) >= kFullSize;
  } while (isRemoved() && reopen());
  kept_.clear();
}

// Other processes remove only full files, and removal by hand is rare. fstat() behind each write()
// would take longer than the write() itself.
bool LogFile::isRemoved() {
  const Clock::time_point now = Clock::now();
  if (!isFull_ && now < nextLook_) {
    return false;
  }
  nextLook_ = now + kLookInterval;
  struct stat status = {};
  return ::fstat(file_.number(), &status) == 0 && status.st_nlink == 0;
}

// Only the process that has locked the file renames it, and only while the file has its first name.
// The other processes write to it meanwhile, under its old name or its new one, and never wait.
void LogFile::replaceFullFile() {
  const Result<Descriptor> directory = openDirectory(directory_);
  if (!directory || !setLock(file_, F_WRLCK)) {
    return;
  }
  struct stat here = {};
  struct stat named = {};
  if (::fstat(file_.number(), &here) == 0 &&
      ::fstatat(directory->number(), kFile, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
      isSameFile(here, named) && !shiftFiles(*directory)) {
    setLock(file_, F_UNLCK);
    return;
  }
  reopen();
}

bool LogFile::reopen() {
  Result<Descriptor> file = openFile(directory_);
  if (file) {
    file_ = std::move(*file);
  }
  return static_cast<bool>(file);
}

}  // namespace platform
