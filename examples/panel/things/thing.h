// A device or a printer of this machine, as its card shows it.

#ifndef EXAMPLES_PANEL_THINGS_THING_H
#define EXAMPLES_PANEL_THINGS_THING_H

#include <optional>
#include <string>
#include <variant>

#include <QByteArray>
#include <QCoreApplication>
#include <QString>

#include "examples/panel/service/problem.h"
#include "vel/client/client.h"

namespace panel {

// Devices and printers are counted each by themselves.
using Number = std::variant<vel::DeviceNumber, vel::PrinterNumber>;

struct Thing {
  Q_DECLARE_TR_FUNCTIONS(panel::Thing)

 public:
  Number number;
  QString name;
  vel::DeviceStatus status = vel::DeviceStatus::kGone;
  std::optional<vel::DeviceType> type;  // none: a printer
  vel::LocalPolicy policy = vel::LocalPolicy::kNone;
  bool isAutoConnected = false;  // of its type: the service attaches it when it is plugged in
  // As the service has them.
  std::string fullName;
  std::string policyText;
  vel::UsbId usb;
  std::string vm;  // where it is attached; empty: nowhere, or not known

  // Of the last operation.
  bool isBusy = false;
  Problem problem;
  QString note;  // what a check has found

  bool isAttached() const { return status == vel::DeviceStatus::kAttached; }
  bool isPrinter() const { return std::holds_alternative<vel::PrinterNumber>(number); }

  // "Camera".
  QString kind() const;
  // "Attached to win11".
  QString state() const;
};

// A number as the data of a drag.
inline constexpr char kNumberFormat[] = "application/x-panel-number";
QByteArray dragDataOf(const Number& number);
// Nothing: the data is not from there.
std::optional<Number> numberIn(const QByteArray& dragData);

Thing thingOf(const vel::Device& device);
Thing thingOf(const vel::Printer& printer);

}  // namespace panel

#endif  // EXAMPLES_PANEL_THINGS_THING_H
