#include "tests/velctl/blocks.h"

#include <cstdint>

#include "vel/protocol/access.h"
#include "vel/protocol/records.h"

namespace velctl_tests {
namespace {

using velprotocol::write;
namespace device = velprotocol::device;
namespace diagnosis = velprotocol::diagnosis;
namespace new_device_result = velprotocol::new_device_result;
namespace printer = velprotocol::printer;

std::uint16_t low(int number) {
  return static_cast<std::uint16_t>(number);
}

}  // namespace

Bytes printerBlock(int number, int status, int vmNumber, const std::string& name) {
  Bytes block(printer::kName.offset + name.size() + 1);
  write(block, printer::kNumber, low(number));
  write(block, printer::kVm, vmNumber);
  write(block, printer::kStatus, status);
  write(block, printer::kName, name);
  return block;
}

Bytes deviceBlock(int number, int status, int policy, int vmNumber, const std::string& name,
                  const std::string& policyText) {
  Bytes block(device::kVmIdText.offset);
  write(block, device::kNumber, low(number));
  write(block, device::kStatus, low(status));
  write(block, device::kPolicy, static_cast<std::int16_t>(policy));
  write(block, device::kVm, static_cast<std::uint32_t>(vmNumber));
  write(block, device::kName, name);
  write(block, device::kPolicyText, policyText);
  return block;
}

Bytes newDeviceBlock(int vendor, int product, bool isConfigured, const std::string& name,
                     const std::string& result) {
  Bytes block(new_device_result::kCode.offset + result.size() + 1);
  write(block, new_device_result::kVid, low(vendor));
  write(block, new_device_result::kPid, low(product));
  write(block, new_device_result::kIsSuccess, isConfigured);
  write(block, new_device_result::kName, name);
  write(block, new_device_result::kCode, result);
  return block;
}

Bytes diagnosisBlock(unsigned long long id, unsigned int status, int vmNumber,
                     const std::string& text) {
  Bytes block(diagnosis::kText.offset + text.size() + 1);
  write(block, diagnosis::kId, id);
  write(block, diagnosis::kStatus, status);
  write(block, diagnosis::kVm, static_cast<std::uint32_t>(vmNumber));
  write(block, diagnosis::kText, text);
  return block;
}

Bytes bytesOf(const std::string& text) {
  return Bytes(text.begin(), text.end());
}

}  // namespace velctl_tests
