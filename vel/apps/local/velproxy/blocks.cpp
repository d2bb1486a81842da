#include "vel/apps/local/velproxy/internal/blocks.h"

#include "vel/apps/local/velproxy/internal/vel_log.h"

namespace qx {

void BlockList::logEmptyBlock(EmptyBlock logged, const void* data) const {
  if (logged == EmptyBlock::kError) {
    VEL_ERROR_AT(function_, line_, "buf: %p, size: %d", data, count_);
  } else {
    VEL_DEBUG_AT(function_, line_, "buf: %p, size: %d", data, count_);
  }
}

}  // namespace qx
