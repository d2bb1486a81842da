// Blocks of the service, as long as their texts make them.

#ifndef TESTS_VELCTL_BLOCKS_H
#define TESTS_VELCTL_BLOCKS_H

#include <string>
#include <vector>

namespace velctl_tests {

using Bytes = std::vector<unsigned char>;

// The VM that the service of a test knows.
constexpr char kVm[] = "win11";
constexpr int kVmNumber = 101;

Bytes printerBlock(int number, int status, int vmNumber, const std::string& name);
Bytes deviceBlock(int number, int status, int policy, int vmNumber, const std::string& name,
                  const std::string& policyText);
Bytes newDeviceBlock(int vendor, int product, bool isConfigured, const std::string& name,
                     const std::string& result);
Bytes diagnosisBlock(unsigned long long id, unsigned int status, int vmNumber,
                     const std::string& text);
Bytes bytesOf(const std::string& text);

}  // namespace velctl_tests

#endif  // TESTS_VELCTL_BLOCKS_H
