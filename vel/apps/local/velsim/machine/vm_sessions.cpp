#include "vel/apps/local/velsim/machine/vm_sessions.h"

#include <algorithm>

namespace velsim {

VmSessions::VmSessions(const std::vector<VmSetup>& setup) : setup_(setup) {
  for (const VmSetup& vm : setup) {
    numbers_[vm.id] = vm.number;
  }
  reset();
}

std::string VmSessions::nameOf(VmNumber vm) const {
  for (const auto& [vmId, number] : numbers_) {
    if (number == vm) {
      return vmId;
    }
  }
  return "";
}

VmNumber VmSessions::numberOf(const std::string& vmId) const {
  const auto known = numbers_.find(vmId);
  return known != numbers_.end() ? known->second : 0;
}

const VmSession* VmSessions::find(VmNumber vm) const {
  const auto known = sessions_.find(vm);
  return known != sessions_.end() ? &known->second : nullptr;
}

VmSession* VmSessions::session(VmNumber vm) {
  const auto known = sessions_.find(vm);
  return known != sessions_.end() ? &known->second : nullptr;
}

VmNumber VmSessions::add(const std::string& vmId) {
  if (numberOf(vmId) != 0) {
    return 0;
  }
  // Those that were removed count as well: clients remember numbers.
  for (const auto& [known, number] : numbers_) {
    lastAdded_ = std::max(lastAdded_, number);
  }
  numbers_[vmId] = ++lastAdded_;
  sessions_[lastAdded_] = VmSession();
  return lastAdded_;
}

VmNumber VmSessions::remove(const std::string& vmId) {
  const VmNumber removed = numberOf(vmId);
  if (removed != 0) {
    lastAdded_ = std::max(lastAdded_, removed);
    if (focus_ && focus_->vm == removed) {
      focus_.reset();
    }
    numbers_.erase(vmId);
    sessions_.erase(removed);
  }
  return removed;
}

Status VmSessions::connect(VmNumber vm, const Attachment& attachment) {
  VmSession* const attached = session(vm);
  if (!attached) {
    return Status::kUnknownVm;
  }
  attached->attachment = attachment;
  return Status::kOk;
}

Status VmSessions::disconnect(VmNumber vm) {
  VmSession* const attached = session(vm);
  if (!attached) {
    return Status::kUnknownVm;
  }
  if (!attached->attachment) {
    return Status::kNotConnected;
  }
  *attached = VmSession();
  if (focus_ && focus_->vm == vm) {
    focus_.reset();
  }
  return Status::kOk;
}

Status VmSessions::start(VmNumber vm) {
  VmSession* const started = session(vm);
  if (!started) {
    return Status::kUnknownVm;
  }
  started->isStarted = true;
  return Status::kOk;
}

Status VmSessions::createPipes(VmNumber vm, const std::vector<Pipe>& pipes) {
  if (!session(vm)) {
    return Status::kUnknownVm;
  }
  std::map<VmNumber, VmSession> after = sessions_;
  for (const Pipe& pipe : pipes) {
    const auto owner = after.find(pipe.vm);
    if (owner == after.end()) {
      return Status::kUnknownVm;
    }
    if (!owner->second.pipes.emplace(pipe.handle, pipe).second) {
      return Status::kPipeExists;
    }
  }
  sessions_.swap(after);
  return Status::kOk;
}

Status VmSessions::destroyPipes(VmNumber vm, const std::vector<Pipe>& pipes) {
  if (!session(vm)) {
    return Status::kUnknownVm;
  }
  std::map<VmNumber, VmSession> after = sessions_;
  for (const Pipe& pipe : pipes) {
    const auto owner = after.find(pipe.vm);
    if (owner == after.end()) {
      return Status::kUnknownVm;
    }
    if (owner->second.pipes.erase(pipe.handle) == 0) {
      return Status::kUnknownPipe;
    }
  }
  sessions_.swap(after);
  return Status::kOk;
}

Status VmSessions::setPortStatus(VmNumber vm, std::uint32_t port, std::int32_t status) {
  VmSession* const owner = session(vm);
  if (!owner) {
    return Status::kUnknownVm;
  }
  owner->ports[port] = status;
  return Status::kOk;
}

Status VmSessions::setFocus(VmNumber vm, bool isGained, std::uint64_t window) {
  if (!session(vm)) {
    return Status::kUnknownVm;
  }
  if (isGained) {
    focus_ = Focus{vm, window};
  } else if (focus_ && focus_->vm == vm) {
    focus_.reset();
  }
  return Status::kOk;
}

Status VmSessions::setDriveToken(std::string token) {
  if (token.empty()) {
    return Status::kEmptyToken;
  }
  driveToken_ = std::move(token);
  return Status::kOk;
}

void VmSessions::reset() {
  sessions_.clear();
  for (const auto& [vmId, number] : numbers_) {
    sessions_[number] = VmSession();
  }
  for (const VmSetup& vm : setup_) {
    VmSession* const restored = session(vm.number);
    if (restored) {
      restored->attachment = vm.attachment;
      restored->isStarted = vm.isStarted;
    }
  }
  focus_.reset();
  driveToken_.clear();
}

}  // namespace velsim
