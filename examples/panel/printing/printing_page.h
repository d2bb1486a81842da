// The page for printing: print queues, network printers, and printers that other machines share.

#ifndef EXAMPLES_PANEL_PRINTING_PRINTING_PAGE_H
#define EXAMPLES_PANEL_PRINTING_PRINTING_PAGE_H

#include <QScrollArea>

#include "examples/panel/printing/network_printers_box.h"
#include "examples/panel/printing/print_queues_box.h"
#include "examples/panel/printing/shared_printers_box.h"

namespace panel {

class PrintingPage : public QScrollArea {
 public:
  // The service must outlive the page.
  explicit PrintingPage(Service& service);

  SharedPrintersBox& shared() { return shared_; }
  NetworkPrintersBox& network() { return network_; }
  PrintQueuesBox& queues() { return queues_; }

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void refresh();

  QWidget* const sheet_;
  PrintQueuesBox queues_;
  NetworkPrintersBox network_;
  SharedPrintersBox shared_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_PRINTING_PRINTING_PAGE_H
