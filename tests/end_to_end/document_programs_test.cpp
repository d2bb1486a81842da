// The programs that README.md and docs/client.md show.

#include "tests/end_to_end/end_to_end_test.h"

namespace end_to_end {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

class DocumentProgramsTest : public EndToEndTest {
 protected:
  Finished runProgram(const std::string& path) const { return run(options({path})); }
};

TEST_F(DocumentProgramsTest, ThatOfTheReadmePrintsTheDevices) {
  startVelsim();

  const Finished program = runProgram(README_PROGRAM_PATH);

  EXPECT_EQ(program.status, 0) << program.err;
  EXPECT_THAT(program.out, HasSubstr("\n12  Built-in camera\n"));
}

TEST_F(DocumentProgramsTest, ThatOfTheReadmePrintsWhyThereIsNoList) {
  const Finished program = runProgram(README_PROGRAM_PATH);

  EXPECT_EQ(program.status, 1);
  EXPECT_THAT(program.err, EndsWith("no service on the bus\n"));
}

// vel::Client, and qx::VelProxy.
class BothFacesTest : public DocumentProgramsTest,
                      public testing::WithParamInterface<const char*> {};

TEST_P(BothFacesTest, AttachTheCamera) {
  startVelsim();

  const Finished program = runProgram(GetParam());

  EXPECT_EQ(program.status, 0) << program.err;
  EXPECT_THAT(program.out, EndsWith("Built-in camera is attached to win11\n"));
}

TEST_P(BothFacesTest, PrintTheReasonOfAFailure) {
  const Finished program = runProgram(GetParam());

  EXPECT_EQ(program.status, 1);
  EXPECT_THAT(program.err, EndsWith("no service on the bus\n"));
}

INSTANTIATE_TEST_SUITE_P(Programs, BothFacesTest,
                         testing::Values(CLIENT_PROGRAM_PATH, PROXY_PROGRAM_PATH),
                         [](const testing::TestParamInfo<const char*>& program) {
                           return program.index == 0 ? "Client" : "Proxy";
                         });

}  // namespace
}  // namespace end_to_end
