// Errors as sentences for people.

#include "examples/panel/service/problem.h"

#include <set>

#include <gmock/gmock.h>

#include "vel/client/advice.h"

namespace panel {
namespace {

using vel::Error;
using vel::ErrorKind;

std::string textOf(const Error& error) {
  return problemOf(error).text().toStdString();
}

TEST(ProblemTest, HasTheReasonAndWhatToDo) {
  EXPECT_EQ(textOf(Error(ErrorKind::kNoService, "connectDevice", "no service on the bus")),
            "No service on the bus. Start velserviced, or velsim to try without hardware.");
  EXPECT_EQ(textOf(Error(ErrorKind::kNoBus, "", "the bus cannot be reached")),
            "The bus cannot be reached. Start it, or set QXBUS_ADDRESS to the address of another.");
  EXPECT_EQ(textOf(Error::refused("connectDevice", 9)),
            "The service refused: by the policy of the device, or by the user. Change its policy, "
            "or allow it on this machine.");
}

TEST(ProblemTest, AMethodIsNotForPeople) {
  EXPECT_EQ(textOf(Error(ErrorKind::kNoReply, "connectDevice", "connectDevice: no reply in time")),
            "No reply in time. Try again; if the service hangs, end it and start it.");
}

TEST(ProblemTest, AStatusWithoutAMeaningIsShown) {
  EXPECT_EQ(textOf(Error::refused("connectDevice", 7000)),
            "The service refused with status 7000. See the service's log.");
}

TEST(ProblemTest, AnErrorThatSaysWhatToDoHasNoRemedy) {
  const Problem problem = problemOf(Error(ErrorKind::kRefusedArgument, "", "not an IP address"));

  EXPECT_EQ(problem.text(), "Not an IP address.");
  EXPECT_TRUE(problem.remedy.isEmpty());
}

TEST(ProblemTest, EveryRefusalOfVelsimSaysWhatToDo) {
  for (const velprotocol::Meaning& status : velprotocol::kStatuses) {
    if (status.number != 0) {
      const Error error = Error::refused("connectDevice", static_cast<std::int32_t>(status.number));
      EXPECT_EQ(vel::refusalMeaning(error), &status);
      EXPECT_NE(vel::remedyFor(error), "") << status.word;
    }
  }
}

TEST(ProblemTest, ATextOfTheServiceStaysOnItsLine) {
  EXPECT_EQ(shownText("Camera\n\xE2\x80\xAE"), shownText("Camera\n\xE2\x80\xAE").simplified());
  EXPECT_FALSE(shownText("a\xE2\x80\xAE").contains(QChar(0x202E)));
}

}  // namespace
}  // namespace panel
