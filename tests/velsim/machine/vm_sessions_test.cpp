#include "vel/apps/local/velsim/machine/vm_sessions.h"

#include <gtest/gtest.h>

#include "vel/apps/local/velsim/scenario/scenario.h"

namespace velsim {
namespace {

class VmSessionsTest : public ::testing::Test {
 protected:
  Pipe pipe(std::uint64_t handle) const { return {vm, handle, "control", "data"}; }
  const VmSession& session() const { return *vms.find(vm); }

  VmSessions vms{builtInScenario().setup.vms};
  const VmNumber vm = vms.numberOf("win11");
  const VmNumber other = vms.numberOf("ubuntu");
  static constexpr VmNumber kNoSuchVm = 9999;
};

TEST_F(VmSessionsTest, EveryBuiltInVmHasANumberOfItsOwnThatIsNotZero) {
  std::map<VmNumber, std::string> byNumber;
  for (const auto& [vmId, number] : vms.numbers()) {
    EXPECT_NE(number, 0u) << vmId;
    byNumber[number] = vmId;
  }

  EXPECT_GE(vms.numbers().size(), 2u);
  EXPECT_EQ(byNumber.size(), vms.numbers().size());
}

TEST_F(VmSessionsTest, AnUnknownNameIsZero) {
  EXPECT_EQ(vms.numberOf("nosuch"), 0u);
  EXPECT_EQ(vms.numberOf(""), 0u);
  EXPECT_EQ(vms.numberOf("WIN11"), 0u);
}

TEST_F(VmSessionsTest, NothingCanBeDoneWithAVmThatDoesNotExist) {
  for (const VmNumber unknown : {VmNumber{0}, kNoSuchVm}) {
    EXPECT_EQ(vms.find(unknown), nullptr);
    EXPECT_EQ(vms.connect(unknown, {}), Status::kUnknownVm);
    EXPECT_EQ(vms.disconnect(unknown), Status::kUnknownVm);
    EXPECT_EQ(vms.start(unknown), Status::kUnknownVm);
    EXPECT_EQ(vms.createPipes(unknown, {}), Status::kUnknownVm);
    EXPECT_EQ(vms.destroyPipes(unknown, {}), Status::kUnknownVm);
    EXPECT_EQ(vms.setPortStatus(unknown, 1, 1), Status::kUnknownVm);
    EXPECT_EQ(vms.setFocus(unknown, true, 1), Status::kUnknownVm);
  }
  EXPECT_FALSE(vms.focus());
}

TEST_F(VmSessionsTest, AVmThatIsRemovedTakesItsOwnFocusWithIt) {
  vms.setFocus(vm, true, 55);

  vms.remove("ubuntu");
  ASSERT_TRUE(vms.focus());
  EXPECT_EQ(vms.focus()->vm, vm);

  vms.remove("win11");
  EXPECT_FALSE(vms.focus());
}

TEST_F(VmSessionsTest, ConnectingStoresTheLatestParameters) {
  EXPECT_EQ(vms.connect(vm, {1, 2, 3}), Status::kOk);
  EXPECT_EQ(vms.connect(vm, {4, 5, 6}), Status::kOk);

  ASSERT_TRUE(session().attachment);
  EXPECT_EQ(session().attachment->systemType, 4);
  EXPECT_EQ(session().attachment->shareMode, 5);
  EXPECT_EQ(session().attachment->connectParam, 6);
  EXPECT_FALSE(vms.find(other)->attachment);
}

TEST_F(VmSessionsTest, DisconnectingEndsAllOfThisVmAndNothingOfAnother) {
  vms.connect(vm, {});
  vms.start(vm);
  vms.createPipes(vm, {pipe(7)});
  vms.setPortStatus(vm, 3, 1);
  vms.setFocus(vm, true, 55);
  vms.connect(other, {});
  vms.createPipes(other, {{other, 7, "", ""}});

  EXPECT_EQ(vms.disconnect(vm), Status::kOk);

  EXPECT_FALSE(session().attachment);
  EXPECT_FALSE(session().isStarted);
  EXPECT_TRUE(session().pipes.empty());
  EXPECT_TRUE(session().ports.empty());
  EXPECT_FALSE(vms.focus());
  EXPECT_TRUE(vms.find(other)->attachment);
  EXPECT_EQ(vms.find(other)->pipes.size(), 1u);
}

TEST_F(VmSessionsTest, DisconnectingLeavesTheFocusOfAnotherVm) {
  vms.connect(vm, {});
  vms.setFocus(other, true, 55);

  EXPECT_EQ(vms.disconnect(vm), Status::kOk);

  ASSERT_TRUE(vms.focus());
  EXPECT_EQ(vms.focus()->vm, other);
}

TEST_F(VmSessionsTest, AVmThatIsNotConnectedCannotBeDisconnected) {
  EXPECT_EQ(vms.disconnect(vm), Status::kNotConnected);
}

TEST_F(VmSessionsTest, StartingIsStored) {
  EXPECT_EQ(vms.start(vm), Status::kOk);

  EXPECT_TRUE(session().isStarted);
  EXPECT_FALSE(vms.find(other)->isStarted);
}

TEST_F(VmSessionsTest, PipesExistUntilTheyAreDestroyed) {
  EXPECT_EQ(vms.createPipes(vm, {pipe(7), pipe(8)}), Status::kOk);
  EXPECT_EQ(session().pipes.at(7).name1, "control");
  EXPECT_EQ(session().pipes.at(7).name2, "data");

  EXPECT_EQ(vms.destroyPipes(vm, {pipe(7)}), Status::kOk);

  EXPECT_EQ(session().pipes.count(7), 0u);
  EXPECT_EQ(session().pipes.count(8), 1u);
}

TEST_F(VmSessionsTest, AnUnknownPipeCannotBeDestroyedAndTheOthersStay) {
  vms.createPipes(vm, {pipe(7)});

  EXPECT_EQ(vms.destroyPipes(vm, {pipe(7), pipe(8)}), Status::kUnknownPipe);

  EXPECT_EQ(session().pipes.count(7), 1u);
}

TEST_F(VmSessionsTest, APipeCannotBeCreatedTwiceAndTheOthersAreNotMade) {
  vms.createPipes(vm, {pipe(7)});

  EXPECT_EQ(vms.createPipes(vm, {pipe(8), pipe(7)}), Status::kPipeExists);
  EXPECT_EQ(vms.createPipes(vm, {pipe(9), pipe(9)}), Status::kPipeExists);

  EXPECT_EQ(session().pipes.size(), 1u);
}

TEST_F(VmSessionsTest, TwoVmsMayHavePipesOfTheSameHandle) {
  EXPECT_EQ(vms.createPipes(vm, {pipe(7), {other, 7, "", ""}}), Status::kOk);

  EXPECT_EQ(session().pipes.size(), 1u);
  EXPECT_EQ(vms.find(other)->pipes.size(), 1u);
}

TEST_F(VmSessionsTest, APipeOfAnUnknownVmIsRefusedWithAllOthers) {
  EXPECT_EQ(vms.createPipes(vm, {pipe(7), {kNoSuchVm, 8, "", ""}}), Status::kUnknownVm);
  EXPECT_EQ(vms.destroyPipes(vm, {{kNoSuchVm, 8, "", ""}}), Status::kUnknownVm);

  EXPECT_TRUE(session().pipes.empty());
}

TEST_F(VmSessionsTest, CreatingAndDestroyingNoPipesSucceeds) {
  EXPECT_EQ(vms.createPipes(vm, {}), Status::kOk);
  EXPECT_EQ(vms.destroyPipes(vm, {}), Status::kOk);
}

TEST_F(VmSessionsTest, APortHasItsLatestStatus) {
  EXPECT_EQ(vms.setPortStatus(vm, 3, 1), Status::kOk);
  EXPECT_EQ(vms.setPortStatus(vm, 3, -2), Status::kOk);

  EXPECT_EQ(session().ports.at(3), -2);
}

TEST_F(VmSessionsTest, TheFocusIsTakenOnlyFromTheVmThatHasIt) {
  EXPECT_EQ(vms.setFocus(vm, true, 55), Status::kOk);
  EXPECT_EQ(vms.setFocus(other, false, 66), Status::kOk);
  ASSERT_TRUE(vms.focus());
  EXPECT_EQ(vms.focus()->vm, vm);
  EXPECT_EQ(vms.focus()->window, 55u);

  EXPECT_EQ(vms.setFocus(vm, false, 55), Status::kOk);

  EXPECT_FALSE(vms.focus());
}

TEST_F(VmSessionsTest, AnEmptyTokenIsRefusedAndTheEarlierOneStays) {
  EXPECT_EQ(vms.setDriveToken("secret"), Status::kOk);
  EXPECT_EQ(vms.setDriveToken(""), Status::kEmptyToken);

  EXPECT_EQ(vms.driveToken(), "secret");
}

TEST_F(VmSessionsTest, AResetKeepsOnlyTheVms) {
  const std::map<std::string, VmNumber> before = vms.numbers();
  vms.connect(vm, {});
  vms.start(vm);
  vms.createPipes(vm, {pipe(7)});
  vms.setPortStatus(vm, 3, 1);
  vms.setFocus(vm, true, 55);
  vms.setDriveToken("secret");

  vms.reset();

  EXPECT_EQ(vms.numbers(), before);
  EXPECT_FALSE(session().attachment);
  EXPECT_FALSE(session().isStarted);
  EXPECT_TRUE(session().pipes.empty());
  EXPECT_TRUE(session().ports.empty());
  EXPECT_FALSE(vms.focus());
  EXPECT_EQ(vms.driveToken(), "");
}

}  // namespace
}  // namespace velsim
