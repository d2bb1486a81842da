// velctl camera: whether the service may use the camera.

#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

void camera(const Output& output) {
  const Operation operation("CheckCameraAuthStat");
  const int authorization = operation->CheckCameraAuthStat();
  operation.finishWith(output, std::to_string(authorization),
                       Json{{"authorization", authorization}});
}

}  // namespace

void addCameraCommand(CommandLine& commandLine) {
  commandLine.command(
      "camera", "Tell whether the service may use the camera, in the service's numbers", camera);
}

}  // namespace velctl
