#include "tests/end_to_end/process.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace end_to_end {
namespace {

constexpr std::chrono::milliseconds kPauseBetweenLooks{5};
constexpr int kSignalled = 128;

std::string content(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(stream), {});
}

void write(const std::string& file, const std::string& text) {
  std::ofstream(file, std::ios::binary) << text;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> all;
  all.reserve(texts.size() + 1);
  for (std::string& text : texts) {
    all.push_back(text.data());
  }
  all.push_back(nullptr);
  return all;
}

std::vector<std::string> environmentWith(std::map<std::string, std::string> variables) {
  for (char** entry = environ; *entry; ++entry) {
    const std::string variable = *entry;
    const std::size_t equals = variable.find('=');
    if (equals != std::string::npos) {
      variables.emplace(variable.substr(0, equals), variable.substr(equals + 1));
    }
  }
  std::vector<std::string> entries;
  entries.reserve(variables.size());
  for (const auto& [name, value] : variables) {
    entries.push_back(name + "=" + value);
  }
  return entries;
}

}  // namespace

bool comesTrue(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(kPatienceSeconds);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(kPauseBetweenLooks);
  }
  return true;
}

Process::Process(const Options& options) {
  static std::atomic<int> count{0};
  const std::string prefix = options.folder + "/" + std::to_string(++count);
  const std::string inFile = prefix + ".in";
  outFile_ = options.outTo.empty() ? prefix + ".out" : options.outTo;
  errFile_ = prefix + ".err";
  write(inFile, options.input);

  constexpr int kCreate = O_WRONLY | O_CREAT | O_APPEND;
  constexpr mode_t kPrivate = S_IRUSR | S_IWUSR;
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, inFile.c_str(), O_RDONLY, 0);
  if (options.isOutClosed) {
    posix_spawn_file_actions_addclose(&files, STDOUT_FILENO);
  } else {
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, outFile_.c_str(), kCreate, kPrivate);
  }
  posix_spawn_file_actions_addopen(&files, STDERR_FILENO, errFile_.c_str(), kCreate, kPrivate);

  std::vector<std::string> arguments = options.command;
  std::vector<std::string> environment = environmentWith(options.environment);
  const int error = posix_spawnp(&pid_, arguments.front().c_str(), &files, nullptr,
                                 pointers(arguments).data(), pointers(environment).data());
  posix_spawn_file_actions_destroy(&files);
  if (error != 0) {
    pid_ = -1;
    throw std::runtime_error("starting " + arguments.front() + ": " + std::strerror(error));
  }
}

Process::~Process() {
  if (pid_ > 0 && !hasEnded()) {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
}

std::string Process::out() const {
  return content(outFile_);
}

std::string Process::err() const {
  return content(errFile_);
}

void Process::signal(int number) const {
  if (pid_ > 0 && status_ < 0) {
    ::kill(pid_, number);
  }
}

bool Process::hasEnded() {
  if (status_ >= 0) {
    return true;
  }
  int state = 0;
  if (::waitpid(pid_, &state, WNOHANG) != pid_) {
    return false;
  }
  status_ = WIFSIGNALED(state) ? kSignalled + WTERMSIG(state) : WEXITSTATUS(state);
  return true;
}

Finished Process::wait() {
  comesTrue([this] { return hasEnded(); });
  return {status_, out(), err()};
}

Finished Process::end(int signalNumber) {
  signal(signalNumber);
  return wait();
}

Finished run(const Process::Options& options) {
  return Process(options).wait();
}

}  // namespace end_to_end
