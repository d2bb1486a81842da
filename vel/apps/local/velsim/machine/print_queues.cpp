#include "vel/apps/local/velsim/machine/print_queues.h"

#include <algorithm>
#include <cctype>

namespace velsim {
namespace {

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char character) {
    return static_cast<char>(std::tolower(character));
  });
  return text;
}

bool fits(const PrinterDriver& driver, const std::string& printer) {
  const std::string text = lowerCase(printer);
  return std::any_of(driver.words.begin(), driver.words.end(), [&text](const std::string& word) {
    return text.find(word) != std::string::npos;
  });
}

}  // namespace

bool PrintQueues::isDriver(const std::string& name) const {
  return std::any_of(setup_.drivers.begin(), setup_.drivers.end(),
                     [&name](const PrinterDriver& driver) { return name == driver.name; });
}

std::vector<std::string> PrintQueues::driversFor(const std::string& printer) const {
  std::vector<std::string> names;
  for (const PrinterDriver& driver : setup_.drivers) {
    if (printer.empty() || fits(driver, printer)) {
      names.emplace_back(driver.name);
    }
  }
  return names;
}

Status PrintQueues::add(const std::string& name, const std::string& uri,
                        const std::string& driver) {
  if (name.empty() || uri.empty()) {
    return Status::kEmptyText;
  }
  if (!isDriver(driver)) {
    return Status::kUnknownDriver;
  }
  const bool isNew = queues_.emplace(name, PrintQueue{uri, driver}).second;
  return isNew ? Status::kOk : Status::kExists;
}

Status PrintQueues::addWithBestDriver(const std::string& name, const std::string& uri,
                                      const std::string& model) {
  const std::vector<std::string> fitting = driversFor(model.empty() ? name : model);
  return add(name, uri, fitting.empty() ? "" : fitting.front());
}

Status PrintQueues::remove(const std::string& name) {
  return queues_.erase(name) != 0 ? Status::kOk : Status::kUnknownPrinter;
}

Status PrintQueues::changeDriver(const std::string& name, const std::string& driver) {
  const auto queue = queues_.find(name);
  if (queue == queues_.end()) {
    return Status::kUnknownPrinter;
  }
  if (!isDriver(driver)) {
    return Status::kUnknownDriver;
  }
  queue->second.driver = driver;
  return Status::kOk;
}

Status PrintQueues::printTestPage(const std::string& name) {
  const auto queue = queues_.find(name);
  if (queue == queues_.end()) {
    return Status::kUnknownPrinter;
  }
  ++queue->second.testPages;
  return Status::kOk;
}

void PrintQueues::reset() {
  queues_ = setup_.printQueues;
}

}  // namespace velsim
