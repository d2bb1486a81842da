// The devices that have been plugged in and for which a person has not decided yet. Knows no
// widgets.
//
// A device of a type that the service attaches by itself, or that must not be attached, is no
// question. A question ends when it is answered, and when the device goes, or is attached or
// ignored elsewhere.

#ifndef EXAMPLES_PANEL_NEW_DEVICES_NEW_DEVICES_MODEL_H
#define EXAMPLES_PANEL_NEW_DEVICES_NEW_DEVICES_MODEL_H

#include <functional>
#include <string>
#include <vector>

#include <QObject>

#include "examples/panel/service/service.h"
#include "examples/panel/things/things_model.h"

namespace panel {

struct NewDevice {
  vel::DeviceNumber number;
  vel::SourceId source;
  vel::DeviceType type = {};
  QString name;
  QString kind;  // "Camera"

  // Of the last answer.
  bool isBusy = false;
  Problem problem;
};

class NewDevicesModel : public QObject {
  Q_OBJECT

 public:
  // Both must outlive the model.
  NewDevicesModel(Service& service, const ThingsModel& things);

  // In the order in which they were plugged in.
  const std::vector<NewDevice>& waiting() const { return waiting_; }

  // Answers. Nothing happens for a device that does not wait, or is busy, nor while the service is
  // not available.
  //
  // attachAlways   later devices of the type, too
  void attach(vel::DeviceNumber device, const std::string& vm);
  void attachAlways(vel::DeviceNumber device, const std::string& vm);
  void ignore(vel::DeviceNumber device);

 signals:
  void changed();

 private:
  using Operation = std::function<vel::Result<void>(const vel::Client&)>;

  void takePlugged(const vel::Device& device);
  void removeSettled();
  NewDevice* find(vel::DeviceNumber device);
  void answer(vel::DeviceNumber device, const Operation& operation);
  void finish(vel::DeviceNumber device, const vel::Result<void>& result);

  Service& service_;
  const ThingsModel& things_;
  std::vector<NewDevice> waiting_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_NEW_DEVICES_NEW_DEVICES_MODEL_H
