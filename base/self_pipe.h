// A pipe by which one thread, or a signal handler, wakes another out of poll().

#ifndef BASE_SELF_PIPE_H
#define BASE_SELF_PIPE_H

#include "base/pipe.h"

namespace base {

// Neither end blocks. Both are closed on exec.
//
// THREADS   wake() may be called from any thread, and in a signal handler.
class SelfPipe {
 public:
  // isOpen() is false, and errno says why, when the system has no descriptor left.
  SelfPipe();
  SelfPipe(const SelfPipe&) = delete;
  SelfPipe& operator=(const SelfPipe&) = delete;

  bool isOpen() const { return pipe_.readEnd.isOpen(); }
  // Readable from wake() to drain().
  int readEnd() const { return pipe_.readEnd.number(); }

  // Does not change errno. A full pipe wakes, too.
  void wake() const;
  void drain() const;

 private:
  const Pipe pipe_;
};

}  // namespace base

#endif  // BASE_SELF_PIPE_H
