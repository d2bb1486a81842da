// velsim record: stands between clients and a service, and writes all that passes to a file.

#ifndef VEL_APPS_LOCAL_VELSIM_RECORD_H
#define VEL_APPS_LOCAL_VELSIM_RECORD_H

#include <string>

#include "vel/apps/local/velsim/exit_codes.h"

namespace velsim {

struct RecordOptions {
  std::string file;
  std::string service;  // address at which the service is
  std::string address;  // at which clients find the recorder; empty: as of a service
  int parent = -1;      // as in Options
  bool isWithSecrets = false;
  bool isQuiet = false;
};

// Call it before there is a second thread, as serve().
ExitCode record(const RecordOptions& options);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_RECORD_H
