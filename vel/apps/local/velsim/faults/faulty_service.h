// The boundary between a simulator and the bus, where its faults show: answers and events pass
// through it as values. Simulator and methods know nothing of faults.
//
// THREADS   Any thread may call. Answers are given on the thread of the request, of the simulator's
//           clock, or of this object's own.

#ifndef VEL_APPS_LOCAL_VELSIM_FAULTS_FAULTY_SERVICE_H
#define VEL_APPS_LOCAL_VELSIM_FAULTS_FAULTY_SERVICE_H

#include <functional>
#include <memory>
#include <string>
#include <variant>

#include "bus/dbus/value.h"
#include "platform/mutex.h"
#include "vel/apps/local/velsim/faults/faults.h"
#include "vel/apps/local/velsim/service/simulator.h"
#include "vel/apps/local/velsim/service/timer_thread.h"

namespace velsim {

// An answer as it goes to the bus.
struct FaultyAnswer {
  // A reply of one value of this D-Bus type, in place of the list.
  struct OtherType {
    std::string signature;
    qxbus::Values values;
  };
  struct None {};

  std::variant<qxbus::Values, Simulator::Error, OtherType, None> content;
  std::string faults;  // for the log; empty: nothing went wrong
};

class FaultyService {
 public:
  // What a death needs of the process. Both may be called on any thread.
  struct Process {
    std::function<void()> flush;  // waits until what was sent is out
    std::function<void()> die;    // as a crash; returns in tests only
  };
  using Respond = std::function<void(const FaultyAnswer& answer)>;

  // The three must outlive it.
  FaultyService(Simulator& simulator, Faults& faults, Process process);
  // As stop().
  ~FaultyService();

  FaultyService(const FaultyService&) = delete;
  FaultyService& operator=(const FaultyService&) = delete;

  // As those of the simulator, with faults. Respond is called at most once.
  void answer(const std::string& method, const qxbus::Values& arguments, Respond respond);
  // From any thread, also several at once.
  void setEventSink(Simulator::EventSink sink);
  // Answers that are not given yet are not given any more, and no event is sent. Waits for those
  // that are being given, so not from inside one.
  void stop();

 private:
  // Outlives the service: the simulator keeps requests that it answers later.
  struct Gate {
    platform::Mutex mutex;
    bool isOpen QX_GUARDED_BY(mutex) = true;
  };

  void deliver(const Treatment& treatment, const std::string& method,
               const Simulator::Answer& given, const Respond& respond);
  void startFloods(const Treatment& treatment);
  // step: of kFloodStep each, since the flood began
  void flood(int fault, std::uint64_t perSecond, std::uint64_t step);
  void send(const BusEvent& event);

  Simulator& simulator_;
  Faults& faults_;
  const Process process_;
  const std::shared_ptr<Gate> gate_ = std::make_shared<Gate>();
  platform::Mutex mutex_;
  std::shared_ptr<const Simulator::EventSink> sink_ QX_GUARDED_BY(mutex_);
  // Real time, also beside a simulator whose clock is stepped: clients wait in real time.
  TimerThread timer_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_FAULTS_FAULTY_SERVICE_H
