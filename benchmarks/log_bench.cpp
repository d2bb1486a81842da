// The cost of one log call of the library's size: to a file, to a file from several threads, and
// below the least level.
//
//   log_bench

#include "platform/log.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include <benchmark/benchmark.h>

namespace {

constexpr int kBelowDebug = 4;
constexpr int kDebug = 5;
constexpr int kError = 7;
constexpr int kThreads = 4;
constexpr int kRepetitions = 9;

void logOneLine(benchmark::State& state, int level) {
  int device = 0;
  for (auto iteration : state) {
    norvoLogPrint(0, level, "VEL_LOG", "%s %s(%d): \"Debug:\" \"vmId:%s, devNumber: %d\"",
                  "vel_proxy", "ConnectDevice", 123, "win11", ++device);
  }
}

void addCase(const char* name, int level, int threads) {
  benchmark::RegisterBenchmark(name, logOneLine, level)
      ->Threads(threads)
      ->UseRealTime()
      ->Repetitions(kRepetitions)
      ->ReportAggregatesOnly(true);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 2;
  }
  std::string directory = (std::filesystem::temp_directory_path() / "log_bench.XXXXXX").string();
  if (!::mkdtemp(directory.data())) {
    std::perror("log_bench: cannot make a directory");
    return 1;
  }
  ::setenv("QX_LOG_LEVEL", "debug", 1);
  pellamLogInit(directory.c_str());

  addCase("debug line", kDebug, 1);
  addCase("error line", kError, 1);
  addCase("debug line", kDebug, kThreads);
  addCase("below the least level", kBelowDebug, 1);
  benchmark::RunSpecifiedBenchmarks();

  std::error_code error;
  std::filesystem::remove_all(directory, error);
  return 0;
}
