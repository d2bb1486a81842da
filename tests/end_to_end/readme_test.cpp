// The first program of README.md.

#include "tests/end_to_end/end_to_end_test.h"

namespace end_to_end {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

class ReadmeTest : public EndToEndTest {
 protected:
  Finished runProgram() const { return run(options({README_PROGRAM_PATH})); }
};

TEST_F(ReadmeTest, PrintsTheDevices) {
  startVelsim();

  const Finished program = runProgram();

  EXPECT_EQ(program.status, 0) << program.err;
  EXPECT_THAT(program.out, HasSubstr("\n   12  Built-in camera\n"));
}

TEST_F(ReadmeTest, PrintsWhyThereIsNoList) {
  const Finished program = runProgram();

  EXPECT_EQ(program.status, 0) << program.err;
  EXPECT_THAT(program.out, EndsWith("\nno service on the bus\n"));
}

}  // namespace
}  // namespace end_to_end
