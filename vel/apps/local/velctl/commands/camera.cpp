// velctl camera: the authorization of the camera.

#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

void showCamera(const Output& output) {
  const Operation operation("CheckCameraAuthStat");
  const int authorization = vel::number(operation.valueOf(operation.client().cameraStatus()));
  operation.finishWith(output, std::to_string(authorization),
                       Json{{"authorization", authorization}});
}

}  // namespace

void addCameraCommand(CommandLine& commandLine) {
  commandLine.command("camera",
                      "Show whether the service may use the camera (a number of the service)",
                      showCamera);
}

}  // namespace velctl
