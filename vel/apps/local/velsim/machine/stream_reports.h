// Reports of clients on their streams: bandwidth, quality, and the USB devices that clients
// redirect themselves. The last report of each kind is kept.
//
// THREADS   One thread at a time.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_STREAM_REPORTS_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_STREAM_REPORTS_H

#include <cstdint>
#include <map>
#include <optional>
#include <utility>

#include "vel/apps/local/velsim/machine/vm_sessions.h"

namespace velsim {

struct StreamReport {
  std::optional<std::pair<std::uint64_t, std::uint64_t>> bandwidth;  // two figures, as reported
  std::map<std::uint64_t, std::optional<std::uint64_t>> quality;     // figure by type
  std::map<std::uint64_t, std::int16_t> usbStatus;                   // by identity of the device
};

// By VM. A VM without a report has no entry.
class StreamReports {
 public:
  const std::map<VmNumber, StreamReport>& all() const { return reports_; }

  void setBandwidth(VmNumber vm, std::uint64_t first, std::uint64_t second) {
    reports_[vm].bandwidth = {first, second};
  }
  void setQuality(VmNumber vm, std::uint64_t type, std::optional<std::uint64_t> figure) {
    reports_[vm].quality[type] = figure;
  }
  void setUsbStatus(VmNumber vm, std::uint64_t identity, std::int16_t status) {
    reports_[vm].usbStatus[identity] = status;
  }

  void forget(VmNumber vm) { reports_.erase(vm); }
  void reset() { reports_.clear(); }

 private:
  std::map<VmNumber, StreamReport> reports_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_STREAM_REPORTS_H
