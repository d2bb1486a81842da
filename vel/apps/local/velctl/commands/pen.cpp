// velctl pen: what a pen does, on its port. This needs no bus.

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "pen/pen_frame.h"
#include "pen/port_socket.h"
#include "pen/stroke_file.h"
#include "platform/app_data_path.h"
#include "platform/log.h"
#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/elapsed_time.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/interruption.h"
#include "vel/apps/local/velctl/port_connection.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace velctl {
namespace {

using Clock = PortConnection::Clock;

// The library takes a port for the pen's when its name contains "space.port.2".
constexpr char kPortName[] = "velctl.space.port.2";
constexpr int kTabletInput = 0;
constexpr int kOwnPosition = -1;

struct Given {
  std::string file;
  std::string port;
  bool isAtOnce = false;
  unsigned int waitSeconds = 5;
};

std::string counted(std::size_t number, const std::string& what) {
  return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

std::vector<stroke::Event> eventsIn(const std::string& file) {
  try {
    return stroke::readFile(file);
  } catch (const stroke::FileError& error) {
    throw Failure(kExitUsage, error.what());
  }
}

// A stroke on its way through the library to the port.
class Replay {
 public:
  Replay(const Given& given, std::vector<stroke::Event> events)
      : given_(given),
        events_(std::move(events)),
        connection_(given.port, std::chrono::seconds(given.waitSeconds),
                    [this](PortConnection::Message& message) { take(message); }) {
    proxy_.PortInit(kPortName, true,
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
    const std::chrono::seconds patience(given_.waitSeconds);
    const bool isKnown = withElapsedTime("waiting for the device number of the pen", patience, [&] {
      return connection_.waitFor([this] { return devId_ != 0; }, Clock::now() + patience);
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
      // A far end that has closed the port is noticed here.
      connection_.waitFor([] { return false; }, due);
      send(event);
      connection_.flush();
      sent_ = written_;
    }
    connection_.waitFor([] { return false; }, Clock::now());
  }

  // A far end that is told nothing more would have the pen pressed for ever.
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
    return given_.file + ": " + counted(sent_, "frame") + " sent to " + given_.port +
           " for device " + std::to_string(devId_);
  }

  Json json() const {
    return {{"file", given_.file},
            {"port", given_.port},
            {"device", devId_},
            {"events", events_.size()},
            {"frames", sent_}};
  }

  // How far it has come.
  std::string progress() const {
    return counted(sent_, "frame") + " sent of " + std::to_string(events_.size());
  }

 private:
  void take(PortConnection::Message& message) {
    proxy_.PortData(kPortName, message.data(), static_cast<unsigned int>(message.size()));
    if (devId_ == 0) {
      devId_ = penframe::deviceNumberIn(message);
    }
  }

  void send(const stroke::Event& event) {
    QTabletEvent tablet = event.toTablet();
    proxy_.SendPenData("", &tablet, kTabletInput, kOwnPosition, kOwnPosition);
    isDown_ = event.type == QEvent::TabletPress || (isDown_ && event.type != QEvent::TabletRelease);
    last_ = event;
  }

  const Given& given_;
  const std::vector<stroke::Event> events_;
  PortConnection connection_;
  qx::VelProxy proxy_;  // of its own, and never connected: pen input needs no bus
  unsigned int devId_ = 0;
  bool isDown_ = false;
  stroke::Event last_;
  std::size_t written_ = 0;  // frames that the library has made
  std::size_t sent_ = 0;     // those that the port has taken
};

void play(const Output& output, Replay& replay) {
  const std::string what = "pen replay: ";
  try {
    replay.connect();
  } catch (const Interrupted&) {
    throw Failure(kExitInterrupted, what + "interrupted before the stroke began");
  } catch (const Failure& failure) {
    throw Failure(failure.code(), what + failure.what());
  }
  try {
    replay.play();
  } catch (const Interrupted&) {
    replay.lift();
    output.json(replay.json());
    throw Failure(kExitInterrupted, what + "interrupted; " + replay.progress());
  } catch (const Failure& failure) {
    output.json(replay.json());
    throw Failure(failure.code(), what + failure.what() + "; " + replay.progress());
  }
  output.line(replay.text(), replay.json());
}

void replay(const Output& output, const Given& given) {
  // The library opens its log when it connects to the bus, which is not done here.
  pellamLogInit(GetAppDataPath().c_str());
  Replay replay(given, eventsIn(given.file));
  const Interruption interruption([&replay] { replay.interrupt(); });
  play(output, replay);
}

}  // namespace

void addPenCommands(CommandLine& commandLine) {
  const ParserCommand group =
      commandLine.group("pen", "What a pen does, on its port; needs no service");

  const auto [command, given] =
      addCommand(commandLine, group, "replay", "Play a recorded stroke on the pen port", replay);
  command.addOption("file", given.file, "The stroke: an event per line, each a JSON object")
      .required();
  command.addOption("--port", given.port, "The port: path of a Unix stream socket")
      .required()
      .check(penport::pathFault)
      .typeName("PATH");
  command.addFlag("--at-once", given.isAtOnce, "Leave out the pauses of the recording");
  addNumber(command, "--wait", given.waitSeconds,
            "Seconds that the port may take to give the pen a device number, or to take a frame "
            "[5]");
}

}  // namespace velctl
