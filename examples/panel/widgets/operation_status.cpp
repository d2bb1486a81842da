#include "examples/panel/widgets/operation_status.h"

#include <QVBoxLayout>

namespace panel {

OperationStatus::OperationStatus() {
  // No percentage: the service answers once.
  progress_.setRange(0, 0);
  progress_.setTextVisible(false);
  progress_.setMaximumHeight(fontMetrics().height() / 2);
  // Nothing moves when an operation begins.
  QSizePolicy keepsItsPlace = progress_.sizePolicy();
  keepsItsPlace.setRetainSizeWhenHidden(true);
  progress_.setSizePolicy(keepsItsPlace);
  auto* const rows = new QVBoxLayout(this);
  rows->setContentsMargins(0, 0, 0, 0);
  rows->addWidget(&progress_);
  rows->addWidget(&problem_);
  set(false, {}, {});
}

void OperationStatus::set(bool isBusy, const Problem& problem, const QString& subject) {
  progress_.setVisible(isBusy);
  progress_.setAccessibleName(tr("Progress of %1").arg(subject));
  problem_.setText(problem.text());
  problem_.setVisible(!problem.isEmpty());
}

}  // namespace panel
