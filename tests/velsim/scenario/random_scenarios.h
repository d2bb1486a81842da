// Random scenarios, the same for the same seed: right ones, and broken ones.

#ifndef TESTS_VELSIM_SCENARIO_RANDOM_SCENARIOS_H
#define TESTS_VELSIM_SCENARIO_RANDOM_SCENARIOS_H

#include <string>

#include "tests/wire/random.h"

namespace velsim {

using wiretest::Random;

// Without a mistake.
std::string randomScenario(Random& random);
// A scenario with values replaced, moved, renamed or removed, or with other bytes.
std::string brokenScenario(Random& random, const std::string& scenario);

// A control line, which need not make sense.
std::string randomLine(Random& random);

}  // namespace velsim

#endif  // TESTS_VELSIM_SCENARIO_RANDOM_SCENARIOS_H
