// Changed inputs, for a short run of a target without libFuzzer.

#ifndef TESTS_FUZZ_MUTATION_H
#define TESTS_FUZZ_MUTATION_H

#include <string>
#include <vector>

#include "tests/wire/random.h"

namespace fuzz {

// One of the inputs with one to four changes, or a part of one in another.
//
// inputs     at least one
std::string mutatedInput(const std::vector<std::string>& inputs, wiretest::Random* random);

}  // namespace fuzz

#endif  // TESTS_FUZZ_MUTATION_H
