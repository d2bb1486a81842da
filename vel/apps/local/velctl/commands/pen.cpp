// velctl pen: pen input on a pen port. Needs no bus.

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "base/printable.h"
#include "base/text.h"
#include "base/unix_socket.h"
#include "pen/pen_frame.h"
#include "pen/stroke_file.h"
#include "platform/app_data_path.h"
#include "platform/log.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/commands/port_connection.h"
#include "vel/apps/local/velctl/output/text_forms.h"
#include "vel/apps/local/velctl/run/actions.h"

namespace velctl {
namespace {

using Clock = PortConnection::Clock;

// The library takes a port for the pen's when its name contains "space.port.2".
constexpr char kPortName[] = "velctl.space.port.2";

std::vector<stroke::Event> eventsIn(const std::string& file) {
  try {
    return stroke::readFile(file);
  } catch (const stroke::FileError& error) {
    throw Failure(kExitUsage, base::printable(error.what()));
  }
}

// Sends a stroke through the library to the port.
class Replay {
 public:
  Replay(Session& session, const Values& values, std::vector<stroke::Event> events)
      : values_(values),
        isQuiet_(session.output().isQuiet()),
        events_(std::move(events)),
        connection_(session, values.text("--port"), values.duration("--wait"),
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

  // Throws Failure, Interrupted and TimeOver, as play().
  void connect() {
    const std::chrono::milliseconds limit = values_.duration("--wait");
    Progress progress("waiting for the device number of the pen",
                      std::chrono::ceil<std::chrono::seconds>(limit), isQuiet_);
    connection_.connect(progress);
    const bool isKnown =
        connection_.waitFor([this] { return devId_ != 0; }, progress, Clock::now() + limit);
    if (!isKnown) {
      throw Failure(kExitNoReply, printablePort() +
                                      ": the far end has not given the pen a device "
                                      "number within " +
                                      values_.text("--wait") + " s; --wait waits longer");
    }
  }

  void play() {
    Progress progress("replaying the stroke", std::chrono::seconds(0), isQuiet_);
    Clock::time_point due = Clock::now();
    for (const stroke::Event& event : events_) {
      due += std::chrono::milliseconds(values_.has("--at-once") ? 0 : event.ms);
      // Fails when the far end has closed the port.
      connection_.waitFor([] { return false; }, progress, due);
      send(event);
      connection_.flush(progress);
      sent_ = written_;
    }
    connection_.waitFor([] { return false; }, progress, Clock::now());
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
    return base::printable(values_.text("FILE")) + ": " + base::counted(sent_, "frame") +
           " sent to " + printablePort() + " for device " + std::to_string(devId_);
  }

  Json json() const { return {{"device", devId_}, {"events", events_.size()}, {"frames", sent_}}; }

  std::string progress() const {
    return base::counted(sent_, "frame") + " sent of " + std::to_string(events_.size());
  }

 private:
  std::string printablePort() const { return base::printable(values_.text("--port")); }

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

  const Values& values_;
  const bool isQuiet_;
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

constexpr char kPrefix[] = "pen replay: ";
constexpr char kTimeOver[] = "not done within the time of --timeout";

// Throws the Failure for the end of a stroke in its middle.
[[noreturn]] void failAfter(const Invocation& invocation, const Replay& replay, ExitCode code,
                            const std::string& reason) {
  invocation.output().json(invocation.answered(replay.json()));
  throw Failure(code, kPrefix + reason + "; " + replay.progress());
}

void replayStroke(Invocation& invocation) {
  // The library opens its log when it connects to the bus.
  pellamLogInit(GetAppDataPath().c_str());
  const Values& values = invocation.values();
  Replay replay(invocation.session(), values, eventsIn(values.text("FILE")));
  try {
    replay.connect();
  } catch (const Interrupted&) {
    throw Failure(kExitInterrupted, std::string(kPrefix) + "interrupted before the stroke began");
  } catch (const TimeOver&) {
    throw Failure(kExitNoReply, std::string(kPrefix) + kTimeOver);
  } catch (const Failure& failure) {
    throw Failure(failure.code(), std::string(kPrefix) + failure.what());
  }
  try {
    replay.play();
  } catch (const Interrupted&) {
    replay.lift();
    failAfter(invocation, replay, kExitInterrupted, "interrupted");
  } catch (const TimeOver&) {
    replay.lift();
    failAfter(invocation, replay, kExitNoReply, kTimeOver);
  } catch (const Failure& failure) {
    failAfter(invocation, replay, failure.code(), failure.what());
  }
  invocation.finishWith(replay.text(), replay.json());
}

}  // namespace

std::vector<Command> penCommands() {
  return {
      {"pen replay",
       "Replay a recorded stroke on the pen port",
       {path("FILE", "File with the stroke: one JSON object per line, one event each"),
        path("--port", "Path of the port, a Unix stream socket")
            .required()
            .checked(&base::pathFault),
        flag("--at-once", "Skip the pauses of the recording").silent(),
        seconds("--wait", "5",
                "Seconds to wait for the device number of the pen, or until the port takes a "
                "frame")},
       runs("", &replayStroke,
            {{"device", Type::kInteger}, {"events", Type::kInteger}, {"frames", Type::kInteger}}),
       {{"pen replay pen.jsonl --port /tmp/pen", "As recorded"},
        {"pen replay pen.jsonl --port /tmp/pen --at-once", "Without the pauses"}},
       "An interrupt and --timeout lift the pen before they end the stroke."},
  };
}

}  // namespace velctl
