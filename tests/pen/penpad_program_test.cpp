// The program penpad as a user runs it, and its picture of a replayed stroke against a picture that
// is computed here, pixel by pixel, from the numbers in the file.

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <QCoreApplication>
#include <QImage>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRect>
#include <nlohmann/json.hpp>

#include "tests/platform/temporary_directory.h"

namespace {

using testing::HasSubstr;

// --- The expected picture ------------------------------------------------------------------------

constexpr QRgb kPaper = qRgb(0xFF, 0xFE, 0xFA);
constexpr QRgb kInk = qRgb(0x1B, 0x2A, 0x6B);

struct Point {
  double x;
  double y;
};

// A line with round ends.
struct Line {
  Point from;
  Point to;
  double radius;
};

// A whole number, as a pen port sends it.
double pixelOf(const nlohmann::json& position) {
  return std::floor(position.get<double>() + 0.5) + 0.5;
}

std::vector<Line> linesOf(const std::string& file) {
  std::vector<Line> lines;
  std::ifstream events(file);
  std::string text;
  bool isDown = false;
  Point last = {};
  double lastPressure = 0;
  while (std::getline(events, text)) {
    const nlohmann::json event = nlohmann::json::parse(text);
    const std::string type = event["event"];
    const Point here = {pixelOf(event["x"]), pixelOf(event["y"])};
    const double pressure = std::floor(event.value("pressure", 0.0) * 1024) / 1024;
    const bool presses = type == "press";
    if (presses || (type == "move" && isDown)) {
      const double mean = presses ? pressure : (pressure + lastPressure) / 2;
      lines.push_back({presses ? here : last, here, (1.5 + 10 * mean) / 2});
    }
    isDown = presses || (isDown && type != "release");
    last = here;
    lastPressure = pressure;
  }
  return lines;
}

double distance(const Point& point, const Line& line) {
  const double dx = line.to.x - line.from.x;
  const double dy = line.to.y - line.from.y;
  const double length = dx * dx + dy * dy;
  const double along =
      length > 0 ? ((point.x - line.from.x) * dx + (point.y - line.from.y) * dy) / length : 0;
  const double t = std::clamp(along, 0.0, 1.0);
  return std::hypot(point.x - line.from.x - t * dx, point.y - line.from.y - t * dy);
}

// How far inside the ink the middle of a pixel is; negative outside.
class Depth {
 public:
  Depth(const std::vector<Line>& lines, int width, int height)
      : width_(width),
        depths_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), -1000) {
    for (const Line& line : lines) {
      const double margin = line.radius + 3;
      const int top = static_cast<int>(std::min(line.from.y, line.to.y) - margin);
      const int bottom = static_cast<int>(std::max(line.from.y, line.to.y) + margin);
      const int left = static_cast<int>(std::min(line.from.x, line.to.x) - margin);
      const int right = static_cast<int>(std::max(line.from.x, line.to.x) + margin);
      for (int y = std::max(0, top); y <= std::min(height - 1, bottom); ++y) {
        for (int x = std::max(0, left); x <= std::min(width - 1, right); ++x) {
          double& depth = depths_[indexOf(x, y)];
          depth = std::max(depth, line.radius - distance({x + 0.5, y + 0.5}, line));
        }
      }
    }
  }

  double at(int x, int y) const { return depths_[indexOf(x, y)]; }

 private:
  std::size_t indexOf(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
           static_cast<std::size_t>(x);
  }

  int width_;
  std::vector<double> depths_;
};

// 0: paper, 1: ink.
double inkAt(const QImage& image, int x, int y) {
  return (qRed(kPaper) - qRed(image.pixel(x, y))) / double(qRed(kPaper) - qRed(kInk));
}

// Ink where there should be ink and paper where there should be paper; in between, at the edge, the
// two mixed to within a quarter on the average.
void expectStroke(const QImage& sheet, const std::vector<Line>& lines) {
  const Depth depth(lines, sheet.width(), sheet.height());
  int inside = 0;
  int wrong = 0;
  int edge = 0;
  double differences = 0;
  for (int y = 0; y < sheet.height(); ++y) {
    for (int x = 0; x < sheet.width(); ++x) {
      const double expected = depth.at(x, y);
      const QRgb pixel = sheet.pixel(x, y) | 0xFF000000;
      if (std::abs(expected) < 1) {
        ++edge;
        differences += std::abs(inkAt(sheet, x, y) - std::clamp(expected + 0.5, 0.0, 1.0));
      } else {
        inside += expected > 0 ? 1 : 0;
        wrong += pixel == (expected > 0 ? kInk : kPaper) ? 0 : 1;
      }
    }
  }
  EXPECT_EQ(wrong, 0);
  EXPECT_GT(inside, 1000);
  EXPECT_GT(edge, 1000);
  EXPECT_LT(differences / edge, 0.25);
}

// --- The program --------------------------------------------------------------------------------

