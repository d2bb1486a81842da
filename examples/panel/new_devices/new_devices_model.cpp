#include "examples/panel/new_devices/new_devices_model.h"

#include <algorithm>

namespace panel {
namespace {

// What the service does with the next device of the type: nothing by itself, or as with this one.
constexpr std::uint16_t kAsk = 0;
constexpr std::uint16_t kByItself = 1;

}  // namespace

NewDevicesModel::NewDevicesModel(Service& service, const ThingsModel& things)
    : service_(service), things_(things) {
  const auto take =
      Service::whileThereIs<vel::DeviceEvent>(this, [this](const vel::DeviceEvent& event) {
        if (event.code == vel::EventCode::kDevicePlugged) {
          takePlugged(event.device);
        }
      });
  service_.subscribe([take, executor = service_.executor()](const vel::Client& client) {
    return client.onDevice(take, executor);
  });
  connect(&things_, &ThingsModel::thingsChanged, this, [this] { removeSettled(); });
  connect(&things_, &ThingsModel::thingChanged, this, [this] { removeSettled(); });
}

// The other model has subscribed first, and knows the device.
void NewDevicesModel::takePlugged(const vel::Device& device) {
  const Thing* const thing = things_.find(device.number);
  const bool isQuestion = thing && thing->status == vel::DeviceStatus::kAvailable &&
                          !thing->isAutoConnected &&
                          thing->policy != vel::LocalPolicy::kForbidden && !find(device.number);
  if (isQuestion) {
    waiting_.push_back(
        {device.number, device.source, device.type, thing->name, thing->kind(), false, {}});
    emit changed();
  }
}

void NewDevicesModel::removeSettled() {
  const auto settled =
      std::remove_if(waiting_.begin(), waiting_.end(), [this](const NewDevice& device) {
        const Thing* const thing = things_.find(device.number);
        return !thing || thing->status != vel::DeviceStatus::kAvailable;
      });
  if (settled != waiting_.end()) {
    waiting_.erase(settled, waiting_.end());
    emit changed();
  }
}

NewDevice* NewDevicesModel::find(vel::DeviceNumber device) {
  const auto found =
      std::find_if(waiting_.begin(), waiting_.end(),
                   [device](const NewDevice& each) { return each.number == device; });
  return found == waiting_.end() ? nullptr : &*found;
}

// --- Answers -------------------------------------------------------------------------------------

void NewDevicesModel::attach(vel::DeviceNumber device, const std::string& vm) {
  if (const NewDevice* const asked = find(device)) {
    answer(device, [vm, source = asked->source, type = asked->type](const vel::Client& client) {
      return client.attachNewDevice(vm, source, type, kAsk, kAsk);
    });
  }
}

void NewDevicesModel::attachAlways(vel::DeviceNumber device, const std::string& vm) {
  if (const NewDevice* const asked = find(device)) {
    answer(device, [vm, source = asked->source, type = asked->type](const vel::Client& client) {
      return client.attachNewDevice(vm, source, type, kByItself, kByItself);
    });
  }
}

void NewDevicesModel::ignore(vel::DeviceNumber device) {
  if (const NewDevice* const asked = find(device)) {
    answer(device, [source = asked->source, type = asked->type](const vel::Client& client) {
      return client.ignoreNewDevice(source, type, kAsk, kAsk);
    });
  }
}

void NewDevicesModel::answer(vel::DeviceNumber device, const Operation& operation) {
  NewDevice* const asked = find(device);
  if (asked->isBusy || !service_.isReady()) {
    return;
  }
  asked->isBusy = true;
  asked->problem = {};
  emit changed();
  service_.start(this, operation,
                 [this, device](const vel::Result<void>& result) { finish(device, result); });
}

void NewDevicesModel::finish(vel::DeviceNumber device, const vel::Result<void>& result) {
  NewDevice* const asked = find(device);
  if (asked && result) {
    waiting_.erase(waiting_.begin() + (asked - waiting_.data()));
  } else if (asked) {
    asked->isBusy = false;
    asked->problem = problemOf(result.error());
  }
  emit changed();
  if (result) {
    // The setting of the type has changed.
    service_.refresh();
  }
}

}  // namespace panel
