// Network printers: added by their address, which is checked while it is typed, and removed.

#ifndef EXAMPLES_PANEL_PRINTING_NETWORK_PRINTERS_BOX_H
#define EXAMPLES_PANEL_PRINTING_NETWORK_PRINTERS_BOX_H

#include <QGroupBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

#include "examples/panel/printing/address_field.h"
#include "examples/panel/printing/network_printers.h"
#include "examples/panel/widgets/operation_status.h"

namespace panel {

class NetworkPrintersBox : public QGroupBox {
  Q_DECLARE_TR_FUNCTIONS(panel::NetworkPrintersBox)

 public:
  // The service must outlive the box.
  explicit NetworkPrintersBox(Service& service);

  NetworkPrinters& model() { return model_; }
  AddressField& address() { return address_; }
  QLineEdit& name() { return name_; }
  QPushButton& add() { return add_; }
  QListWidget& printers() { return printers_; }
  QPushButton& remove() { return remove_; }
  const OperationStatus& status() const { return status_; }

 private:
  void layOut();
  void showModel();
  void enable();

  NetworkPrinters model_;
  AddressField address_;
  QLineEdit name_;
  QPushButton add_;
  QListWidget printers_;
  QPushButton remove_;
  OperationStatus status_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_PRINTING_NETWORK_PRINTERS_BOX_H
