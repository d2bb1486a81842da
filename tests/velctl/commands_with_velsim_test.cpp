// Every command with velsim inside the process: velctl, library and velsim agree on each method.

#include <algorithm>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>
#include <variant>

#include "tests/velctl/commands.h"
#include "tests/velctl/in_process.h"
#include "vel/apps/local/velsim/service/simulator.h"
#include "vel/protocol/methods.h"

namespace velctl_tests {
namespace {

using testing::AnyOf;
using testing::Contains;
using testing::IsEmpty;

// Runs later tasks at once, when it is asked to.
class InstantClock : public velsim::Scheduler {
 public:
  void after(std::chrono::milliseconds, std::function<void()> task) override {
    tasks_.push_back(std::move(task));
  }
  void stop() override { tasks_.clear(); }

  void runAll() {
    while (!tasks_.empty()) {
      const std::function<void()> task = std::move(tasks_.front());
      tasks_.pop_front();
      task();
    }
  }

 private:
  std::deque<std::function<void()>> tasks_;
};

qxbus::Values valuesOf(const std::vector<scripted::Argument>& arguments) {
  qxbus::Values values;
  for (const scripted::Argument& argument : arguments) {
    std::visit(
        [&values](const auto& value) {
          if constexpr (std::is_same_v<std::decay_t<decltype(value)>, scripted::CString>) {
            values.emplace_back(value.text);
          } else {
            values.emplace_back(value);
          }
        },
        argument);
  }
  return values;
}

Reply replyOf(const qxbus::Values& values) {
  Reply reply;
  for (const qxbus::Value& value : values) {
    std::visit(
        [&reply](const auto& each) {
          if constexpr (std::is_constructible_v<scripted::Argument, decltype(each)>) {
            reply.arguments.emplace_back(each);
          } else {
            ADD_FAILURE() << "velsim answered a type that the library does not send";
          }
        },
        value);
  }
  return reply;
}

class WithVelsimTest : public InProcessTest, public testing::WithParamInterface<Command> {
 protected:
  WithVelsimTest() {
    bus.answerFrom([this](const scripted::Call& call) { return answerTo(call); });
  }

  static const Command& command() { return GetParam(); }
  // Why velsim refused requests as such, instead of answering them.
  const std::vector<std::string>& errors() const { return errors_; }

 private:
  Reply answerTo(const scripted::Call& call) {
    Reply reply;
    simulator_.answer(call.method, valuesOf(call.arguments),
                      [&](const velsim::Simulator::Answer& answer) {
                        if (const auto* error = std::get_if<velsim::Simulator::Error>(&answer)) {
                          errors_.push_back(error->text);
                          reply = Reply::error(error->text);
                        } else {
                          reply = replyOf(std::get<qxbus::Values>(answer));
                        }
                      });
    clock_->runAll();
    return reply;
  }

  InstantClock* const clock_ = new InstantClock;
  velsim::Simulator simulator_{std::unique_ptr<velsim::Scheduler>(clock_)};
  std::vector<std::string> errors_;
};

TEST_P(WithVelsimTest, GetsAnAnswerThatItCanShow) {
  for (const Form form : {Form::kText, Form::kJson}) {
    const Ran ran = velctl(command().line, form);

    // velsim may refuse, for instance a device that it does not have.
    EXPECT_THAT(ran.status, AnyOf(velctl::kExitDone, velctl::kExitRefused, velctl::kExitUnknown))
        << ran.err;
    EXPECT_THAT(bus.requests(), Contains(testing::StartsWith(command().method() + "(")));
    EXPECT_THAT(errors(), IsEmpty());
  }
}

INSTANTIATE_TEST_SUITE_P(Every, WithVelsimTest, testing::ValuesIn(commands()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace velctl_tests
