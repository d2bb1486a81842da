#include "tests/velsim/service/simulated_service.h"

#include <algorithm>

namespace velsim {

qxbus::Value block8(std::uint64_t number) {
  qxbus::Bytes block(sizeof number);
  std::memcpy(block.data(), &number, sizeof number);
  return block;
}

qxbus::Value bytes(const std::string& text) {
  return qxbus::Bytes(text.begin(), text.end());
}

MachineState& machineOf(Simulator& simulator) {
  MachineState* machine = nullptr;
  simulator.change([&machine](MachineState& now) { machine = &now; });
  return *machine;
}

SimulatedServiceTest::SimulatedServiceTest() {
  simulator.setEventSink([this](const BusEvent& event) { events_.push_back(event); });
}

qxbus::Values SimulatedServiceTest::call(const std::string& method,
                                         const qxbus::Values& arguments) {
  const auto answer = callLater(method, arguments);
  EXPECT_TRUE(*answer) << method << " was not answered";
  return answer->value_or(qxbus::Values());
}

std::string SimulatedServiceTest::error(const std::string& method, const qxbus::Values& arguments) {
  std::string text;
  bool isAnswered = false;
  simulator.answer(method, arguments, [&](const Simulator::Answer& answer) {
    isAnswered = true;
    const auto* const error = std::get_if<Simulator::Error>(&answer);
    text = error ? error->text : "";
  });
  EXPECT_TRUE(isAnswered) << method << " was not answered";
  return text;
}

std::shared_ptr<std::optional<qxbus::Values>> SimulatedServiceTest::callLater(
    const std::string& method, const qxbus::Values& arguments) {
  auto given = std::make_shared<std::optional<qxbus::Values>>();
  simulator.answer(method, arguments, [method, given](const Simulator::Answer& answer) {
    EXPECT_FALSE(*given) << method << " was answered twice";
    if (const auto* const error = std::get_if<Simulator::Error>(&answer)) {
      ADD_FAILURE() << error->text;
      *given = qxbus::Values();
    } else {
      *given = std::get<qxbus::Values>(answer);
    }
  });
  return given;
}

std::vector<qxbus::Bytes> SimulatedServiceTest::list(const std::string& method,
                                                     const qxbus::Values& arguments) {
  const qxbus::Values answer = call(method, arguments);
  std::vector<qxbus::Bytes> records;
  for (std::size_t i = 1; i < answer.size(); ++i) {
    records.push_back(std::get<qxbus::Bytes>(answer[i]));
  }
  EXPECT_FALSE(answer.empty());
  EXPECT_EQ(answer.front(), int32(static_cast<std::int64_t>(records.size())));
  return records;
}

std::vector<std::pair<int, VmNumber>> SimulatedServiceTest::takeEventCodes() {
  std::vector<std::pair<int, VmNumber>> codes;
  for (const BusEvent& event : takeEvents()) {
    codes.emplace_back(static_cast<int>(event.code), event.vm);
  }
  return codes;
}

}  // namespace velsim
