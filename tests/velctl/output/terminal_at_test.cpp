#include "vel/apps/local/velctl/output/terminal.h"

#include <cstdlib>
#include <optional>
#include <string>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "base/descriptor.h"
#include "tests/processes/terminal.h"

namespace velctl {
namespace {

class TerminalAtTest : public testing::Test {
 protected:
  TerminalAtTest() : descriptor_(::open(terminal_.name().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    ::setenv("TERM", "xterm", 1);
    ::unsetenv("COLUMNS");
    ::unsetenv("NO_COLOR");
    resize(132);
  }

  void resize(unsigned short columns) const {
    winsize size = {};
    size.ws_row = 24;
    size.ws_col = columns;
    ASSERT_EQ(::ioctl(descriptor_.number(), TIOCSWINSZ, &size), 0);
  }
  int descriptor() const { return descriptor_.number(); }

 private:
  processes::Terminal terminal_;
  base::Descriptor descriptor_;
};

TEST_F(TerminalAtTest, ATerminalHasTheColumnsOfItsWindow) {
  EXPECT_EQ(terminalAt(descriptor()).columns, 132u);
  resize(40);
  EXPECT_EQ(terminalAt(descriptor()).columns, 40u);
}

TEST_F(TerminalAtTest, ATerminalOfUnknownSizeHasNone) {
  resize(0);

  EXPECT_EQ(terminalAt(descriptor()).columns, std::nullopt);
}

TEST_F(TerminalAtTest, ColumnsInTheEnvironmentCount) {
  ::setenv("COLUMNS", "60", 1);
  EXPECT_EQ(terminalAt(descriptor()).columns, 60u);
  for (const char* const invalid : {"", "0", "-1", "10001", "wide", "80 "}) {
    ::setenv("COLUMNS", invalid, 1);
    EXPECT_EQ(terminalAt(descriptor()).columns, 132u) << invalid;
  }
}

TEST_F(TerminalAtTest, ATerminalHasColour) {
  EXPECT_TRUE(terminalAt(descriptor()).hasColour);
  ::setenv("NO_COLOR", "", 1);
  EXPECT_TRUE(terminalAt(descriptor()).hasColour);
}

TEST_F(TerminalAtTest, TheEnvironmentTakesTheColour) {
  ::setenv("NO_COLOR", "0", 1);
  EXPECT_FALSE(terminalAt(descriptor()).hasColour);

  ::unsetenv("NO_COLOR");
  ::setenv("TERM", "dumb", 1);
  EXPECT_FALSE(terminalAt(descriptor()).hasColour);
  ::unsetenv("TERM");
  EXPECT_FALSE(terminalAt(descriptor()).hasColour);
}

TEST_F(TerminalAtTest, APipeHasNeither) {
  ::setenv("COLUMNS", "60", 1);
  int ends[2] = {-1, -1};
  ASSERT_EQ(::pipe(ends), 0);
  const base::Descriptor out(ends[0]);
  const base::Descriptor in(ends[1]);

  EXPECT_EQ(terminalAt(in.number()).columns, std::nullopt);
  EXPECT_FALSE(terminalAt(in.number()).hasColour);
  EXPECT_FALSE(terminalAt(-1).hasColour);
}

}  // namespace
}  // namespace velctl
