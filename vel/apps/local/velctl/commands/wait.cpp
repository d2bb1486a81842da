// velctl wait: returns when something has become true, or when it is true already.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/output/records.h"
#include "vel/apps/local/velctl/output/text_forms.h"
#include "vel/apps/local/velctl/run/actions.h"
#include "vel/apps/local/velctl/run/inbox.h"

namespace velctl {
namespace {

// The library looks for a service that has died; for one that never was there, nothing looks.
constexpr std::chrono::milliseconds kRetryInterval{500};
constexpr std::chrono::milliseconds kNewVmInterval{2000};

// What has come meanwhile: a record of an event, or none when the service has gone or returned.
template <typename Record>
using News = Inbox<std::optional<Record>>;

// Holds what runs on other threads, which a command that is interrupted does not wait for.
template <typename Record>
struct RecordWatch {
  News<Record> news;
  std::vector<vel::Subscription> subscriptions;
};

// How records are found out about.
template <typename Record>
struct Source {
  vel::Subscription (*subscribe)(const vel::Client& client,
                                 std::function<void(const Record&)> take);
  vel::Result<std::vector<Record>> (*list)(const vel::Client& client);
};

// A search for a record.
template <typename Record>
class RecordSearch {
 public:
  virtual ~RecordSearch() = default;
  // In all records that there are. Called first, and again whenever the service has been away.
  virtual std::optional<Record> findIn(const std::vector<Record>& records) {
    const auto found = std::find_if(records.begin(), records.end(),
                                    [this](const Record& record) { return isThat(record); });
    return found == records.end() ? std::nullopt : std::optional(*found);
  }
  // In an event.
  virtual bool isThat(const Record& record) const = 0;
};

// Whether a failure is the absence of the service, which may end.
bool isAway(vel::ErrorKind kind) {
  return kind == vel::ErrorKind::kNoBus || kind == vel::ErrorKind::kNoService ||
         kind == vel::ErrorKind::kNoReply;
}

// The service reports events of a VM to clients that have named it. wanted: a VM, by name or
// number, that must be among them, because nothing reports a new one.
vel::Result<void> nameAllVms(const vel::Client& client, const std::optional<std::string>& wanted) {
  const vel::Result<std::vector<vel::Vm>> vms = client.vms();
  if (!vms) {
    return vel::unexpected<vel::Error>(vms.error());
  }
  bool isThere = !wanted;
  for (const vel::Vm& vm : *vms) {
    isThere = isThere || vm.name == *wanted || std::to_string(vm.number.value()) == *wanted;
    static_cast<void>(client.vmNumber(vm.name));
  }
  return isThere ? vel::Result<void>()
                 : vel::unexpected<vel::Error>(
                       vel::Error(vel::ErrorKind::kUnknownVm, "getVmList", "unknown VM"));
}

// Subscribes before the first look, so that no change is missed.
template <typename Record>
void subscribe(const Invocation& invocation, const Session::Activity& activity,
               const Source<Record>& source, const std::shared_ptr<RecordWatch<Record>>& watch) {
  invocation.check(invocation.session().call(activity, [source, watch](const vel::Client& client) {
    // A dropped event is noticed by the next look.
    watch->subscriptions.push_back(source.subscribe(
        client, [&news = watch->news](const Record& record) { news.add(record); }));
    watch->subscriptions.push_back(client.onServiceDeath(
        [&news = watch->news](const vel::ServiceDeath&) { news.addAlways(std::nullopt); }));
    watch->subscriptions.push_back(client.onServiceReturn(
        [&news = watch->news](const vel::ServiceReturn&) { news.addAlways(std::nullopt); }));
    return vel::Result<void>();
  }));
}

template <typename Record>
Record waitFor(const Invocation& invocation, const std::string& text, const Source<Record>& source,
               RecordSearch<Record>& search) {
  Session& session = invocation.session();
  const Session::Activity activity{text, std::chrono::seconds(0)};
  const auto watch = std::make_shared<RecordWatch<Record>>();
  subscribe(invocation, activity, source, watch);
  Progress progress(text, activity.limit, session.output().isQuiet());
  for (;;) {
    const vel::Result<std::vector<Record>> records =
        session.call(activity,
                     [list = source.list, vm = invocation.values().optionalText("--vm")](
                         const vel::Client& client) -> vel::Result<std::vector<Record>> {
                       const vel::Result<void> named = nameAllVms(client, vm);
                       return named ? list(client) : vel::unexpected<vel::Error>(named.error());
                     });
    if (records) {
      if (std::optional<Record> found = search.findIn(*records)) {
        return *std::move(found);
      }
    } else if (!isAway(records.error().kind())) {
      invocation.check(records);
    }
    // Events of a VM come to clients that have named it, and no event reports a new one.
    const auto until = Session::Clock::now() + (records ? kNewVmInterval : kRetryInterval);
    for (;;) {
      const auto item = session.next(watch->news, progress, until);
      const bool isEvent = item && *item && watch->news.droppedBefore() == 0;
      if (item && *item && search.isThat(**item)) {
        return **item;
      }
      if (!isEvent) {
        break;
      }
    }
  }
}

// --- Service -------------------------------------------------------------------------------------

void waitForService(Invocation& invocation) {
  constexpr char kText[] = "waiting for the service";
  Session& session = invocation.session();
  Progress progress(kText, std::chrono::seconds(0), session.output().isQuiet());
  Inbox<std::optional<int>> nothing;
  for (;;) {
    const vel::Result<void> connected =
        session.call({kText, std::chrono::seconds(0)},
                     [](const vel::Client& client) { return client.connect(); });
    if (connected) {
      invocation.output().done("the service is there", {{"service", "running"}});
      return;
    }
    if (!isAway(connected.error().kind())) {
      invocation.check(connected);
    }
    static_cast<void>(session.next(nothing, progress, Session::Clock::now() + kRetryInterval));
  }
}

// --- Devices -------------------------------------------------------------------------------------

// A thing that the user has named, by number or name, if at all.
template <typename Record>
bool isNamed(const Record& record, const std::optional<std::string>& name) {
  return !name || record.name == *name || std::to_string(record.number.value()) == *name;
}

class DeviceSearch : public RecordSearch<vel::Device> {
 public:
  explicit DeviceSearch(const Values& values)
      : device_(values.optionalText("DEVICE")),
        vm_(values.optionalText("--vm")),
        isAttached_(values.has("--attached")) {}

