// Print queues: the driver of each, a test page, and their removal.

#ifndef EXAMPLES_PANEL_PRINTING_PRINT_QUEUES_BOX_H
#define EXAMPLES_PANEL_PRINTING_PRINT_QUEUES_BOX_H

#include <QComboBox>
#include <QGroupBox>
#include <QListWidget>
#include <QPushButton>

#include "examples/panel/printing/print_queues.h"
#include "examples/panel/widgets/operation_status.h"

namespace panel {

class PrintQueuesBox : public QGroupBox {
  Q_DECLARE_TR_FUNCTIONS(panel::PrintQueuesBox)

 public:
  // The service must outlive the box.
  explicit PrintQueuesBox(Service& service);

  PrintQueues& model() { return model_; }
  QListWidget& queues() { return queues_; }
  QComboBox& driver() { return driver_; }
  QPushButton& testPage() { return testPage_; }
  QPushButton& remove() { return remove_; }
  const OperationStatus& status() const { return status_; }

 private:
  void layOut();
  void showModel();
  void showDrivers();
  void enable();
  // Null: none is chosen.
  const PrintQueue* chosen() const;

  PrintQueues model_;
  QListWidget queues_;
  QComboBox driver_;
  QPushButton testPage_;
  QPushButton remove_;
  OperationStatus status_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_PRINTING_PRINT_QUEUES_BOX_H
