// The time line of a scenario, and the commands that move its time.

#include "vel/apps/local/velsim/timeline.h"

#include "tests/velsim/service/simulated_service.h"
#include "vel/apps/local/velsim/machine_commands.h"
#include "vel/apps/local/velsim/program_commands.h"
#include "vel/apps/local/velsim/scenario_file.h"

namespace velsim {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

Scenario scenarioOf(const std::string& text) {
  Mistakes mistakes("s.json");
  const std::optional<Scenario> scenario = parseScenario(text, mistakes);
  EXPECT_THAT(mistakes.lines(), IsEmpty());
  return scenario.value_or(Scenario());
}

constexpr char kDay[] = R"({
  "vms": [ { "id": "win11", "number": 101 } ],
  "devices": [ { "number": 12, "type": "camera", "name": "Camera" } ],
  "commands": [ { "word": "uptime", "help": "days", "answer": { "days": [1, 2.5, null, "x"] } } ],
  "timeline": [
    { "after": "1.5s", "do": "plug storage 'Memory stick'" },
    { "do": "unplug 99" },
    { "after": 500, "do": "attach Camera win11" }
  ]
})";

class TimelineTest : public ::testing::Test {
 protected:
  TimelineTest() {
    control.add(programCommands({nullptr, &timeline, clock}));
    control.add(answeringCommands(scenario.setup.commands));
    timeline.start();
  }

  std::string run(const std::string& line) {
    const Control::Answer answer = control.run(line);
    return answer ? *answer : answer.reason();
  }

  const Scenario scenario = scenarioOf(kDay);
  SteppedClock* const clock = new SteppedClock;
  Simulator simulator{scenario.setup, std::unique_ptr<Scheduler>(clock)};
  Control control{simulator, [] {}};
  std::vector<std::string> outcomes;
  Timeline timeline{scenario.timeline, simulator.clock(),
                    [this](const std::string& line) { outcomes.push_back(run(line)); }};
};

TEST_F(TimelineTest, EntriesRunInOrderEachAfterTheOneBefore) {
  clock->advance(std::chrono::milliseconds(1499));
  EXPECT_THAT(outcomes, IsEmpty());

  clock->advance(std::chrono::milliseconds(1));
  EXPECT_THAT(outcomes, ElementsAre("plugged in 31\n",
                                    "unplug: no device or printer 99 is plugged in; type list for "
                                    "those that are"));

  clock->advance(std::chrono::milliseconds(500));
  EXPECT_EQ(outcomes.back(), "attached 12 to VM 101\n");
}

TEST_F(TimelineTest, StepsMoveTheTimeToTheNextEntry) {
  EXPECT_EQ(run("step"), "1 step, 2 left, at 1500 ms\n");
  EXPECT_EQ(run("step 5"), "2 steps, 0 left, at 2000 ms\n");

  EXPECT_EQ(outcomes.size(), 3u);
  EXPECT_EQ(run("step"), "step: the time line has no further entries; advance moves the time");
}

TEST_F(TimelineTest, OtherWaitingRunsOnTheSameTime) {
  std::vector<std::string> answers;
  simulator.answer("searchSharePrinter", {"10.0.0.7"},
                   [&answers](const Simulator::Answer&) { answers.emplace_back("found"); });

  EXPECT_EQ(run("advance 999ms"), "at 999 ms\n");
  EXPECT_THAT(answers, IsEmpty());
  EXPECT_EQ(run("step"), "1 step, 2 left, at 1500 ms\n");
  EXPECT_THAT(answers, ElementsAre("found"));
}

TEST_F(TimelineTest, WrongStepsAreRefused) {
  EXPECT_EQ(run("step 0"), "step: expected a number of entries, got \"0\"");
  EXPECT_EQ(run("step x"), "step: expected a number of entries, got \"x\"");
  EXPECT_EQ(run("advance soon"),
            "advance: expected a time of at most a day, such as 1.5s or 250ms, got \"soon\"");
  Control realTime(simulator, [] {});
  realTime.add(programCommands({nullptr, &timeline, nullptr}));
  EXPECT_EQ(realTime.run("step").reason(),
            "step: the time runs by itself; start velsim with --step to move it");
  EXPECT_EQ(realTime.run("advance 1s").reason(),
            "advance: the time runs by itself; start velsim with --step to move it");
}

TEST_F(TimelineTest, CommandsOfTheScenarioGiveItsAnswers) {
  EXPECT_EQ(run("uptime"), "{\"days\":[1,2.5,null,\"x\"]}\n");
  EXPECT_EQ(run("uptime now please"), "{\"days\":[1,2.5,null,\"x\"]}\n");
}

TEST(TimelineMistakesTest, EveryLineIsCheckedBeforeItRuns) {
  Mistakes mistakes("s.json");
  parseScenario(R"({"timeline": [
    { "after": "1s", "do": "plug scanner 'x'" },
    { "after": "never", "do": "vanish" },
    { "do": "plug camera 'x" },
    { "after": 1 },
    { "do": "step" },
    { "do": "trouble 21 hungry", "then": "x" }
  ],
  "commands": [ { "word": "devices", "answer": 1 }, { "word": "two words", "answer": 1 } ] })",
                mistakes);

  EXPECT_THAT(
      mistakes.lines(),
      ElementsAre(
          "s.json:2: timeline[0].do: plug: unknown type \"scanner\"; the types are storage, "
          "camera, tablet, printer-class, generic, printer",
          "s.json:3: timeline[1].after: expected a time of at most a day, such as \"1.5s\", "
          "\"250ms\", \"2min\", or a whole number of milliseconds, found the text \"never\"",
          "s.json:4: timeline[2].do: unclosed quote: plug camera 'x",
          "s.json:5: timeline[3].do: missing",
          "s.json:6: timeline[4].do: step has no place in a time line",
          "s.json:7: timeline[5].do: trouble: expected one of none, out-of-paper, paper-jam, "
          "out-of-ink, offline, got \"hungry\"",
          "s.json:7: timeline[5].then: unknown member; the members are after, do",
          "s.json:9: commands[0].word: velsim has a command \"devices\" of its own",
          "s.json:9: commands[1].word: expected one word without quotes, found the text "
          "\"two words\""));
}

}  // namespace
}  // namespace velsim
