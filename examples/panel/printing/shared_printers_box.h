// Printers that other machines share: searched for at an address, with a bar and a button that
// stops the search, and added.

#ifndef EXAMPLES_PANEL_PRINTING_SHARED_PRINTERS_BOX_H
#define EXAMPLES_PANEL_PRINTING_SHARED_PRINTERS_BOX_H

#include <QElapsedTimer>
#include <QGroupBox>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include "examples/panel/printing/address_field.h"
#include "examples/panel/printing/shared_printer_search.h"
#include "examples/panel/widgets/operation_status.h"
#include "examples/panel/widgets/plain_label.h"

namespace panel {

class SharedPrintersBox : public QGroupBox {
  Q_DECLARE_TR_FUNCTIONS(panel::SharedPrintersBox)

 public:
  // The service must outlive the box.
  explicit SharedPrintersBox(Service& service);

  SharedPrinterSearch& model() { return model_; }
  AddressField& address() { return address_; }
  QPushButton& search() { return search_; }
  QPushButton& stop() { return stop_; }
  QProgressBar& progress() { return progress_; }
  QListWidget& found() { return found_; }
  QPushButton& add() { return add_; }
  // How the search has ended.
  QString note() const { return note_.text(); }
  const OperationStatus& status() const { return status_; }

 private:
  void layOut();
  void showModel();
  void showFound();
  void enable();
  QString noteText() const;
  SharedPrinterSearch::Printers chosen() const;

  SharedPrinterSearch model_;
  AddressField address_;
  QPushButton search_;
  QPushButton stop_;
  QProgressBar progress_;
  // Moves the bar to the time limit of the search.
  QTimer tick_;
  QElapsedTimer sinceStart_;
  PlainLabel note_;
  QListWidget found_;
  QPushButton add_;
  OperationStatus status_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_PRINTING_SHARED_PRINTERS_BOX_H
