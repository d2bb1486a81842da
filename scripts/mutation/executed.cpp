// Linked with every program of the tree of scripts/mutate. It notes which code each test executes,
// also in the processes that the test starts, and runs a mutant in the place of a program.
//
// EXECUTED_DIRECTORY  where to note; without it nothing is noted. Files there:
//                       PROGRAM.addresses    the address of each block of code, 8 bytes each
//                       TEST.PROGRAM.blocks  a byte for each block: 1 if the test executed it
//                       times                a line for each test: its milliseconds, result and
//                       name
// EXECUTED_TEST       the test that a process works for; set by the test program for its children
// MUTANT_PROGRAMS     NAME=PATH:NAME=PATH...  the program NAME becomes the one at PATH
//
// Blocks are noted in mapped files, so that a process that is killed leaves them, too.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

extern "C" char** environ;
extern "C" const char __ehdr_start;

// Null in programs that are no tests: the symbols of this object are weak.
testing::UnitTest* unitTest() __asm__("_ZN7testing8UnitTest11GetInstanceEv") __attribute__((weak));

namespace {

std::atomic<unsigned char*> blocks{nullptr};
std::uint32_t count = 0;

std::string environmentValue(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

std::string ownPath() {
  char path[4096];
  const ssize_t size = readlink("/proc/self/exe", path, sizeof path);
  return size > 0 ? std::string(path, static_cast<std::size_t>(size)) : std::string();
}

std::string lastName(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

// Used before the initialization of this file.
const std::string& directory() {
  static const std::string& value = *new std::string(environmentValue("EXECUTED_DIRECTORY"));
  return value;
}

const std::string& program() {
  static const std::string& value = *new std::string(lastName(ownPath()));
  return value;
}

void noteFor(const std::string& test) {
  if (count == 0) {
    return;
  }
  const std::string path = directory() + '/' + test + '.' + program() + ".blocks";
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (file < 0) {
    return;
  }
  if (ftruncate(file, count) == 0) {
    void* const mapped = mmap(nullptr, count, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    // What was mapped before stays: threads of an earlier test may still write.
    blocks = mapped == MAP_FAILED ? nullptr : static_cast<unsigned char*>(mapped);
  }
  close(file);
}

class Listener : public testing::EmptyTestEventListener {
 public:
  void OnTestStart(const testing::TestInfo& test) override {
    std::string name = nameOf(test);
    for (char& c : name) {
      c = c == '/' ? ',' : c;
    }
    setenv("EXECUTED_TEST", name.c_str(), 1);
    noteFor(name);
  }

  void OnTestEnd(const testing::TestInfo& test) override {
    const testing::TestResult& result = *test.result();
    const char* const word = result.Failed() ? "failed" : result.Skipped() ? "skipped" : "passed";
    const std::string line =
        std::to_string(result.elapsed_time()) + ' ' + word + ' ' + nameOf(test) + '\n';
    const int file =
        open((directory() + "/times").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (file >= 0) {
      [[maybe_unused]] const ssize_t written = write(file, line.data(), line.size());
      close(file);
    }
    blocks = nullptr;
  }

 private:
  static std::string nameOf(const testing::TestInfo& test) {
    return std::string(test.test_suite_name()) + '.' + test.name();
  }
};

void becomeMutant(char** arguments) {
  const std::string own = ownPath();
  const std::string programs = environmentValue("MUTANT_PROGRAMS") + ':';
  for (std::size_t begin = 0; begin < programs.size();) {
    const std::size_t end = programs.find(':', begin);
    const std::string entry = programs.substr(begin, end - begin);
    const std::size_t equals = entry.find('=');
    if (equals != std::string::npos && entry.substr(0, equals) == lastName(own) &&
        entry.substr(equals + 1) != own) {
      execve(entry.c_str() + equals + 1, arguments, environ);
      std::perror(entry.c_str());
      _exit(127);
    }
    begin = end + 1;
  }
}

// Before all other initialization of the program.
[[gnu::constructor(101)]] void begin(int, char** arguments, char**) {
  becomeMutant(arguments);
}

// After it.
[[gnu::constructor(65535)]] void beginNotes() {
  if (directory().empty()) {
    return;
  }
  const std::string test = environmentValue("EXECUTED_TEST");
  if (!test.empty()) {
    noteFor(test);
  } else if (unitTest) {
    unitTest()->listeners().Append(new Listener);
  }
}

}  // namespace

extern "C" void __sanitizer_cov_trace_pc_guard_init(std::uint32_t* begin, std::uint32_t* end) {
  if (begin == end || *begin != 0) {
    return;
  }
  for (; begin != end; ++begin) {
    *begin = ++count;
  }
}

extern "C" void __sanitizer_cov_trace_pc_guard(const std::uint32_t* guard) {
  unsigned char* const noted = blocks.load(std::memory_order_relaxed);
  if (noted && *guard > 0 && *guard <= count) {
    noted[*guard - 1] = 1;
  }
}

extern "C" void __sanitizer_cov_pcs_init(const std::uintptr_t* begin, const std::uintptr_t* end) {
  static bool isDone = false;
  if (isDone) {
    return;
  }
  isDone = true;
  if (directory().empty()) {
    return;
  }
  const std::string path = directory() + '/' + program() + ".addresses";
  if (access(path.c_str(), F_OK) == 0) {
    // From another process, which may have written more than this one may.
    return;
  }
  const std::string unfinished = path + '.' + std::to_string(getpid());
  std::FILE* const file = std::fopen(unfinished.c_str(), "wb");
  if (!file) {
    return;
  }
  // Each entry is an address and its flags.
  for (; begin != end; begin += 2) {
    const std::uint64_t address = *begin - reinterpret_cast<std::uintptr_t>(&__ehdr_start);
    std::fwrite(&address, sizeof address, 1, file);
  }
  std::fclose(file);
  std::rename(unfinished.c_str(), path.c_str());
}
