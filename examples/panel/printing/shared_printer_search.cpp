#include "examples/panel/printing/shared_printer_search.h"

#include "vel/client/advice.h"

namespace panel {
namespace {

bool isStopped(const vel::Error& error) {
  return error.status() == static_cast<std::int32_t>(velprotocol::Status::kSearchStopped);
}

}  // namespace

SharedPrinterSearch::~SharedPrinterSearch() {
  if (search_) {
    static_cast<void>(search_->stop());
    search_->detach();
  }
}

void SharedPrinterSearch::start(const std::string& address) {
  if (isBusy() || !service().isReady()) {
    return;
  }
  hasFound_ = false;
  wasStopped_ = false;
  found_.clear();
  search_.emplace(service().slowClient().startSharedPrinterSearch(
      address,
      Service::whileThereIs<vel::Result<Printers>>(
          this, [this](const vel::Result<Printers>& result) { takeResult(result); }),
      service().executor()));
  begin();
}

void SharedPrinterSearch::stop() {
  if (search_) {
    static_cast<void>(search_->stop());
  }
}

void SharedPrinterSearch::takeResult(const vel::Result<Printers>& result) {
  // Its thread has ended, but for what hands the result over.
  search_->detach();
  search_.reset();
  hasFound_ = result.has_value();
  wasStopped_ = !result && isStopped(result.error());
  if (result) {
    found_ = *result;
  } else if (!Service::isAnswer(result.error())) {
    service().refresh();
  }
  finish(result || wasStopped_ ? Problem() : problemOf(result.error()));
}

void SharedPrinterSearch::add(const Printers& printers) {
  run(
      [printers](const vel::Client& client) -> vel::Result<bool> {
        const vel::Result<void> result = client.addSharedPrinters(printers);
        return result ? vel::Result<bool>(true) : vel::unexpected<vel::Error>(result.error());
      },
      [this](bool /*done*/) { emit added(); });
}

}  // namespace panel
