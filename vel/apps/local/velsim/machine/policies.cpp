#include "vel/apps/local/velsim/machine/policies.h"

namespace velsim {

std::int16_t Policies::autoConnect(std::uint16_t deviceType) const {
  const auto known = autoConnects_.find(deviceType);
  return known != autoConnects_.end() ? known->second : std::int16_t{0};
}

void Policies::setAutoConnect(std::uint16_t deviceType, std::int16_t setting) {
  autoConnects_[deviceType] = setting;
}

void Policies::setPopupCard(std::uint16_t deviceType, std::uint16_t setting) {
  popupCards_[deviceType] = setting;
}

std::int32_t Policies::property(VidPid id) const {
  const VidPidPolicy* const known = find(id);
  return known ? known->property.value_or(known->builtInProperty) : 0;
}

std::int32_t Policies::localProperty(VidPid id) const {
  const VidPidPolicy* const known = find(id);
  return known ? known->property.value_or(0) : 0;
}

void Policies::setProperty(VidPid id, std::uint16_t deviceType, std::int32_t value) {
  VidPidPolicy& changed = policy(id);
  changed.deviceType = deviceType;
  changed.property = value;
}

std::string Policies::turboText(VidPid id) const {
  const VidPidPolicy* const known = find(id);
  return known ? known->turboText.value_or("") : "";
}

void Policies::setTurboText(VidPid id, const std::string& text) {
  policy(id).turboText = text;
}

void Policies::reset() {
  autoConnects_ = setup_.autoConnects;
  popupCards_ = setup_.popupCards;
  byVidPid_ = setup_.byVidPid;
}

const VidPidPolicy* Policies::find(VidPid id) const {
  const auto known = byVidPid_.find(id);
  return known != byVidPid_.end() ? &known->second : nullptr;
}

VidPidPolicy& Policies::policy(VidPid id) {
  VidPidPolicy& found = byVidPid_[id];
  found.id = id;
  return found;
}

}  // namespace velsim
