// The VM sessions of the simulated machine: which exist, and what clients have made of them.
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

// A pipe as clients describe it. Its VM and its handle identify it.
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

struct VmSession {
  std::optional<Attachment> attachment;
  bool isStarted = false;
  std::map<std::uint64_t, Pipe> pipes;          // by handle
  std::map<std::uint32_t, std::int32_t> ports;  // status by port
};

class VmSessions {
 public:
  // With the built-in VMs.
  VmSessions();

  const std::map<std::string, VmNumber>& numbers() const { return numbers_; }
  // 0 when there is no such VM.
  VmNumber numberOf(const std::string& vmId) const;
  // Null when there is no such VM.
  const VmSession* find(VmNumber vm) const;
  const std::optional<Focus>& focus() const { return focus_; }
  const std::string& driveToken() const { return driveToken_; }

  // Attaching again takes the new parameters.
  Status connect(VmNumber vm, const Attachment& attachment);
  // Stops the VM, closes its pipes and takes the focus from it.
  Status disconnect(VmNumber vm);
  Status start(VmNumber vm);

  // All of them or, when one cannot be, none. vm is the VM that asks; each pipe names its own.
  Status createPipes(VmNumber vm, const std::vector<Pipe>& pipes);
  Status destroyPipes(VmNumber vm, const std::vector<Pipe>& pipes);

  Status setPortStatus(VmNumber vm, std::uint32_t port, std::int32_t status);
  // A window that loses the focus takes it from no other VM.
  Status setFocus(VmNumber vm, bool isGained, std::uint64_t window);
  Status setDriveToken(std::string token);

  // Back to how it began.
  void reset();

 private:
  VmSession* session(VmNumber vm);

  std::map<std::string, VmNumber> numbers_;
  std::map<VmNumber, VmSession> sessions_;
  std::optional<Focus> focus_;
  std::string driveToken_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_VM_SESSIONS_H
