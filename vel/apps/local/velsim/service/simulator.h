// The simulated service: answers the requests of the bus methods from the state of the simulated
// machine, and sends its events.
//
// Each method is a row: its name in vel/protocol/methods.h, and a function that may rely on the
// arguments stated there. The rows of one kind of peripheral stand together in one source file.
//
// THREADS   Any thread may call. Requests, changes and planned actions run one at a time; answers
//           and events are passed on in that order, by functions that must not call the simulator.

#ifndef VEL_APPS_LOCAL_VELSIM_SERVICE_SIMULATOR_H
#define VEL_APPS_LOCAL_VELSIM_SERVICE_SIMULATOR_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "bus/dbus/value.h"
#include "platform/mutex.h"
#include "vel/apps/local/velsim/machine/machine_state.h"
#include "vel/apps/local/velsim/service/bus_events.h"
#include "vel/apps/local/velsim/service/scheduler.h"
#include "vel/apps/local/velsim/service/signature.h"

namespace velsim {

class CommandRunner;

// An answer that takes its time. Other requests are answered meanwhile.
struct Later {
  std::chrono::milliseconds after;
  // Whether the answer is due before the time is over; evaluated after every change.
  std::function<bool(const MachineState& machine)> isDue;
  std::function<qxbus::Values(MachineState& machine)> answer;
};

using AnswerAtOnce = qxbus::Values (*)(MachineState& machine, const qxbus::Values& arguments);
using AnswerLater = Later (*)(MachineState& machine, const qxbus::Values& arguments);

// Answered by the CommandRunner.
enum class ServiceCommand { kRun, kHelp };

struct MethodRow {
  const char* name;
  std::variant<AnswerAtOnce, AnswerLater, ServiceCommand> answer;
};

// session_methods.cpp: resetting, VM sessions, their pipes, ports and focus, drive tokens.
const std::vector<MethodRow>& sessionMethods();
// device_methods.cpp: devices, network devices, USB devices that clients redirect themselves.
const std::vector<MethodRow>& deviceMethods();
// new_device_methods.cpp: decisions of users about new devices, and commands for storage.
const std::vector<MethodRow>& newDeviceMethods();
// policy_methods.cpp: policies and properties by type, and by vendor and product id.
const std::vector<MethodRow>& policyMethods();
// printer_methods.cpp: printers and network printers.
const std::vector<MethodRow>& printerMethods();
// shared_printer_methods.cpp: printers that other machines share.
const std::vector<MethodRow>& sharedPrinterMethods();
// print_queue_methods.cpp: print queues and their drivers.
const std::vector<MethodRow>& printQueueMethods();
// joystick_methods.cpp
const std::vector<MethodRow>& joystickMethods();
// diagnosis_methods.cpp: diagnoses, self-tests, the camera.
const std::vector<MethodRow>& diagnosisMethods();
// service_command_methods.cpp
const std::vector<MethodRow>& serviceCommandMethods();
// stream_report_methods.cpp: bandwidth and quality.
const std::vector<MethodRow>& streamReportMethods();

// The rows of all these.
std::vector<MethodRow> allMethods();

class Simulator {
 public:
  struct Error {
    std::string text;
  };
  using Answer = std::variant<qxbus::Values, Error>;
  using Respond = std::function<void(const Answer& answer)>;
  using EventSink = std::function<void(const BusEvent& event)>;

  // The machine of the built-in scenario, in real time.
  Simulator();
  explicit Simulator(std::unique_ptr<Scheduler> scheduler);
  // The machine of a scenario.
  Simulator(Setup setup, std::unique_ptr<Scheduler> scheduler);
  ~Simulator();

  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  std::vector<std::string> methods() const;

  // Calls respond once, now or later: with an error, and no change of the machine, when the method
  // is unknown or the arguments do not fit it. Answers that are not due yet when the simulator is
  // destroyed are not given.
  void answer(const std::string& method, const qxbus::Values& arguments, Respond respond);
  // The same, waiting for the answer.
  Answer answer(const std::string& method, const qxbus::Values& arguments);

  // The sink receives the events, beginning with those that have been waiting for one. Without a
  // sink (null) they wait. The events of a request come after its answer.
  void setEventSink(EventSink sink);

  // Runs service commands from now on, and must outlive the simulator or be taken back (null).
  // Without a runner every command is unknown.
  void setCommands(CommandRunner* commands);

  // Changes the machine without a request of a client.
  void change(const std::function<void(MachineState& machine)>& action);
  void read(const std::function<void(const MachineState& machine)>& reader) const;

  // Everything that waits runs on this clock.
  Scheduler& clock() { return *scheduler_; }

 private:
  struct Method {
    Signature takes;
    decltype(MethodRow::answer) answer;
  };
  struct Waiting {
    Later later;
    Respond respond;
  };

  void run(ServiceCommand command, const qxbus::Values& arguments, const Respond& respond);
  void begin(Later later, Respond respond) QX_REQUIRES(mutex_);
  void giveDueAnswers() QX_REQUIRES(mutex_);
  void settle() QX_REQUIRES(mutex_);

  // The same for all simulators.
  static const std::map<std::string, Method>& methodsByName();

  mutable platform::Mutex mutex_;
  MachineState machine_ QX_GUARDED_BY(mutex_);
  CommandRunner* commands_ QX_GUARDED_BY(mutex_) = nullptr;
  EventSink sink_ QX_GUARDED_BY(mutex_);
  std::vector<BusEvent> unsent_ QX_GUARDED_BY(mutex_);
  std::uint64_t lastWaiting_ QX_GUARDED_BY(mutex_) = 0;
  std::map<std::uint64_t, Waiting> waiting_ QX_GUARDED_BY(mutex_);

  const std::unique_ptr<Scheduler> scheduler_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SERVICE_SIMULATOR_H
