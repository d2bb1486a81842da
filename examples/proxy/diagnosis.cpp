// Diagnoses the redirection of a device, and prints the progress and the result.
//
//   diagnosis [DEVICE [VM]]      12 and win11 if absent

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <utility>

#include "vel/apps/local/velproxy/vel_proxy.h"

namespace {

constexpr unsigned int kFine = 0;
constexpr unsigned int kRunning = 1;
constexpr std::chrono::seconds kMostForADiagnosis{30};

// Receives the progress of every diagnosis, also those of other processes, on a thread of the bus.
class Progress : public VelDiagnoseNotify {
 public:
  Progress(std::string vm, unsigned short device) : vm_(std::move(vm)), device_(device) {}

  void DiagnoseResultNotify(std::string vmId, unsigned long long id, unsigned int status,
                            std::string result) override {
    if (vmId != vm_ || id != device_ || hasEnded_) {
      return;
    }
    std::printf("%u: %s\n", status, result.c_str());
    std::fflush(stdout);
    if (status != kRunning) {
      hasEnded_ = true;
      end_.set_value(status);
    }
  }

  std::future<unsigned int> end() { return end_.get_future(); }

 private:
  const std::string vm_;
  const unsigned long long device_;
  bool hasEnded_ = false;
  std::promise<unsigned int> end_;
};

}  // namespace

int main(int argc, char** argv) {
  const auto device =
      static_cast<unsigned short>(argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 12);
  const std::string vm = argc > 2 ? argv[2] : "win11";
  qx::VelProxy* const proxy = qx::VelProxy::getInstance();
  // Lives as long as the process: the library keeps the pointer.
  static Progress progress(vm, device);
  std::future<unsigned int> end = progress.end();

  const std::string begun = proxy->DiagnoseDevice(vm, device, &progress);
  const qx::VelError error = qx::VelProxy::lastError();
  if (error.kind != qx::VelError::Kind::kNone) {
    std::fprintf(stderr, "%s: %s\n", error.method.c_str(), error.text.c_str());
    return 1;
  }
  // The text is JSON, and the service's.
  std::puts(begun.c_str());
  if (end.wait_for(kMostForADiagnosis) != std::future_status::ready) {
    std::fputs("the diagnosis has not ended\n", stderr);
    return 1;
  }
  return end.get() == kFine ? 0 : 2;
}
