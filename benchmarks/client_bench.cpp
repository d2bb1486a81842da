// What vel::Client adds to qx::VelProxy: the same work through both, in turns, over a direct
// connection inside one process, with logging off.
//
//   client_bench [ROUNDS]
//
// Each round measures both a moment after each other. The last column is the median of the rounds'
// ratios, and between which values the middle half of them lies.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include "benchmarks/direct_service.h"
#include "vel/client/client.h"
#include "vel/protocol/access.h"
#include "vel/protocol/records.h"

namespace {

using Clock = std::chrono::steady_clock;
using Work = std::function<bool()>;

constexpr char kVmName[] = "win11";
constexpr std::size_t kRecords = 64;
constexpr int kDefaultRounds = 200;
int rounds = kDefaultRounds;

double microseconds(const Work& work, int times) {
  const Clock::time_point begin = Clock::now();
  for (int i = 0; i < times; ++i) {
    if (!work()) {
      std::fputs("client_bench: a call has failed\n", stderr);
      std::_Exit(EXIT_FAILURE);
    }
  }
  return std::chrono::duration<double, std::micro>(Clock::now() - begin).count() / times;
}

double quantile(std::vector<double> values, double part) {
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1))];
}

void compare(const char* name, int times, const Work& proxy, const Work& client) {
  std::vector<double> proxyTimes;
  std::vector<double> clientTimes;
  std::vector<double> ratios;
  for (int round = 0; round < rounds; ++round) {
    // Each comes first as often as the other.
    const bool isProxyFirst = round % 2 == 0;
    const double first = microseconds(isProxyFirst ? proxy : client, times);
    const double second = microseconds(isProxyFirst ? client : proxy, times);
    proxyTimes.push_back(isProxyFirst ? first : second);
    clientTimes.push_back(isProxyFirst ? second : first);
    ratios.push_back(clientTimes.back() / proxyTimes.back());
  }
  std::printf("%-22s %8.2f us %8.2f us   %.3f (%.3f to %.3f)\n", name, quantile(proxyTimes, 0.5),
              quantile(clientTimes, 0.5), quantile(ratios, 0.5), quantile(ratios, 0.25),
              quantile(ratios, 0.75));
}

// A record with texts of the usual length.
qxbus::Bytes deviceRecord() {
  namespace field = velprotocol::device;
  qxbus::Bytes record(bench::kRecordSize);
  velprotocol::write(record, field::kNumber, 12);
  velprotocol::write(record, field::kStatus, velprotocol::kAttachedStatus);
  velprotocol::write(record, field::kVm, 1);
  velprotocol::write(record, field::kName, "Built-in camera (front)");
  return record;
}

int run(const std::string& directory) {
  bench::DirectService service(directory);
  service.setList(kRecords, deviceRecord());
  const vel::Client client;
  qx::VelProxy& proxy = client.proxy();

  std::printf("%-22s %11s %11s   ratio\n", "", "VelProxy", "Client");
  compare(
      "a call", 500, [&] { return proxy.ConnectDevice(kVmName, 12) == 0; },
      [&] { return client.attach(kVmName, vel::DeviceNumber(12)).has_value(); });
  compare(
      "a list of 64 records", 100,
      [&] {
        std::list<CommonDevice*> devices = proxy.GetDeviceList(kVmName);
        const bool isWhole = devices.size() == kRecords;
        proxy.FreeDeviceList(devices);
        return isWhole;
      },
      [&] {
        const auto devices = client.devices(kVmName);
        return devices && devices->size() == kRecords;
      });
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) {
    rounds = std::atoi(argv[1]);
  }
  if (argc > 2 || rounds < 1) {
    std::fputs("usage: client_bench [ROUNDS]\n", stderr);
    return 2;
  }
  return bench::inTemporaryDirectory("client_bench", run);
}
