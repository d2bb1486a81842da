// Which recorded call a request repeats, and what follows it.

#include "vel/apps/local/velsim/recording/player.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velsim {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Kind = RecordedLine::Kind;

// Lines of a recording, one after the other, a millisecond apart.
class Lines {
 public:
  Lines& call(std::uint64_t id, const std::string& method, const qxbus::Values& arguments = {}) {
    RecordedLine& line = add(Kind::kCall);
    line.id = id;
    line.name = method;
    line.values = MaskableValues(arguments.begin(), arguments.end());
    return *this;
  }
  Lines& masking(std::size_t argument) {
    lines_.back().values.at(argument).reset();
    return *this;
  }
  Lines& reply(std::uint64_t id) {
    add(Kind::kReply).id = id;
    return *this;
  }
  Lines& other(Kind kind) {
    add(kind);
    return *this;
  }

  std::vector<RecordedLine> take() { return lines_; }

 private:
  RecordedLine& add(Kind kind) {
    RecordedLine line;
    line.kind = kind;
    line.number = static_cast<int>(lines_.size()) + 2;
    line.time = std::chrono::milliseconds(lines_.size());
    lines_.push_back(line);
    return lines_.back();
  }

  std::vector<RecordedLine> lines_;
};

// The line of the call; 0: differs.
int lineOf(const Player::Taken& taken) {
  return taken.call ? taken.call->number : 0;
}

std::vector<int> stepsOf(const Player::Taken& taken) {
  std::vector<int> numbers;
  for (const Player::Step& step : taken.steps) {
    numbers.push_back(step.line->number);
  }
  return numbers;
}

const qxbus::Values kOne = {std::int32_t{1}};
const qxbus::Values kTwo = {std::int32_t{2}};

TEST(PlayerTest, ARequestGetsTheAnswerToTheSameRequestOfTheRecording) {
  Player player("r", Lines().call(1, "a", kOne).reply(1).call(2, "a", kTwo).reply(2).take(),
                ReplayOrder::kMatch);

  const Player::Taken two = player.take("a", kTwo);
  const Player::Taken one = player.take("a", kOne);

  EXPECT_EQ(lineOf(two), 4);
  EXPECT_THAT(stepsOf(two), ElementsAre(5));
  EXPECT_EQ(lineOf(one), 2);
  EXPECT_THAT(stepsOf(one), ElementsAre(3));
  EXPECT_EQ(player.rest(), 0u);
}

TEST(PlayerTest, EqualRequestsGetTheirAnswersInTheOrderOfTheRecording) {
  Player player("r", Lines().call(1, "a").reply(1).call(2, "a").reply(2).take(),
                ReplayOrder::kMatch);

  EXPECT_EQ(lineOf(player.take("a", {})), 2);
  EXPECT_EQ(lineOf(player.take("a", {})), 4);
  EXPECT_EQ(player.take("a", {}).difference, "r: expected no further request, got a()");
}

TEST(PlayerTest, EventsComeAfterTheCallOrTheAnswerThatTheyFollowed) {
  const auto lines = Lines()
                         .call(1, "a")
                         .call(2, "b")
                         .other(Kind::kEvent)
                         .reply(1)
                         .other(Kind::kEvent)
                         .other(Kind::kGone)
                         .other(Kind::kThere)
                         .call(3, "c")
                         .reply(2)
                         .take();
  Player player("r", lines, ReplayOrder::kMatch);

  const Player::Taken first = player.take("a", {});
  EXPECT_THAT(stepsOf(first), ElementsAre(5, 6, 7, 8));
  EXPECT_EQ(first.steps[0].after, std::chrono::milliseconds(3));
  EXPECT_EQ(first.steps[3].after, std::chrono::milliseconds(6));
  EXPECT_THAT(stepsOf(player.take("b", {})), ElementsAre(4, 10));
  EXPECT_THAT(stepsOf(player.take("c", {})), IsEmpty());
}

TEST(PlayerTest, EventsBeforeTheFirstCallComeWithTheFirstRequest) {
  Player player("r", Lines().other(Kind::kEvent).call(1, "a").reply(1).call(2, "b").take(),
                ReplayOrder::kMatch);

  EXPECT_THAT(stepsOf(player.take("b", {})), ElementsAre(2));
  EXPECT_THAT(stepsOf(player.take("a", {})), ElementsAre(4));
}

TEST(PlayerTest, AMaskedArgumentMatchesAnyOther) {
  Player player("r",
                Lines()
                    .call(1, "updateDriveToken", {qxbus::Bytes{1}})
                    .masking(0)
                    .call(2, "b", {std::int32_t{1}, std::int32_t{2}})
                    .masking(0)
                    .take(),
                ReplayOrder::kMatch);

  EXPECT_EQ(lineOf(player.take("updateDriveToken", {qxbus::Bytes{9, 9}})), 2);
  EXPECT_EQ(lineOf(player.take("b", {std::int32_t{7}, std::int32_t{3}})), 0);
  EXPECT_EQ(lineOf(player.take("b", {std::int32_t{7}, std::int32_t{2}})), 3);
}

TEST(PlayerTest, TheIdentityOfASubscriberIsNotCompared) {
  Player player("r", Lines().call(1, "registerJoystickCallback", {qxbus::Bytes(8, 1)}).take(),
                ReplayOrder::kStrict);

  EXPECT_EQ(lineOf(player.take("registerJoystickCallback", {qxbus::Bytes(8, 2)})), 2);
}

TEST(PlayerTest, InStrictOrderTheNextRequestMustBeTheNextRecorded) {
  Player player("r", Lines().call(1, "a").call(2, "b", kOne).call(3, "c").take(),
                ReplayOrder::kStrict);

  EXPECT_EQ(player.take("b", kOne).difference, "r:2: expected a(), got b(int32 1)");
  EXPECT_EQ(lineOf(player.take("a", {})), 2);
  EXPECT_EQ(player.take("b", kTwo).difference, "r:3: expected b(int32 1), got b(int32 2)");
}

TEST(PlayerTest, ADifferenceNamesTheRecordedCallThatIsMostLikeIt) {
  Player player("r", Lines().call(1, "a").call(2, "b", kOne).take(), ReplayOrder::kMatch);

  EXPECT_EQ(player.take("b", kTwo).difference, "r:3: expected b(int32 1), got b(int32 2)");
  EXPECT_EQ(player.take("x", {}).difference, "r:2: expected a(), got x()");
  EXPECT_EQ(player.take("updateDriveToken", {qxbus::Bytes{1, 2}}).difference,
            "r:2: expected a(), got updateDriveToken(masked)");
}

TEST(PlayerTest, ArgumentsOfOtherTypesOrNumbersDiffer) {
  Player player("r", Lines().call(1, "a", kOne).take(), ReplayOrder::kMatch);

  EXPECT_EQ(lineOf(player.take("a", {})), 0);
  EXPECT_EQ(lineOf(player.take("a", {std::int16_t{1}})), 0);
  EXPECT_EQ(lineOf(player.take("a", {std::int32_t{1}, std::int32_t{1}})), 0);
}

}  // namespace
}  // namespace velsim
