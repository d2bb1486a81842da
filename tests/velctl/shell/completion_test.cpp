#include "vel/apps/local/velctl/run/completion.h"

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/printable.h"
#include "vel/apps/local/velctl/line/command.h"
#include "vel/apps/local/velctl/line/command_line.h"

namespace velctl {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;
using Words = std::vector<std::string>;

class CompletionTest : public testing::Test {
 protected:
  // Of a line whose words are separated by one blank; the last one may be empty.
  Completion complete(const std::string& line) {
    Words words = {""};
    for (const char c : line) {
      if (c == ' ') {
        words.emplace_back();
      } else {
        words.back() += c;
      }
    }
    return complete(words);
  }
  Completion complete(const Words& words) {
    return completionOf(words, [this](Kind kind) {
      asked.insert(kind);
      return things[kind];
    });
  }
  Words values(const std::string& line) {
    Words all;
    for (const Candidate& candidate : complete(line).candidates) {
      all.push_back(candidate.value);
    }
    return all;
  }
  std::string description(const std::string& line) {
    const Completion completion = complete(line);
    EXPECT_EQ(completion.candidates.size(), 1U) << line;
    return completion.candidates.empty() ? "" : completion.candidates.front().description;
  }

  std::map<Kind, std::vector<Thing>> things = {
      {Kind::kDevice, {{"Front camera", 31}, {"Tablet", 32}, {"Twin", 33}, {"Twin", 34}}},
      {Kind::kVm, {{"win11", 101}, {"win10", 102}}},
      {Kind::kPrinter, {{"Office", 21}}},
      {Kind::kNetworkPrinter, {{"Hall", 0}}},
  };
  std::set<Kind> asked;
};

TEST_F(CompletionTest, BeginsWithTheNouns) {
  EXPECT_THAT(values(""), IsSupersetOf({"device", "vm", "printer", "help", "shell"}));
  EXPECT_THAT(values("devi"), ElementsAre("device"));
  EXPECT_EQ(description("shell"),
            "Run commands one after the other, with completion and a history");
}

TEST_F(CompletionTest, VerbsFollowTheirNoun) {
  EXPECT_THAT(values("device "), IsSupersetOf({"list", "show", "attach", "detach"}));
  EXPECT_THAT(values("device at"), ElementsAre("attach"));
  EXPECT_EQ(description("device at"), "Attach a device to a VM");
  EXPECT_THAT(values("--json device at"), ElementsAre("attach"));
  EXPECT_THAT(values("--bus x device at"), ElementsAre("attach"));
}

TEST_F(CompletionTest, ThingsHaveTheirNames) {
  EXPECT_THAT(values("device show "), ElementsAre("Front camera", "Tablet", "33", "34"));
  EXPECT_EQ(description("device show F"), "device 31");
  EXPECT_THAT(values("device attach Tablet --vm "), ElementsAre("win11", "win10"));
  EXPECT_THAT(values("device attach Tablet --vm=win11"), ElementsAre("--vm=win11"));
  EXPECT_THAT(values("vm show "), ElementsAre("win11", "win10"));
  EXPECT_THAT(values("printer show "), ElementsAre("Office"));
  EXPECT_THAT(values("network-printer remove "), ElementsAre("Hall"));
}

TEST_F(CompletionTest, ADigitBringsTheNumbers) {
  EXPECT_THAT(values("device show 3"), ElementsAre("31", "32", "33", "34"));
  EXPECT_EQ(description("device show 31"), "Front camera");
}

TEST_F(CompletionTest, TheServiceIsAskedOnlyForWhatMayStandThere) {
  values("device ");
  values("device list --");
  EXPECT_THAT(asked, IsEmpty());

  values("device show ");
  EXPECT_THAT(asked, ElementsAre(Kind::kDevice));
}

TEST_F(CompletionTest, OptionsAreThoseOfTheCommandAndOfAll) {
  EXPECT_THAT(values("device attach --"), IsSupersetOf({"--vm", "--json", "--timeout", "--help"}));
  EXPECT_THAT(values("device attach --v"), ElementsAre("--vm", "--verbose"));
  EXPECT_THAT(values("device attach --vm win11 --v"), ElementsAre("--verbose"));
  EXPECT_THAT(values("device attach --vm=win11 --v"), ElementsAre("--verbose"));
  EXPECT_THAT(values("device attach -- --v"), IsEmpty()) << "behind -- no word is an option";
  EXPECT_THAT(values("--j"), ElementsAre("--json"));
}

TEST_F(CompletionTest, ChoicesAndCommandsAreOffered) {
  EXPECT_THAT(values("completion "), ElementsAre("bash", "zsh", "fish"));
  EXPECT_THAT(values("help devi"), ElementsAre("device"));
  EXPECT_THAT(values("help device sh"), ElementsAre("show"));
  EXPECT_THAT(values("help device show "), IsEmpty());
}

TEST_F(CompletionTest, NothingIsOfferedWhereNothingMayStand) {
  EXPECT_THAT(values("devices "), IsEmpty());
  EXPECT_THAT(values("device nosuch "), IsEmpty());
  EXPECT_THAT(values("device show 31 "), IsEmpty());
  EXPECT_THAT(values("device show --timeout "), IsEmpty());
  EXPECT_THAT(values("device show --nosuch=w"), IsEmpty());
  EXPECT_FALSE(complete("device show ").takesFile);
}

TEST_F(CompletionTest, NamesThatATerminalObeysAreReplacedByNumbers) {
  things[Kind::kDevice] = {{"\x1b[2J", 1},
                           {"a\xe2\x80\xae"
                            "b",
                            2},
                           {"win\xe2\x80\x8b"
                            "11",
                            3},
                           {"two\nlines", 4},
                           {"\xff", 5},
                           {"", 6},
                           {"a\tb", 7}};

  const Completion completion = complete("device show ");

  EXPECT_EQ(completion.candidates.size(), 7U);
  for (const Candidate& candidate : completion.candidates) {
    EXPECT_EQ(candidate.value.find_first_not_of("0123456789"), std::string::npos);
    EXPECT_EQ(base::printable(candidate.description), candidate.description);
  }
}

TEST_F(CompletionTest, NamesThatMeanSomethingElseAreReplacedByNumbers) {
  // Numbers of other devices, and an option.
  things[Kind::kDevice] = {{"12", 1}, {"0x20", 2}, {"--vm", 3}};

  EXPECT_THAT(values("device show "), ElementsAre("1", "2", "3"));
}

TEST_F(CompletionTest, AServiceThatIsAwayLeavesTheRest) {
  things.clear();

  EXPECT_THAT(values("device show "), IsEmpty());
  EXPECT_THAT(values("device show --js"), ElementsAre("--json"));
}

// A property of all rows: what they name is offered.
TEST_F(CompletionTest, EveryCommandIsReachedWordByWord) {
  for (const Command& command : commands()) {
    std::string line;
    std::istringstream words(command.path);
    for (std::string word; words >> word;) {
      EXPECT_THAT(values(line), Contains(word)) << command.path;
      line += word + ' ';
    }
    for (const Parameter& parameter : command.parameters) {
      if (parameter.isOption()) {
        EXPECT_THAT(values(line + "--"), Contains(parameter.name)) << command.path;
      }
    }
    for (const Parameter& option : globalOptions()) {
      EXPECT_THAT(values(line + "--"), Contains(option.name)) << command.path;
    }
  }
}

}  // namespace
}  // namespace velctl
