// The progress of an operation, and the problem that the last one has left.

#ifndef EXAMPLES_PANEL_WIDGETS_OPERATION_STATUS_H
#define EXAMPLES_PANEL_WIDGETS_OPERATION_STATUS_H

#include <QCoreApplication>
#include <QProgressBar>
#include <QWidget>

#include "examples/panel/service/problem.h"
#include "examples/panel/widgets/plain_label.h"

namespace panel {

class OperationStatus : public QWidget {
  Q_DECLARE_TR_FUNCTIONS(panel::OperationStatus)

 public:
  OperationStatus();

  // subject   what the operation is about, for a screen reader
  void set(bool isBusy, const Problem& problem, const QString& subject);

  bool isBusy() const { return progress_.isVisibleTo(this); }
  // Empty: there is none.
  QString problem() const { return problem_.text(); }

 private:
  QProgressBar progress_;
  PlainLabel problem_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_WIDGETS_OPERATION_STATUS_H
