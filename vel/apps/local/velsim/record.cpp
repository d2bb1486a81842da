#include "vel/apps/local/velsim/record.h"

#include <atomic>
#include <csignal>
#include <optional>

#include "base/text.h"
#include "vel/apps/local/velsim/log.h"
#include "vel/apps/local/velsim/parent.h"
#include "vel/apps/local/velsim/recorder.h"
#include "vel/apps/local/velsim/stop_signals.h"

namespace velsim {

ExitCode record(const RecordOptions& options) {
  const StopSignals stopSignals;
  // At the limit of a file's size a write then fails, and is reported.
  std::signal(SIGXFSZ, SIG_IGN);
  Log log(options.isQuiet);
  auto writer = RecordingWriter::create(options.file, options.service, options.isWithSecrets);
  if (!writer) {
    log.write(writer.reason());
    return kExitNotWritten;
  }
  std::atomic<ExitCode> status{kExitStopped};
  {
    const Recorder recorder(options.service, options.address, **writer, log,
                            [&status](ExitCode failed) {
                              status = failed;
                              StopSignals::raise();
                            });
    std::optional<Parent> parent;
    if (options.parent >= 0 && status == kExitStopped) {
      parent.emplace(
          options.parent,
          [](const std::string&) {
            return Control::Answer(base::Failed{"a recorder takes no control commands"});
          },
          StopSignals::raise);
    }
    stopSignals.wait();
  }
  if (const auto synced = (*writer)->sync(); !synced) {
    log.write(synced.reason());
    return kExitNotWritten;
  }
  if (status == kExitStopped) {
    log.write("stopped, " + base::counted((*writer)->count(), "line") + " recorded");
  }
  return status;
}

}  // namespace velsim
