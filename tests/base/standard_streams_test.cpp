// Each test runs in a child process, whose standard streams it closes.

#include "base/standard_streams.h"

#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

constexpr int kStreams[] = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};

bool isStreamOpen(int number) {
  return ::fcntl(number, F_GETFD) >= 0;
}

void exitWith(bool isGood) {
  std::_Exit(isGood ? EXIT_SUCCESS : EXIT_FAILURE);
}

void closeAll() {
  for (const int stream : kStreams) {
    ::close(stream);
  }
}

// Standard output is a pipe, standard input is closed.
bool writesToThePipe() {
  int ends[2] = {-1, -1};
  if (::pipe(ends) != 0 || ::dup2(ends[1], STDOUT_FILENO) != STDOUT_FILENO) {
    return false;
  }
  ::close(STDIN_FILENO);
  base::openClosedStandardStreams();
  char byte = 'x';
  return ::write(STDOUT_FILENO, "y", 1) == 1 && ::read(ends[0], &byte, 1) == 1 && byte == 'y' &&
         isStreamOpen(STDIN_FILENO);
}

const testing::ExitedWithCode kSuccess(EXIT_SUCCESS);

TEST(StandardStreamsDeathTest, ANewFileDoesNotTakeThePlaceOfAClosedStream) {
  EXPECT_EXIT(
      {
        closeAll();
        base::openClosedStandardStreams();
        exitWith(isStreamOpen(STDIN_FILENO) && isStreamOpen(STDOUT_FILENO) &&
                 isStreamOpen(STDERR_FILENO) && ::open("/dev/null", O_RDONLY) > STDERR_FILENO);
      },
      kSuccess, "");
}

TEST(StandardStreamsDeathTest, InputAndOutputGoOnFailingAndErrorsAreLost) {
  EXPECT_EXIT(
      {
        closeAll();
        base::openClosedStandardStreams();
        char byte = 'x';
        exitWith(::read(STDIN_FILENO, &byte, 1) < 0 && ::write(STDOUT_FILENO, &byte, 1) < 0 &&
                 ::write(STDERR_FILENO, &byte, 1) == 1);
      },
      kSuccess, "");
}

TEST(StandardStreamsDeathTest, AnOpenStreamStays) {
  EXPECT_EXIT(exitWith(writesToThePipe()), kSuccess, "");
}

}  // namespace
