// A model with a list of the service's that one operation at a time reads or changes, and what has
// become of the last one. Knows no widgets.

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
  // Of the last operation.
  const Problem& problem() const { return problem_; }

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

  // Runs an operation that may take long; nothing happens while another one runs, nor while the
  // service is not available.
  //
  // take   takes the value of a success
  template <typename Operation, typename Take>
  void run(Operation operation, Take take) {
    if (!begin()) {
      return;
    }
    using Outcome = vel::Client::ResultOf<Operation>;
    service_.startSlow(this, std::move(operation),
                       [this, take = std::move(take)](const Outcome& outcome) {
                         if (outcome) {
                           take(*outcome);
                         }
                         finish(outcome ? Problem() : problemOf(outcome.error()));
                       });
  }

  // For an operation that run() does not run. False: it may not begin.
  bool begin();
  void finish(const Problem& problem);

 private:
  Service& service_;
  bool isBusy_ = false;
  bool isReadingWanted_ = false;
  Problem problem_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_SERVICE_WORK_MODEL_H
