// velctl against velsim, as a user sees it.

#include <algorithm>
#include <csignal>
#include <memory>
#include <sstream>
#include <utility>

#include "base/text.h"
#include "tests/velctl/process_test.h"
#include "tests/velctl/stories.h"

namespace velctl_tests {
namespace {

using ::testing::HasSubstr;
using velsim_testing::VelsimProcess;

class VelsimTest : public ProcessTest {
 protected:
  void SetUp() override {
    ASSERT_NO_THROW(velsim_ = std::make_unique<VelsimProcess>(processes::velsimOptions(bus(), {})));
  }

  void TearDown() override { EXPECT_EQ(velsim_->stop(), 0) << velsim_->log(); }

  std::size_t logSize() const { return velsim_->log().size(); }
  // Waits until velsim has logged a request that begins with this text, after the first seen bytes
  // of its log.
  bool isAsked(const std::string& request, std::size_t seen = 0) const {
    return comesTrue(
        [&] { return velsim_->log().find("velsim: " + request, seen) != std::string::npos; });
  }

  // A control command of velsim, and its answer.
  std::string type(const std::string& line) { return velsim_->control(line); }

 private:
  std::unique_ptr<VelsimProcess> velsim_;
};

// --- Stories -------------------------------------------------------------------------------------

class StoryTest : public VelsimTest, public ::testing::WithParamInterface<Story> {
 protected:
  // A line for velsim has double quotes where the step has single ones.
  void runControlCommand(const Step& step) {
    std::string line = step.command;
    std::replace(line.begin(), line.end(), '\'', '"');
    ASSERT_EQ(type(line) + '\n', step.out);
  }

