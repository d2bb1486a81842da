// A model with a list of the service's that one operation at a time reads or changes, and how the
// last one has ended. Knows no widgets.
//
// PROBLEMS  That of an operation of the user stays until the user's next one: a service that has
//           not answered is looked for, and its lists are read again, before anyone could see it.

#ifndef EXAMPLES_PANEL_SERVICE_WORK_MODEL_H
#define EXAMPLES_PANEL_SERVICE_WORK_MODEL_H

#include <utility>

#include <QObject>

#include "examples/panel/service/service.h"

namespace panel {

class WorkModel : public QObject {
  Q_OBJECT

 public:
  bool isBusy() const { return isBusy_; }
  // Of the user's last operation, otherwise of the last reading.
  const Problem& problem() const { return problem_.isEmpty() ? readingProblem_ : problem_; }

  // Reads the list, or does it when the operation that runs has ended.
  void refresh();

 signals:
  void changed();

 protected:
  // The service must outlive the model.
  explicit WorkModel(Service& service);

  Service& service() const { return service_; }

  // Starts the operation that reads the list.
  virtual void read() = 0;

  // Runs an operation of the user that may take long; nothing happens while another one runs, nor
  // while the service is not available.
  //
  // take   takes the value of a success
  template <typename Operation, typename Take>
  void run(Operation operation, Take take) {
    if (begin()) {
      start(std::move(operation), std::move(take), problem_);
    }
  }
  // The same for the operation that reads the list.
  template <typename Operation, typename Take>
  void runReading(Operation operation, Take take) {
    if (mayBegin()) {
      setBusy();
      start(std::move(operation), std::move(take), readingProblem_);
    }
  }

  // For an operation of the user that run() does not run. False: it may not begin.
  bool begin();
  void finish(const Problem& problem) { finish(problem_, problem); }

 private:
  // left   one of the members: what the operation leaves
  template <typename Operation, typename Take>
  void start(Operation operation, Take take, Problem& left) {
    using Outcome = vel::Client::ResultOf<Operation>;
    service_.startSlow(this, std::move(operation),
                       [this, take = std::move(take), &left](const Outcome& outcome) {
                         if (outcome) {
                           take(*outcome);
                         }
                         finish(left, outcome ? Problem() : problemOf(outcome.error()));
                       });
  }
  bool mayBegin() const { return !isBusy_ && service_.isReady(); }
  void setBusy();
  void finish(Problem& left, const Problem& problem);

  Service& service_;
  bool isBusy_ = false;
  bool isReadingWanted_ = false;
  Problem problem_;
  Problem readingProblem_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_SERVICE_WORK_MODEL_H
