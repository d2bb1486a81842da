#include "examples/panel/service/work_model.h"

namespace panel {

WorkModel::WorkModel(Service& service) : service_(service) {}

void WorkModel::refresh() {
  isReadingWanted_ = isBusy_;
  if (!isBusy_) {
    read();
  }
}

bool WorkModel::begin() {
  if (isBusy_ || !service_.isReady()) {
    return false;
  }
  isBusy_ = true;
  problem_ = {};
  emit changed();
  return true;
}

void WorkModel::finish(const Problem& problem) {
  isBusy_ = false;
  problem_ = problem;
  emit changed();
  // A problem stays until the next operation of the user.
  if (std::exchange(isReadingWanted_, false) && problem.isEmpty()) {
    read();
  }
}

}  // namespace panel