  bool isThat(const vel::Device& device) const override {
    const bool isDevice = isNamed(device, device_) || toText(device.usb) == lowerCase(*device_);
    return isDevice && device.status != vel::DeviceStatus::kGone && isWhere(device);
  }

 private:
  static std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
      return c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
  }

  bool isWhere(const vel::Device& device) const {
    if (!vm_) {
      return !isAttached_ || device.isAttached();
    }
    return device.isAttached() &&
           (device.vm == *vm_ || std::to_string(device.vmNumber.value()) == *vm_);
  }

  const std::optional<std::string> device_;
  const std::optional<std::string> vm_;
  const bool isAttached_;
};

constexpr Source<vel::Device> kDevices = {
    [](const vel::Client& client, std::function<void(const vel::Device&)> take) {
      return client.onDevice(
          [take = std::move(take)](const vel::DeviceEvent& event) { take(event.device); });
    },
    [](const vel::Client& client) { return client.localDevices(); }};

void waitForDevice(Invocation& invocation) {
  const Values& values = invocation.values();
  DeviceSearch search(values);
  std::vector<vel::Device> found = {
      waitFor(invocation, "waiting for the device", kDevices, search)};
  nameVms(invocation, &found);
  finishThing(invocation, deviceFields(), found.front());
}

// --- Printers ------------------------------------------------------------------------------------

class PrinterSearch : public RecordSearch<vel::Printer> {
 public:
  explicit PrinterSearch(const Values& values)
      : printer_(values.optionalText("PRINTER")),
        status_(values.optionalNumber<std::int32_t>("--status")) {}

  // A list has no printer that is gone.
  std::optional<vel::Printer> findIn(const std::vector<vel::Printer>& printers) override {
    std::optional<vel::Printer> found = RecordSearch::findIn(printers);
    const bool isGoneWanted = status_ == vel::number(vel::DeviceStatus::kGone) && printer_;
    const bool isThere =
        std::any_of(printers.begin(), printers.end(),
                    [this](const vel::Printer& printer) { return isNamed(printer, printer_); });
    if (!found && isGoneWanted && !isThere) {
      found.emplace().name = *printer_;
    }
    return found;
  }

  bool isThat(const vel::Printer& printer) const override {
    return isNamed(printer, printer_) && (status_ ? vel::number(printer.status) == *status_
                                                  : printer.status != vel::DeviceStatus::kGone);
  }