class PenpadTest : public testing::Test {
 protected:
  // Runs penpad where there is no bus and no display: its exit status.
  int run(const QStringList& arguments) {
    QProcess penpad;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QXBUS_ADDRESS", "unix:path=/nonexistent/bus");
    environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    environment.insert("QX_APP_DATA", QString::fromStdString(directory / "data"));
    environment.insert("XDG_RUNTIME_DIR", QString::fromStdString(directory.path()));
    // Qt's offscreen platform leaks its screen. The tests of the window look for leaks of penpad.
    environment.insert("ASAN_OPTIONS", environment.value("ASAN_OPTIONS") + ":detect_leaks=0");
    environment.remove("DISPLAY");
    environment.remove("WAYLAND_DISPLAY");
    environment.remove("QT_QPA_PLATFORM");
    penpad.setProcessEnvironment(environment);
    penpad.start(PENPAD_PROGRAM, arguments);
    const bool hasEnded = penpad.waitForFinished(60000);
    errors = penpad.readAllStandardError().toStdString();
    output = penpad.readAllStandardOutput().toStdString();
    return hasEnded && penpad.exitStatus() == QProcess::NormalExit ? penpad.exitCode() : -1;
  }
  QString path(const std::string& name) const { return QString::fromStdString(directory / name); }
  void write(const std::string& name, const std::string& text) {
    std::ofstream(directory / name) << text;
  }
  // One of the two sheets in a picture.
  static QImage sheet(const QImage& picture, const char* name) {
    std::istringstream place(picture.text(name).toStdString());
    int x = 0, y = 0, width = 0, height = 0;
    place >> x >> y >> width >> height;
    return picture.copy(x, y, width, height).convertToFormat(QImage::Format_RGB32);
  }

  const TemporaryDirectory directory;
  std::string output;
  std::string errors;
};

TEST_F(PenpadTest, DrawsAndRedrawsARecordedStroke) {
  ASSERT_EQ(run({"--replay", PENPAD_STROKE, "--screenshot", path("picture.png")}), 0) << errors;

  const QImage picture(path("picture.png"));
  const QImage drawn = sheet(picture, "Drawn");
  const QImage redrawn = sheet(picture, "Redrawn");
  ASSERT_GT(drawn.width(), 300);
  ASSERT_GT(drawn.height(), 200);
  EXPECT_EQ(drawn, redrawn);
  const std::vector<Line> lines = linesOf(PENPAD_STROKE);
  expectStroke(drawn, lines);
  expectStroke(redrawn, lines);
}

TEST_F(PenpadTest, RedrawsNothingWithoutADeviceNumber) {
  ASSERT_EQ(run({"--replay", PENPAD_STROKE, "--no-device", "--screenshot", path("picture.png")}), 0)
      << errors;

  const QImage picture(path("picture.png"));
  expectStroke(sheet(picture, "Drawn"), linesOf(PENPAD_STROKE));
  const QImage redrawn = sheet(picture, "Redrawn");
  for (int y = 0; y < redrawn.height(); ++y) {
    for (int x = 0; x < redrawn.width(); ++x) {
      ASSERT_NE(redrawn.pixel(x, y) | 0xFF000000, kInk) << x << ", " << y;
    }
  }
}

TEST_F(PenpadTest, MakesAPictureOfTheEmptyWindow) {
  ASSERT_EQ(run({"--screenshot", path("picture.png")}), 0) << errors;

  EXPECT_FALSE(QImage(path("picture.png")).isNull());
}

TEST_F(PenpadTest, ReportsTheBadLineOfAStroke) {
  write("bad.jsonl",
        "{\"event\": \"press\", \"x\": 1, \"y\": 1}\n{\"event\": \"move\", \"x\": 1}\n");

  EXPECT_EQ(run({"--replay", path("bad.jsonl"), "--screenshot", path("picture.png")}), 3);

  EXPECT_EQ(errors, "penpad: " + path("bad.jsonl").toStdString() + ":2: no \"y\"\n");
  EXPECT_EQ(output, "");
  EXPECT_TRUE(QImage(path("picture.png")).isNull());
}

TEST_F(PenpadTest, ReportsAMissingStroke) {
  EXPECT_EQ(run({"--replay", path("none.jsonl")}), 3);

  EXPECT_EQ(errors, "penpad: " + path("none.jsonl").toStdString() +
                        ": cannot be opened: No such file or directory\n");
}

TEST_F(PenpadTest, ReportsThatThePictureCannotBeWritten) {
  EXPECT_EQ(run({"--screenshot", path("none/picture.png")}), 4);

  EXPECT_THAT(errors, HasSubstr("penpad: " + path("none/picture.png").toStdString() +
                                ": cannot write the picture"));
}

TEST_F(PenpadTest, RefusesAWrongCommandLine) {
  EXPECT_EQ(run({"--replay"}), 2);
  EXPECT_THAT(errors, HasSubstr("see penpad --help"));
  EXPECT_EQ(run({"--nonsense"}), 2);
  EXPECT_EQ(run({"stroke.jsonl"}), 2);
}

TEST_F(PenpadTest, PrintsItsHelp) {
  EXPECT_EQ(run({"--help"}), 0);

  EXPECT_THAT(output, HasSubstr("--replay"));
  EXPECT_THAT(output, HasSubstr("--screenshot"));
  EXPECT_EQ(errors, "");
}

}  // namespace
