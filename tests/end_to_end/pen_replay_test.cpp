// velctl pen replay, against velsim and against a far end in the test.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>

#include <nlohmann/json.hpp>

#include "pen/pen_frame.h"
#include "tests/end_to_end/end_to_end_test.h"
#include "tests/processes/port_peer.h"
#include "vel/apps/local/velctl/exit_codes.h"

namespace end_to_end {
namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr char kHovering[] = "INRANGE|PRIMARY|CONFIDENCE|UPDATE";
constexpr char kPressed[] = "NEW|INRANGE|PRIMARY|CONFIDENCE|UPDATE";
constexpr char kDrawing[] = "INRANGE|INCONTACT|FIRSTBUTTON|PRIMARY|CONFIDENCE|UPDATE";

// An event without a pause before it.
constexpr char kPress[] =
    R"({"event": "press", "x": 10.5, "y": -3.25, "pressure": 0.5, "tiltX": 7, "ms": 0})"
    "\n";
// Longer than a test may take.
constexpr char kMoveAfterALongPause[] = R"({"event": "move", "x": 11, "y": 0, "ms": 10000})"
                                        "\n";

// Events whose frames are 800 kB; a socket holds 200 kB on Linux and 8 kB on macOS.
constexpr int kMoreThanASocketHolds = 4000;

const std::string kDeviceNumber5("\x27\x05\x35\x08\0\0\0\0", 8);

std::string repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) {
    all += text;
  }
  return all;
}

std::vector<std::string> replayLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

// The objects of the JSON form, the last of which may report a failure.
json firstIn(const Finished& finished) {
  const std::vector<std::string> lines = replayLines(finished.out);
  return lines.empty() ? json() : json::parse(lines.front(), nullptr, false);
}
std::string kindOfFailure(const Finished& finished) {
  const std::vector<std::string> lines = replayLines(finished.out);
  const json last = lines.empty() ? json() : json::parse(lines.back(), nullptr, false);
  return last.is_object() ? last.value("/error/kind"_json_pointer, "") : "";
}

// The lines that velsim logs for the frames of a recorded stroke.
std::vector<std::string> framesOf(const std::string& file, int device) {
  std::vector<std::string> frames;
  bool isDown = false;
  std::ifstream stream(file);
  for (std::string line; std::getline(stream, line);) {
    const json event = json::parse(line);
    const std::string kind = event["event"];
    isDown = kind == "press" || (isDown && kind != "release");
    const std::string flags = kind == "enter"   ? "event 171, enter proximity"
                              : kind == "leave" ? "event 172, leave proximity"
                              : kind == "press" ? kPressed
                              : isDown          ? kDrawing
                                                : kHovering;
    const auto rounded = [&event](const char* key) {
      return static_cast<int>(std::floor(event[key].get<double>() + 0.5));
    };
    const auto scaled = [&event](const char* key) {
      return static_cast<int>(event.value(key, 0.0) * 1024);
    };
    char text[256];
    std::snprintf(text, sizeof text,
                  "frame %zu  device %d  x %d  y %d  pressure %d/1024  rotation %.1f  tilt %d %d  ",
                  frames.size() + 1, device, rounded("x"), rounded("y"), scaled("pressure"),
                  scaled("rotation") / 1024.0, event.value("tiltX", 0), event.value("tiltY", 0));
    frames.push_back(text + flags);
  }
  return frames;
}

class PenReplayTest : public EndToEndTest {
 protected:
  std::string port() const { return folder() + "/pen"; }
  std::string strokeFile(const std::string& text) const {
    std::ofstream(folder() + "/stroke.jsonl") << text;
    return folder() + "/stroke.jsonl";
  }
  std::vector<std::string> replayOf(const std::string& file,
                                    const std::vector<std::string>& options = {}) const {
    std::vector<std::string> arguments = {"pen", "replay", file, "--port", port()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return arguments;
  }
};

// --- Against velsim -----------------------------------------------------------------------------

class PenReplayToVelsimTest : public PenReplayTest {
 protected:
  void SetUp() override { startVelsim({"--pen-port", port()}); }

