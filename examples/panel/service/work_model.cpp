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
  if (!mayBegin()) {
    return false;
  }
  problem_ = {};
  readingProblem_ = {};
  setBusy();
  return true;
}

void WorkModel::setBusy() {
  isBusy_ = true;
  emit changed();
}

void WorkModel::finish(Problem& left, const Problem& problem) {
  isBusy_ = false;
  left = problem;
  emit changed();
  if (std::exchange(isReadingWanted_, false)) {
    read();
  }
}

}  // namespace panel
