#include "tests/protocol/document.h"

#include <fstream>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "vel/protocol/methods.h"

namespace velprotocol {
namespace {

using ::testing::HasSubstr;

std::string contentsOf(const std::string& path) {
  std::ostringstream contents;
  contents << std::ifstream(path).rdbuf();
  return contents.str();
}

// The first line of a text that another one does not have in the same place.
std::string firstDifference(const std::string& text, const std::string& other) {
  std::istringstream lines(text);
  std::istringstream otherLines(other);
  std::string line;
  std::string otherLine;
  while (std::getline(lines, line) && std::getline(otherLines, otherLine) && line == otherLine) {
  }
  return line;
}

void expectInRepository(const std::string& name, const std::string& document) {
  const std::string kept = contentsOf(std::string(DOCUMENTS) + '/' + name);

  EXPECT_TRUE(kept == document) << name
                                << " is stale. Write it anew with\n"
                                   "  cmake --build --preset dev --target protocol_document\n"
                                   "The first line that differs should be\n  "
                                << firstDifference(document, kept);
}

TEST(DocumentTest, IsTheOneInTheRepository) {
  expectInRepository("protocol.md", protocolDocument());
}

TEST(DocumentTest, OfRecordsIsTheOneInTheRepository) {
  expectInRepository("records.md", recordsDocument());
}

TEST(DocumentTest, HasARowForEachMethod) {
  for (const Method& method : kMethods) {
    EXPECT_THAT(protocolDocument(), HasSubstr("| `" + std::string(method.name) + "` |"))
        << "the subject of " << method.name << " has no section in tests/protocol/document.cpp";
  }
}

}  // namespace
}  // namespace velprotocol
