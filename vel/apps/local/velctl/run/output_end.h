// The end of the program that reads the output.

#ifndef VEL_APPS_LOCAL_VELCTL_RUN_OUTPUT_END_H
#define VEL_APPS_LOCAL_VELCTL_RUN_OUTPUT_END_H

#include <csignal>
#include <functional>
#include <thread>

#include "base/self_pipe.h"

namespace velctl {

// While it lives, writing to a pipe that has no reader fails with EPIPE instead of ending the
// process, and such a pipe is noticed also while nothing is written.
class OutputEnd {
 public:
  // onEnd runs once at most, on a thread of its own. Throws Failure when the system is out of a
  // resource.
  OutputEnd(int descriptor, std::function<void()> onEnd);
  ~OutputEnd();

  OutputEnd(const OutputEnd&) = delete;
  OutputEnd& operator=(const OutputEnd&) = delete;

 private:
  void run() const;

  const int descriptor_;
  const std::function<void()> onEnd_;
  base::SelfPipe stop_;
  struct sigaction pipeBefore_ = {};
  std::thread thread_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_RUN_OUTPUT_END_H
