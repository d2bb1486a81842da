// What the program does: some minutes of chaos, many restarts, or a crash every second.

#ifndef TESTS_CHAOS_MODES_H
#define TESTS_CHAOS_MODES_H

#include <cstdint>
#include <string>
#include <vector>

#include "tests/chaos/injuries.h"
#include "tests/chaos/world.h"

namespace chaos {

struct Options {
  std::uint64_t seed = 1;
  int seconds = 60;
  Bus bus = Bus::kDirect;
  int threads = 4;
  std::vector<std::string> faults;
  int restarts = 0;
  int crashes = 0;
  int slackMs = 10000;
  std::string json;
  std::string command;
};

// Returns the exit status, unless a broken promise ends the process before.
int run(const Options& options);

}  // namespace chaos

#endif  // TESTS_CHAOS_MODES_H
