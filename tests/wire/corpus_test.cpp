// Messages written by hand, one in each file of corpus/: bytes as pairs of hexadecimal digits,
// characters in quotation marks, comments from # to the end of the line. The line that begins with
// "expect:" says why the message is refused; "expect: valid" that it is not.

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "base/text.h"
#include "bus/dbus/wire/message.h"
#include "tests/wire/libdbus.h"

namespace {

using namespace qxbus::wire;

constexpr std::string_view kExpectation = "expect: ";

struct Entry {
  std::string name;
  std::string reason;  // "valid" when there is none
  std::string bytes;
};

void PrintTo(const Entry& entry, std::ostream* out) {
  *out << entry.name;
}

void appendBytes(std::string_view line, Entry* entry) {
  for (std::size_t at = 0; at < line.size() && line[at] != '#';) {
    if (line[at] == ' ') {
      ++at;
    } else if (line[at] == '"') {
      const std::size_t end = line.find('"', at + 1);
      entry->bytes += line.substr(at + 1, end - at - 1);
      at = end + 1;
    } else {
      const auto byte = base::parseHex(line.substr(at, 2));
      EXPECT_TRUE(byte) << entry->name << ": " << line;
      entry->bytes += byte.value_or("");
      at += 2;
    }
  }
}

Entry read(const std::filesystem::path& path) {
  Entry entry;
  entry.name = path.stem().string();
  std::replace(entry.name.begin(), entry.name.end(), '-', '_');
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (line.compare(0, kExpectation.size(), kExpectation) == 0) {
      entry.reason = line.substr(kExpectation.size());
    } else {
      appendBytes(line, &entry);
    }
  }
  return entry;
}

std::vector<Entry> corpus() {
  std::vector<Entry> entries;
  for (const auto& file : std::filesystem::directory_iterator(CORPUS_DIRECTORY)) {
    entries.push_back(read(file.path()));
  }
  std::sort(entries.begin(), entries.end(),
            [](const Entry& left, const Entry& right) { return left.name < right.name; });
  return entries;
}

class CorpusTest : public testing::TestWithParam<Entry> {};

TEST_P(CorpusTest, IsReadAsExpected) {
  const Entry& entry = GetParam();
  Message message;

  const Fault fault = readMessage(entry.bytes, &message);

  EXPECT_EQ(fault == Fault::kNone ? "valid" : reasonOf(fault), entry.reason)
      << base::hexOf(entry.bytes);
}

TEST_P(CorpusTest, IsReadAsByLibdbus) {
  const Entry& entry = GetParam();

  const wiretest::DBusMessageRef theirs = wiretest::parsedByLibdbus(entry.bytes);

  EXPECT_EQ(theirs != nullptr, entry.reason == "valid");
  Message message;
  if (theirs && readMessage(entry.bytes, &message) == Fault::kNone) {
    EXPECT_EQ(wiretest::difference(message, theirs.get()), "");
  }
}

INSTANTIATE_TEST_SUITE_P(Files, CorpusTest, testing::ValuesIn(corpus()),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
