// The errors of a descriptor that does not block.

#ifndef BASE_WOULD_BLOCK_H
#define BASE_WOULD_BLOCK_H

#include <cerrno>

namespace base {

// Whether a call has failed because it would have had to wait. error: errno, or like it.
inline bool wouldBlock(int error) {
  return error == EAGAIN || error == EWOULDBLOCK;
}

}  // namespace base

#endif  // BASE_WOULD_BLOCK_H
