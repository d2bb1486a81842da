// velctl exec run: a command whose answer arrives as an event.

#include <cstdint>
#include <string>

#include "tests/velctl/velctl_test.h"

namespace velctl_tests {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr int kCommandAnswer = 66;
constexpr char kJsonBeginning[] =
    R"({"operation":"dovelcmd","vm":"win11","number":101,"command":3,"arguments":"",)";

class ExecTest : public VelctlTest {
 protected:
  // Answers every command with events, before the reply.
  void answerWith(std::vector<qxbus::Values> events) {
    service().before("dovelcmd", [this, events = std::move(events)] {
      for (const qxbus::Values& event : events) {
        service().emit(event);
      }
    });
  }

  static qxbus::Values answer(int vmNumber, const std::string& record) {
    return {std::int32_t{vmNumber}, std::int32_t{kCommandAnswer}, bytesOf(record)};
  }

  // Waits much longer than it takes.
  Finished execute(const std::string& vmId, bool isJson) const {
    const std::vector<std::string> command = {"exec", "run", "3", "--vm", vmId, "--wait", "600"};
    return velctl(isJson ? with(command, "--json") : command);
  }
};

TEST_F(ExecTest, TheAnswerIsShownAsBytes) {
  answerWith({answer(kVmNumber, "done\x1b" + std::string(1, '\0') + "rest of the record")});

  const Finished text = execute("win11", false);
  const Finished json = execute("win11", true);

  EXPECT_EQ(text.status, velctl::kExitOk) << text.err;
  EXPECT_EQ(text.out,
            "0000  64 6f 6e 65 1b 00 72 65 73 74 20 6f 66 20 74 68  |done..rest of th|\n"
            "0010  65 20 72 65 63 6f 72 64                          |e record|\n");
  EXPECT_EQ(json.out, std::string(kJsonBeginning) +
                          R"("status":0,"answer":{"vmNumber":101,"hex":"646f6e651b00726573742)"
                          R"(06f6620746865207265636f7264","text":"done\u001b"}})"
                          "\n");
}

TEST_F(ExecTest, AnAnswerMayHaveNoRecord) {
  answerWith({{std::int32_t{0}, std::int32_t{kCommandAnswer}}});

  EXPECT_EQ(execute("win11", false).out, "an empty answer\n");
  EXPECT_EQ(execute("win11", true).out,
            std::string(kJsonBeginning) +
                R"("status":0,"answer":{"vmNumber":0,"hex":null,"text":null}})"
                "\n");
}

TEST_F(ExecTest, AnswersForOtherVmsAndOtherEventsAreLeftOut) {
  answerWith({answer(104, "other"),
              {std::int32_t{kVmNumber}, std::int32_t{1}, printerBlock(51, 0, 0, "Laser")},
              answer(kVmNumber, "own")});

  EXPECT_THAT(execute("win11", false).out, EndsWith("|own|\n"));
}

TEST_F(ExecTest, WithoutAVmTheAnswerIsForNone) {
  answerWith({answer(kVmNumber, "other"), answer(0, "own")});

  EXPECT_THAT(velctl({"exec", "run", "3", "--wait", "600"}).out, EndsWith("|own|\n"));
  EXPECT_EQ(service().requests(),
            (std::vector<std::string>{R"(dovelcmd(int32 0, string "", int32 3))"}));
}

TEST_F(ExecTest, ACommandWithoutAnAnswerIsAnError) {
  const std::vector<std::string> command = {"exec", "run", "3", "--vm", "win11", "--wait", "1"};

  Process textProcess(options(command));
  const Finished json = velctl(with(command, "--json"));
  const Finished text = textProcess.wait();

  EXPECT_EQ(text.status, velctl::kExitNoAnswer);
  EXPECT_THAT(text.out, IsEmpty());
  EXPECT_THAT(text.err,
              HasSubstr("velctl: dovelcmd 3 for \"win11\": accepted by the service, which "
                        "told no result within 1 s; --wait waits longer, or not at "
                        "all\n"));
  EXPECT_EQ(json.status, velctl::kExitNoAnswer);
  EXPECT_EQ(json.out, std::string(kJsonBeginning) + R"("status":0,"answer":null})" + "\n");
}

TEST_F(ExecTest, ARefusedCommandIsNotWaitedFor) {
  service().answer("dovelcmd", qxbus::Values{std::int32_t{7}});
  const Finished refused = execute("win11", true);
  service().answer("dovelcmd", ScriptedService::Error{"no such command"});
  const Finished failed = execute("win11", true);

  EXPECT_EQ(refused.status, velctl::kExitRefused);
  EXPECT_EQ(refused.out, std::string(kJsonBeginning) + "\"status\":7}\n");
  EXPECT_EQ(failed.status, velctl::kExitNoAnswer);
  EXPECT_THAT(failed.err, HasSubstr("no usable answer: no such command; "));
}

}  // namespace
}  // namespace velctl_tests
