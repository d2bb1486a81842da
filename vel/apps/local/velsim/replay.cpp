#include "vel/apps/local/velsim/replay.h"

#include <atomic>
#include <optional>
#include <stdexcept>

#include "base/text.h"
#include "vel/apps/local/velsim/log.h"
#include "vel/apps/local/velsim/parent.h"
#include "vel/apps/local/velsim/recording/recording_file.h"
#include "vel/apps/local/velsim/replayer.h"
#include "vel/apps/local/velsim/stop_signals.h"

namespace velsim {
namespace {

ExitCode replay(const ReplayOptions& options, std::vector<RecordedLine> lines, Log& log,
                const StopSignals& stopSignals) {
  std::atomic<ExitCode> status{kExitStopped};
  Replayer replayer(options, std::move(lines), log, [&status](ExitCode failed) {
    status = failed;
    StopSignals::raise();
  });
  std::optional<Parent> parent;
  if (options.parent >= 0) {
    parent.emplace(
        options.parent,
        [](const std::string&) {
          return Control::Answer(base::Failed{"a replay takes no control commands"});
        },
        StopSignals::raise);
  }
  stopSignals.wait();
  if (status != kExitStopped) {
    return status;
  }
  log.write("stopped, " + base::counted(replayer.rest(), "recorded request") + " did not come");
  return replayer.hasDiffered() ? kExitDiffers : kExitStopped;
}

}  // namespace

ExitCode replay(const ReplayOptions& options) {
  const StopSignals stopSignals;
  Log log(options.isQuiet);
  std::vector<std::string> mistakes;
  std::vector<RecordedLine> lines = readRecording(options.file, &mistakes);
  if (!mistakes.empty()) {
    for (const std::string& mistake : mistakes) {
      log.write(mistake);
    }
    return kExitScenario;
  }
  try {
    return replay(options, std::move(lines), log, stopSignals);
  } catch (const std::runtime_error& error) {
    log.write(std::string("cannot replay: ") + error.what());
    return kExitNotServing;
  }
}

}  // namespace velsim
