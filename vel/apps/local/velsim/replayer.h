// A recorded service on a bus.

#ifndef VEL_APPS_LOCAL_VELSIM_REPLAYER_H
#define VEL_APPS_LOCAL_VELSIM_REPLAYER_H

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bus/dbus/service_host.h"
#include "platform/mutex.h"
#include "vel/apps/local/velsim/exit_codes.h"
#include "vel/apps/local/velsim/log.h"
#include "vel/apps/local/velsim/recording/player.h"
#include "vel/apps/local/velsim/replay.h"
#include "vel/apps/local/velsim/service/timer_thread.h"

namespace velsim {

class Replayer {
 public:
  // fail       is called, once and on any thread, when the replay must end; the log has the reason
  //
  // Throws std::runtime_error when the bus cannot be reached or the name is taken.
  Replayer(const ReplayOptions& options, std::vector<RecordedLine> lines, Log& log,
           std::function<void(ExitCode)> fail);
  ~Replayer();

  Replayer(const Replayer&) = delete;
  Replayer& operator=(const Replayer&) = delete;

  // Whether a request has differed from the recording; the log has the first.
  bool hasDiffered();
  // Recorded calls that no request has repeated.
  std::size_t rest();

 private:
  std::unique_ptr<qxbus::ServiceHost> makeHost();
  void onRequest(qxbus::Request request);
  void plan(std::chrono::microseconds after, const RecordedLine* line);
  // On the thread of the timer.
  void perform(const RecordedLine& line);
  void answer(const RecordedLine& line);
  void emit(const RecordedLine& line);
  void vanish();
  void appear();

  const std::string address_;
  const double speed_;
  Log& log_;
  const std::function<void(ExitCode)> fail_;

  platform::Mutex mutex_;
  Player player_ QX_GUARDED_BY(mutex_);
  bool hasDiffered_ QX_GUARDED_BY(mutex_) = false;
  std::map<std::uint64_t, qxbus::Request> waiting_ QX_GUARDED_BY(mutex_);  // by id of the call

  TimerThread timer_;
  std::unique_ptr<qxbus::ServiceHost> host_;  // of the timer's thread
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_REPLAYER_H
