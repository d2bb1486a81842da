#include "examples/panel/printing/print_queues.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace panel {
namespace {

using Queues = std::vector<PrintQueue>;

vel::Result<QJsonArray> arrayIn(const std::string& text, const char* key, const char* method) {
  const QJsonValue value =
      QJsonDocument::fromJson(QByteArray::fromStdString(text)).object().value(key);
  if (!value.isArray()) {
    return vel::unexpected<vel::Error>(
        vel::Error(vel::ErrorKind::kBadReply, method, "the service answered in an unknown form"));
  }
  return value.toArray();
}

vel::Result<std::vector<std::string>> driversOf(const vel::Client& client,
                                                const std::string& queue) {
  const vel::Result<std::string> text = client.printerDrivers(queue);
  if (!text) {
    return vel::unexpected<vel::Error>(text.error());
  }
  const vel::Result<QJsonArray> names = arrayIn(*text, "drivers", "getPrinterDriverlList");
  if (!names) {
    return vel::unexpected<vel::Error>(names.error());
  }
  std::vector<std::string> drivers;
  for (const QJsonValue& name : *names) {
    drivers.push_back(name.toString().toStdString());
  }
  return drivers;
}

vel::Result<Queues> readQueues(const vel::Client& client) {
  const vel::Result<std::string> text = client.allPrinters();
  if (!text) {
    return vel::unexpected<vel::Error>(text.error());
  }
  const vel::Result<QJsonArray> printers = arrayIn(*text, "printers", "searchAllPrinter");
  if (!printers) {
    return vel::unexpected<vel::Error>(printers.error());
  }
  Queues queues;
  for (const QJsonValue& value : *printers) {
    const QJsonObject printer = value.toObject();
    const auto textOf = [&](const char* key) {
      return printer.value(key).toString().toStdString();
    };
    PrintQueue queue;
    queue.name = textOf("name");
    if (textOf("source") == "queue") {
      const auto drivers = driversOf(client, queue.name);
      if (!drivers) {
        return vel::unexpected<vel::Error>(drivers.error());
      }
      queue.driver = textOf("driver");
      queue.drivers = *drivers;
    } else if (textOf("source") == "shared") {
      queue.shared = vel::SharedPrinter{textOf("address"), queue.name, textOf("description")};
    } else {
      // They have cards.
      continue;
    }
    queues.push_back(std::move(queue));
  }
  return queues;
}

}  // namespace

void PrintQueues::read() {
  runReading(&readQueues, [this](const Queues& queues) { queues_ = queues; });
}

void PrintQueues::change(const std::function<vel::Result<void>(const vel::Client&)>& operation) {
  run(
      [operation](const vel::Client& client) -> vel::Result<Queues> {
        const vel::Result<void> changed = operation(client);
        return changed ? readQueues(client) : vel::unexpected<vel::Error>(changed.error());
      },
      [this](const Queues& queues) { queues_ = queues; });
}

void PrintQueues::setDriver(const std::string& queue, const std::string& driver) {
  change([queue, driver](const vel::Client& client) {
    return client.setPrinterDriver(queue, driver);
  });
}

void PrintQueues::printTestPage(const std::string& queue) {
  change([queue](const vel::Client& client) { return client.printTestPage(queue); });
}

void PrintQueues::remove(const PrintQueue& queue) {
  change([queue](const vel::Client& client) {
    return queue.shared ? client.removeSharedPrinter(*queue.shared)
                        : client.removePrinter(queue.name);
  });
}

}  // namespace panel
