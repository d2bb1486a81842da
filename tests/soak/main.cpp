// soak: see --help.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <stdlib.h>

#include <CLI/CLI.hpp>

#include "tests/chaos/allocation.h"
#include "tests/chaos/figures.h"
#include "tests/soak/crew.h"
#include "tests/soak/day.h"
#include "vel/apps/local/velproxy/vel_proxy.h"
#include "vel/apps/local/velsim/testing/velsim_process.h"

namespace soak {
namespace {

constexpr char kAbout[] =
    "Uses many sessions for simulated hours, and writes a line of figures for each hour. Ends "
    "with\n"
    "status 1 when descriptors, threads, memory or the time of a call have grown.";

struct Options {
  int hours = 24;
  int sessions = 1000;
  int threads = 4;
  int active = 100;
  std::uint64_t seed = 1;
  std::string csv;
};

// Figures at the end of a simulated hour.
struct Hour {
  std::size_t calls = 0;
  std::uint32_t median = 0;  // microseconds
  std::uint32_t p99 = 0;
  chaos::Usage client;
  long long heap = 0;  // bytes of the client
  chaos::Usage velsim;
};

std::atomic<std::uint64_t> events{0};

int onDevice(unsigned short /*code*/, CommonDevice* /*device*/, void* /*userData*/) {
  ++events;
  return 0;
}

// A directory that goes with the object.
class Directory {
 public:
  Directory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "soak-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) {
      throw std::runtime_error("no directory " + pattern);
    }
    path_ = pattern;
  }
  ~Directory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

std::uint32_t percentile(std::vector<std::uint32_t>* times, std::size_t percent) {
  const auto at = times->begin() + static_cast<std::ptrdiff_t>(times->size() * percent / 100);
  std::nth_element(times->begin(), at, times->end());
  return *at;
}

Hour hourOf(Crew* crew, pid_t velsim) {
  Hour hour;
  {
    std::vector<std::uint32_t> times = crew->takeTimes();
    hour.calls = times.size();
    hour.median = percentile(&times, 50);
    hour.p99 = percentile(&times, 99);
  }
  hour.client = chaos::usageOf();
  hour.heap = chaos::memory().bytes;
  hour.velsim = chaos::usageOf(velsim);
  return hour;
}

void write(std::ostream& csv, std::size_t number, const Hour& hour) {
  csv << number << ',' << hour.calls << ',' << hour.median << ',' << hour.p99 << ','
      << hour.client.residentKiB << ',' << hour.heap << ',' << hour.client.descriptors << ','
      << hour.client.threads << ',' << hour.velsim.residentKiB << ',' << hour.velsim.descriptors
      << ',' << hour.velsim.threads << '\n'
      << std::flush;
}

// The reason why the hours are not flat; empty when they are. The first hour fills caches.
std::string growth(const std::vector<Hour>& hours) {
  if (hours.size() < 2) {
    return "";
  }
  const Hour& first = hours[1];
  const Hour& last = hours.back();
  // Heap and resident memory move with what happens to be on its way at the end of an hour.
  constexpr long long kHeapNoise = 200000;
  constexpr long kResidentNoiseKiB = 2000;
  // Another program may have had the processors for a while.
  constexpr std::uint32_t kSlower = 4;
  if (last.client.descriptors > first.client.descriptors ||
      last.velsim.descriptors > first.velsim.descriptors) {
    return "descriptors have grown";
  }
  if (last.client.threads > first.client.threads || last.velsim.threads > first.velsim.threads) {
    return "threads have grown";
  }
  if (last.heap > first.heap + kHeapNoise ||
      last.client.residentKiB > first.client.residentKiB + kResidentNoiseKiB ||
      last.velsim.residentKiB > first.velsim.residentKiB + kResidentNoiseKiB) {
    return "memory has grown";
  }
  return last.median > kSlower * first.median ? "calls have become slower" : "";
}

int run(const Options& options) {
  const Directory directory;
  const std::string scenarioPath = (directory.path() / "day.json").string();
  std::ofstream(scenarioPath) << scenario(options.sessions, options.hours);
  velsim_testing::VelsimProcess::Options velsimOptions;
  velsimOptions.scenario = scenarioPath;
  velsimOptions.arguments = {"--step", "--quiet"};
  velsim_testing::VelsimProcess velsim(velsimOptions);
  velsim.exportAddress();
  ::setenv("QX_APP_DATA", directory.path().c_str(), 1);

  qx::VelProxy::getInstance()->RegisterDeviceCallback(onDevice, &events);
  std::vector<Hour> hours;
  std::ofstream csv(options.csv.empty() ? "/dev/null" : options.csv);
  csv << "hour,calls,median us,p99 us,client resident KiB,client heap bytes,client descriptors,"
         "client threads,velsim resident KiB,velsim descriptors,velsim threads\n";
  Crew crew(options.threads, options.sessions, options.active, options.seed);
  for (int number = 1; number <= options.hours; ++number) {
    for (int minute = 0; minute < kMinutesPerHour; ++minute) {
      velsim.control("advance 1min");
      crew.workForAMinute();
    }
    hours.push_back(hourOf(&crew, velsim.pid()));
    write(csv, hours.size(), hours.back());
    write(std::cerr, hours.size(), hours.back());
  }
  std::fprintf(stderr, "%d sessions, %llu events, %llu calls without success\n", options.sessions,
               static_cast<unsigned long long>(events),
               static_cast<unsigned long long>(crew.failures()));
  if (const std::string reason = growth(hours); !reason.empty()) {
    std::fprintf(stderr, "soak: %s\n", reason.c_str());
    return EXIT_FAILURE;
  }
  if (crew.failures() > 0 || events == 0) {
    std::fprintf(stderr, "soak: the service has not carried out everything\n");
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}

}  // namespace
}  // namespace soak

int main(int argc, char** argv) {
  soak::Options options;
  CLI::App app(soak::kAbout, "soak");
  app.add_option("--hours", options.hours, "simulated hours")->capture_default_str();
  app.add_option("--sessions", options.sessions, "VMs with a session")->capture_default_str();
  app.add_option("--threads", options.threads, "threads that use them")
      ->check(CLI::Range(1, 7))
      ->capture_default_str();
  app.add_option("--active", options.active, "sessions used in each simulated minute")
      ->capture_default_str();
  app.add_option("--seed", options.seed, "seed of the choice of sessions")->capture_default_str();
  app.add_option("--csv", options.csv, "file for the figures");
  CLI11_PARSE(app, argc, argv);
  if (options.active < options.threads) {
    std::fprintf(stderr, "soak: --active must be at least --threads, so that each has a session\n");
    return EXIT_FAILURE;
  }
  try {
    return soak::run(options);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "soak: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
