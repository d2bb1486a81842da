#include "vel/apps/local/velsim/line_reader.h"

#include <condition_variable>
#include <future>
#include <mutex>
#include <optional>
#include <vector>

#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velsim {
namespace {

using ::testing::ElementsAre;

class LineReaderTest : public ::testing::Test {
 protected:
  LineReaderTest() {
    EXPECT_EQ(::pipe(pipe_), 0);
    reader_.emplace(pipe_[0], [this](const std::string& line) {
      const std::lock_guard<std::mutex> lock(mutex_);
      lines_.push_back(line);
      changed_.notify_all();
    });
  }
  ~LineReaderTest() override {
    reader_.reset();
    endInput();
    ::close(pipe_[0]);
  }

  void write(const std::string& text) {
    EXPECT_EQ(::write(pipe_[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void endInput() {
    if (pipe_[1] >= 0) {
      ::close(pipe_[1]);
      pipe_[1] = -1;
    }
  }
  // The first lines, as soon as there are so many.
  std::vector<std::string> lines(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return lines_.size() >= count; });
    return lines_;
  }
  void stop() { reader_.reset(); }

 private:
  int pipe_[2] = {-1, -1};
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> lines_;
  std::optional<LineReader> reader_;
};

TEST_F(LineReaderTest, CallsWithEachLineAsItComes) {
  write("one\ntw");
  EXPECT_THAT(lines(1), ElementsAre("one"));

  write("o\n\nthree\n");
  EXPECT_THAT(lines(4), ElementsAre("one", "two", "", "three"));
}

TEST_F(LineReaderTest, TheLastLineNeedsNoNewline) {
  write("one\ntwo");
  endInput();

  EXPECT_THAT(lines(2), ElementsAre("one", "two"));
}

TEST_F(LineReaderTest, CutsALongLineToOneByteMoreThanTheLongest) {
  write(std::string(3000, 'x'));
  write(std::string(3000, 'x') + "\n" + std::string(LineReader::kLongestLine, 'y') + "\n");

  const std::vector<std::string> read = lines(2);
  EXPECT_EQ(read[0], std::string(LineReader::kLongestLine + 1, 'x'));
  EXPECT_EQ(read[1], std::string(LineReader::kLongestLine, 'y'));
}

TEST_F(LineReaderTest, StopsWhileItWaitsForInput) {
  write("one\nunfinished");
  EXPECT_THAT(lines(1), ElementsAre("one"));

  stop();

  EXPECT_THAT(lines(1), ElementsAre("one"));
}

TEST(LineReaderEndTest, ReportsTheEndOfTheInputAfterItsLastLine) {
  int pipe[2] = {-1, -1};
  ASSERT_EQ(::pipe(pipe), 0);
  std::string read;
  std::promise<std::string> ended;
  {
    const LineReader reader(
        pipe[0], [&](const std::string& line) { read += line; }, [&] { ended.set_value(read); });
    EXPECT_EQ(::write(pipe[1], "one", 3), 3);
    ::close(pipe[1]);
    EXPECT_EQ(ended.get_future().get(), "one");
  }
  ::close(pipe[0]);
}

}  // namespace
}  // namespace velsim
