// A search for the printers that another machine shares, which can be stopped, and the adding of
// those that were found. Knows no widgets.

#ifndef EXAMPLES_PANEL_PRINTING_SHARED_PRINTER_SEARCH_H
#define EXAMPLES_PANEL_PRINTING_SHARED_PRINTER_SEARCH_H

#include <optional>
#include <string>
#include <vector>

#include "examples/panel/service/work_model.h"

namespace panel {

class SharedPrinterSearch : public WorkModel {
  Q_OBJECT

 public:
  using Printers = std::vector<vel::SharedPrinter>;

  // The service must outlive the object.
  explicit SharedPrinterSearch(Service& service) : WorkModel(service) {}
  // Stops a search that runs, without waiting for its end.
  ~SharedPrinterSearch() override;

  void start(const std::string& address);
  // The service ends the search, which shows in changed(). Nothing happens when none runs.
  void stop();
  void add(const Printers& printers);

  bool isSearching() const { return search_.has_value(); }
  // Whether the last search has ended with a result.
  bool hasFound() const { return hasFound_; }
  bool wasStopped() const { return wasStopped_; }
  const Printers& found() const { return found_; }

 signals:
  // Printers have been added.
  void added();

 protected:
  void read() override {}

 private:
  void takeResult(const vel::Result<Printers>& result);

  std::optional<vel::Task<Printers>> search_;
  bool hasFound_ = false;
  bool wasStopped_ = false;
  Printers found_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_PRINTING_SHARED_PRINTER_SEARCH_H