  // The frames of a device, as velsim logs them, as soon as its client has gone.
  std::vector<std::string> framesFrom(int device) const {
    const std::string gone = "velsim: pen " + std::to_string(device) + ": disconnected after ";
    EXPECT_TRUE(comesTrue([&] { return velsimLog().find(gone) != std::string::npos; }));
    const std::string prefix = "velsim: ";
    const std::string ofDevice = "  device " + std::to_string(device) + "  ";
    std::vector<std::string> frames;
    for (const std::string& line : replayLines(velsimLog())) {
      if (line.find(prefix + "frame ") == 0 && line.find(ofDevice) != std::string::npos) {
        frames.push_back(line.substr(prefix.size()));
      }
    }
    return frames;
  }
};

TEST_F(PenReplayToVelsimTest, ARecordedStrokeArrivesFrameByFrame) {
  const Finished replayed = velctl(replayOf(RECORDED_STROKE, {"--at-once"}));

  EXPECT_EQ(replayed.status, velctl::kExitDone) << replayed.err;
  EXPECT_EQ(replayed.out, RECORDED_STROKE ": 239 frames sent to " + port() + " for device 1\n");
  EXPECT_THAT(replayed.err, IsEmpty());
  const std::vector<std::string> frames = framesFrom(1);
  ASSERT_EQ(frames.size(), 239u);
  EXPECT_THAT(frames, ElementsAreArray(framesOf(RECORDED_STROKE, 1)));
  // Fixed values, not computed from the recording.
  EXPECT_EQ(frames[0],
            "frame 1  device 1  x 35  y 74  pressure 0/1024  rotation 0.0  tilt 0 0  "
            "event 171, enter proximity");
  EXPECT_EQ(frames[1],
            "frame 2  device 1  x 35  y 74  pressure 0/1024  rotation 0.0  tilt 18 -12  "
            "INRANGE|PRIMARY|CONFIDENCE|UPDATE");
  EXPECT_EQ(std::count_if(frames.begin(), frames.end(),
                          [](const std::string& frame) {
                            return frame.find(
                                       "x 55  y 90  pressure 96/1024  rotation -8.0  tilt "
                                       "18 -7  NEW|INRANGE|PRIMARY|CONFIDENCE|UPDATE") !=
                                   std::string::npos;
                          }),
            1);
  EXPECT_EQ(frames[238],
            "frame 239  device 1  x 432  y 233  pressure 0/1024  rotation 0.0  tilt 0 0  "
            "event 172, leave proximity");
}

TEST_F(PenReplayToVelsimTest, PlaysAsRecordedAndReportsAsJson) {
  const Finished first = velctl(replayOf(RECORDED_STROKE, {"--json"}));
  const Finished second = velctl(replayOf(strokeFile(kPress), {"--json"}));

  EXPECT_EQ(first.status, velctl::kExitDone) << first.err;
  EXPECT_EQ(json::parse(first.out, nullptr, false), json({{"file", RECORDED_STROKE},
                                                          {"port", port()},
                                                          {"device", 1},
                                                          {"events", 239},
                                                          {"frames", 239}}));
  EXPECT_EQ(replayLines(first.out).size(), 1u);
  EXPECT_THAT(framesFrom(1), ElementsAreArray(framesOf(RECORDED_STROKE, 1)));
  EXPECT_EQ(second.status, velctl::kExitDone) << second.err;
  EXPECT_EQ(json::parse(second.out, nullptr, false)["device"], 2);
  EXPECT_THAT(framesFrom(2),
              ElementsAre("frame 1  device 2  x 11  y -3  pressure 512/1024  rotation 0.0  tilt 7 0"
                          "  NEW|INRANGE|PRIMARY|CONFIDENCE|UPDATE"));
}

TEST_F(PenReplayToVelsimTest, SeveralCanPlayAtOnce) {
  const std::string file = strokeFile(repeated(kPress, 200));
  constexpr int kReplays = 3;
  std::vector<std::unique_ptr<Process>> replays;
  replays.reserve(kReplays);
  for (int i = 0; i < kReplays; ++i) {
    replays.push_back(std::make_unique<Process>(velctlOptions(replayOf(file))));
  }

  for (const std::unique_ptr<Process>& replay : replays) {
    EXPECT_EQ(replay->wait().status, velctl::kExitDone) << replay->err();
  }
  for (const int device : {1, 2, 3}) {
    EXPECT_THAT(framesFrom(device), ElementsAreArray(framesOf(file, device)));
  }
}

TEST_F(PenReplayToVelsimTest, EndsWhenTheServiceDies) {
  Process replay(velctlOptions(replayOf(strokeFile(std::string(kPress) + kMoveAfterALongPause))));
  ASSERT_TRUE(comesTrue([this] {
    return velsimLog().find("velsim: frame 1 ") != std::string::npos;
  })) << replay.err();

  killVelsim();
  const Finished failed = replay.wait();

  EXPECT_EQ(failed.status, velctl::kExitNoReply);
  EXPECT_EQ(failed.err, "velctl: pen replay: " + port() +
                            ": the far end has closed the port; 1 frame sent of 2\n");
}

// --- Against a far end in the test ---------------------------------------------------------------

class PenReplayToPeerTest : public PenReplayTest {
 protected:
  // Without a bus.
  PenReplayToPeerTest() { bus().kill(); }

