// Recorded strokes.

#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pen/stroke_file.h"
#include "tests/platform/temporary_directory.h"

namespace {

std::vector<stroke::Event> eventsIn(const std::string& text) {
  std::istringstream lines(text);
  return stroke::read(lines, "a.jsonl");
}

std::string errorOf(const std::string& text) {
  try {
    eventsIn(text);
  } catch (const stroke::FileError& error) {
    return error.what();
  }
  return "";
}

TEST(StrokeFileTest, HoldsOneEventPerLine) {
  const auto events = eventsIn(
      R"({"event": "press", "x": 20.5, "y": -31, "pressure": 0.25, "tiltX": 10, "tiltY": -9,)"
      R"( "rotation": -90.5, "ms": 12})"
      "\n\n \t\r\n"
      R"({"y": 2, "x": 1, "event": "move"})"
      "\r\n"
      R"({"event": "release", "x": 0, "y": 0})");

  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[0].type, QEvent::TabletPress);
  EXPECT_EQ(events[0].x, 20.5);
  EXPECT_EQ(events[0].y, -31);
  EXPECT_EQ(events[0].pressure, 0.25);
  EXPECT_EQ(events[0].tiltX, 10);
  EXPECT_EQ(events[0].tiltY, -9);
  EXPECT_EQ(events[0].rotation, -90.5);
  EXPECT_EQ(events[0].ms, 12);
  EXPECT_EQ(events[1].type, QEvent::TabletMove);
  EXPECT_EQ(events[1].x, 1);
  EXPECT_EQ(events[1].pressure, 0);
  EXPECT_EQ(events[1].tiltX, 0);
  EXPECT_EQ(events[1].rotation, 0);
  EXPECT_EQ(events[1].ms, 8);
  EXPECT_EQ(events[2].type, QEvent::TabletRelease);
}

TEST(StrokeFileTest, ReadsProximityEvents) {
  const auto events = eventsIn(
      "{\"event\": \"enter\", \"x\": 0, \"y\": 0}\n{\"event\": \"leave\", \"x\": 0, \"y\": 0}");

  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].type, QEvent::TabletEnterProximity);
  EXPECT_EQ(events[1].type, QEvent::TabletLeaveProximity);
}

TEST(StrokeFileTest, AnEventBecomesATabletEvent) {
  stroke::Event event;
  event.type = QEvent::TabletPress;
  event.x = 1.5;
  event.y = 2.5;
  event.pressure = 0.5;
  event.tiltX = 3;
  event.tiltY = -4;
  event.rotation = 5.5;

  const QTabletEvent tablet = event.toTablet(QPointF(100, 200));

  EXPECT_EQ(tablet.type(), QEvent::TabletPress);
  EXPECT_EQ(tablet.posF(), QPointF(1.5, 2.5));
  EXPECT_EQ(tablet.globalPosF(), QPointF(100, 200));
  EXPECT_EQ(tablet.pressure(), 0.5);
  EXPECT_EQ(tablet.xTilt(), 3);
  EXPECT_EQ(tablet.yTilt(), -4);
  EXPECT_EQ(tablet.rotation(), 5.5);
  EXPECT_EQ(tablet.buttons(), Qt::LeftButton);
}

struct BadLine {
  const char* line;
  const char* error;
};

class BadLineTest : public testing::TestWithParam<BadLine> {};

