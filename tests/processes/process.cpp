#include "tests/processes/process.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#if defined(__linux__)
#include <sys/prctl.h>
#endif

// Not every unistd.h declares it.
extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace processes {
namespace {

constexpr std::chrono::milliseconds kPauseBetweenLooks{3};
constexpr int kSignalled = 128;
constexpr int kNoSuchProgram = 127;

[[noreturn]] void fail(const std::string& what) {
  throw std::runtime_error(what + ": " + std::strerror(errno));
}

void keepFromOtherPrograms(int file) {
  ::fcntl(file, F_SETFD, FD_CLOEXEC);
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
    entries.emplace_back(name).append(1, '=').append(value);
  }
  return entries;
}

// Descriptors that become 0, 1 and 2. For -1, standard output is closed, and standard error stays.
struct Streams {
  int in;
  int out;
  int err;
};

// Runs in the child, which must change nothing in memory: until it has become the other program,
// the memory is the test's.
[[noreturn]] void become(char* const* arguments, char** environment, const Streams& streams) {
#if defined(__linux__)
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
  // Who runs the tests may ignore them: a script that starts them in its background, or nohup.
  for (const int number : {SIGINT, SIGQUIT, SIGHUP}) {
    std::signal(number, SIG_DFL);
  }
  ::dup2(streams.in, STDIN_FILENO);
  if (streams.out < 0) {
    ::close(STDOUT_FILENO);
  } else {
    ::dup2(streams.out, STDOUT_FILENO);
  }
  if (streams.err >= 0) {
    ::dup2(streams.err, STDERR_FILENO);
  }
#if defined(__linux__)
  ::execvpe(arguments[0], arguments, environment);
#else
  environ = environment;
  ::execvp(arguments[0], arguments);
#endif
  ::_exit(kNoSuchProgram);
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
  const TemporaryFile input(options.input);
  int pipe[2] = {input.descriptor(), -1};
  if (options.isInputOpen) {
    if (::pipe(pipe) != 0) {
      fail("a pipe");
    }
    keepFromOtherPrograms(pipe[0]);
    keepFromOtherPrograms(pipe[1]);
    input_ = pipe[1];
  }
  std::vector<std::string> arguments = options.command;
  std::vector<std::string> environment = environmentWith(options.environment);
  const std::vector<char*> argumentPointers = pointers(arguments);
  std::vector<char*> environmentPointers = pointers(environment);
  const int out = options.out >= 0 ? options.out : out_.descriptor();
  const int err = options.err >= 0 ? options.err : err_.descriptor();
  const Streams streams = {pipe[0], options.isOutClosed ? -1 : out, options.isErrShown ? -1 : err};
#if defined(__linux__)
  // fork() copies the tables of the test's pages, of which AddressSanitizer makes many: with it,
  // tests that start programs take a sixth longer.
  pid_ = ::vfork();  // NOLINT(clang-analyzer-security.insecureAPI.vfork)
#else
  pid_ = ::fork();
#endif
  if (pid_ == 0) {
    become(argumentPointers.data(), environmentPointers.data(), streams);
  }
  if (options.isInputOpen) {
    ::close(pipe[0]);
  }
  if (pid_ < 0) {
    if (input_ >= 0) {
      ::close(input_);
    }
    fail("starting " + arguments.front());
  }
}

Process::~Process() {
  if (!hasEnded()) {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  if (input_ >= 0) {
    ::close(input_);
  }
}

std::string Process::out() const {
  return out_.content();
}

std::string Process::err() const {
  return err_.content();
}

std::string Process::readLine() {
  std::string line;
  comesTrue([&] {
    const bool isAll = hasEnded();
    const std::string rest = out().substr(read_);
    const std::size_t newline = rest.find('\n');
    line = rest.substr(0, newline);
    return isAll || newline != std::string::npos;
  });
  read_ += line.size() + 1;
  return line;
}

void Process::write(const std::string& text) const {
  if (::write(input_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    fail("writing to a program");
  }
}

void Process::signal(int number) const {
  if (status_ < 0) {
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

void hang(pid_t program) {
  // More than once: a signal has been seen to be lost on a program that was just beginning.
  const bool hasStopped = comesTrue([program] {
    ::kill(program, SIGSTOP);
    siginfo_t stopped = {};
    return ::waitid(P_PID, static_cast<id_t>(program), &stopped, WSTOPPED | WNOWAIT | WNOHANG) ==
               0 &&
           stopped.si_pid == program;
  });
  if (!hasStopped) {
    throw std::runtime_error("a program does not stop");
  }
}

Finished run(const Process::Options& options) {
  return Process(options).wait();
}

}  // namespace processes