  void runCommand(const Step& step) {
    std::vector<std::string> arguments = wordsOf(step.command);
    if (step.form == Form::kJson) {
      arguments.emplace_back("--json");
    }
    const std::size_t seen = logSize();

    const Finished finished = velctl(arguments);

    ASSERT_EQ(finished.status, step.status) << finished.err;
    ASSERT_EQ(step.normalize ? step.normalize(finished.out) : finished.out, step.out);
    ASSERT_THAT(finished.err, HasSubstr(step.err));
    ASSERT_TRUE(isAsked(step.method + "(", seen));
  }
};

TEST_P(StoryTest, GoesAsWritten) {
  for (const Step& step : GetParam().steps) {
    SCOPED_TRACE(step.command);
    if (step.method.empty()) {
      ASSERT_NO_FATAL_FAILURE(runControlCommand(step));
    } else {
      ASSERT_NO_FATAL_FAILURE(runCommand(step));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Of, StoryTest, ::testing::ValuesIn(stories()),
                         [](const auto& row) { return row.param.name; });

// --- Searches ------------------------------------------------------------------------------------

TEST_F(VelsimTest, SharedPrintersAreFoundAtThreeAddresses) {
  struct Row {
    std::vector<std::string> arguments;
    std::string out;
    std::string err;
  };
  const Row rows[] = {
      {{"10.0.0.7"},
       "ADDRESS   NAME       DESCRIPTION\n"
       "10.0.0.7  Reception  Ground floor\n"
       "10.0.0.7  Archive    Basement\n",
       ""},
      {{"10.0.0.8:631", "--json"},
       R"({"operation":"searchSharePrinter","address":"10.0.0.8:631","printers":[)"
       R"({"address":"10.0.0.8","name":"Workshop","description":""}]})"
       "\n",
       ""},
      {{"192.168.1.20"},
       "ADDRESS       NAME    DESCRIPTION\n"
       "192.168.1.20  Studio  Large format\n"
       "192.168.1.20  Proofs  First floor\n"
       "192.168.1.20  Labels  Dispatch\n",
       ""},
      {{"10.0.0.9"}, "", "velctl: no printers\n"},
  };

  // Each takes velsim a second.
  std::vector<std::unique_ptr<Process>> searches;
  for (const Row& row : rows) {
    std::vector<std::string> arguments = {"printer", "shared", "search"};
    arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
    searches.push_back(std::make_unique<Process>(options(arguments)));
  }

  for (std::size_t i = 0; i < searches.size(); ++i) {
    SCOPED_TRACE(rows[i].arguments.front());
    const Finished search = searches[i]->wait();
    EXPECT_EQ(search.status, velctl::kExitDone);
    EXPECT_EQ(search.out, rows[i].out);
    EXPECT_THAT(search.err, HasSubstr(rows[i].err));
    EXPECT_TRUE(isAsked("searchSharePrinter(address \"" + rows[i].arguments.front() + "\") -> ok"));
  }
}

TEST_F(VelsimTest, ASearchForSharedPrintersIsStoppedByAnotherVelctl) {
  const std::vector<std::string> search = {"printer", "shared", "search", "10.0.0.7"};
  const std::vector<std::string> stop = {"printer", "shared", "stop"};
  for (const bool isJson : {false, true}) {
    Finished searched;
    Finished stopped;
    // On a busy machine a search may be over before it is stopped; then there is another.
    ASSERT_TRUE(comesTrue([&] {
      Process searching(options(isJson ? with(search, "--json") : search));
      do {
        stopped = velctl(isJson ? with(stop, "--json") : stop);
      } while (stopped.status == velctl::kExitRefused && !searching.hasEnded());
      searched = searching.wait();
      return stopped.status == velctl::kExitDone && searched.status == velctl::kExitRefused;
    })) << stopped.err
        << searched.err;

    EXPECT_EQ(stopped.out, isJson ? "{\"operation\":\"stopSearchSharePrinter\",\"status\":0}\n"
                                  : "search stopped\n");
    EXPECT_EQ(searched.out, isJson
                                ? "{\"operation\":\"searchSharePrinter\",\"address\":\"10.0.0.7\","
                                  "\"status\":16}\n"
                                : "");
    EXPECT_THAT(searched.err, HasSubstr("the service answered status 16; "));
  }
}

// --- Watching ------------------------------------------------------------------------------------

// A watch in each form.
class WatchTest : public VelsimTest {
 protected:
  void SetUp() override {
    VelsimTest::SetUp();
    text_ = std::make_unique<Process>(options("watch"));
    json_ = std::make_unique<Process>(options("watch --json"));
    for (const Process* const watch : {text_.get(), json_.get()}) {
      ASSERT_TRUE(isWatching(*watch)) << watch->err();
    }
  }

  void TearDown() override {
    for (Process* const watch : {text_.get(), json_.get()}) {
      EXPECT_EQ(watch->end(SIGINT).status, velctl::kExitDone);
      EXPECT_EQ(watch->readLine(), "") << "an unexpected event";
    }
    VelsimTest::TearDown();
  }

  // Expects these lines next. Broadcast events take another path, so the order is not fixed.
  void expectEvents(std::vector<std::string> text, std::vector<std::string> json) {
    const std::size_t count = text.size();
    std::vector<std::string> nextText;
    std::vector<std::string> nextJson;
    for (std::size_t i = 0; i < count; ++i) {
      nextText.push_back(text_->readLine());
      nextJson.push_back(json_->readLine());
    }
    EXPECT_THAT(nextText, ::testing::UnorderedElementsAreArray(text));
    EXPECT_THAT(nextJson, ::testing::UnorderedElementsAreArray(json));
  }

  static std::string deviceEvent(int code, const std::string& record) {
    return R"({"event":"device","code":)" + std::to_string(code) + "," + record.substr(1);
  }
  static std::string printerEvent(const std::string& record) {
    return R"({"event":"printer","code":1,)" + record.substr(1);
  }

 private:
  std::unique_ptr<Process> text_;
  std::unique_ptr<Process> json_;
};

TEST_F(WatchTest, DevicesThatComeAndGoAreReported) {
  const std::string stick = "device 31: status 1, policy 0, VM -, \"Stick\"";
  const std::string stickJson = deviceJson(31, 1, 0, "", 0, "", "Stick");
  EXPECT_EQ(type("plug storage Stick"), "plugged in 31");
  expectEvents({stick + " (code 4)", stick + " (code 64)"},
               {deviceEvent(4, stickJson), deviceEvent(64, stickJson)});

  EXPECT_EQ(velctl("device connect 31 --vm win11").status, velctl::kExitDone);
  const std::string attached = "device 31: status 2, policy 0, VM win11, \"Stick\" (code 6)";
  expectEvents({stick + " (code 65)", attached},
               {deviceEvent(65, stickJson),
                deviceEvent(6, deviceJson(31, 2, 0, "", 101, "win11", "Stick"))});

  EXPECT_EQ(type("unplug 31"), "unplugged 31");
  expectEvents(
      {stick + " (code 7)", "device 31: status 0, policy 0, VM -, \"Stick\" (code 5)"},
      {deviceEvent(7, stickJson), deviceEvent(5, deviceJson(31, 0, 0, "", 0, "", "Stick"))});

  EXPECT_EQ(type("plug printer \"Hall laser\""), "plugged in 32");
  expectEvents({"printer 32: status 1, VM -, \"Hall laser\" (code 1)"},
               {printerEvent(printerJson(32, 1, 0, "", "Hall laser"))});
}

TEST_F(WatchTest, ChangesByOtherClientsAreReported) {
  EXPECT_EQ(velctl("new-device ignore 0x7e5700030000000d").status, velctl::kExitDone);
  expectEvents(
      {"device 13: status 3, policy 0, VM -, \"Drawing tablet\" (code 10)",
       "new device 7e57:0003: configured, result \"ok\", \"Drawing tablet\" (code 3)"},
      {deviceEvent(10, deviceJson(13, 3, 0, "", 0, "", "Drawing tablet")),
       R"({"event":"newDevice","code":3,"usbId":"7e57:0003","isConfigured":true,"result":"ok",)"
       R"("name":"Drawing tablet"})"});

  EXPECT_EQ(velctl("exec test 2").status, velctl::kExitDone);
  expectEvents({"printer 21: status 1, VM -, \"Office laser\" (code 1)",
                "printer 22: status 1, VM -, \"Photo printer\" (code 1)"},
               {printerEvent(printerJson(21, 1, 0, "", "Office laser")),
                printerEvent(printerJson(22, 1, 0, "", "Photo printer"))});

  EXPECT_EQ(velctl("exec run 7 usb --vm win11").status, velctl::kExitDone);
  const std::string answer = R"({"id":7,"command":"usb","answer":{"usb":[]}})";
  const std::string hex = base::hexOf(answer + '\0');
  expectEvents({"command answer: VM win11, " + hex + " (code 66)"},
               {R"({"event":"command","code":66,"vmNumber":101,"hex":")" + hex +
                R"(","text":"{\"id\":7,\"command\":\"usb\",\"answer\":{\"usb\":[]}}"})"});
}

TEST_F(VelsimTest, AJoystickWatchIsSubscribedUntilItIsInterrupted) {
  const auto subscribers = [this] {
    const std::string out = velctl("exec run 7 joysticks --json").out;
    const std::string name = R"(\"subscribers\":)";
    const std::size_t at = out.find(name);
    return at == std::string::npos ? out : out.substr(at + name.size(), 1);
  };
  struct Row {
    std::vector<std::string> arguments;
    std::string begun;
    std::string ended;
  };
  const Row rows[] = {
      {{"joystick", "watch"},
       "subscribed to joystick results; interrupt to end",
       "subscription ended"},
      {{"joystick", "watch", "--json"},
       R"({"operation":"registerJoystickCallback","status":0})",
       R"({"operation":"unregisterJoystickCallback","status":0})"},
  };
  for (const Row& row : rows) {
    Process watch(options(row.arguments));
    ASSERT_EQ(watch.readLine(), row.begun) << watch.err();
    EXPECT_EQ(subscribers(), "1");

    const Finished finished = watch.end(SIGINT);

    EXPECT_EQ(finished.status, velctl::kExitDone) << finished.err;
    EXPECT_EQ(finished.out, row.begun + '\n' + row.ended + '\n');
    EXPECT_EQ(subscribers(), "0");
  }
  EXPECT_TRUE(isAsked("registerJoystickCallback("));
  EXPECT_TRUE(isAsked("unregisterJoystickCallback("));
}

}  // namespace
}  // namespace velctl_tests
