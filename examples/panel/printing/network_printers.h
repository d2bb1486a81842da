// The printers that clients have added by their address. Knows no widgets.

#ifndef EXAMPLES_PANEL_PRINTING_NETWORK_PRINTERS_H
#define EXAMPLES_PANEL_PRINTING_NETWORK_PRINTERS_H

#include <functional>
#include <string>
#include <vector>

#include "examples/panel/service/work_model.h"

namespace panel {

class NetworkPrinters : public WorkModel {
  Q_OBJECT

 public:
  // The service must outlive the object.
  explicit NetworkPrinters(Service& service) : WorkModel(service) {}

  const std::vector<vel::NetworkPrinter>& printers() const { return printers_; }

  // name: empty: the service's own name for it
  void add(const std::string& address, const std::string& name);
  void remove(const std::string& name);

 signals:
  // The printer has been added.
  void added();

 protected:
  void read() override;

 private:
  std::vector<vel::NetworkPrinter> printers_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_PRINTING_NETWORK_PRINTERS_H
