#include "vel/apps/local/velsim/line_writer.h"

#include <chrono>
#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/processes/output_pipe.h"
#include "tests/processes/process.h"

namespace velsim {
namespace {

using processes::comesTrue;
using processes::OutputPipe;
using ::testing::EndsWith;
using ::testing::StartsWith;

class LineWriterTest : public ::testing::Test {
 protected:
  // Reads until the text has come. Returns everything that was read.
  std::string readUntil(const std::string& text) {
    std::string read;
    EXPECT_TRUE(comesTrue([&] {
      read += output.read();
      return read.find(text) != std::string::npos;
    })) << text;
    return read;
  }
  // Six lines. The queue has room for four of them, beside a short one.
  void overfill() {
    const std::string line(LineWriter::kMostQueuedBytes / 4 - 100, 'x');
    for (int i = 0; i < 6; ++i) {
      writer->write(line + "\n");
    }
  }
  void end() { writer.reset(); }

  OutputPipe output;
  std::optional<LineWriter> writer{std::in_place, output.writeEnd(), "log line"};
};

TEST_F(LineWriterTest, WritesLinesInTheirOrder) {
  writer->write("one\n");
  writer->write("two\nthree\n");

  EXPECT_EQ(readUntil("three\n"), "one\ntwo\nthree\n");
}

TEST_F(LineWriterTest, WritesTheLinesThatWaitBeforeItEnds) {
  for (int i = 0; i < 100; ++i) {
    writer->write(std::to_string(i) + "\n");
  }

  end();

  EXPECT_THAT(output.read(), EndsWith("98\n99\n"));
}

TEST_F(LineWriterTest, ReportsDroppedLinesWhenTheOutputMovesAgain) {
  output.fill();
  writer->write("first\n");
  overfill();
  writer->write("last\n");

  const std::string report = "dropped while the output was blocked\n";
  const std::string read = readUntil(report);
  writer->write("again\n");

  EXPECT_THAT(read.substr(read.find("first\n")), StartsWith("first\nxxx"));
  EXPECT_THAT(read, EndsWith("x\nvelsim: 3 log lines " + report));
  EXPECT_EQ(readUntil("again\n"), "again\n");
}

TEST_F(LineWriterTest, EndsAlthoughTheOutputIsBlocked) {
  output.fill();
  overfill();
  const auto begin = std::chrono::steady_clock::now();

  end();

  EXPECT_GE(std::chrono::steady_clock::now() - begin, LineWriter::kFlushTime);
}

TEST_F(LineWriterTest, DiscardsLinesOnceTheReaderHasGone) {
  output.closeReadEnd();

  for (int i = 0; i < 20; ++i) {
    overfill();
  }
  const auto begin = std::chrono::steady_clock::now();
  end();

  EXPECT_LT(std::chrono::steady_clock::now() - begin, LineWriter::kFlushTime);
}

}  // namespace
}  // namespace velsim
