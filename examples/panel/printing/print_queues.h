// The print queues of this machine with their drivers, and the shared printers that have been
// added. Knows no widgets.
//
// The service gives the texts their meaning: this reads those of velsim.

#ifndef EXAMPLES_PANEL_PRINTING_PRINT_QUEUES_H
#define EXAMPLES_PANEL_PRINTING_PRINT_QUEUES_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "examples/panel/service/work_model.h"

namespace panel {

struct PrintQueue {
  std::string name;
  std::string driver;
  std::vector<std::string> drivers;  // that fit, the best one first
  // Of a printer that another machine shares, which has no driver.
  std::optional<vel::SharedPrinter> shared;
};

class PrintQueues : public WorkModel {
  Q_OBJECT

 public:
  // The service must outlive the object.
  explicit PrintQueues(Service& service) : WorkModel(service) {}

  const std::vector<PrintQueue>& queues() const { return queues_; }

  void setDriver(const std::string& queue, const std::string& driver);
  void printTestPage(const std::string& queue);
  void remove(const PrintQueue& queue);

 protected:
  void read() override;

 private:
  void change(const std::function<vel::Result<void>(const vel::Client&)>& operation);

  std::vector<PrintQueue> queues_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_PRINTING_PRINT_QUEUES_H
