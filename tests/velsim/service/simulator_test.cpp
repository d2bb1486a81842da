#include "vel/apps/local/velsim/service/simulator.h"

#include <cstring>
#include <initializer_list>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/velsim/service/simulated_service.h"

namespace velsim {
namespace {

using qxbus::Bytes;
using qxbus::Value;
using qxbus::Values;

const char* const kMethodsWithArguments[] = {
    "getVmListSize",  "getVmList",       "connectVm",   "disconnectVm",
    "startManager",   "createPipe",      "destroyPipe", "setPortChannelStatus",
    "onFocusChanged", "updateDriveToken"};

// The block of a pipe.
Bytes block(VmNumber vm, std::uint64_t handle, const std::string& name1, const std::string& name2) {
  Bytes bytes(268);
  std::memcpy(&bytes[0], &vm, 4);
  std::memcpy(&bytes[4], &handle, 8);
  std::memcpy(&bytes[12], name1.data(), name1.size());
  std::memcpy(&bytes[140], name2.data(), name2.size());
  return bytes;
}

class SimulatorTest : public ::testing::Test {
 protected:
  Values answer(const std::string& method, const Values& arguments) {
    const Simulator::Answer answer = simulator.answer(method, arguments);
    if (const auto* const error = std::get_if<Simulator::Error>(&answer)) {
      ADD_FAILURE() << error->text;
      return {};
    }
    return std::get<Values>(answer);
  }

  std::string error(const std::string& method, const Values& arguments) {
    const Simulator::Answer answer = simulator.answer(method, arguments);
    const auto* const error = std::get_if<Simulator::Error>(&answer);
    return error ? error->text : "";
  }

  static Values status(Status status) { return {static_cast<std::int32_t>(status)}; }
  const VmSession& session() { return *machineOf(simulator).vms.find(vm); }

  Simulator simulator;
  const VmNumber vm = machineOf(simulator).vms.numberOf("win11");
};

TEST_F(SimulatorTest, HasTheMethodsOfSessions) {
  const std::vector<std::string> methods = simulator.methods();

  EXPECT_THAT(methods, ::testing::Contains("resetService"));
  EXPECT_THAT(methods, ::testing::IsSupersetOf(kMethodsWithArguments));
}

TEST_F(SimulatorTest, AnUnknownMethodIsNamedInItsError) {
  EXPECT_EQ(error("connectvm", {}), "connectvm: no such method");
}

TEST_F(SimulatorTest, AMethodCalledWithoutItsArgumentsNamesItselfAndTheFirst) {
  for (const std::string method : kMethodsWithArguments) {
    EXPECT_THAT(error(method, {}),
                ::testing::MatchesRegex(method + ": argument 1 \\([a-zA-Z]+\\) must be [a-z0-9]+, "
                                                 "got nothing"));
  }
}

TEST_F(SimulatorTest, ARefusedCallChangesNothing) {
  EXPECT_EQ(error("connectVm", {int32(vm), "linux", int32(0), int32(0)}),
            "connectVm: argument 2 (systemType) must be int32, got string");

  EXPECT_FALSE(session().attachment);
}

TEST_F(SimulatorTest, ReturnsTheNumberOfAVmAndZeroForOthers) {
  EXPECT_EQ(answer("getVmListSize", {"win11"}), Values{int32(vm)});
  EXPECT_EQ(answer("getVmListSize", {"nosuch"}), Values{int32(0)});
  EXPECT_EQ(answer("getVmListSize", {Bytes{'w', 0}}), Values{int32(0)});
}

TEST_F(SimulatorTest, ListsTheCountThenNamesAndNumbers) {
  const Values list = answer("getVmList", {int32(0)});

  const auto& numbers = machineOf(simulator).vms.numbers();
  ASSERT_EQ(list.size(), 1 + 2 * numbers.size());
  EXPECT_EQ(list[0], int32(static_cast<int>(numbers.size())));
  std::map<std::string, VmNumber> listed;
  for (std::size_t i = 1; i < list.size(); i += 2) {
    listed[std::get<std::string>(list[i])] =
        static_cast<VmNumber>(std::get<std::int32_t>(list[i + 1]));
  }
  EXPECT_EQ(listed, numbers);
}

TEST_F(SimulatorTest, ConnectsStartsAndDisconnects) {
  EXPECT_EQ(answer("connectVm", {int32(vm), int32(1), int32(2), int32(3)}), status(Status::kOk));
  EXPECT_EQ(answer("startManager", {int32(vm)}), status(Status::kOk));
  ASSERT_TRUE(session().attachment);
  EXPECT_EQ(session().attachment->systemType, 1);
  EXPECT_EQ(session().attachment->shareMode, 2);
  EXPECT_EQ(session().attachment->connectParam, 3);
  EXPECT_TRUE(session().isStarted);

  EXPECT_EQ(answer("disconnectVm", {int32(vm)}), status(Status::kOk));

  EXPECT_FALSE(session().attachment);
}

TEST_F(SimulatorTest, ReadsThePipesFromTheirBlocks) {
  const std::string longest(128, 'n');  // a name without a NUL fills its field

  EXPECT_EQ(answer("createPipe", {int32(vm), int32(2), block(vm, 0x1122334455667788, longest, "b"),
                                  block(vm, 2, "", "")}),
            status(Status::kOk));

  ASSERT_EQ(session().pipes.size(), 2u);
  EXPECT_EQ(session().pipes.at(0x1122334455667788).name1, longest);
  EXPECT_EQ(session().pipes.at(0x1122334455667788).name2, "b");
}

TEST_F(SimulatorTest, DestroyingAPipeThatIsNotThereIsRefused) {
  EXPECT_EQ(answer("destroyPipe", {int32(vm), int32(1), block(vm, 7, "", "")}),
            status(Status::kUnknownPipe));
}

TEST_F(SimulatorTest, TakesPortsFocusAndToken) {
  EXPECT_EQ(answer("setPortChannelStatus", {int32(vm), int32(3), int32(-1)}), status(Status::kOk));
  EXPECT_EQ(answer("onFocusChanged", {int32(vm), int32(1), uint64(0x123456789)}),
            status(Status::kOk));
  EXPECT_EQ(answer("updateDriveToken", {Bytes{'a', 0, 'b'}}), status(Status::kOk));

  EXPECT_EQ(session().ports.at(3), -1);
  ASSERT_TRUE(machineOf(simulator).vms.focus());
  EXPECT_EQ(machineOf(simulator).vms.focus()->window, 0x123456789u);
  EXPECT_EQ(machineOf(simulator).vms.driveToken(), std::string("a\0b", 3));
  EXPECT_EQ(answer("onFocusChanged", {int32(vm), int32(0), uint64(0)}), status(Status::kOk));
  EXPECT_FALSE(machineOf(simulator).vms.focus());
}

TEST_F(SimulatorTest, AnswersTheStatusOfAnUnknownVm) {
  for (const VmNumber unknown : {0u, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(answer("startManager", {int32(unknown)}), status(Status::kUnknownVm));
  }
}

TEST_F(SimulatorTest, AResetUndoesChangesByClients) {
  answer("connectVm", {int32(vm), int32(0), int32(0), int32(0)});
  answer("createPipe", {int32(vm), int32(1), block(vm, 7, "", "")});

  EXPECT_EQ(answer("resetService", {}), status(Status::kOk));

  EXPECT_FALSE(session().attachment);
  EXPECT_TRUE(session().pipes.empty());
}

}  // namespace
}  // namespace velsim
