// velctl pen: pen input on a pen port. Needs no bus.

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "base/text.h"
#include "base/unix_socket.h"
#include "pen/pen_frame.h"
#include "pen/stroke_file.h"
#include "platform/app_data_path.h"
#include "platform/log.h"
#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/elapsed_time.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/interruption.h"
#include "vel/apps/local/velctl/port_connection.h"
#include "vel/client/client.h"

namespace velctl {
namespace {

using Clock = PortConnection::Clock;

// The library takes a port for the pen's when its name contains "space.port.2".
constexpr char kPortName[] = "velctl.space.port.2";

struct ReplayArguments {
  std::string file;
  std::string port;
  bool isAtOnce = false;
  unsigned int waitSeconds = 5;
};

std::vector<stroke::Event> eventsIn(const std::string& file) {
  try {
    return stroke::readFile(file);
  } catch (const stroke::FileError& error) {
    throw Failure(kExitUsage, error.what());
  }
}

// Sends a stroke through the library to the port.
class Replay {
 public:
  Replay(const ReplayArguments& given, std::vector<stroke::Event> events)
      : given_(given),
        events_(std::move(events)),
        connection_(given.port, std::chrono::seconds(given.waitSeconds),
                    [this](PortConnection::Message& message) { take(message); }) {
    client_.openPort(kPortName, true,
                     [this](const std::string&, unsigned int length, unsigned char* bytes) {
                       connection_.add(bytes, length);
                       ++written_;
                       return length;
                     });
  }

  Replay(const Replay&) = delete;
  Replay& operator=(const Replay&) = delete;

  void interrupt() const { connection_.interrupt(); }

  // Throws Failure and Interrupted.
  void connect() {
    connection_.connect();
    const std::chrono::seconds limit(given_.waitSeconds);
    const bool isKnown = withElapsedTime("waiting for the device number of the pen", limit, [&] {
      return connection_.waitFor([this] { return devId_ != 0; }, Clock::now() + limit);
    });
    if (!isKnown) {
      throw Failure(kExitNoAnswer, given_.port +
                                       ": the far end has not given the pen a device "
                                       "number within " +
                                       std::to_string(given_.waitSeconds) +
                                       " s; --wait waits longer");
    }
  }

  // Throws Failure and Interrupted.
  void play() {
    Clock::time_point due = Clock::now();
    for (const stroke::Event& event : events_) {
      due += std::chrono::milliseconds(given_.isAtOnce ? 0 : event.ms);
      // Fails when the far end has closed the port.
      connection_.waitFor([] { return false; }, due);
      send(event);
      connection_.flush();
      sent_ = written_;
    }
    connection_.waitFor([] { return false; }, Clock::now());
  }

  // Ends the stroke: for the far end the pen would remain pressed.
  void lift() {
    if (!isDown_) {
      return;
    }
    stroke::Event release = last_;
    release.type = QEvent::TabletRelease;
    release.pressure = 0;
    send(release);
    if (connection_.flushNow()) {
      sent_ = written_;
    }
  }

  std::string text() const {
    return given_.file + ": " + base::counted(sent_, "frame") + " sent to " + given_.port +
           " for device " + std::to_string(devId_);
  }

  Json json() const {
    return {{"file", given_.file},
            {"port", given_.port},
            {"device", devId_},
            {"events", events_.size()},
            {"frames", sent_}};
  }

  std::string progress() const {
    return base::counted(sent_, "frame") + " sent of " + std::to_string(events_.size());
  }

 private:
  void take(PortConnection::Message& message) {
    static_cast<void>(client_.receivePortData(kPortName, {message.begin(), message.end()}));
    if (devId_ == 0) {
      devId_ = penframe::deviceNumberIn(message);
    }
  }

  void send(const stroke::Event& event) {
    QTabletEvent tablet = event.toTablet();
    static_cast<void>(client_.sendPen(tablet));
    isDown_ = event.type == QEvent::TabletPress || (isDown_ && event.type != QEvent::TabletRelease);
    last_ = event;
  }

  const ReplayArguments& given_;
  const std::vector<stroke::Event> events_;
  PortConnection connection_;
  qx::VelProxy proxy_;  // never connected: pen input needs no bus
  vel::Client client_{proxy_};
  unsigned int devId_ = 0;
  bool isDown_ = false;
  stroke::Event last_;
  std::size_t written_ = 0;  // frames from the library
  std::size_t sent_ = 0;     // frames that the port has taken
};

void play(const Output& output, Replay& replay) {
  const std::string prefix = "pen replay: ";
  try {
    replay.connect();
  } catch (const Interrupted&) {
    throw Failure(kExitInterrupted, prefix + "interrupted before the stroke began");
  } catch (const Failure& failure) {
    throw Failure(failure.code(), prefix + failure.what());
  }
  try {
    replay.play();
  } catch (const Interrupted&) {
    replay.lift();
    output.json(replay.json());
    throw Failure(kExitInterrupted, prefix + "interrupted; " + replay.progress());
  } catch (const Failure& failure) {
    output.json(replay.json());
    throw Failure(failure.code(), prefix + failure.what() + "; " + replay.progress());
  }
  output.line(replay.text(), replay.json());
}

void replay(const Output& output, const ReplayArguments& given) {
  // The library opens its log when it connects to the bus.
  pellamLogInit(GetAppDataPath().c_str());
  Replay replay(given, eventsIn(given.file));
  const Interruption interruption([&replay] { replay.interrupt(); });
  play(output, replay);
}

}  // namespace

void addPenCommands(CommandLine& commandLine) {
  const ParserCommand group = commandLine.group("pen", "Pen input on a pen port; needs no service");

  const auto [command, given] =
      addCommand(commandLine, group, "replay", "Replay a recorded stroke on the pen port", replay);
  command
      .addOption("file", given.file,
                 "File with the stroke: one JSON object per line, one event each")
      .required();
  command.addOption("--port", given.port, "Path of the port, a Unix stream socket")
      .required()
      .check(base::pathFault)
      .typeName("PATH");
  command.addFlag("--at-once", given.isAtOnce, "Skip the pauses of the recording");
  addNumber(
      command, "--wait", given.waitSeconds,
      "Seconds to wait for the device number of the pen, or until the port takes a frame [5]");
}

}  // namespace velctl
