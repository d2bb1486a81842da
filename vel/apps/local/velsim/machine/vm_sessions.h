// The VM sessions of the simulated machine, and their state as clients have set it.
//
// THREADS   One thread at a time.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_VM_SESSIONS_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_VM_SESSIONS_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "vel/apps/local/velsim/machine/status.h"

namespace velsim {

using VmNumber = std::uint32_t;

// How a client has attached a VM.
struct Attachment {
  std::int32_t systemType = 0;
  std::int32_t shareMode = 0;
  std::int32_t connectParam = 0;
};

// A pipe as clients describe it, identified by VM and handle.
struct Pipe {
  VmNumber vm = 0;
  std::uint64_t handle = 0;
  std::string name1;
  std::string name2;
};

// The session window that has the focus.
struct Focus {
  VmNumber vm = 0;
  std::uint64_t window = 0;
};

struct VmSetup {
  std::string id;
  VmNumber number = 0;
  std::optional<Attachment> attachment;
  bool isStarted = false;
};

struct VmSession {
  std::optional<Attachment> attachment;
  bool isStarted = false;
  std::map<std::uint64_t, Pipe> pipes;          // by handle
  std::map<std::uint32_t, std::int32_t> ports;  // status by port
};

class VmSessions {
 public:
  // The setup outlives the object.
  explicit VmSessions(const std::vector<VmSetup>& setup);

  const std::map<std::string, VmNumber>& numbers() const { return numbers_; }
  // 0 when there is no such VM.
  VmNumber numberOf(const std::string& vmId) const;
  // Empty when there is no such VM.
  std::string nameOf(VmNumber vm) const;
  // Null when there is no such VM.
  const VmSession* find(VmNumber vm) const;
  const std::optional<Focus>& focus() const { return focus_; }
  const std::string& driveToken() const { return driveToken_; }

  // Adds a VM with a number that no VM had before; 0 when there is one of this name.
  VmNumber add(const std::string& vmId);
  // Ends the session of a VM and removes it. Returns its number; 0 when there is no such VM.
  VmNumber remove(const std::string& vmId);

  // Connecting again replaces the parameters.
  Status connect(VmNumber vm, const Attachment& attachment);
  // Stops the VM, closes its pipes and takes the focus from it.
  Status disconnect(VmNumber vm);
  Status start(VmNumber vm);

  // Creates or destroys all pipes or, when one is refused, none. vm is the VM of the request; each
  // pipe names its own.
  Status createPipes(VmNumber vm, const std::vector<Pipe>& pipes);
  Status destroyPipes(VmNumber vm, const std::vector<Pipe>& pipes);

  Status setPortStatus(VmNumber vm, std::uint32_t port, std::int32_t status);
  // Losing the focus affects only the VM that has it.
  Status setFocus(VmNumber vm, bool isGained, std::uint64_t window);
  Status setDriveToken(std::string token);

  // Restores the initial state.
  void reset();

 private:
  VmSession* session(VmNumber vm);

  const std::vector<VmSetup>& setup_;
  std::map<std::string, VmNumber> numbers_;
  std::map<VmNumber, VmSession> sessions_;
  VmNumber lastAdded_ = 0;
  std::optional<Focus> focus_;
  std::string driveToken_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_VM_SESSIONS_H
