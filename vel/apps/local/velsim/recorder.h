// Passes calls of clients on to a service, and its answers and events back, and records them. While
// the service is away, clients find none here either.

#ifndef VEL_APPS_LOCAL_VELSIM_RECORDER_H
#define VEL_APPS_LOCAL_VELSIM_RECORDER_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bus/dbus/service_client.h"
#include "bus/dbus/service_host.h"
#include "platform/mutex.h"
#include "vel/apps/local/velsim/exit_codes.h"
#include "vel/apps/local/velsim/log.h"
#include "vel/apps/local/velsim/recording/recording_file.h"

namespace velsim {

class Recorder {
 public:
  // service    the address at which the service is; clients: at which they find it here
  // fail       is called, once and on any thread, when recording must end; the log has the reason
  Recorder(std::string service, std::string clients, RecordingWriter& writer, Log& log,
           std::function<void(ExitCode)> fail);
  // Clients see the service go. Answers that have not come are not recorded.
  ~Recorder();

  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

 private:
  using Clock = std::chrono::steady_clock;
  struct Asked {
    qxbus::Request request;
    std::chrono::microseconds time;
  };

  void run();
  // False: the service is away, or the recorder has failed.
  bool open();
  void close();
  void onRequest(qxbus::Request request);
  void onAnswer(std::uint64_t id, const qxbus::ServiceReply& reply);
  void onEvent(const std::string& name, bool isBroadcast, const qxbus::Values& values);
  void append(RecordedLine line);
  void fail(ExitCode status, const std::string& reason);

  const std::string service_;
  const std::string clients_;
  RecordingWriter& writer_;
  Log& log_;
  const std::function<void(ExitCode)> fail_;

  platform::Mutex hostMutex_;
  std::unique_ptr<qxbus::ServiceHost> host_ QX_GUARDED_BY(hostMutex_);
  // Changed while there is no host, whose handlers use it.
  std::unique_ptr<qxbus::ServiceClient> client_;

  platform::Mutex mutex_;
  platform::Condition changed_;
  bool isGone_ QX_GUARDED_BY(mutex_) = false;  // the instance in use
  bool isStopping_ QX_GUARDED_BY(mutex_) = false;
  bool hasFailed_ QX_GUARDED_BY(mutex_) = false;
  std::map<std::uint64_t, Asked> asked_ QX_GUARDED_BY(mutex_);
  std::uint64_t lastId_ QX_GUARDED_BY(mutex_) = 0;

  std::thread thread_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_RECORDER_H
