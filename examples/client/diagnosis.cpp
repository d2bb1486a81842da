// Diagnoses the redirection of a device, and prints the progress and the result.
//
//   diagnosis [DEVICE [VM]]      12 and win11 if absent

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <future>
#include <iostream>
#include <string>

#include "vel/client/client.h"

namespace {

constexpr std::chrono::seconds kMostForADiagnosis{30};

}  // namespace

int main(int argc, char** argv) {
  const vel::DeviceNumber device(
      static_cast<std::uint16_t>(argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 12));
  const std::string vm = argc > 2 ? argv[2] : "win11";
  const vel::Client client;

  // Progress arrives as events, also of the diagnoses of other processes.
  std::promise<vel::DiagnosisStatus> end;
  bool hasEnded = false;
  const vel::Subscription events = client.onDiagnosis([&](const vel::DiagnosisEvent& event) {
    if (event.id != device.value() || event.vm != vm || hasEnded) {
      return;
    }
    std::cout << vel::name(event.status) << ": " << event.text << std::endl;
    if (event.status != vel::DiagnosisStatus::kRunning) {
      hasEnded = true;
      end.set_value(event.status);
    }
  });

  const auto begun = client.diagnose(vm, device);
  if (!begun) {
    std::cerr << begun.error().message() << '\n';
    return 1;
  }
  // The text is JSON, and the service's.
  std::cout << *begun << std::endl;
  std::future<vel::DiagnosisStatus> status = end.get_future();
  if (status.wait_for(kMostForADiagnosis) != std::future_status::ready) {
    std::cerr << "the diagnosis has not ended\n";
    return 1;
  }
  return status.get() == vel::DiagnosisStatus::kFine ? 0 : 2;
}