  void start(const std::string& stroke, const std::vector<std::string>& options = {}) {
    replay_ = std::make_unique<Process>(velctlOptions(replayOf(strokeFile(stroke), options)));
  }
  PortPeer accept() { return PortPeer::acceptedFrom(listener_); }
  // No far end when the program ends before it connects.
  PortPeer acceptWhileItRuns() {
    return PortPeer::acceptedFrom(listener_, [this] { return replay_->hasEnded(); });
  }
  Process& replay() { return *replay_; }
  Finished wait() { return replay_->wait(); }

  static penframe::Frame decoded(const std::string& bytes) {
    const auto frame =
        penframe::decodeFrame(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    EXPECT_TRUE(frame) << frame.reason();
    return frame ? *frame : penframe::Frame();
  }

 private:
  base::Listener listener_{port()};
  std::unique_ptr<Process> replay_;
};

TEST_F(PenReplayToPeerTest, NeedsNoBus) {
  start(kPress);
  PortPeer farEnd = accept();
  ASSERT_TRUE(farEnd);

  farEnd.write(kDeviceNumber5);

  const std::string bytes = farEnd.readAll();
  ASSERT_EQ(bytes.size(), penframe::kFrameSize);
  EXPECT_EQ(bytes.substr(0, 20),
            std::string("\xC2\0\0\0\x27\x05\xD0\x07\x01\0\0\0\xC2\0\0\0\0\0\0\0", 20));
  EXPECT_EQ(penframe::describe(decoded(bytes)),
            "frame 1  device 5  x 11  y -3  pressure 512/1024  rotation 0.0  tilt 7 0  "
            "NEW|INRANGE|PRIMARY|CONFIDENCE|UPDATE");
  const Finished replayed = wait();
  EXPECT_EQ(replayed.status, velctl::kExitDone) << replayed.err;
  EXPECT_EQ(replayed.out,
            folder() + "/stroke.jsonl: 1 frame sent to " + port() + " for device 5\n");
  EXPECT_THAT(replayed.err, IsEmpty());
}

TEST_F(PenReplayToPeerTest, FindsTheDeviceNumberAmongOtherMessagesAndInPortions) {
  start(kPress);
  PortPeer farEnd = accept();
  ASSERT_TRUE(farEnd);
  std::string messages = kDeviceNumber5 + kDeviceNumber5 + kDeviceNumber5 + kDeviceNumber5;
  messages[2] = '\x34';       // another command
  messages[8 + 1] = '\0';     // no device
  messages[24 + 1] = '\x09';  // too late

  for (const char byte : messages) {
    farEnd.write(std::string(1, byte));
  }

  EXPECT_EQ(decoded(farEnd.readAll()).devId, 5);
  EXPECT_EQ(wait().status, velctl::kExitDone);
}

TEST_F(PenReplayToPeerTest, KeepsThePausesOfTheRecording) {
  const std::string move = R"({"event": "move", "x": 1, "y": 2, "ms": 300})"
                           "\n";
  start(kPress + repeated(move, 3));
  PortPeer farEnd = accept();
  ASSERT_TRUE(farEnd);
  const auto begin = std::chrono::steady_clock::now();

  farEnd.write(kDeviceNumber5);

  EXPECT_EQ(farEnd.readAll().size(), 4 * penframe::kFrameSize);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(900));
  EXPECT_EQ(wait().status, velctl::kExitDone);
}

TEST_F(PenReplayToPeerTest, SkipsThePausesAtOnce) {
  // More than the test waits for.
  start(kPress + repeated(kMoveAfterALongPause, kPatienceSeconds), {"--at-once"});
  PortPeer farEnd = accept();
  ASSERT_TRUE(farEnd);

  farEnd.write(kDeviceNumber5);

  EXPECT_EQ(farEnd.readAll().size(), (1 + kPatienceSeconds) * penframe::kFrameSize);
  EXPECT_EQ(wait().status, velctl::kExitDone);
}

TEST_F(PenReplayToPeerTest, FailsWithoutADeviceNumber) {
  start(kPress, {"--wait", "1", "--json"});
  PortPeer farEnd = accept();
  ASSERT_TRUE(farEnd);
  farEnd.write(kDeviceNumber5.substr(0, 7));

  const Finished failed = wait();

  EXPECT_EQ(failed.status, velctl::kExitNoReply);
  EXPECT_EQ(kindOfFailure(failed), "no-reply");
  EXPECT_EQ(failed.err, "velctl: pen replay: " + port() +
                            ": the far end has not given the pen a device number within 1 s; "
                            "--wait waits longer\n");
  EXPECT_EQ(farEnd.readAll(), "");
}

TEST_F(PenReplayToPeerTest, FailsWhenThePortTakesNothing) {
  start(repeated(kPress, kMoreThanASocketHolds), {"--wait", "1", "--json"});
  PortPeer farEnd = accept();
  ASSERT_TRUE(farEnd);
  farEnd.write(kDeviceNumber5);

  const Finished failed = wait();

  EXPECT_EQ(failed.status, velctl::kExitNoReply);
  EXPECT_THAT(failed.err, HasSubstr(": the port has taken nothing for 1 s; --wait waits longer; "));
  const json report = firstIn(failed);
  EXPECT_EQ(report["events"], kMoreThanASocketHolds);
  EXPECT_EQ(report["frames"], farEnd.readAll().size() / penframe::kFrameSize);
}

TEST_F(PenReplayToPeerTest, ReportsAPortThatIsClosedBeforeTheStroke) {
  start(kPress);
  PortPeer farEnd = accept();
  ASSERT_TRUE(farEnd);

  farEnd.close();
  const Finished failed = wait();

  EXPECT_EQ(failed.status, velctl::kExitNoReply);
  EXPECT_THAT(failed.out, IsEmpty());
  EXPECT_EQ(failed.err, "velctl: pen replay: " + port() + ": the far end has closed the port\n");
}

TEST_F(PenReplayToPeerTest, ReportsTheProgressWhenThePortIsClosedInAPause) {
  start(std::string(kPress) + kMoveAfterALongPause, {"--json"});
  PortPeer farEnd = accept();
  ASSERT_TRUE(farEnd);
  farEnd.write(kDeviceNumber5);
  EXPECT_EQ(farEnd.read(penframe::kFrameSize).size(), penframe::kFrameSize);

  farEnd.close();
  const Finished failed = wait();

  EXPECT_EQ(failed.status, velctl::kExitNoReply);
  EXPECT_EQ(firstIn(failed), json({{"file", folder() + "/stroke.jsonl"},
                                   {"port", port()},
                                   {"device", 5},
                                   {"events", 2},
                                   {"frames", 1}}));
  EXPECT_EQ(failed.err, "velctl: pen replay: " + port() +
                            ": the far end has closed the port; 1 frame sent of 2\n");
}

TEST_F(PenReplayToPeerTest, APortThatIsClosedDuringAWriteDoesNotEndTheProcess) {
  start(repeated(kPress, kMoreThanASocketHolds));
  PortPeer farEnd = accept();
  ASSERT_TRUE(farEnd);
  farEnd.write(kDeviceNumber5);
  EXPECT_EQ(farEnd.read(penframe::kFrameSize).size(), penframe::kFrameSize);

  farEnd.close();
  const Finished failed = wait();

  EXPECT_EQ(failed.status, velctl::kExitNoReply);
  EXPECT_THAT(failed.err, HasSubstr(": the far end has closed the port; "));
}

TEST_F(PenReplayToPeerTest, LiftsThePenWhenInterrupted) {
  for (const int signal : {SIGINT, SIGTERM}) {
    start(std::string(kPress) + kMoveAfterALongPause, {"--json"});
    PortPeer farEnd = accept();
    ASSERT_TRUE(farEnd);
    farEnd.write(kDeviceNumber5);
    EXPECT_EQ(penframe::flagsText(decoded(farEnd.read(penframe::kFrameSize)).packet.flags),
              kPressed);

    replay().signal(signal);

    EXPECT_EQ(penframe::describe(decoded(farEnd.readAll())),
              "frame 2  device 5  x 11  y -3  pressure 0/1024  rotation 0.0  tilt 7 0  "
              "INRANGE|PRIMARY|CONFIDENCE|UPDATE");
    const Finished interrupted = wait();
    EXPECT_EQ(interrupted.status, velctl::kExitInterrupted);
    EXPECT_EQ(firstIn(interrupted)["frames"], 2);
    EXPECT_EQ(kindOfFailure(interrupted), "interrupted");
    EXPECT_EQ(interrupted.err, "velctl: pen replay: interrupted; 2 frames sent of 2\n");
  }
}

TEST_F(PenReplayToPeerTest, LiftsThePenWhenItsTimeIsOver) {
  std::string sent;
  const Finished finished = processes::endedInItsMidst(
      [&](const std::string& seconds) {
        start(std::string(kPress) + kMoveAfterALongPause, {"--json", "--timeout", seconds});
        if (PortPeer farEnd = acceptWhileItRuns()) {
          farEnd.write(kDeviceNumber5);
          sent = farEnd.readAll();
        }
        return wait();
      },
      [&sent](const Finished& /*finished*/) { return !sent.empty(); });

  EXPECT_EQ(sent.size(), 2 * penframe::kFrameSize);
  EXPECT_EQ(finished.status, velctl::kExitNoReply);
  EXPECT_EQ(finished.err,
            "velctl: pen replay: not done within the time of --timeout; 2 frames "
            "sent of 2\n");
}

TEST_F(PenReplayToPeerTest, HasNothingToLiftWhenThePenIsUp) {
  start(R"({"event": "move", "x": 1, "y": 2, "ms": 0})"
        "\n" +
        std::string(kMoveAfterALongPause));
  PortPeer farEnd = accept();
  ASSERT_TRUE(farEnd);
  farEnd.write(kDeviceNumber5);
  farEnd.read(penframe::kFrameSize);

  replay().signal(SIGINT);

  EXPECT_EQ(farEnd.readAll(), "");
  EXPECT_EQ(wait().status, velctl::kExitInterrupted);
}

TEST_F(PenReplayToPeerTest, CanBeInterruptedWhileItWaitsForTheDeviceNumber) {
  start(kPress, {"--wait", "600"});
  PortPeer farEnd = accept();
  ASSERT_TRUE(farEnd);

  const Finished interrupted = replay().end(SIGINT);

  EXPECT_EQ(interrupted.status, velctl::kExitInterrupted);
  EXPECT_THAT(interrupted.out, IsEmpty());
  EXPECT_EQ(interrupted.err, "velctl: pen replay: interrupted before the stroke began\n");
}

TEST_F(PenReplayToPeerTest, CanBeInterruptedWhileThePortTakesNothing) {
  start(repeated(kPress, kMoreThanASocketHolds), {"--wait", "600"});
  PortPeer farEnd = accept();
  ASSERT_TRUE(farEnd);
  farEnd.write(kDeviceNumber5);
  EXPECT_EQ(farEnd.read(penframe::kFrameSize).size(), penframe::kFrameSize);

  const Finished interrupted = replay().end(SIGINT);

  EXPECT_EQ(interrupted.status, velctl::kExitInterrupted);
  EXPECT_THAT(interrupted.err, HasSubstr("velctl: pen replay: interrupted; "));
}

TEST_F(PenReplayToPeerTest, TheLibraryLogsWhenAskedTo) {
  start(kPress, {"--verbose"});
  PortPeer farEnd = accept();
  ASSERT_TRUE(farEnd);

  farEnd.write(kDeviceNumber5);

  EXPECT_EQ(wait().status, velctl::kExitDone);
  std::ifstream log(folder() + "/data/velproxy.log");
  EXPECT_THAT(std::string(std::istreambuf_iterator<char>(log), {}),
              HasSubstr("size:194, devId:5,cmd: 2000, reqId:1,type:92,"));
}

TEST_F(PenReplayToPeerTest, ReportsThatStandardOutputCannotBeWritten) {
  Process::Options options = velctlOptions(replayOf(strokeFile(kPress)));
  options.isOutClosed = true;
  Process replay(options);
  PortPeer farEnd = accept();
  ASSERT_TRUE(farEnd);

  farEnd.write(kDeviceNumber5);

  EXPECT_EQ(farEnd.readAll().size(), penframe::kFrameSize);
  EXPECT_EQ(replay.wait().status, velctl::kExitOutputLost);
}

// --- Without a far end ---------------------------------------------------------------------------

class PenReplayWithoutPortTest : public PenReplayTest {
 protected:
  void expectUnreachable(const std::string& reason) const {
    const Finished failed = velctl(replayOf(RECORDED_STROKE, {"--json"}));

    EXPECT_EQ(failed.status, velctl::kExitNoService);
    EXPECT_EQ(kindOfFailure(failed), "no-service");
    EXPECT_EQ(failed.err, "velctl: pen replay: " + port() +
                              ": the port cannot be reached: " + reason +
                              "; start its listener, or velsim --pen-port to try without "
                              "hardware\n");
  }
};

TEST_F(PenReplayWithoutPortTest, ReportsAMissingSocket) {
  expectUnreachable("No such file or directory");
}

TEST_F(PenReplayWithoutPortTest, ReportsASocketWithoutAListener) {
  startVelsim({"--pen-port", port()});
  killVelsim();

  expectUnreachable("Connection refused");

  EXPECT_TRUE(std::filesystem::is_socket(port()));
}

TEST_F(PenReplayWithoutPortTest, ReportsTheMistakeInTheStroke) {
  struct Row {
    std::string text;
    std::string error;
  };
  const Row rows[] = {
      {"", ": no events in it\n"},
      {"\n\n", ": no events in it\n"},
      {std::string(kPress) + "{\n", ":2: not JSON at column "},
      {std::string(kPress) + "\n" + R"({"event": "jump", "x": 1, "y": 2})",
       R"(:3: "event" is "jump", not "enter", )"},
      {R"({"event": "move", "x": 1})", ":1: no \"y\"\n"},
      {R"({"event": "move", "x": 1, "y": 2, "pressure": 2})",
       ":1: \"pressure\" is 2, not a number from 0 to 1\n"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.error);

    // Reported before the port is looked for, which does not exist.
    const Finished refused = velctl(replayOf(strokeFile(row.text), {"--json"}));

    EXPECT_EQ(refused.status, velctl::kExitUsage);
    EXPECT_EQ(kindOfFailure(refused), "usage");
    EXPECT_THAT(refused.err, HasSubstr("velctl: " + folder() + "/stroke.jsonl" + row.error));
  }
}

TEST_F(PenReplayWithoutPortTest, ReportsAStrokeThatCannotBeRead) {
  const Finished missing = velctl(replayOf(folder() + "/nosuch"));
  const Finished directory = velctl(replayOf(folder()));

  EXPECT_EQ(missing.status, velctl::kExitUsage);
  EXPECT_EQ(missing.err,
            "velctl: " + folder() + "/nosuch: cannot be opened: No such file or directory\n");
  EXPECT_EQ(directory.status, velctl::kExitUsage);
  EXPECT_THAT(directory.err, HasSubstr("velctl: " + folder() + ": "));
}

TEST_F(PenReplayWithoutPortTest, RefusesWrongCommandLines) {
  struct Row {
    std::vector<std::string> arguments;
    std::string error;
  };
  const std::string longPath = folder() + "/" + std::string(200, 'x');
  const Row rows[] = {
      {{"pen"}, "velctl pen: a command is missing; see velctl pen --help\n"},
      {{"pen", "replay"}, "velctl pen replay: FILE is required; "},
      {{"pen", "replay", "a"}, "velctl pen replay: --port is required; "},
      {{"pen", "replay", "a", "--port", ""}, "--port: must not be empty; "},
      {{"pen", "replay", "a", "--port", longPath},
       "--port: " + longPath + ": the path of a socket has at most "},
      {{"pen", "replay", "a", "--port", "b", "--wait", "soon"},
       "--wait: \"soon\" must be a number of seconds"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.error);

    const Finished refused = velctl(row.arguments);

    EXPECT_EQ(refused.status, velctl::kExitUsage);
    EXPECT_THAT(refused.out, IsEmpty());
    EXPECT_THAT(refused.err, HasSubstr(row.error));
    EXPECT_EQ(replayLines(refused.err).size(), 1u);
  }
}

}  // namespace
}  // namespace end_to_end