 private:
  const std::optional<std::string> printer_;
  const std::optional<std::int32_t> status_;
};

// A printer with another status than at first. One that is not there counts as gone.
class PrinterChange : public RecordSearch<vel::Printer> {
 public:
  explicit PrinterChange(const Values& values) : printer_(values.optionalText("PRINTER")) {}

  std::optional<vel::Printer> findIn(const std::vector<vel::Printer>& printers) override {
    if (std::exchange(isFirst_, false)) {
      for (const vel::Printer& printer : printers) {
        first_.emplace(printer.number, printer);
      }
      return std::nullopt;
    }
    for (const auto& [number, first] : first_) {
      const bool isThere =
          std::any_of(printers.begin(), printers.end(),
                      [&gone = first](const auto& each) { return each.number == gone.number; });
      if (!isThere && isNamed(first, printer_)) {
        vel::Printer gone = first;
        gone.status = vel::DeviceStatus::kGone;
        return gone;
      }
    }
    return RecordSearch::findIn(printers);
  }

  bool isThat(const vel::Printer& printer) const override {
    const auto first = first_.find(printer.number);
    const auto status = first == first_.end() ? vel::DeviceStatus::kGone : first->second.status;
    return isNamed(printer, printer_) && printer.status != status;
  }

 private:
  const std::optional<std::string> printer_;
  bool isFirst_ = true;
  std::map<vel::PrinterNumber, vel::Printer> first_;
};

constexpr Source<vel::Printer> kPrinters = {
    [](const vel::Client& client, std::function<void(const vel::Printer&)> take) {
      return client.onPrinter(
          [take = std::move(take)](const vel::PrinterEvent& event) { take(event.printer); });
    },
    [](const vel::Client& client) { return client.printers(""); }};

void waitForPrinter(Invocation& invocation) {
  const Values& values = invocation.values();
  const std::unique_ptr<RecordSearch<vel::Printer>> search =
      values.has("--changed")
          ? std::unique_ptr<RecordSearch<vel::Printer>>(std::make_unique<PrinterChange>(values))
          : std::make_unique<PrinterSearch>(values);
  std::vector<vel::Printer> found = {
      waitFor(invocation, "waiting for the printer", kPrinters, *search)};
  nameVms(invocation, &found);
  finishThing(invocation, printerFields(), found.front());
}

std::string onlyOneAim(const Arguments& arguments) {
  return arguments.count("--status") + arguments.count("--changed") > 1
             ? "give --status or --changed, not both"
             : "";
}

Parameter printerStatus() {
  constexpr std::uint64_t kMost = 0x7FFFFFFF;
  return wholeNumber("--status", 0, kMost, "Until the printer has this status")
      .withWords(velprotocol::Legend("", velprotocol::kDeviceStatuses));
}

constexpr char kDetails[] =
    "It returns at once when that is so already. A service that is not there, or goes, is waited\n"
    "for. --timeout limits the time, after which the exit status is 5 (no-reply).";

}  // namespace

std::vector<Command> waitCommands() {
  Parameter device = deviceArgument().optional().unresolved();
  device.help = "Number of the device, its name, or its USB vendor and product id (046d:0825)";
  Parameter vm = vmOption().unresolved();
  vm.help = "Until it is attached to this VM: its name, or its number";
  return {
      {"wait service",
       "Wait until the service is there",
       {},
       runs("", &waitForService, {{"service", Type::kText}}),
       {{"wait service --timeout 30", "Half a minute at most"}},
       kDetails},
      {"wait device",
       "Wait until a device is there, or attached",
       {device, flag("--attached", "Until it is attached, to any VM"), vm},
       runs("", &waitForDevice, membersOf(deviceFields())),
       {{"wait device 046d:0825", "Until a device with this USB id is plugged in"},
        {"wait device 'Front camera' --vm win11", "Until it is attached to win11"}},
       kDetails},
      {"wait printer",
       "Wait until a printer is there, or has a status",
       {printerArgument().optional().unresolved(), printerStatus(),
        flag("--changed", "Until the printer has another status than now")},
       runs("", &waitForPrinter, membersOf(printerFields())),
       {{"wait printer 'Office' --status attached", "Until it is attached"},
        {"wait printer --changed", "Until any printer changes"}},
       kDetails,
       "",
       &onlyOneAim},
  };
}

}  // namespace velctl
