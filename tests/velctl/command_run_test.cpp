// velctl command run: a command for the service, whose answer is an event.

#include <string>
#include <vector>

#include "tests/scripted_bus/timeline.h"
#include "tests/velctl/in_process.h"
#include "vel/protocol/events.h"
#include "vel/protocol/names.h"

namespace velctl_tests {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StrEq;

using scripted::EventArguments;

constexpr auto kCommandAnswer = static_cast<int>(velprotocol::EventCode::kCommandAnswer);
constexpr char kJsonBeginning[] =
    R"({"operation":"dovelcmd","vm":"win11","vmNumber":101,"id":3,"text":"",)"
    R"("status":0,"statusName":"ok","answer":)";

// An event of the service, or a broadcast one.
struct Sent {
  EventArguments arguments;
  const char* name = velprotocol::kServiceEvent;
};

Sent answer(int vmNumber, const std::string& record) {
  return {EventArguments().int32(vmNumber).int32(kCommandAnswer).bytes(bytesOf(record))};
}

Sent broadcast(Sent event) {
  event.name = velprotocol::kBroadcastEvent;
  return event;
}

class CommandRunTest : public InProcessTest {
 protected:
  // Sends events while each command waits for its reply.
  void answerWith(const std::vector<Sent>& events) {
    scripted::Timeline::the().when("call dovelcmd", [this, events] {
      for (const Sent& event : events) {
        bus.emit(event.name, event.arguments);
      }
    });
  }

  // Waits much longer than it takes.
  Ran execute(Form form = Form::kText) {
    return velctl("command run 3 --vm win11 --wait 600", form);
  }
};

TEST_F(CommandRunTest, AnAnswerThatIsNoPrintableTextIsShownAsBytes) {
  answerWith({answer(kVmNumber, "done\x1b" + std::string(1, '\0') + "rest of the record")});

  const Ran text = execute();
  const Ran json = execute(Form::kJson);

  EXPECT_EQ(text.status, velctl::kExitDone) << text.err;
  EXPECT_EQ(text.out,
            "0000  64 6f 6e 65 1b 00 72 65 73 74 20 6f 66 20 74 68  |done..rest of th|\n"
            "0010  65 20 72 65 63 6f 72 64                          |e record|\n");
  EXPECT_EQ(json.out, std::string(kJsonBeginning) +
                          R"({"vm":"win11","vmNumber":101,"hex":"646f6e651b00726573742)"
                          R"(06f6620746865207265636f7264","text":"done\u001b"}})"
                          "\n");
}

TEST_F(CommandRunTest, AnAnswerOfPrintableTextIsShownAsText) {
  struct Row {
    std::string answer;
    std::string shown;
  };
  const Row rows[] = {
      {R"({"usb":[]})", R"({"usb":[]})"},
      // The service ends texts with a NUL.
      {std::string("two\n\tlines\n\0", 12), "two\n\tlines"},
      {"\xE5\x89\x8D", "\xE5\x89\x8D"},
      {"\xff", "0000  ff                                               |.|"},
      {"\xE2\x80\xAE", "0000  e2 80 ae                                         |...|"},
      {std::string("a\0b", 3), "0000  61 00 62                                         |a.b|"},
  };
  for (const Row& row : rows) {
    scripted::Timeline::the().reset();
    answerWith({answer(kVmNumber, row.answer)});
    EXPECT_EQ(execute().out, row.shown + '\n');
  }
}

TEST_F(CommandRunTest, AnAnswerMayHaveNoRecord) {
  answerWith({{EventArguments().int32(0).int32(kCommandAnswer)}});

  EXPECT_EQ(execute().out, "an empty answer\n");
  EXPECT_EQ(execute(Form::kJson).out, std::string(kJsonBeginning) +
                                          R"({"vm":null,"vmNumber":0,"hex":null,"text":null}})"
                                          "\n");
}

TEST_F(CommandRunTest, AnswersForOtherVmsAndOtherEventsAreLeftOut) {
  answerWith({answer(104, "other"),
              broadcast(answer(104, "other")),
              {EventArguments().int32(kVmNumber).int32(1).bytes(printerBlock(51, 0, 0, "Laser"))},
              answer(kVmNumber, "own")});

  EXPECT_THAT(execute().out, StrEq("own\n"));
}

TEST_F(CommandRunTest, AnAnswerForNoVmCounts) {
  answerWith({answer(0, "own")});

  EXPECT_THAT(execute().out, StrEq("own\n"));
}

TEST_F(CommandRunTest, ABroadcastAnswerCounts) {
  answerWith({broadcast(answer(kVmNumber, "own"))});

  EXPECT_THAT(execute().out, StrEq("own\n"));
}

TEST_F(CommandRunTest, WithoutAVmTheAnswerIsForNone) {
  answerWith({answer(kVmNumber, "other"), answer(0, "own")});

  EXPECT_THAT(velctl("command run 3 --wait 600").out, StrEq("own\n"));
  EXPECT_EQ(requests(), (std::vector<std::string>{R"(dovelcmd(int32 0, string "", int32 3))"}));
}

TEST_F(CommandRunTest, ACommandWithoutAnAnswerIsAnError) {
  const Ran text = velctl("command run 3 --vm win11 --wait 1");

  EXPECT_EQ(text.status, velctl::kExitNoReply);
  EXPECT_THAT(text.out, IsEmpty());
  EXPECT_EQ(
      text.err,
      "velctl: dovelcmd 3 \"\" for \"win11\": the service accepted the command and sent no answer "
      "within 1 s; --wait SECONDS waits longer, --wait 0 does not wait\n");
  // Other VMs' answers do not count.
  answerWith({answer(104, "other")});
  const Ran json = velctl("command run 3 --vm win11 --wait 1", Form::kJson);
  EXPECT_EQ(json.status, velctl::kExitNoReply);
  EXPECT_THAT(json.out, HasSubstr(R"({"error":{"kind":"no-reply","exitStatus":5,)"
                                  R"("operation":"dovelcmd",)"));
}

TEST_F(CommandRunTest, ARefusedCommandIsNotWaitedFor) {
  bus.answer("dovelcmd", Reply().int32(7));
  const Ran refused = execute(Form::kJson);
  bus.answer("dovelcmd", Reply::error("no such command"));
  const Ran failed = execute(Form::kJson);

  EXPECT_EQ(refused.status, velctl::kExitRefused);
  EXPECT_THAT(refused.out, HasSubstr(R"("status":7,"statusName":"busy",)"));
  EXPECT_EQ(failed.status, velctl::kExitErrorReply);
  EXPECT_THAT(failed.err, HasSubstr("no usable answer: no such command; "));
}

}  // namespace
}  // namespace velctl_tests
