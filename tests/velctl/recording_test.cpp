// Every command of velctl against a service that is recorded, and against the recording.

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/processes/programs.h"
#include "tests/velctl/commands.h"
#include "tests/velctl/words.h"

namespace velctl_tests {
namespace {

namespace fs = std::filesystem;

using processes::Finished;
using processes::Process;
using velsim_testing::VelsimProcess;

class CommandListTest : public ::testing::Test {
 protected:
  CommandListTest() {
    std::string pattern = (fs::temp_directory_path() / "recording-XXXXXX").string();
    folder_ = ::mkdtemp(pattern.data());
  }
  ~CommandListTest() override {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  std::string recording() const { return (folder_ / "commands.jsonl").string(); }

  VelsimProcess::Options recorder(const VelsimProcess& service) const {
    VelsimProcess::Options options;
    options.arguments = {"record", recording(), "--service", service.address()};
    return options;
  }
  VelsimProcess::Options replayer(const std::string& order) const {
    VelsimProcess::Options options;
    options.arguments = {"replay", recording(), "--speed", "max", "--order", order};
    return options;
  }

  // The results of all commands, each as text and in JSON.
  std::vector<Finished> runAllAt(const VelsimProcess& service) const {
    std::vector<Finished> results;
    for (const Command& command : commands()) {
      for (const bool isJson : {false, true}) {
        Process::Options options;
        options.command = {VELCTL_PATH};
        for (const std::string& word : wordsOf(command.line)) {
          options.command.push_back(word);
        }
        if (isJson) {
          options.command.emplace_back("--json");
        }
        options.environment = {{"QXBUS_ADDRESS", service.address()},
                               {"QX_APP_DATA", (folder_ / "data").string()},
                               {"QX_LOG_LEVEL", "off"}};
        results.push_back(processes::run(options));
      }
    }
    return results;
  }

  static void expectSame(const std::vector<Finished>& replayed,
                         const std::vector<Finished>& recorded) {
    ASSERT_EQ(replayed.size(), recorded.size());
    for (std::size_t i = 0; i < recorded.size(); ++i) {
      SCOPED_TRACE(commands()[i / 2].line + (i % 2 == 0 ? "" : " --json"));
      EXPECT_EQ(replayed[i].status, recorded[i].status);
      EXPECT_EQ(replayed[i].out, recorded[i].out);
      EXPECT_EQ(replayed[i].err, recorded[i].err);
    }
  }

 private:
  fs::path folder_;
};

TEST_F(CommandListTest, HasTheSameResultsAgainstItsRecording) {
  std::vector<Finished> recorded;
  {
    const VelsimProcess service;
    VelsimProcess recorder(this->recorder(service));
    recorded = runAllAt(recorder);
    EXPECT_EQ(recorder.stop(), 0) << recorder.log();
  }

  for (const char* const order : {"match", "strict"}) {
    SCOPED_TRACE(order);
    VelsimProcess replayer(this->replayer(order));
    expectSame(runAllAt(replayer), recorded);
    EXPECT_EQ(replayer.stop(), 0) << replayer.log();
    EXPECT_THAT(replayer.log(), ::testing::HasSubstr("velsim: stopped, 0 recorded requests "));
  }
}

}  // namespace
}  // namespace velctl_tests