TEST_P(BadLineTest, IsReportedWithItsNumber) {
  const std::string good = R"({"event": "move", "x": 1, "y": 2})";

  EXPECT_EQ(errorOf(good + "\n\n" + GetParam().line + "\n" + good),
            std::string("a.jsonl:3: ") + GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, BadLineTest,
    testing::Values(
        BadLine{"{",
                "not JSON at column 2; each line is one event, such as "
                "{\"event\": \"move\", \"x\": 1, \"y\": 2}"},
        BadLine{"press 1 2",
                "not JSON at column 1; each line is one event, such as "
                "{\"event\": \"move\", \"x\": 1, \"y\": 2}"},
        BadLine{"[1, 2]", "not a JSON object but [1,2]"},
        BadLine{"null", "not a JSON object but null"}, BadLine{"{}", "no \"event\""},
        BadLine{R"({"event": "push", "x": 1, "y": 2})",
                "\"event\" is \"push\", not \"enter\", \"press\", \"move\", \"release\" or "
                "\"leave\""},
        BadLine{R"({"event": 92, "x": 1, "y": 2})",
                "\"event\" is 92, not \"enter\", \"press\", \"move\", \"release\" or \"leave\""},
        BadLine{R"({"event": "move", "y": 2})", "no \"x\""},
        BadLine{R"({"event": "move", "x": 2})", "no \"y\""},
        BadLine{R"({"event": "move", "x": "1", "y": 2})",
                "\"x\" is \"1\", not a number from -32768 to 32767"},
        BadLine{R"({"event": "move", "x": 32767.5, "y": 2})",
                "\"x\" is 32767.5, not a number from -32768 to 32767"},
        BadLine{R"({"event": "move", "x": 1, "y": -32768.5})",
                "\"y\" is -32768.5, not a number from -32768 to 32767"},
        BadLine{R"({"event": "move", "x": 1, "y": 2, "pressure": 1.5})",
                "\"pressure\" is 1.5, not a number from 0 to 1"},
        BadLine{R"({"event": "move", "x": 1, "y": 2, "pressure": -0.5})",
                "\"pressure\" is -0.5, not a number from 0 to 1"},
        BadLine{R"({"event": "move", "x": 1, "y": 2, "tiltX": 91})",
                "\"tiltX\" is 91, not a number from -90 to 90"},
        BadLine{R"({"event": "move", "x": 1, "y": 2, "tiltY": 1.5})",
                "\"tiltY\" is 1.5, not a whole number"},
        BadLine{R"({"event": "move", "x": 1, "y": 2, "rotation": 361})",
                "\"rotation\" is 361, not a number from -360 to 360"},
        BadLine{R"({"event": "move", "x": 1, "y": 2, "ms": -1})",
                "\"ms\" is -1, not a number from 0 to 10000"},
        BadLine{R"({"event": "move", "x": 1, "y": 2, "presure": 0})", "unknown key \"presure\""},
        BadLine{R"({"event": "move", "x": 1e999, "y": 2})", "a number is too large"},
        BadLine{R"({"event": "move", "x": [1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17], "y": 2})",
                "\"x\" is [1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,..., not a number from -32768 to "
                "32767"}));

TEST(StrokeFileTest, AcceptsNumbersUpToTheirLimits) {
  EXPECT_EQ(errorOf(R"({"event": "move", "x": -32768, "y": 32767, "pressure": 1, "tiltX": -90,)"
                    R"( "tiltY": 90, "rotation": 360, "ms": 10000})"),
            "");
  EXPECT_EQ(errorOf(R"({"event": "move", "x": 0, "y": 0, "pressure": 0, "rotation": -360,)"
                    R"( "ms": 0})"),
            "");
}

TEST(StrokeFileTest, MustNotBeEmpty) {
  EXPECT_EQ(errorOf(""), "a.jsonl: no events in it");
  EXPECT_EQ(errorOf("\n \n"), "a.jsonl: no events in it");
}

TEST(StrokeFileTest, MayHoldAnyBytes) {
  EXPECT_THAT(errorOf("{\"event\": \"\xFF\xFE\", \"x\": 1, \"y\": 2}"),
              testing::StartsWith("a.jsonl:1: not JSON at column"));
  EXPECT_THAT(errorOf(std::string("\0\0", 2)), testing::StartsWith("a.jsonl:1: not JSON at"));
}

// It overflowed the stack: values within each other were copied by a function that calls itself.
TEST(StrokeFileTest, MustNotBeNestedDeeply) {
  const std::string opening(100000, '[');
  const std::string closing(100000, ']');
  const char* const error = "a.jsonl:1: arrays or objects are nested too deeply";

  EXPECT_EQ(errorOf(opening), error);
  EXPECT_EQ(errorOf(opening + closing), error);
  EXPECT_EQ(errorOf(R"({"event": )" + opening + closing + R"(, "x": 1, "y": 2})"), error);
}

TEST(StrokeFileTest, IsOpenedByItsName) {
  const TemporaryDirectory directory;
  const std::string name = directory / "stroke.jsonl";
  std::ofstream(name) << "{\"event\": \"move\", \"x\": 1, \"y\": 2}\n";

  EXPECT_EQ(stroke::readFile(name).size(), 1u);
}

TEST(StrokeFileTest, ReportsWhyItCannotBeOpened) {
  const TemporaryDirectory directory;
  const std::string missing = directory / "none.jsonl";

  try {
    stroke::readFile(missing);
    FAIL() << "there is no such file";
  } catch (const stroke::FileError& error) {
    EXPECT_EQ(error.what(), missing + ": cannot be opened: No such file or directory");
  }
}

TEST(StrokeFileTest, MustNotBeAFolder) {
  const TemporaryDirectory directory;

  EXPECT_THROW(stroke::readFile(directory.path().string()), stroke::FileError);
}

}  // namespace
