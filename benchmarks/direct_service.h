// A service inside the process of a benchmark, at the other end of a direct connection.

#ifndef BENCHMARKS_DIRECT_SERVICE_H
#define BENCHMARKS_DIRECT_SERVICE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <system_error>

#include "bus/dbus/service_host.h"
#include "bus/dbus/value.h"
#include "vel/protocol/events.h"

namespace bench {

constexpr std::size_t kRecordSize = 808;

// The service, whose handlers run on one thread; the list is exchanged while no call runs.
class DirectService {
 public:
  // Listens in a directory, and leads the library of this process there, without its log.
  explicit DirectService(const std::string& directory)
      : host_(addressIn(directory), "vel",
              {{"connectDevice", [](qxbus::Request call) { call.reply({std::int32_t{0}}); }},
               {"getVmListSize", [this](qxbus::Request call) { call.reply({++lastVm_}); }},
               {"getDeviceList", [this](qxbus::Request call) { call.reply(list_); }}},
              {"velevent"}) {}

  void setList(std::size_t count, std::size_t size) { setList(count, qxbus::Bytes(size, 1)); }
  void setList(std::size_t count, const qxbus::Bytes& record) {
    list_ = {static_cast<std::int32_t>(count)};
    list_.insert(list_.end(), count, record);
  }

  void emitEvent() {
    host_.emitEvent("velevent", {std::int32_t{0},
                                 static_cast<std::int32_t>(velprotocol::EventCode::kDevicePlugged),
                                 qxbus::Bytes(kRecordSize, 1)});
  }

 private:
  static std::string addressIn(const std::string& directory) {
    std::string address = "direct:" + directory + "/service";
    ::setenv("QXBUS_ADDRESS", address.c_str(), 1);
    ::setenv("QX_APP_DATA", directory.c_str(), 1);
    ::setenv("QX_LOG_LEVEL", "off", 1);
    return address;
  }

  std::int32_t lastVm_ = 0;
  qxbus::Values list_;
  qxbus::ServiceHost host_;
};

// Runs a benchmark in a directory that is removed afterwards.
//
// returns    its result; 1: it has thrown, or there is no directory, and standard error says so
inline int inTemporaryDirectory(const std::string& name, int (*run)(const std::string& directory)) {
  std::string directory = (std::filesystem::temp_directory_path() / (name + ".XXXXXX")).string();
  if (!::mkdtemp(directory.data())) {
    std::perror((name + ": cannot make a directory").c_str());
    return 1;
  }
  int result = 1;
  try {
    result = run(directory);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", name.c_str(), error.what());
  }
  std::error_code ignored;
  std::filesystem::remove_all(directory, ignored);
  return result;
}

}  // namespace bench

#endif  // BENCHMARKS_DIRECT_SERVICE_H
