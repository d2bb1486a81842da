#include "examples/panel/printing/printing_page.h"

#include <QVBoxLayout>

namespace panel {

PrintingPage::PrintingPage(Service& service)
    : sheet_(new QWidget), queues_(service), network_(service), shared_(service) {
  auto* const rows = new QVBoxLayout(sheet_);
  rows->addWidget(&queues_);
  rows->addWidget(&network_);
  rows->addWidget(&shared_);
  rows->addStretch(1);
  setWidget(sheet_);
  setWidgetResizable(true);
  // Its fields and lists take the focus.
  setFocusPolicy(Qt::NoFocus);
  connect(&service, &Service::refreshed, this, [this] { refresh(); });
  connect(&shared_.model(), &SharedPrinterSearch::added, &queues_.model(), &WorkModel::refresh);
}

void PrintingPage::refresh() {
  if (isVisible()) {
    queues_.model().refresh();
    network_.model().refresh();
  }
}

// The service does not report changes of print queues.
void PrintingPage::showEvent(QShowEvent* event) {
  QScrollArea::showEvent(event);
  refresh();
}

}  // namespace panel
