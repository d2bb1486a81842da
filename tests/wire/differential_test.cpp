// Random messages and changed ones go through the codec and through libdbus: the same verdict on
// each, the same content of each valid one.
//
//   WIRE_CASES   number of messages, in place of a million
//   WIRE_SEED    first seed, in place of 1. A failure shows the seed of its message: with this one
//                and WIRE_CASES=8 the failure comes back

#include <cstdint>
#include <cstdlib>
#include <string>

#include <dbus/dbus.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/text.h"
#include "bus/dbus/wire/message.h"
#include "tests/wire/comparison.h"
#include "tests/wire/generator.h"
#include "tests/wire/libdbus.h"
#include "tests/wire/random.h"

namespace {

using namespace qxbus::wire;
using wiretest::Random;

// Each generated message is read as it is, and then in changed forms.
constexpr std::uint64_t kCasesOfAMessage = 8;

std::uint64_t setting(const char* name, std::uint64_t otherwise) {
  const char* const text = std::getenv(name);
  return text ? base::parseDecimalAs<std::uint64_t>(text).value_or(otherwise) : otherwise;
}

TEST(DifferentialTest, RandomMessagesReadAsInLibdbus) {
  const std::uint64_t cases = setting("WIRE_CASES", WIRE_CASES);
  const std::uint64_t seed = setting("WIRE_SEED", 1);
  wiretest::Verdicts verdicts;

  for (std::uint64_t i = 0; i < cases; i += kCasesOfAMessage) {
    Random random(seed + i);
    const std::string original = wiretest::randomMessage(&random);
    std::string bytes = original;
    for (std::uint64_t k = 0; k < kCasesOfAMessage; ++k) {
      const std::string found = wiretest::compareMessage(bytes, &verdicts);
      ASSERT_EQ(found, "") << "WIRE_SEED=" << seed + i << ", message " << k << ": "
                           << base::hexOf(bytes);
      bytes = wiretest::mutated(original, &random);
    }
  }

  RecordProperty("valid", std::to_string(verdicts.valid));
  RecordProperty("invalid", std::to_string(verdicts.invalid));
  RecordProperty("unframed", std::to_string(verdicts.unframed));
  if (cases >= 1000) {
    EXPECT_GT(verdicts.valid, cases / 10);
    EXPECT_GT(verdicts.invalid, cases / 3);
  }
}

TEST(DifferentialTest, RandomMessagesThatLibdbusBuildsAreRead) {
  constexpr int kCount = 30000;
  int built = 0;
  Random random(setting("WIRE_SEED", 1));

  for (int i = 0; i < kCount; ++i) {
    const wiretest::DBusMessageRef original =
        wiretest::parsedByLibdbus(wiretest::randomMessage(&random));
    const wiretest::DBusMessageRef theirs =
        original ? wiretest::rebuiltByLibdbus(original.get()) : nullptr;
    if (!theirs) {
      continue;
    }
    ++built;
    const std::string bytes = wiretest::bytesOf(theirs.get());
    Message ours;
    ASSERT_EQ(readMessage(bytes, &ours), Fault::kNone) << base::hexOf(bytes);
    ASSERT_EQ(wiretest::difference(ours, theirs.get()), "") << base::hexOf(bytes);
  }

  EXPECT_GT(built, kCount / 2);
}

}  // namespace
