// A pipe, whose ends programs that are executed do not inherit.

#ifndef BASE_PIPE_H
#define BASE_PIPE_H

#include "base/descriptor.h"

namespace base {

struct Pipe {
  Descriptor readEnd;
  Descriptor writeEnd;
};

// Both ends block. Neither is open, and errno says why, when the system has no descriptor left.
Pipe newPipe();

}  // namespace base

#endif  // BASE_PIPE_H
