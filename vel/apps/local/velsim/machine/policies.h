// Settings for devices by type, and by USB vendor and product id.
//
// A property has one value per vendor and product id, for all types: requests for it name no type.
// A reset restores the settings of the scenario.
//
// THREADS   One thread at a time.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_POLICIES_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_POLICIES_H

#include <cstdint>
#include <map>
#include <string>

#include "vel/apps/local/velsim/machine/setup.h"

namespace velsim {

class Policies {
 public:
  // The setup outlives the object.
  explicit Policies(const PolicySetup& setup) : setup_(setup) { reset(); }

  // Whether devices of a type are attached when they are plugged in; 0 if never set.
  std::int16_t autoConnect(std::uint16_t deviceType) const;
  void setAutoConnect(std::uint16_t deviceType, std::int16_t setting);
  const std::map<std::uint16_t, std::int16_t>& autoConnects() const { return autoConnects_; }

  // Whether the client shows a card for a new device of a type.
  void setPopupCard(std::uint16_t deviceType, std::uint16_t setting);
  const std::map<std::uint16_t, std::uint16_t>& popupCards() const { return popupCards_; }

  // The value set by a client, else the built-in value, else 0.
  std::int32_t property(VidPid id) const;
  // The value set by a client, else 0.
  std::int32_t localProperty(VidPid id) const;
  void setProperty(VidPid id, std::uint16_t deviceType, std::int32_t value);

  // Empty if never set.
  std::string turboText(VidPid id) const;
  void setTurboText(VidPid id, const std::string& text);

  const std::map<VidPid, VidPidPolicy>& byVidPid() const { return byVidPid_; }

  void reset();

 private:
  const VidPidPolicy* find(VidPid id) const;
  VidPidPolicy& policy(VidPid id);

  const PolicySetup& setup_;
  std::map<std::uint16_t, std::int16_t> autoConnects_;
  std::map<std::uint16_t, std::uint16_t> popupCards_;
  std::map<VidPid, VidPidPolicy> byVidPid_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_POLICIES_H
