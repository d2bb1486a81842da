// Random D-Bus messages, written byte by byte from the rules of the protocol: over all types and
// nestings, in both byte orders.

#ifndef TESTS_WIRE_GENERATOR_H
#define TESTS_WIRE_GENERATOR_H

#include <cstddef>
#include <string>

#include "tests/wire/random.h"

namespace wiretest {

// One message. Nearly all are valid; a few exceed a limit of nesting, on purpose.
std::string randomMessage(Random* random);

// Makes one to three changes. In most cases the size in the header is corrected afterwards.
std::string mutated(std::string message, Random* random);

// Has the header say the size that the message has.
void repairSize(std::string* message);

std::string randomText(Random* random);
std::string randomObjectPath(Random* random);
std::string randomInterface(Random* random);
std::string randomMember(Random* random);
std::string randomBusName(Random* random);
// Complete types, at most as many.
std::string randomSignature(Random* random, std::size_t most);

}  // namespace wiretest

#endif  // TESTS_WIRE_GENERATOR_H
